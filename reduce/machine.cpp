// The loop. Focus and context are in the machine's hands: `focus` is one owned Word, the context is
// the stack. An unsettled focus is taken apart down to a function that is settled, its arguments
// held back on the stack; a settled one goes to whatever waits on top.
//
// A function that is settled and meets held-back arguments takes as many as its rank says. A lazy
// head fires at once, and looks at none of them. A strict head has them reduced first, in order,
// each one in its own stack entry. Where there are too few, the arguments are reduced for both, and
// make a partial application, which is a value.
//
// A call runs the code of the definition (reduce/run_code.h), which keeps the loop to itself as
// long as it can.
#include "reduce/machine.h"

#include <span>

#include "reduce/arguments.h"
#include "reduce/build.h"
#include "reduce/calm.h"
#include "reduce/changing.h"
#include "reduce/closure.h"
#include "reduce/definitions.h"
#include "reduce/fire.h"
#include "reduce/heads.h"
#include "reduce/interrupts.h"
#include "reduce/needs.h"
#include "reduce/nesting.h"
#include "reduce/observer.h"
#include "reduce/operators.h"
#include "reduce/plain.h"
#include "reduce/run_code.h"
#include "reduce/stack.h"
#include "reduce/tables.h"
#include "value/todo.h"

namespace marl {

// Such a call is a run of its own, below the plain machine, which nothing takes over.
bool in_calm_call = false;

namespace {

/// Holds back the last argument of an application; the focus is its function.
Word hold_back_argument(Node* application) {
    PairNode* node = as_pair(application);
    Node* function = node->left;
    if (count_of(node) == 1) {
        // Nobody else looks at the Pair: its references move.
        push(Op::argument, node->right);
        free_node(node, sizeof(PairNode));
    } else {
        retain(function);
        push(Op::argument, shared_word(node->right));
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
    push(Op::let, word_of(body), letter - 'a');
    return word_of(value);
}

Word step_unsettled(Word focus) {
    if (is_closure(focus)) return fire_work(closure_of(focus));
    Node* node = node_of(focus);
    if (is_leaf(node)) return fire_name(node);
    if (rank_analysed(node) == 0 && form(node) == Form::let) return begin_let(node);
    return hold_back_argument(node);
}

/// Reduces argument i, counted from 1, which stands i entries below the top.
Word begin_argument(Word function, int i) {
    const Word argument = std::exchange(machine.stack.top[-i].word, 0);
    push(Op::function, function, i);
    return argument;
}

/// The function of a call, its argument's value put back in place.
Word end_argument(Word value) {
    const StackEntry call = *--machine.stack.top;
    machine.stack.top[-call.detail()].word = value;
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
        if (machine.stack.top[-held.count - 1].kind() == Op::land_before_choice)
            hold_operands(held.count);
        const StackEntry& entry = machine.stack.top[-held.count - 1];
        if (!is_argument(entry)) break;
        if (held.unsettled == 0 && !is_settled(entry.word)) held.unsettled = held.count + 1;
    }
    return held;
}

Word apply_closure(Closure* closure) {
    const int parameters = closure->code->parameters;
    const Held held = held_arguments(parameters);
    if (held.unsettled) return begin_argument(word_of(closure), held.unsettled);
    if (held.count == parameters) return fire_closure(closure);
    return apply_partly(closure, (--machine.stack.top)->word);
}

Word apply_lambda(Node* lambda) {
    Closure* body = body_closure(lambda);
    const int parameters = body ? body->code->parameters : 1;
    const Held held = held_arguments(parameters);
    if (held.unsettled) return begin_argument(word_of(lambda), held.unsettled);
    return body && held.count == parameters ? fire_coded_lambda(lambda, body) : fire_lambda(lambda);
}

/// A settled function meets the arguments on top of the stack.
Word apply_to_held(Word word) {
    if (is_closure(word) && !is_cell(word)) return apply_closure(closure_of(word));
    Node* function = force(word);
    int inner;
    Node* head = head_of(function, inner);
    if (inner == 2 && is_leaf_of(head, '\\')) return apply_lambda(function);
    const int wanted = rank_analysed(function);
    const Held held = held_arguments(wanted);
    if (held.count == wanted && (held.unsettled == 0 || lazy_head(head))) {
        return fire(function, head, inner, held.count);
    }
    if (held.unsettled) return begin_argument(word_of(function), held.unsettled);
    // Too few arguments, all settled: a partial application, which is a value.
    for (int i = 0; i < held.count; ++i) {
        function = analysed_pair(function, as_right_child((--machine.stack.top)->word));
    }
    return word_of(function);
}

Word step_settled(Word focus) {
    switch (machine.stack.top[-1].kind()) {
        case Op::argument: return apply_to_held(focus);
        case Op::function: return apply_to_held(end_argument(focus));
        case Op::land:
        case Op::land_before_choice: return resume(focus);
        case Op::let: {
            const StackEntry let = *--machine.stack.top;
            const auto letter = static_cast<char>('a' + let.detail());
            return word_of(bind_let(node_of(let.word), letter, focus));
        }
        case Op::update: {
            const StackEntry update = *--machine.stack.top;
            return store_constant(updated_symbol(update), focus);
        }
        default: fatal_stop(__FILE__, __LINE__);
    }
}

bool do_calm_call(Value& context, Value& focus);

/// Takes a run, which begins with the entry on top of the context, to its end.
Value finish_run(Word focus) {
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
        if (needs_plain_machine && !in_calm_call) {
            // A text has brought in `todo`: what waited has been taken over, unless the text was
            // refused, which is an abort.
            const bool waits = machine.stack.top[-1].kind() == Op::plain;
            MARL_REQUIRE(waits || machine.stack.top[-1].kind() == Op::base);
            Value context =
                waits ? Value::adopt(node_of((--machine.stack.top)->word)) : empty_context();
            focus = word_of(plain_reduce(context, Value::adopt(force(focus)), do_calm_call).take());
            break;
        }
        if (!is_settled(focus)) {
            focus = step_unsettled(focus);
        } else if (machine.stack.top[-1].kind() != Op::base) {
            focus = step_settled(focus);
        } else {
            break;
        }
    }
    --machine.stack.top;
    return Value::adopt(force(focus));
}

void begin_run() {
    if (!machine.registers.words) grow_registers(0);
    push(Op::base, 0);
}

/// The definition that the next step of a state calls, if the call is calm; else null.
Symbol* calm_call(Node* context, Node* focus) {
    if (is_leaf(focus) || settled(focus) || rank_of(focus) != 0 || pending(focus)) return nullptr;
    int count = 0;
    Node* head = head_of(focus, count);
    if (!names_definition(head) || lazy_head(head)) return nullptr;
    Symbol& symbol = symbol_of_leaf(head);
    if (symbol.builtin || !symbol.definition || symbol.parameters != count) return nullptr;
    if (count >= rank_variable || !is_closed(symbol.definition) || !is_calm(symbol)) return nullptr;
    // What is held back may be an operand that the call's result is to have unreduced.
    if (holds_back(context)) return nullptr;
    for (; focus != head; focus = left(focus)) {
        if (!is_calm_value(right(focus))) return nullptr;
    }
    return &symbol;
}

/// Does a call by code, if nobody can see how.
bool do_calm_call(Value& context, Value& focus) {
    if (!has_calm_calls() || definitions_change || !leaves_calls()) return false;
    earn_look();
    Symbol* const symbol = calm_call(context, focus);
    if (!symbol) return false;
    guard_nesting();
    const bool was_calm = std::exchange(in_calm_call, true);
    const uint64_t drops = machine.drops;
    begin_run();
    // The arguments go behind the last frame.
    Word* const arguments = machine.registers.top;
    const int count = symbol->parameters;
    take_inner_arguments(focus.take(), count, arguments);
    for (Word& word : std::span(arguments, static_cast<size_t>(count))) {
        if (is_node(word)) word = word_of_result(node_of(word));
    }
    focus = finish_run(run_code(code_of(*symbol)));
    analyse(focus);
    in_calm_call = was_calm;
    if (machine.drops != drops) context = empty_context();
    return true;
}

}  // namespace

Value reduce(Value expression) {
    guard_nesting();
    const TodoArming armed(true);
    analyse(expression);
    if (needs_plain_machine || is_observed()) {
        Value context = empty_context();
        return plain_reduce(context, std::move(expression), do_calm_call);
    }
    begin_run();
    return finish_run(word_of(expression.take()));
}

Value reduce_call(Symbol& function, Value argument) {
    const bool has_code = function.parameters == 1 && is_closed(function.definition);
    if (needs_plain_machine || is_observed() || !has_code) {
        return reduce(pair(function.definition, std::move(argument)));
    }
    guard_nesting();
    const TodoArming armed(true);
    analyse(argument);
    begin_run();
    *machine.registers.top = word_of_result(argument.take());
    return finish_run(run_code(code_of(function)));
}

}  // namespace marl
