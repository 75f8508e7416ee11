// The loop. Focus and context are in the machine's hands: `focus` is one owned Word, the context is
// the stack. An unsettled focus is taken apart down to a function that is settled, its arguments
// held back on the stack; a settled one goes to whatever waits on top.
//
// A function that is settled and meets held-back arguments takes as many as its rank says. A lazy
// head fires at once, and looks at none of them. A strict head has them reduced first, in order,
// each one in its own stack entry. Where there are too few, the arguments are reduced for both, and
// make a partial application, which is a value.
//
// A call runs the code of the definition (reduce/execute.h), which keeps the loop to itself as long
// as it can.
#include "reduce/machine.h"

#include "reduce/build.h"
#include "reduce/closure.h"
#include "reduce/exactness.h"
#include "reduce/execute.h"
#include "reduce/fire.h"
#include "reduce/handover.h"
#include "reduce/lambda.h"
#include "reduce/lazy.h"
#include "reduce/nesting.h"
#include "reduce/observer.h"
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

/// Holds back the last argument of an application; the focus is its function.
Word hold_back_argument(Node* application) {
    PairNode* node = as_pair(application);
    Node* function = node->left;
    if (count_of(node) == 1) {
        // Nobody else looks at the Pair: its references move.
        push(Waiting::argument, node->right);
        free_node(node, sizeof(PairNode));
    } else {
        retain(function);
        push(Waiting::argument, share(node->right));
        release(node);
    }
    return word_of(function);
}

/// Takes up { p b c: c with b for p when b is settled; else the focus is b, and the let waits.
Word begin_let(Node* let) {
    const Value whole = Value::adopt(let);
    const char letter = *leaf_text(let_key(let));
    Node* value = shared(let_value(let));
    Node* body = shared(let_body(let));
    if (settled(value)) return word_of(bind_let(body, letter, word_of(value)));
    // What waits holds the body only: the value may be the last holder of its parts.
    push(Waiting::let, word_of(body), static_cast<uint64_t>(letter));
    return word_of(value);
}

Word step_unsettled(Word focus) {
    if (is_closure(focus)) return fire_delayed(closure_of(focus));
    Node* node = node_of(focus);
    if (is_leaf(node)) return fire_name(node);
    if (rank_analysed(node) == 0 && form(node) == Form::let) return begin_let(node);
    return hold_back_argument(node);
}

/// Reduces argument i, counted from 1, which stands i entries below the top.
Word begin_argument(Word function, int i) {
    const Word argument = std::exchange(stack.top[-i].word, 0);
    push(Waiting::call, function, static_cast<uint64_t>(i));
    return argument;
}

/// The function of a call, its argument's value put back in place.
Word end_argument(Word value) {
    const Entry call = *--stack.top;
    stack.top[-static_cast<ptrdiff_t>(call.detail())].word = value;
    return call.word;
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
        if (stack.top[-held.count - 1].kind() == Waiting::choice) hold_operands(held.count);
        const Entry& entry = stack.top[-held.count - 1];
        if (!is_argument(entry)) break;
        if (held.unsettled == 0 && !is_settled(entry.word)) held.unsettled = held.count + 1;
    }
    return held;
}

Word apply_closure(Closure* closure) {
    const int parameters = closure->unit->parameters;
    const Held held = held_arguments(parameters);
    if (held.unsettled) return begin_argument(word_of(closure), held.unsettled);
    if (held.count == parameters) return fire_closure(closure);
    return apply_partly(closure, (--stack.top)->word);
}

Word apply_lambda(Node* lambda) {
    Unit* unit = unit_of_lambda(lambda);
    const int parameters = unit ? unit->parameters : 1;
    const Held held = held_arguments(parameters);
    if (held.unsettled) return begin_argument(word_of(lambda), held.unsettled);
    return unit && held.count == parameters ? fire_coded_lambda(lambda, *unit)
                                            : fire_lambda(lambda);
}

/// A settled function meets the arguments on top of the stack.
Word apply_to_held(Word word) {
    if (is_closure(word)) return apply_closure(closure_of(word));
    Node* function = force(word);
    Node* head = function;
    int inner = 0;
    for (; !is_leaf(head) && !is_zits_analysed(head); ++inner) head = as_pair(head)->left;
    if (inner == 2 && is_leaf_of(head, '\\')) return apply_lambda(function);
    const int wanted = rank_analysed(function);
    const Held held = held_arguments(wanted);
    if (held.count == wanted && (held.unsettled == 0 || is_lazy_head(head))) {
        return fire(function, head, inner, held.count);
    }
    if (held.unsettled) return begin_argument(word_of(function), held.unsettled);
    // Too few arguments, all settled: a partial application, which is a value.
    for (int i = 0; i < held.count; ++i) {
        function = analysed_pair(function, (--stack.top)->word);
    }
    return word_of(function);
}

Word step_settled(Word focus) {
    switch (stack.top[-1].kind()) {
        case Waiting::argument: return apply_to_held(focus);
        case Waiting::call: return apply_to_held(end_argument(focus));
        case Waiting::resume:
        case Waiting::choice: return resume(focus);
        case Waiting::let: {
            const Entry let = *--stack.top;
            return word_of(bind_let(node_of(let.word), static_cast<char>(let.detail()), focus));
        }
        case Waiting::update: {
            const Entry update = *--stack.top;
            auto& symbol = *reinterpret_cast<Symbol*>(static_cast<uintptr_t>(update.detail()));
            return word_of(store_constant(symbol, force(focus)));
        }
        case Waiting::base: break;
    }
    fatal_stop(__FILE__, __LINE__);
}

}  // namespace

Value reduce(Value expression) {
    guard_nesting();
    const TodoArming armed(true);
    analyse(expression);
    if (exactness_due || is_observed()) {
        Value context = empty_context();
        return plain_reduce(context, std::move(expression));
    }
    if (!registers.words) grow_registers(0);
    Word focus = word_of(expression.take());
    push(Waiting::base, 0);
    for (;;) {
        if (interrupted) run_interrupt();
        if (is_out_of_steps()) {
            drop_context();
            release_word(focus);
            Value exhausted = leaf("Z");
            analyse(exhausted);
            focus = word_of(exhausted.take());
            break;
        }
        if (exactness_due && can_hand_over(focus)) {
            focus = hand_over(focus);
        } else if (!is_settled(focus)) {
            focus = step_unsettled(focus);
        } else if (stack.top[-1].kind() != Waiting::base) {
            focus = step_settled(focus);
        } else {
            break;
        }
    }
    --stack.top;
    return Value::adopt(force(focus));
}

}  // namespace marl
