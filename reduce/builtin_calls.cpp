// A built-in that is called takes Words as they are, where it can, and else nodes.
#include "reduce/builtin_calls.h"

#include "reduce/analysis.h"
#include "reduce/arguments.h"
#include "reduce/closure.h"
#include "reduce/heads.h"
#include "reduce/interpreter.h"
#include "reduce/interrupts.h"
#include "reduce/operators.h"
#include "value/identity.h"

namespace marl {

namespace {

/// Calls a built-in that takes Words as they are, and does, on words in place. Not while an
/// interrupt waits; one may have cut it short.
bool call_on_words(const Builtin& row, Word* arguments, Word& result) {
    return row.on_words && !keeps_identity && !interrupted && row.on_words(arguments, result);
}

/// Calls a built-in on words in place; gives an owned Word. What an interrupt asks for comes first,
/// and again behind a call that it has cut short.
Word call_on_nodes(const Builtin& row, Word* arguments) {
    if (interrupted) run_interrupt();
    Value result = call_builtin(row, arguments);
    if (interrupted) run_interrupt();
    return word_of_result(result.take());
}

/// Whether a result is done, as most are at sight: a number, or a Leaf, which is no abort.
bool is_done_at_sight(Word result) {
    if (!is_node(result)) return !is_closure(result);
    return is_leaf(node_of(result)) && settled(node_of(result));
}

}  // namespace

Word call_row(const Builtin& row, Word* arguments) {
    Word result;
    if (!call_on_words(row, arguments, result)) return call_on_nodes(row, arguments);
    if (interrupted) run_interrupt();
    return result;
}

bool is_done(Word result) {
    return is_settled(result) && !(is_node(result) && is_abort(node_of(result)));
}

Word focus_of(Word result) {
    if (is_node(result) && is_abort(node_of(result))) drop_context();
    return result;
}

namespace {

/// The rest of a built-in whose result is `value`: it goes into a register, or is the focus.
[[gnu::noinline]] void builtin_gives(MARL_STATE) {
    if (is_done(value)) {
        frame[at->a] = value;
        MARL_NEXT;
    }
    *top++ = {at + at->d, 0};
    m->stack.top = top;
    m->registers.top = frame + at->b;
    m->focus = focus_of(value);
    MARL_LEAVE;
}

[[gnu::noinline]] void builtin_on_nodes(MARL_STATE) {
    value = call_on_nodes(*at->builtin, frame + at->b);
    top = m->stack.top;
    frame = m->registers.top - at->b;
    if (!is_done_at_sight(value)) MARL_SLOW(builtin_gives);
    frame[at->a] = value;
    MARL_NEXT;
}

}  // namespace

void slow_builtin(MARL_STATE) {
    m->stack.top = top;
    m->registers.top = frame + at->b;
    // By way of the machine: a local whose address is known leaves no jump at the end.
    if (!call_on_words(*at->builtin, frame + at->b, m->focus)) MARL_SLOW(builtin_on_nodes);
    value = m->focus;
    if (interrupted) run_interrupt();
    if (!is_done_at_sight(value)) MARL_SLOW(builtin_gives);
    frame[at->a] = value;
    MARL_NEXT;
}

/// The frame waits from the start, since a text that is loaded may take all frames apart.
void slow_builtin_nested(MARL_STATE) {
    *top++ = {at + at->d, 0};
    m->stack.top = top;
    m->registers.top = frame + at->b;
    m->focus = focus_of(call_row(*at->builtin, frame + at->b));
    MARL_LEAVE;
}

namespace {

/// The rest of a built-in whose result, `value`, is the frame's.
[[gnu::noinline]] void builtin_gives_last(MARL_STATE) {
    if (is_done(value)) MARL_RETURN;
    m->focus = focus_of(value);
    MARL_LEAVE;
}

[[gnu::noinline]] void builtin_last_on_nodes(MARL_STATE) {
    value = call_on_nodes(*at->builtin, frame + at->b);
    top = m->stack.top;
    frame = m->registers.top;
    if (!is_done_at_sight(value)) MARL_SLOW(builtin_gives_last);
    MARL_RETURN;
}

}  // namespace

void slow_builtin_last(MARL_STATE) {
    m->stack.top = top;
    m->registers.top = frame;
    if (!call_on_words(*at->builtin, frame + at->b, m->focus)) MARL_SLOW(builtin_last_on_nodes);
    value = m->focus;
    if (interrupted) run_interrupt();
    if (!is_done_at_sight(value)) MARL_SLOW(builtin_gives_last);
    MARL_RETURN;
}

void slow_builtin_held(MARL_STATE) {
    m->stack.top = top;
    m->registers.top = frame + at->d;
    m->focus = focus_of(call_row(*at->builtin, frame + at->b));
    MARL_LEAVE;
}

}  // namespace marl
