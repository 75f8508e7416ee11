// The loop. Focus and context are in the machine's hands: `focus` is one owned, analysed node, the
// context is the stack. A step looks at the focus's header word: unsettled, it is taken apart down
// to a function that is settled, its arguments held back on the stack; settled, it goes to whatever
// waits on top.
//
// A function that is settled and meets held-back arguments takes as many as its rank says. A lazy
// head fires at once, and looks at none of them. A strict head has them reduced first, in order,
// each one in its own stack entry. Where there are too few, the arguments are reduced for both, and
// make a partial application, which is a value.
#include "reduce/machine.h"

#include "reduce/build.h"
#include "reduce/enter.h"
#include "reduce/exactness.h"
#include "reduce/fire.h"
#include "reduce/frames.h"
#include "reduce/nesting.h"
#include "reduce/plain.h"
#include "reduce/stack.h"
#include "reduce/tables.h"
#include "value/todo.h"

namespace marl {

volatile sig_atomic_t interrupted = 0;

#ifdef MARL_STEP_LIMIT
int64_t steps_left = step_limit;
#endif

namespace {

Node* step_unsettled(Node* focus) {
    if (is_leaf(focus)) return fire_name(focus);
    if (rank_analysed(focus) == 0 && form(focus) == Form::let) return begin_let(focus);
    return hold_back_argument(focus);
}

/// Reduces argument i, counted from 1, which stands i entries below the top.
Node* begin_argument(Node* function, int i) {
    Entry& entry = stack.top[-i];
    const Entry argument = entry;
    entry = {nullptr, static_cast<uint64_t>(Waiting::argument)};
    push(Waiting::call, function, static_cast<uint64_t>(i));
    if (argument.kind() == Waiting::argument) return argument.node;
    return enter_delayed(reinterpret_cast<Delayed*>(argument.node));
}

/// The function of a call, its argument's value put back in place.
Node* end_argument(Node* value) {
    const Entry call = *--stack.top;
    stack.top[-static_cast<ptrdiff_t>(call.detail())].node = value;
    return call.node;
}

/// How many of the topmost entries are arguments, at most `most`, and the first of them that is not
/// settled, counted from 1; 0 for none.
struct Held {
    int count = 0;
    int unsettled = 0;
};
Held held_arguments(int most) {
    Held held;
    for (; held.count < most; ++held.count) {
        const Entry& entry = stack.top[-held.count - 1];
        if (!is_argument(entry)) break;
        if (held.unsettled != 0) continue;
        if (!is_settled_argument(entry)) held.unsettled = held.count + 1;
    }
    return held;
}

Node* apply_lambda(Node* lambda) {
    const Held held = held_arguments(lambda_takes(lambda, most_lambda_arguments));
    if (held.unsettled) return begin_argument(lambda, held.unsettled);
    return fire_lambda(lambda, held.count);
}

/// A settled function meets the arguments on top of the stack.
Node* apply_to_held(Node* function) {
    Node* head = function;
    int inner = 0;
    for (; !is_leaf(head) && !is_zits_analysed(head); ++inner) head = as_pair(head)->left;
    if (inner == 2 && is_leaf_of(head, '\\')) return apply_lambda(function);
    const int wanted = rank_analysed(function);
    const Held held = held_arguments(wanted);
    if (held.count == wanted && (held.unsettled == 0 || is_lazy_head(head))) {
        return fire(function, head, inner, held.count);
    }
    if (held.unsettled) return begin_argument(function, held.unsettled);
    // Too few arguments, all settled: a partial application, which is a value.
    for (int i = 0; i < held.count; ++i) {
        function = analysed_pair(function, force(content(*--stack.top)));
    }
    return function;
}

Node* step_settled(Node* focus) {
    switch (stack.top[-1].kind()) {
        case Waiting::argument:
        case Waiting::delayed: return apply_to_held(focus);
        case Waiting::call: return apply_to_held(end_argument(focus));
        default: return hand_over(focus);
    }
}

}  // namespace

Value reduce(Value expression) {
    guard_nesting();
    const TodoArming armed(true);
    analyse(expression);
    if (exactness_due) return plain_reduce(empty_context(), std::move(expression));
    Node* focus = expression.take();
    push(Waiting::base, nullptr);
    for (;;) {
        if (interrupted) run_interrupt();
        if (is_out_of_steps()) {
            drop_context();
            release(focus);
            Value exhausted = leaf("Z");
            analyse(exhausted);
            focus = exhausted.take();
            break;
        }
        if (!settled_analysed(focus)) {
            focus = step_unsettled(focus);
        } else if (stack.top[-1].kind() != Waiting::base) {
            focus = step_settled(focus);
        } else {
            break;
        }
    }
    --stack.top;
    return Value::adopt(focus);
}

}  // namespace marl
