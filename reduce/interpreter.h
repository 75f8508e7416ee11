// What each instruction does.
//
// An instruction is an inline function of its own over the loop's state, which is passed on from
// one to the next and stays in the processor's registers:
//
//   frame  the running code's registers; `top` and `frame` are in memory only while something
//   top    one behind the last entry of the context            else runs (`leave_loop`)
//   m      the machine
//   value  what a frame gives to whoever waits for it
//   at     the instruction
//
// Each one ends in one of the MARL_ ways below, and says nothing of how the next one is reached:
// where the compiler makes a jump of a call in last place (MARL_TAIL_CALLS) that is a jump to what
// runs it, and else a switch in a loop. What is rare is a function of its own outside
// (reduce/slow.cpp), which is entered before anything has changed and goes on by itself.
#pragma once

#include <cstring>

#include "reduce/analysis.h"
#include "reduce/code.h"
#include "reduce/heads.h"
#include "reduce/interrupts.h"
#include "reduce/stack.h"
#include "reduce/tables.h"
#include "value/short_hint.h"

/// In the laboratory's core the machine knows the instruction that it is at, for whoever takes
/// samples of a run.
#ifdef MARL_OBSERVED
#define MARL_NOTE m->note(at, top)
#else
#define MARL_NOTE ((void)0)
#endif

#if MARL_TAIL_CALLS
#define MARL_STATE                                                                               \
    [[maybe_unused]] Word *frame, [[maybe_unused]] StackEntry *top, [[maybe_unused]] Machine *m, \
        [[maybe_unused]] Word value, [[maybe_unused]] const Instruction *at
#ifdef __clang__
#define MARL_JUMP [[clang::musttail]] return
#else
#define MARL_JUMP return
#endif
#define MARL_GO_TO(place)                            \
    do {                                             \
        at = (place);                                \
        MARL_NOTE;                                   \
        MARL_JUMP at->run(frame, top, m, value, at); \
    } while (0)
#define MARL_LEAVE return
#else
#define MARL_STATE                                                                                 \
    [[maybe_unused]] Word *&frame, [[maybe_unused]] StackEntry *&top, [[maybe_unused]] Machine *m, \
        [[maybe_unused]] Word &value, [[maybe_unused]] const Instruction *&at
#define MARL_JUMP return
#define MARL_GO_TO(place) \
    do {                  \
        at = (place);     \
        return;           \
    } while (0)
#define MARL_LEAVE    \
    do {              \
        at = nullptr; \
        return;       \
    } while (0)
#endif
#define MARL_NEXT MARL_GO_TO(at + 1)
#define MARL_SLOW(function) MARL_JUMP function(frame, top, m, value, at)
/// Gives `value` to whoever waits for it.
#define MARL_RETURN            \
    do {                       \
        --top;                 \
        MARL_GO_TO(top->next); \
    } while (0)

