// The machine's context: what waits for the focus.
//
// One stack of two-word entries for all runs of the machine; a nested run stands on top of the run
// that it interrupts, behind an entry of kind `base`. Read as an expression, an entry on context L
// means, for the focus r:
//
//   argument     r applied to the node, which is held back: L (T node r)
//   delayed      the same, the argument being a Delayed of reduce/enter.h that has no node yet
//   call         the function in the node, with r for its argument `data`, counted from 1: the
//                arguments are the entries below, and this one's is empty while it is reduced
//   let          the body in the node, with r for the letter `data`
//   delayed_let  the same, the body being a Delayed that misses its last argument, r
//   function     the node applied to r
//   update       r becomes the memoised definition of the symbol `data`
//
// Entries own what they hold. A pointer into the stack is good until the next push, and no longer
// than the next call that may run program code.
#pragma once

#include <cstddef>
#include <cstdint>

#include "reduce/enter.h"
#include "value/node.h"

namespace marl {

enum class Waiting : uint8_t { base, argument, delayed, call, let, delayed_let, function, update };

struct Entry {
    Node* node;
    uint64_t data;  // the kind in the low byte

    Waiting kind() const { return static_cast<Waiting>(data & 0xFF); }
    uint64_t detail() const { return data >> 8; }
};

struct Stack {
    Entry* entries = nullptr;
    Entry* top = nullptr;  // one behind the last entry
    Entry* limit = nullptr;
};

extern Stack stack;

/// Makes room for at least one more entry.
void grow_stack();

inline void push(Waiting kind, Node* node, uint64_t detail = 0) {
    if (stack.top == stack.limit) grow_stack();
    *stack.top++ = {node, (detail << 8) | static_cast<uint64_t>(kind)};
}

/// Whether an entry is an argument, in either form.
inline bool is_argument(const Entry& entry) {
    return entry.kind() == Waiting::argument || entry.kind() == Waiting::delayed;
}

/// Whether an argument entry has no work left in it. A delayed lambda is as settled as a lambda.
inline bool is_settled_argument(const Entry& entry) {
    if (entry.kind() == Waiting::argument) return settled_analysed(entry.node);
    return reinterpret_cast<const Delayed*>(entry.node)->body->form == Form::lambda;
}

/// What an entry holds.
inline Word content(const Entry& entry) {
    const bool delayed = entry.kind() == Waiting::delayed || entry.kind() == Waiting::delayed_let;
    return word_of(entry.node) | Word{delayed};
}

/// Takes off all entries down to the run's base and releases what they hold, as a context that
/// goes: the oldest entry first.
void drop_context();

}  // namespace marl
