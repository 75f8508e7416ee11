// Calls: where a frame begins, and what it takes to get there.
//
// What a built-in wants of the machine's state is reduce/builtin_calls.h's business.
#include <limits>

#include "reduce/analysis.h"
#include "reduce/arguments.h"
#include "reduce/builtin_calls.h"
#include "reduce/changing.h"
#include "reduce/closure.h"
#include "reduce/heads.h"
#include "reduce/interpreter.h"
#include "reduce/interrupts.h"
#include "reduce/meanings.h"
#include "reduce/native/native.h"
#include "reduce/operators.h"
#include "reduce/run_code.h"
#include "reduce/tables.h"

namespace marl {

Code& code_of(Symbol& symbol) {
    if (!symbol.code) {
        MARL_REQUIRE(is_closed(symbol.definition));  // a failed load may have left a letter unbound
        symbol.code = make_code(symbol.definition, !is_lazy_name(symbol.name));
    }
    if (!symbol.code->made) prepare(*symbol.code);
    return *symbol.code;
}

namespace {

const Instruction* start_of(Code& code) {
    if (!code.made) prepare(code);
    return code.start();
}

/// Calls a built-in that is only known now, and may be an operator, on words in place.
Word call_symbol(const Symbol& symbol, Word* arguments) {
    const auto op = static_cast<Op>(symbol.operation);
    if (symbol.operation < 0 || !is_arithmetic(op)) return call_row(*symbol.builtin, arguments);
    return operate_slowly(op, arguments[0], arguments[1]);
}

/// What can be called on words in a row: a Code whose captured words stand behind them by now, or a
/// built-in; neither when the function goes the general way.
struct Called {
    Code* code = nullptr;
    Symbol* symbol = nullptr;
};

/// The code of a closure that takes just so many arguments, if it is made; else null.
const Code* code_of_closure(Word function, int count) {
    return is_closure(function) ? code_on(closure_of(function), count) : nullptr;
}

/// Opens a function that takes just the `count` arguments in the row; leaves it be when it doesn't.
Called open_function(Word function, Word* row, int count) {
    if (is_cell(function)) return {};
    if (is_closure(function)) {
        Closure* closure = closure_of(function);
        Code* code = closure->code;
        if (code->parameters != count) return {};
        open_closure(closure, row + count);
        return {code};
    }
    if (!is_node(function)) return {};
    Node* node = node_of(function);
    int inner;
    Node* head = head_of(node, inner);
    if (inner == 2 && is_leaf_of(head, '\\')) {
        Closure* body = body_closure(node);
        if (!body || body->code->parameters != count) return {};
        for (int i = 0; i < body->code->captures; ++i) {
            row[count + i] = shared_word(body->captured[i]);
        }
        Code* code = body->code;
        release(node);
        return {code};
    }
    if (!is_leaf(head) || !is_name_byte(first_byte(head)) || !symbol_slot(head)) return {};
    // The definition of `\` only gives it a rank.
    if (rank_analysed(node) != count || is_leaf_of(head, '\\')) return {};
    Symbol& symbol = symbol_of_leaf(head);
    if (!symbol.definition || (!symbol.builtin && symbol.parameters > inner + count)) return {};
    for (int i = count; i-- > 0;) row[inner + i] = row[i];
    take_inner_arguments(node, inner, row);
    return {nullptr, &symbol};
}

/// The arithmetic operator that a function of two arguments is; null for any other function.
const Symbol* operator_of(Word function) {
    if (!is_node(function) || !is_leaf(node_of(function))) return nullptr;
    Node* name = node_of(function);
    if (!is_name_byte(first_byte(name)) || rank_analysed(name) != 2) return nullptr;
    const Symbol* symbol = symbol_slot(name);
    if (!symbol || !symbol->definition || !symbol->builtin || symbol->operation < 0) return nullptr;
    return is_arithmetic(static_cast<Op>(symbol->operation)) ? symbol : nullptr;
}

/// Where a name with code begins that wants `count` arguments, and how many it is applied to; null
/// for any other function.
const Instruction* start_of_any(Word function, int count, int& inner) {
    if (!is_node(function) || is_zits_analysed(node_of(function))) return nullptr;
    Node* name = node_of(function);
    for (inner = 0; !is_leaf(name); ++inner) name = as_pair(name)->left;
    return start_of_name(node_of(function), name, inner, count);
}

/// Puts what a function is applied to in front of a row of arguments that stands behind `to`.
void put_in_front(Node* function, int inner, Word* to, const Word* row, int count) {
    Word* last = to + inner + count;
    if (row + count < last) {
        for (int i = count; i-- > 0;) *--last = row[i];
    } else {
        for (int i = 0; i < count; ++i) to[inner + i] = row[i];
    }
    take_inner_arguments(function, inner, to);
}

}  // namespace

void slow_enter(MARL_STATE) {
    if (interrupted) run_interrupt();
    m->stack.top = top;
    m->registers.top = frame;
    if (is_out_of_steps()) {
        for (int i = 0; i < at->b; ++i) release_word(frame[i]);
        Value nothing = leaf("Z");
        analyse(nothing);
        m->focus = word_of(nothing.take());
        MARL_LEAVE;
    }
    if (top >= m->stack.limit) grow_stack();
    if (m->registers.limit - frame < at->d) grow_registers(at->d);
    top = m->stack.top;
    frame = m->registers.top;
#if MARL_NATIVE
    if (at->n < 0) {
        const_cast<Instruction*>(at)->n = std::numeric_limits<int64_t>::max();
        make_native(*at->code);
    }
#endif
    MARL_NEXT;
}

/// The target of a call is known from the first time on: nothing defines a name anew, but while the
/// definitions of a text are completed.
void slow_call(MARL_STATE) {
    if (definitions_change) {
        if (at->op == Op::call) *top++ = {at + 1, 0};
        if (at->op != Op::call_last) frame += at->b;
        MARL_GO_TO(code_of(*at->symbol).start());
    }
    auto& self = const_cast<Instruction&>(*at);
    self.target = code_of(*at->symbol).start();
    self.d = 1;
    MARL_GO_TO(at);
}

namespace {

/// A name with code. What it is applied to already comes in front of the row.
[[gnu::noinline]] void apply_name(MARL_STATE) {
    const Word function = frame[at->a];
    int inner;
    const Instruction* start = start_of_any(function, at->c, inner);
    if (!start) MARL_SLOW(slow_apply);
    top->next = at + 1;
    ++top;
    if (!MARL_TAKES(a)) retain_word(function);
    frame += at->b;
    put_in_front(node_of(function), inner, frame, frame, at->c);
    MARL_GO_TO(start);
}

[[gnu::noinline]] void apply_name_last(MARL_STATE) {
    const Word function = frame[at->a];
    int inner;
    const Instruction* start = start_of_any(function, at->c, inner);
    if (!start) MARL_SLOW(slow_apply_last);
    put_in_front(node_of(function), inner, frame, frame + at->b, at->c);
    MARL_GO_TO(start);
}

/// An operator's value lands at once.
[[gnu::noinline]] void apply_to_two(MARL_STATE) {
    const Word function = frame[at->a];
    const Symbol* symbol = at->c == 2 ? operator_of(function) : nullptr;
    if (!symbol) MARL_SLOW(apply_name);
    if (MARL_TAKES(a)) release_word(function);
    frame += at->b;
    value = operate_slowly(static_cast<Op>(symbol->operation), frame[0], frame[1]);
    MARL_NEXT;
}

[[gnu::noinline]] void apply_to_two_last(MARL_STATE) {
    const Word function = frame[at->a];
    const Symbol* symbol = at->c == 2 ? operator_of(function) : nullptr;
    if (!symbol) MARL_SLOW(apply_name_last);
    release_word(function);
    const Word* const row = frame + at->b;
    value = operate_slowly(static_cast<Op>(symbol->operation), row[0], row[1]);
    MARL_RETURN;
}

}  // namespace

void apply_node(MARL_STATE) {
    if (at->c != 1) MARL_SLOW(apply_to_two);
    const Word function = frame[at->a];
    if (!is_node(function)) MARL_SLOW(slow_apply);
    Node* node = node_of(function);
    const bool taken = MARL_TAKES(a);
    if (taken && count_of(node) == 1) MARL_SLOW(apply_name);
    const Instruction* start = start_on_one(node, frame + at->b, frame[at->b]);
    if (!start) MARL_SLOW(apply_name);
    if (taken) --node->header;
    top->next = at + 1;
    ++top;
    frame += at->b;
    MARL_GO_TO(start);
}

void apply_node_last(MARL_STATE) {
    if (at->c != 1) MARL_SLOW(apply_to_two_last);
    const Word function = frame[at->a];
    if (!is_node(function)) MARL_SLOW(slow_apply_last);
    Node* node = node_of(function);
    if (count_of(node) == 1) MARL_SLOW(apply_name_last);
    const Instruction* start = start_on_one(node, frame, frame[at->b]);
    if (!start) MARL_SLOW(apply_name_last);
    --node->header;
    MARL_GO_TO(start);
}

void slow_apply(MARL_STATE) {
    const bool taken = (at->fields.f & take_a) != 0;
    const Word function = taken ? frame[at->a] : shared_word(frame[at->a]);
    Word* const row = frame + at->b;
    if (const Code* code = code_of_closure(function, at->c)) {
        open_closure(closure_of(function), row + at->c);
        *top++ = {at + 1, 0};
        frame = row;
        MARL_GO_TO(code->start());
    }
    const Called called = open_function(function, row, at->c);
    const Builtin* builtin = called.symbol ? called.symbol->builtin : nullptr;
    if (builtin && !builtin->is_nested) {
        m->stack.top = top;
        m->registers.top = row;
        const Word result = call_symbol(*called.symbol, row);
        top = m->stack.top;
        frame = m->registers.top;
        if (is_done(result)) {
            value = result;
            MARL_NEXT;  // it lands at once
        }
        *m->stack.top++ = {at + 1, 0};
        m->focus = focus_of(result);
        MARL_LEAVE;
    }
    *top++ = {at + 1, 0};
    if (called.code || (called.symbol && !builtin)) {
        frame = row;
        MARL_GO_TO(start_of(called.code ? *called.code : code_of(*called.symbol)));
    }
    m->stack.top = top;
    m->registers.top = row;
    if (builtin) {
        m->focus = focus_of(call_row(*builtin, row));
        MARL_LEAVE;
    }
    for (int i = at->c; i-- > 0;) push(Op::argument, row[i]);
    m->focus = function;
    MARL_LEAVE;
}

void slow_apply_last(MARL_STATE) {
    const Word function = frame[at->a];
    for (int i = 0; i < at->c; ++i) frame[i] = frame[at->b + i];
    if (const Code* code = code_of_closure(function, at->c)) {
        open_closure(closure_of(function), frame + at->c);
        MARL_GO_TO(code->start());
    }
    const Called called = open_function(function, frame, at->c);
    m->stack.top = top;
    m->registers.top = frame;
    if (called.symbol && called.symbol->builtin) {
        const Word result = call_symbol(*called.symbol, frame);
        top = m->stack.top;
        frame = m->registers.top;
        if (is_done(result)) {
            value = result;
            MARL_RETURN;
        }
        m->focus = focus_of(result);
        MARL_LEAVE;
    }
    if (called.code || called.symbol) {
        MARL_GO_TO(start_of(called.code ? *called.code : code_of(*called.symbol)));
    }
    for (int i = at->c; i-- > 0;) push(Op::argument, frame[i]);
    m->focus = function;
    MARL_LEAVE;
}

void slow_evaluate(MARL_STATE) {
    const Word word = frame[at->b];
    if (is_settled(word)) {
        frame[at->a] = word;
        MARL_NEXT;
    }
    *top++ = {at + at->d, 0};
    if (is_closure(word)) {
        frame += at->c;
        Code& code = *closure_of(word)->code;
        open_closure(closure_of(word), frame);
        MARL_GO_TO(start_of(code));
    }
    m->stack.top = top;
    m->registers.top = frame + at->c;
    m->focus = word;
    MARL_LEAVE;
}

void slow_return_work(MARL_STATE) {
    value = frame[at->b];
    if (is_settled(value)) MARL_RETURN;
    if (is_closure(value)) {
        Code& code = *closure_of(value)->code;
        open_closure(closure_of(value), frame);
        MARL_GO_TO(start_of(code));
    }
    m->stack.top = top;
    m->registers.top = frame;
    m->focus = value;
    MARL_LEAVE;
}

}  // namespace marl
