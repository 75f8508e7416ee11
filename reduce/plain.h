// The plain machine: the language's rules one by one, for programs that can see more than results.
//
// A state is a context and a focus, and means the context applied to the focus. Both are ordinary
// expressions on the heap. A context is one of
//
//   I                 nothing waits for the focus
//   B s f             the focus is the argument of f, under the context s
//   B s (T y)         the same, read as: y is held back, and the focus r becomes T y r
//
// A step makes the next state first and drops the old one then, its context before its focus. What
// dies with it dies left before right, depth first. `todo` Values act in just that order, and the
// in-place rule counts just those holders.
#pragma once

#include <cstdint>

#include "value/value.h"

namespace marl {

/// The context in which nothing waits.
Value empty_context();
/// A context on top of `context`, in which the focus becomes the argument of `function`.
Value function_frame(Value context, Value function);
/// The same in which `argument` is held back.
Value argument_frame(Value context, Value argument);

/// A frame of a context: the context below it, and the function that waits. Borrowed.
struct Frame {
    Node* below;
    Node* function;
};
/// The frame on top; nulls where nothing waits.
Frame top_frame(Node* context);

/// Whether an argument is held back there.
bool holds_back(Node* context);

/// Whether a state is a run's last one: no work in the focus, and nothing that waits for it.
bool is_last_state(Node* context, Node* focus);

/// What the next step of a state does.
enum class Rule : uint8_t {
    pop,              // the settled focus goes to the frame on top
    hold_back,        // the last argument of the focus is held back
    reduce_argument,  // its function waits, and the argument becomes the focus
    fire,             // the focus becomes what it reduces to
    fire_held,        // the same together with the arguments that it lacks, which are held back
    wait_for_value,   // a let waits for its value
};
Rule rule_of(Node* context, Node* focus);
/// How many frames that step takes off the context.
int frames_taken(Rule rule, Node* focus);

/// One step. Both slots hold the next state afterwards. The state must be closed, not the last one
/// and its context of the forms above; anything else is a fatal stop.
void plain_step(Value& context, Value& focus);

/// Does a call that is the next step of a state by other means; false for one that is left to the
/// rules.
using DoCall = bool (*)(Value& context, Value& focus);

/// Takes a state, of whichever machine's making, to its last one, and gives that one's focus.
/// `context` is then the `I` that stood at its bottom, or another one when the run was aborted.
Value plain_reduce(Value& context, Value focus, DoCall do_call);

}  // namespace marl
