// Body: what a call of a definition takes up, with the arguments put in the parameters' places.
//
// A call means a new copy of those parts of the body that hold a parameter. Most of such a copy
// would be taken apart again at once: an application is a head and its operands, the operands go to
// the stack, and the untaken branch of a choice is never looked at. So a call *enters* the body: it
// pushes the operands, and an operand that is itself an application with parameters in it is pushed
// delayed, as a reference to its own Body and the arguments that it captures. A delayed operand is
// entered when its value is due, copied when it has to become a node, and dropped when nobody wants
// it. Each holder of an argument has a reference of its own, so that what has one holder in the
// copy has one here.
//
// A Body borrows the expression that it was made for; whoever replaces the definition drops the
// Bodies with it. What is needed to enter it and to copy it is found at the first use.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "value/value.h"

namespace marl {

/// An argument on its way: a Node*, or a Delayed* with the low bit set. Owned.
using Word = uintptr_t;

/// A definition has at most ten parameters; one more is room for a rank that saturated.
constexpr int most_arguments = 11;

struct Copying;

struct Body {
    Node* expression = nullptr;
    uint32_t letters = 0;  // the variables that arguments stand for
    uint8_t index_of[26];  // which argument, for each of them
    int arity = 0;
    bool strict = false;     // the arguments are known to be settled
    bool is_lambda = false;  // the expression is a value already
    Body* root = nullptr;    // the Body of the definition, which owns those of its parts

    // How to enter it: operands first to last, then the head, each a tagged word; body.cpp.
    bool opened = false;
    std::vector<uintptr_t> operands;
    uintptr_t head = 0;
    uint32_t unused = 0;            // bit i: argument i does not occur
    std::vector<uint8_t> captures;  // of a part: which arguments of the enclosing Body it takes
    std::vector<Body*> parts;

    std::unique_ptr<Copying> copying;  // how to copy it
    std::vector<std::unique_ptr<Body>> owned;

    Body();
    ~Body();
};

struct Delayed {
    Body* body;
    Node* captured[1];  // as many as the body's arity
};

inline bool is_delayed(Word word) { return (word & 1) != 0; }
inline Delayed* delayed_of(Word word) { return reinterpret_cast<Delayed*>(word & ~Word{1}); }
inline Node* node_of(Word word) { return reinterpret_cast<Node*>(word); }
inline Word word_of(Node* node) { return reinterpret_cast<Word>(node); }

/// The Body of a definition whose parameters are the lambdas at its top. Of two parameters with one
/// letter the last one counts. `strict`: its calls have all arguments settled.
std::unique_ptr<Body> make_body(Node* definition, bool strict);

/// Enters a body: pushes its operands on the machine's stack and gives its head, the next focus,
/// owned and analysed. Consumes the arguments, `arity` of them.
Node* enter(Body& body, Word* arguments);

/// Enters a delayed operand, which is consumed.
Node* enter_delayed(Delayed* delayed);

/// A copy of the body as a node, owned and analysed. Consumes the arguments.
Node* copy_body(Body& body, Word* arguments);

/// An argument as a node.
Node* force(Word word);

/// Releases an argument.
void drop(Word word);

}  // namespace marl
