// Entering a Body: a call without a copy.
//
// An argument on its way is a Word: a node, or a delayed operand that has no node yet. A delayed
// operand is entered when its value is due, copied when it has to become a node, and dropped when
// nobody wants it. Each holder of an argument has a reference of its own, so what has one holder in
// the copy has one here.
//
// A delayed lambda is settled as a lambda is. Called while its arguments are settled it takes them
// without a copy of its own; in any other place it becomes a node.
#pragma once

#include "reduce/body.h"

namespace marl {

/// A Node*, or a Delayed* with the low bit set. Owned.
using Word = uintptr_t;

struct Delayed {
    Body* body;
    Node* captured[1];  // as many as the body's arity
};

inline bool is_delayed(Word word) { return (word & 1) != 0; }
inline Delayed* delayed_of(Word word) { return reinterpret_cast<Delayed*>(word & ~Word{1}); }
inline Node* node_of(Word word) { return reinterpret_cast<Node*>(word); }
inline Word word_of(Node* node) { return reinterpret_cast<Word>(node); }
inline Word word_of(Delayed* delayed) { return reinterpret_cast<Word>(delayed) | 1; }

/// Enters a body: pushes its operands on the machine's stack and gives its head, the next focus,
/// owned and analysed. Consumes the arguments, as many as its arity.
Node* enter(Body& body, Word* arguments);

/// Enters a delayed operand, which is consumed.
Node* enter_delayed(Delayed* delayed);

/// Enters the body of a let that waited for its value. Consumes both.
Node* enter_let_body(Delayed* body, Node* value);

/// An argument as a node.
Node* force(Word word);

/// Releases an argument.
void drop(Word word);

}  // namespace marl