namespace marl {

// Outside, in reduce/slow.cpp.
void slow_enter(MARL_STATE);
void slow_drop(MARL_STATE);
void slow_compute(MARL_STATE);
void slow_add(MARL_STATE);
void slow_subtract(MARL_STATE);
void slow_multiply(MARL_STATE);
void slow_divide(MARL_STATE);
void slow_modulo(MARL_STATE);
void slow_less(MARL_STATE);
void slow_not_less(MARL_STATE);
void slow_same(MARL_STATE);
void slow_differ(MARL_STATE);
void slow_branch(MARL_STATE);
void slow_choose(MARL_STATE);
void slow_builtin(MARL_STATE);
void slow_builtin_last(MARL_STATE);
void slow_builtin_held(MARL_STATE);
void slow_builtin_nested(MARL_STATE);
void slow_call(MARL_STATE);
void slow_apply(MARL_STATE);
void slow_apply_last(MARL_STATE);
void slow_name(MARL_STATE);
void slow_evaluate(MARL_STATE);
void slow_return_work(MARL_STATE);
void slow_cell(MARL_STATE);
void slow_pairs(MARL_STATE);
void slow_closure(MARL_STATE);
void slow_construct(MARL_STATE);
void slow_push_argument(MARL_STATE);
void slow_go(MARL_STATE);
void slow_if_strict(MARL_STATE);
void slow_if_held(MARL_STATE);
void leave_loop(MARL_STATE);

// The operands and the result of arithmetic on two short Words, whose lowest bit is set.
inline int64_t twice(Word word) { return static_cast<int64_t>(word & ~Word{1}); }

inline bool divide_short(Word x, Word y, int64_t& twice_quotient) {
    const int64_t divisor = short_of(y);
    return divisor != 0 &&
           !__builtin_mul_overflow(short_div(short_of(x), divisor), 2, &twice_quotient);
}
inline bool modulo_short(Word x, Word y, int64_t& twice_rest) {
    const int64_t divisor = short_of(y);
    return divisor != 0 && !__builtin_mul_overflow(short_mod(short_of(x), divisor), 2, &twice_rest);
}

/// The first two bytes of a Leaf's text: those of a name of one letter, and its end. An array of no
/// elements has one.
inline uint16_t two_bytes(const Node* leaf) {
    const auto* text = reinterpret_cast<const uint8_t*>(leaf_text(leaf));
    return text[0] == '\n' ? uint16_t{'\n'} : static_cast<uint16_t>(text[0] | text[1] << 8);
}
constexpr uint16_t one_letter(char letter) { return static_cast<uint8_t>(letter); }

inline Word get(const Operand& operand, const Word* frame) {
    switch (operand.from) {
        case From::take: return frame[operand.reg];
        case From::share: return shared_word(frame[operand.reg]);
        case From::constant: break;
    }
    return shared_word(operand.word);
}

/// The Leaf in front of an application that wants more arguments, which is no zits.
inline Node* name_in_front(Node* application) {
    while (!is_leaf(application)) application = as_pair(application)->left;
    return application;
}

/// Where the code of a name begins, when it has any and wants `count` arguments more in front of
/// which the `application` may hold others; null when it goes the general way.
inline const Instruction* start_of_name(Node* application, Node* name, int count) {
    const int code = top_byte(application) & 0x7F;
    if (code != rank_zero_code + count || !is_name_byte(first_byte(name))) return nullptr;
    const Symbol* symbol = symbol_slot(name);
    if (!symbol || symbol->builtin || !symbol->code || !symbol->code->made) return nullptr;
    return symbol->code->start();
}

/// Where a function begins that takes just one argument, when it is a closure, or a name that has
/// code and may have an argument already. Its registers are set; the function itself keeps what it
/// holds. Null, and nothing is done, for any other one.
inline const Instruction* start_on_one(Word function, Word* row, Word argument) {
    if (is_closure(function)) {
        const Closure* closure = closure_of(function);
        if (kind_of(closure) != ClosureKind::lambda) return nullptr;
        const Code* code = closure->code;
        if (code->parameters != 1 || !code->made) return nullptr;
        const Word* captured = closure->captured;
        *row = argument;
        for (int i = code->captures; i > 0; --i) *++row = shared_word(*captured++);
        return code->start();
    }
    if (!is_node(function)) return nullptr;
    Node* node = node_of(function);
    if (is_leaf(node)) {
        const Instruction* start = start_of_name(node, node, 1);
        if (start) *row = argument;
        return start;
    }
    Node* name = as_pair(node)->left;
    if (!is_leaf(name)) return nullptr;
    const Instruction* start = start_of_name(node, name, 1);
    if (!start) return nullptr;
    row[1] = argument;
    row[0] = shared_word(as_pair(node)->right);
    return start;
}

/// Whether a node is (letter x) y.
inline bool is_pair_of(const Node* node, char letter) {
    if (is_leaf(node)) return false;
    const Node* inner = static_cast<const PairNode*>(node)->left;
    if (is_leaf(inner)) return false;
    const Node* head = static_cast<const PairNode*>(inner)->left;
    return is_leaf(head) && two_bytes(head) == one_letter(letter);
}

/// The way that a choice goes for a Leaf in front of its terms; 0 for that of any other head.
inline int32_t way_of_leaf(const Choice& choice, const Node* leaf) {
    switch (two_bytes(leaf)) {
        case one_letter('K'): return choice.k;
        case one_letter('H'): return choice.h;
        case one_letter('I'): return choice.identity;
        default: return 0;
    }
}

/// The rest of a choice before two operands: a truth value is looked at here.
inline void choose_truth(MARL_STATE) {
    const Word head = frame[at->b];
    if (!is_node(head) || !is_leaf(node_of(head)) || count_of(node_of(head)) == 1) {
        MARL_SLOW(slow_choose);
    }
    const int32_t way = way_of_leaf(*at->choice, node_of(head));
    if (way == 0) MARL_SLOW(slow_choose);
    if ((at->fields.f & take_b) != 0) --node_of(head)->header;
    MARL_GO_TO(at + way);
}

#define MARL_INSTRUCTION(name) inline void run_##name(MARL_STATE)

MARL_INSTRUCTION(enter) {
    const bool has_room = m->registers.limit - frame >= at->d && top < m->stack.limit;
    if (__builtin_expect(!has_room || interrupted || counts_steps, 0)) MARL_SLOW(slow_enter);
    MARL_NEXT;
}
MARL_INSTRUCTION(move) {
    frame[at->a] = frame[at->b];
    MARL_NEXT;
}
MARL_INSTRUCTION(share) {
    const Word word = frame[at->b];
    retain_word(word);
    frame[at->a] = word;
    MARL_NEXT;
}
MARL_INSTRUCTION(constant) {
    const Word word = at->word;
    retain(node_of(word));
    frame[at->a] = word;
    MARL_NEXT;
}
MARL_INSTRUCTION(number) {
    frame[at->a] = at->word;
    MARL_NEXT;
}
MARL_INSTRUCTION(drop) { MARL_SLOW(slow_drop); }
MARL_INSTRUCTION(drop_one) {
    const Word word = frame[at->b];
    if (is_counted(word)) {
        Node* holder = holder_of(word);
        if (__builtin_expect(count_of(holder) == 1, 0)) MARL_SLOW(slow_drop);
        --holder->header;
    }
    MARL_NEXT;
}
MARL_INSTRUCTION(jump) { MARL_GO_TO(at + at->d); }

#define MARL_ARITHMETIC(name, fast)                                        \
    MARL_INSTRUCTION(name) {                                               \
        const Word x = frame[at->b];                                       \
        const Word y = frame[at->c];                                       \
        int64_t result;                                                    \
        if (__builtin_expect((x & y & 1) == 0, 0)) MARL_SLOW(slow_##name); \
        if (__builtin_expect(!(fast), 0)) MARL_SLOW(slow_compute);         \
        frame[at->a] = static_cast<uint64_t>(result) | 1;                  \
        MARL_NEXT;                                                         \
    }                                                                      \
    MARL_INSTRUCTION(name##_number) {                                      \
        const Word x = frame[at->b];                                       \
        const Word y = at->word;                                           \
        int64_t result;                                                    \
        if (__builtin_expect((x & 1) == 0, 0)) MARL_SLOW(slow_compute);    \
        if (__builtin_expect(!(fast), 0)) MARL_SLOW(slow_compute);         \
        frame[at->a] = static_cast<uint64_t>(result) | 1;                  \
        MARL_NEXT;                                                         \
    }
MARL_ARITHMETIC(add, !__builtin_add_overflow(twice(x), twice(y), &result))
MARL_ARITHMETIC(subtract, !__builtin_sub_overflow(twice(x), twice(y), &result))
MARL_ARITHMETIC(multiply, !__builtin_mul_overflow(short_of(x), twice(y), &result))
MARL_ARITHMETIC(divide, divide_short(x, y, result))
MARL_ARITHMETIC(modulo, modulo_short(x, y, result))
#undef MARL_ARITHMETIC

// NOLINTBEGIN(bugprone-macro-parentheses): a sign between operands can't have any.
#define MARL_COMPARISON(name, sign)                                          \
    MARL_INSTRUCTION(name) {                                                 \
        const Word x = frame[at->b];                                         \
        const Word y = frame[at->c];                                         \
        if (__builtin_expect((x & y & 1) == 0, 0)) MARL_SLOW(slow_##name);   \
        if (static_cast<int64_t>(x) sign static_cast<int64_t>(y)) MARL_NEXT; \
        MARL_GO_TO(at + at->d);                                              \
    }                                                                        \
    MARL_INSTRUCTION(name##_number) {                                        \
        const Word x = frame[at->b];                                         \
        if (__builtin_expect((x & 1) == 0, 0)) MARL_SLOW(slow_branch);       \
        if (static_cast<int64_t>(x) sign at->n) MARL_NEXT;                   \
        MARL_GO_TO(at + at->d);                                              \
    }
MARL_COMPARISON(less, <)
MARL_COMPARISON(not_less, >=)
MARL_COMPARISON(same, ==)
MARL_COMPARISON(differ, !=)
#undef MARL_COMPARISON
// NOLINTEND(bugprone-macro-parentheses)

MARL_INSTRUCTION(choose_one) {
    const Word head = frame[at->b];
    if (is_node(head)) {
        const Node* node = node_of(head);
        const bool may_have_way =
            is_leaf(node) ? two_bytes(node) == one_letter('I') : is_pair_of(node, 'V');
        if (may_have_way) MARL_SLOW(slow_choose);
    } else if (is_cell(head)) {
        MARL_SLOW(slow_choose);
    }
    if ((at->fields.f & take_b) == 0) retain_word(head);
    frame[at->a] = head;
    MARL_GO_TO(at + at->choice->other);
}
MARL_INSTRUCTION(choose_two) {
    const Word head = frame[at->b];
    if (!is_closure(head)) MARL_SLOW(choose_truth);
    const Choice& choice = *at->choice;
    if (kind_of_closure(head) != ClosureKind::list_cell || choice.pair == 0) MARL_SLOW(slow_choose);
    Cell* cell = cell_of(head);
    const bool taken = (at->fields.f & take_b) != 0;
    const Word x = frame[choice.x] = cell->x;
    const Word y = frame[choice.y] = cell->y;
    at += choice.pair;
    if (taken && count_of(cell) == 1) {
        free_node(cell, sizeof(Cell));
        MARL_GO_TO(at);
    }
    if (taken) --cell->header;
    retain_word(x);
    retain_word(y);
    MARL_GO_TO(at);
}
MARL_INSTRUCTION(cell) {
    FreeBlock* const block = next_node(sizeof(Cell));
    if (__builtin_expect(block == nullptr, 0)) MARL_SLOW(slow_cell);
    const Word x = get(at->operands[0], frame);
    const Word y = get(at->operands[1], frame);
    take_next_node(block, sizeof(Cell));
    frame[at->a] = make_cell(block, static_cast<ClosureKind>(at->d), x, y);
    MARL_NEXT;
}
MARL_INSTRUCTION(pairs) { MARL_SLOW(slow_pairs); }
MARL_INSTRUCTION(closure) { MARL_SLOW(slow_closure); }
MARL_INSTRUCTION(construct) { MARL_SLOW(slow_construct); }
MARL_INSTRUCTION(builtin) { MARL_SLOW(slow_builtin); }
MARL_INSTRUCTION(builtin_nested) { MARL_SLOW(slow_builtin_nested); }
MARL_INSTRUCTION(builtin_last) { MARL_SLOW(slow_builtin_last); }
MARL_INSTRUCTION(builtin_held) { MARL_SLOW(slow_builtin_held); }

// A call holds its symbol until its target is known, and then `target` (reduce/slow.cpp).
MARL_INSTRUCTION(call) {
    if (__builtin_expect(at->d == 0, 0)) MARL_SLOW(slow_call);
    top->next = at + 1;
    ++top;
    frame += at->b;
    MARL_GO_TO(at->target);
}
MARL_INSTRUCTION(call_last) {
    if (__builtin_expect(at->d == 0, 0)) MARL_SLOW(slow_call);
    MARL_GO_TO(at->target);
}
MARL_INSTRUCTION(call_held) {
    if (__builtin_expect(at->d == 0, 0)) MARL_SLOW(slow_call);
    frame += at->b;
    MARL_GO_TO(at->target);
}
MARL_INSTRUCTION(apply) {
    const Word function = frame[at->a];
    const bool taken = (at->fields.f & take_a) != 0;
    if (at->c != 1 || !is_counted(function)) MARL_SLOW(slow_apply);
    if (taken && count_of(holder_of(function)) == 1) MARL_SLOW(slow_apply);
    const Instruction* start = start_on_one(function, frame + at->b, frame[at->b]);
    if (!start) MARL_SLOW(slow_apply);
    if (taken) --holder_of(function)->header;
    top->next = at + 1;
    ++top;
    frame += at->b;
    MARL_GO_TO(start);
}
MARL_INSTRUCTION(apply_last) {
    const Word function = frame[at->a];
    if (at->c != 1 || !is_counted(function)) MARL_SLOW(slow_apply_last);
    if (count_of(holder_of(function)) == 1) MARL_SLOW(slow_apply_last);
    const Word argument = frame[at->b];
    const Instruction* start = start_on_one(function, frame, argument);
    if (!start) MARL_SLOW(slow_apply_last);
    --holder_of(function)->header;
    MARL_GO_TO(start);
}
MARL_INSTRUCTION(name) { MARL_SLOW(slow_name); }
MARL_INSTRUCTION(evaluate) { MARL_SLOW(slow_evaluate); }
MARL_INSTRUCTION(if_strict) {
    const Word function = frame[at->b];
    if (is_closure(function)) {
        const Closure* closure = closure_of(function);
        const bool is_lambda = kind_of(closure) == ClosureKind::lambda;
        if (is_lambda && closure->code->parameters >= at->c) MARL_NEXT;
        MARL_GO_TO(at + at->d);
    }
    if (!is_node(function)) MARL_SLOW(slow_if_strict);
    const int code = top_byte(node_of(function)) & 0x7F;
    if (code < rank_zero_code + at->c || code >= zits_code) MARL_SLOW(slow_if_strict);
    if (lazy_heads[first_byte(name_in_front(node_of(function)))]) MARL_GO_TO(at + at->d);
    MARL_NEXT;
}
MARL_INSTRUCTION(if_held) { MARL_SLOW(slow_if_held); }
MARL_INSTRUCTION(wait) {
    top->next = at + at->d;
    ++top;
    MARL_NEXT;
}
MARL_INSTRUCTION(push_argument) { MARL_SLOW(slow_push_argument); }
MARL_INSTRUCTION(return_value) {
    value = frame[at->b];
    MARL_RETURN;
}
MARL_INSTRUCTION(return_number) {
    value = at->word;
    MARL_RETURN;
}
MARL_INSTRUCTION(return_constant) {
    value = at->word;
    retain(node_of(value));
    MARL_RETURN;
}
MARL_INSTRUCTION(return_work) { MARL_SLOW(slow_return_work); }
MARL_INSTRUCTION(go) { MARL_SLOW(slow_go); }
MARL_INSTRUCTION(land) {
    frame -= at->b;
    frame[at->a] = value;
    MARL_NEXT;
}
MARL_INSTRUCTION(land_before_choice) {
    frame -= at->b;
    frame[at->a] = value;
    MARL_NEXT;
}

// An entry that is no code: its place in the context is the machine's business.
MARL_INSTRUCTION(base) { MARL_SLOW(leave_loop); }
MARL_INSTRUCTION(argument) { MARL_SLOW(leave_loop); }
MARL_INSTRUCTION(function) { MARL_SLOW(leave_loop); }
MARL_INSTRUCTION(let) { MARL_SLOW(leave_loop); }
MARL_INSTRUCTION(update) { MARL_SLOW(leave_loop); }
MARL_INSTRUCTION(plain) { MARL_SLOW(leave_loop); }

#undef MARL_INSTRUCTION

}  // namespace marl
