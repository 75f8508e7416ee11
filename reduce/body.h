// Body: what a call takes up, with arguments in the places of variables.
//
// A call means a new copy of those parts of the body that hold a parameter. Most of such a copy
// would be taken apart again at once: an application is a head and its operands, the operands go to
// the stack, and the untaken branch of a choice is never looked at. So a call *enters* the body
// (reduce/enter.h): it pushes the operands, and an operand that holds a parameter inside is pushed
// delayed, as a reference to its own Body and the arguments that it captures.
//
// A Body is laid out as tagged words, found at its first use:
//
//   node | shared_node       a part without variables, borrowed
//   index | argument         an argument
//   index | last_argument    an argument that nothing entered later needs
//   index | part             a part with a Body of its own
//
// It borrows the expression that it was made for: whoever replaces the definition drops the Bodies
// with it. The Body of the definition owns those of all parts, which are flat behind it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "reduce/analysis.h"
#include "value/value.h"

namespace marl {

enum Tag : uintptr_t { shared_node = 0, argument = 1, last_argument = 2, part = 3 };
constexpr uintptr_t tag_mask = 3;
constexpr int tag_bits = 2;

/// Every argument stands for a letter of its own.
constexpr int most_arguments = 26;

struct Copying;  // reduce/copying.h

struct Body {
    Node* expression = nullptr;
    Form form = Form::other;
    bool strict = false;  // the arguments are known to be settled
    int arity = 0;
    uint32_t letters = 0;     // the variables that arguments stand for
    uint8_t index_of[26];     // which argument, for each of them
    bool names_todo = false;  // of a definition: `todo` stands among what its calls copy
    Body* root = nullptr;

    // Of a part: the arguments of the enclosing Body that it takes, in the order of its own. With
    // `moved_capture` set nothing entered later needs that argument.
    std::vector<uint8_t> captures;

    // The layout, once `opened`: an application's head and its operands, first to last. A lambda
    // and a let have none.
    bool opened = false;
    std::vector<uintptr_t> operands;
    uintptr_t head = 0;
    uint32_t unused = 0;  // bit i: argument i does not occur
    std::vector<Body*> parts;

    // Of a lambda: the body behind a row of `takes` lambdas, whose arguments are the captured ones
    // and then the row's own. Of a let: the body behind it, whose last argument is the let's value,
    // and the value, as the let's head.
    Body* inner = nullptr;
    int takes = 0;

    std::unique_ptr<Copying> copying;  // how to copy it, once that was asked for
    std::vector<std::unique_ptr<Body>> owned;

    Body();
    ~Body();
};

constexpr uint8_t moved_capture = 0x80;

/// The Body of a definition whose parameters are the lambdas at its top. Of two parameters with one
/// letter the last one counts. `strict`: its calls have all arguments settled.
std::unique_ptr<Body> make_body(Node* definition, bool strict);

/// Lays the Body out, for entering.
void open_body(Body& body);

}  // namespace marl
