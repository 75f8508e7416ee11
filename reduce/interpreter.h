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
#include "reduce/operands.h"
#include "reduce/stack.h"
#include "reduce/tables.h"
#include "value/real_word.h"
#include "value/short_hint.h"

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
void apply_node(MARL_STATE);
void apply_node_last(MARL_STATE);
void slow_name(MARL_STATE);
void slow_evaluate(MARL_STATE);
void slow_return_work(MARL_STATE);
void slow_cell(MARL_STATE);
void slow_pairs(MARL_STATE);
void slow_closure(MARL_STATE);
void finish_slowly(MARL_STATE);
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
           !__builtin_mul_overflow(integer_div(short_of(x), divisor), 2, &twice_quotient);
}
inline bool modulo_short(Word x, Word y, int64_t& twice_rest) {
    const int64_t divisor = short_of(y);
    return divisor != 0 &&
           !__builtin_mul_overflow(integer_mod(short_of(x), divisor), 2, &twice_rest);
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

/// Where the code of a name begins, when it has any and an application of it to `inner` arguments
/// wants `count` more; null when it goes the general way. The rank alone doesn't tell: the name may
/// have got more parameters since.
inline const Instruction* start_of_name(Node* application, Node* name, int inner, int count) {
    const int rank = top_byte(application) & 0x7F;
    if (rank != rank_zero_code + count || !is_name_byte(first_byte(name))) return nullptr;
    const Symbol* symbol = symbol_slot(name);
    if (!symbol || symbol->builtin) return nullptr;
    const Code* code = symbol->code.get();
    return code && code->made && code->parameters == inner + count ? code->start() : nullptr;
}

/// Where a name begins that has code and wants just one argument, to which it may have been applied
/// to one already. Its registers are set; the function itself keeps what it holds. Null, and
/// nothing is done, for any other function that is a node.
inline const Instruction* start_on_one(Node* function, Word* row, Word argument) {
    if (is_leaf(function)) {
        const Instruction* start = start_of_name(function, function, 0, 1);
        if (start) *row = argument;
        return start;
    }
    Node* name = as_pair(function)->left;
    if (!is_leaf(name)) return nullptr;
    const Instruction* start = start_of_name(function, name, 1, 1);
    if (!start) return nullptr;
    row[1] = argument;
    row[0] = shared_word(as_pair(function)->right);
    return start;
}

/// The code of a lambda that takes just so many arguments, if it is made; else null.
inline const Code* code_on(const Closure* closure, int count) {
    if (kind_of(closure) != ClosureKind::lambda) return nullptr;
    const Code* code = closure->code;
    return code->parameters == count && code->made ? code : nullptr;
}

/// Whether a closure that nobody else holds can be opened without a call.
inline bool opens_at_once(const Closure* closure, const Code* code) {
    return MARL_POOL && !closure->node && code->captures <= most_pooled_captures;
}
/// Moves what such a closure captured to `to`, and frees it.
inline void move_captured(Closure* closure, const Code* code, Word* to) {
    const Word* captured = closure->captured;
    for (int i = code->captures; i > 0; --i) *to++ = *captured++;
    const size_t size = closure_size(static_cast<uint64_t>(code->captures));
    free_small_node(closure, size, MARL_FREE_LISTS);
}
/// Copies what a closure captured, which keeps it, to `to`.
inline void share_captured(const Closure* closure, const Code* code, Word* to) {
    const Word* captured = closure->captured;
    for (int i = code->captures; i > 0; --i) *to++ = shared_word(*captured++);
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

/// Gives up a name of one letter; false, and nothing is done, where that takes a call.
MARL_INLINE bool drop_letter(Node* leaf) {
    if (count_of(leaf) > 1) {
        --leaf->header;
        return true;
    }
    if (MARL_POOL) free_small_node(symbol_word(leaf), letter_leaf_size, MARL_FREE_LISTS);
    return MARL_POOL;
}

/// The rest of a choice before two operands, for what is no closure: each truth value has a way.
MARL_INLINE void choose_other(MARL_STATE) {
    const Word head = MARL_REGISTER(b);
    if (is_node(head)) {
        Node* node = node_of(head);
        if (!is_leaf(node)) MARL_SLOW(slow_choose);
        const uint16_t name = two_bytes(node);
        if (name == one_letter('K') && MARL_HAS_WAY(k)) {
            if (MARL_TAKES(b) && !drop_letter(node)) MARL_SLOW(slow_choose);
            MARL_WAY(k);
        }
        if (name == one_letter('H') && MARL_HAS_WAY(h)) {
            if (MARL_TAKES(b) && !drop_letter(node)) MARL_SLOW(slow_choose);
            MARL_WAY(h);
        }
        const bool may_have_way =
            name == one_letter('K') || name == one_letter('H') || name == one_letter('I');
        if (may_have_way) MARL_SLOW(slow_choose);
        if (!MARL_TAKES(b)) retain(node);
    }
    MARL_REGISTER(a) = head;
    MARL_WAY(other);
}

#define MARL_INSTRUCTION(name) inline void run_##name(MARL_STATE)

MARL_INSTRUCTION(enter) {
    const bool has_room = MARL_HAS_ROOM && top < m->stack.limit;
    if (__builtin_expect(!has_room || interrupted || counts_steps || MARL_IS_DUE, 0)) {
        MARL_SLOW(slow_enter);
    }
    MARL_NEXT;
}
MARL_INSTRUCTION(move) {
    MARL_REGISTER(a) = MARL_REGISTER(b);
    MARL_NEXT;
}
MARL_INSTRUCTION(share) {
    const Word word = MARL_REGISTER(b);
    retain_word(word);
    MARL_REGISTER(a) = word;
    MARL_NEXT;
}
MARL_INSTRUCTION(constant) {
    const Word word = MARL_WORD;
    retain(node_of(word));
    MARL_REGISTER(a) = word;
    MARL_NEXT;
}
MARL_INSTRUCTION(number) {
    MARL_REGISTER(a) = MARL_WORD;
    MARL_NEXT;
}
MARL_INSTRUCTION(drop) {
    const Word word = MARL_REGISTER(b);
    if (is_counted(word)) {
        Node* holder = holder_of(word);
        if (__builtin_expect(count_of(holder) == 1, 0)) MARL_SLOW(slow_drop);
        --holder->header;
    }
    MARL_NEXT;
}
MARL_INSTRUCTION(jump) { MARL_FURTHER; }

// Two reals that are Words, and whose result is one. In the loop this is outside, in
// reduce/slow.cpp, so that what works on integers saves no register for it.
#define MARL_ON_REALS(name, result)                                  \
    MARL_INLINE void reals_##name(MARL_STATE) {                      \
        const Word x = MARL_REGISTER(b);                             \
        const Word y = MARL_REGISTER(c);                             \
        if (!is_real(x) || !is_real(y)) MARL_SLOW(slow_compute);     \
        const Word word = real_word(result);                         \
        if (__builtin_expect(word == 0, 0)) MARL_SLOW(slow_compute); \
        MARL_REGISTER(a) = word;                                     \
        MARL_NEXT;                                                   \
    }
MARL_ON_REALS(add, real_of(x) + real_of(y))
MARL_ON_REALS(subtract, real_of(x) - real_of(y))
MARL_ON_REALS(multiply, real_of(x) * real_of(y))
MARL_ON_REALS(divide, real_of(x) / real_of(y))
#undef MARL_ON_REALS

#define MARL_BETWEEN_REALS(name, sign)                          \
    MARL_INLINE void reals_##name(MARL_STATE) {                 \
        const Word x = MARL_REGISTER(b);                        \
        const Word y = MARL_REGISTER(c);                        \
        if (!is_real(x) || !is_real(y)) MARL_SLOW(slow_branch); \
        if (real_of(x) sign real_of(y)) MARL_NEXT;              \
        MARL_FURTHER;                                           \
    }
MARL_BETWEEN_REALS(less, <)
MARL_BETWEEN_REALS(not_less, >=)
MARL_BETWEEN_REALS(same, ==)
MARL_BETWEEN_REALS(differ, !=)
#undef MARL_BETWEEN_REALS
MARL_INLINE void reals_modulo(MARL_STATE) { MARL_SLOW(slow_compute); }

// A sum keeps the lowest bit of its first operand, which is set; the second one is even.
#define MARL_ARITHMETIC(name, tag, fast)                                \
    MARL_INSTRUCTION(name) {                                            \
        const Word x = MARL_REGISTER(b);                                \
        const Word y = MARL_REGISTER(c);                                \
        [[maybe_unused]] const int64_t even = twice(y);                 \
        int64_t result;                                                 \
        if (__builtin_expect((x & y & 1) == 0, 0)) MARL_REALS(name);    \
        if (__builtin_expect(!(fast), 0)) MARL_SLOW(slow_compute);      \
        MARL_REGISTER(a) = static_cast<uint64_t>(result) | (tag);       \
        MARL_NEXT;                                                      \
    }                                                                   \
    MARL_INSTRUCTION(name##_number) {                                   \
        const Word x = MARL_REGISTER(b);                                \
        [[maybe_unused]] const auto y = static_cast<Word>(MARL_NUMBER); \
        [[maybe_unused]] const int64_t even = MARL_EVEN_NUMBER;         \
        int64_t result;                                                 \
        if (__builtin_expect((x & 1) == 0, 0)) MARL_SLOW(slow_compute); \
        if (__builtin_expect(!(fast), 0)) MARL_SLOW(slow_compute);      \
        MARL_REGISTER(a) = static_cast<uint64_t>(result) | (tag);       \
        MARL_NEXT;                                                      \
    }
MARL_ARITHMETIC(add, 0, !__builtin_add_overflow(static_cast<int64_t>(x), even, &result))
MARL_ARITHMETIC(subtract, 0, !__builtin_sub_overflow(static_cast<int64_t>(x), even, &result))
MARL_ARITHMETIC(multiply, 1, !__builtin_mul_overflow(short_of(x), even, &result))
MARL_ARITHMETIC(divide, 1, divide_short(x, y, result))
MARL_ARITHMETIC(modulo, 1, modulo_short(x, y, result))
#undef MARL_ARITHMETIC

// NOLINTBEGIN(bugprone-macro-parentheses): a sign between operands can't have any.
#define MARL_COMPARISON(name, sign)                                          \
    MARL_INSTRUCTION(name) {                                                 \
        const Word x = MARL_REGISTER(b);                                     \
        const Word y = MARL_REGISTER(c);                                     \
        if (__builtin_expect((x & y & 1) == 0, 0)) MARL_REALS(name);         \
        if (static_cast<int64_t>(x) sign static_cast<int64_t>(y)) MARL_NEXT; \
        MARL_FURTHER;                                                        \
    }                                                                        \
    MARL_INSTRUCTION(name##_number) {                                        \
        const Word x = MARL_REGISTER(b);                                     \
        if (__builtin_expect((x & 1) == 0, 0)) MARL_SLOW(slow_branch);       \
        if (static_cast<int64_t>(x) sign MARL_NUMBER) MARL_NEXT;             \
        MARL_FURTHER;                                                        \
    }
MARL_COMPARISON(less, <)
MARL_COMPARISON(not_less, >=)
MARL_COMPARISON(same, ==)
MARL_COMPARISON(differ, !=)
#undef MARL_COMPARISON
// NOLINTEND(bugprone-macro-parentheses)

/// The way of a choice that its head, a cell of the right kind, goes.
MARL_INLINE void choose_cell(MARL_STATE) {
    Cell* cell = cell_of(MARL_REGISTER(b));
    const bool taken = MARL_TAKES(b);
    const Word x = MARL_PART(x) = cell->x;
    const Word y = MARL_PART(y) = cell->y;
    if (taken && count_of(cell) == 1) {
        free_node(cell, sizeof(Cell));
        MARL_WAY(pair);
    }
    if (taken) --cell->header;
    retain_word(x);
    retain_word(y);
    MARL_WAY(pair);
}

MARL_INSTRUCTION(choose_one) {
    const Word head = MARL_REGISTER(b);
    if (is_node(head)) {
        const Node* node = node_of(head);
        const bool may_have_way =
            is_leaf(node) ? two_bytes(node) == one_letter('I') : is_pair_of(node, 'V');
        if (may_have_way) MARL_SLOW(slow_choose);
    } else if (is_cell(head)) {
        const bool has_way = kind_of_closure(head) == ClosureKind::pair_cell && MARL_HAS_WAY(pair);
        if (!has_way) MARL_SLOW(slow_choose);
        MARL_JUMP choose_cell(frame, top, m, value, at);
    }
    if (!MARL_TAKES(b)) retain_word(head);
    MARL_REGISTER(a) = head;
    MARL_WAY(other);
}
MARL_INSTRUCTION(choose_two) {
    const Word head = MARL_REGISTER(b);
    if (!is_closure(head)) MARL_SLOW(choose_other);
    if (kind_of_closure(head) != ClosureKind::list_cell || !MARL_HAS_WAY(pair))
        MARL_SLOW(slow_choose);
    MARL_JUMP choose_cell(frame, top, m, value, at);
}
MARL_INSTRUCTION(cell) {
    FreeBlock* const block = next_node(sizeof(Cell));
    if (__builtin_expect(block == nullptr, 0)) MARL_SLOW(slow_cell);
    const Word x = MARL_OPERAND(0);
    const Word y = MARL_OPERAND(1);
    take_next_node(block, sizeof(Cell));
    MARL_REGISTER(a) = make_cell(block, static_cast<ClosureKind>(MARL_KIND), x, y);
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
    if (__builtin_expect(!MARL_IS_LINKED, 0)) MARL_SLOW(slow_call);
    top->next = MARL_NEXT_ONE;
    ++top;
    frame = &MARL_REGISTER(b);
    MARL_ENTER_TARGET;
}
MARL_INSTRUCTION(call_last) {
    if (__builtin_expect(!MARL_IS_LINKED, 0)) MARL_SLOW(slow_call);
    MARL_ENTER_TARGET;
}
MARL_INSTRUCTION(call_held) {
    if (__builtin_expect(!MARL_IS_LINKED, 0)) MARL_SLOW(slow_call);
    frame = &MARL_REGISTER(b);
    MARL_ENTER_TARGET;
}
MARL_INSTRUCTION(apply) {
    const Word function = MARL_REGISTER(a);
    if (!is_closure(function)) MARL_SLOW(apply_node);
    Closure* closure = closure_of(function);
    const Code* code = code_on(closure, MARL_COUNT);
    if (!code) MARL_SLOW(slow_apply);
    const bool taken = MARL_TAKES(a);
    const bool alone = taken && count_of(closure) == 1;
    if (alone && !opens_at_once(closure, code)) MARL_SLOW(slow_apply);
    top->next = MARL_NEXT_ONE;
    ++top;
    frame = &MARL_REGISTER(b);
    MARL_FREE_MACHINE;
    if (alone) {
        move_captured(closure, code, frame + MARL_COUNT);
    } else {
        if (taken) --closure->header;
        share_captured(closure, code, frame + MARL_COUNT);
    }
    MARL_FIND_MACHINE;
    MARL_GO_TO(code->start());
}
MARL_INSTRUCTION(apply_last) {
    const Word function = MARL_REGISTER(a);
    if (!is_closure(function)) MARL_SLOW(apply_node_last);
    Closure* closure = closure_of(function);
    const Code* code = code_on(closure, MARL_COUNT);
    if (!code || (count_of(closure) == 1 && !opens_at_once(closure, code))) {
        MARL_SLOW(slow_apply_last);
    }
    MARL_FREE_MACHINE;
    const Word* argument = &MARL_REGISTER(b);
    Word* to = frame;
    for (int i = MARL_COUNT; i > 0; --i) *to++ = *argument++;
    if (count_of(closure) == 1) {
        move_captured(closure, code, to);
    } else {
        --closure->header;
        share_captured(closure, code, to);
    }
    MARL_FIND_MACHINE;
    MARL_GO_TO(code->start());
}
MARL_INSTRUCTION(name) { MARL_SLOW(slow_name); }
MARL_INSTRUCTION(evaluate) { MARL_SLOW(slow_evaluate); }
MARL_INSTRUCTION(if_strict) {
    const Word function = MARL_REGISTER(b);
    if (is_closure(function)) {
        const Closure* closure = closure_of(function);
        const bool is_lambda = kind_of(closure) == ClosureKind::lambda;
        if (is_lambda && closure->code->parameters >= MARL_COUNT) MARL_NEXT;
        MARL_FURTHER;
    }
    if (!is_node(function)) MARL_SLOW(slow_if_strict);
    const int code = top_byte(node_of(function)) & 0x7F;
    if (code < rank_zero_code + MARL_COUNT || code >= zits_code) MARL_SLOW(slow_if_strict);
    if (is_lazy_byte(first_byte(name_in_front(node_of(function))))) MARL_FURTHER;
    MARL_NEXT;
}
MARL_INSTRUCTION(if_held) {
    // Mostly nothing is.
    const StackEntry& entry = top[-1];
    if (is_argument(entry) || entry.kind() == Op::land_before_choice) MARL_SLOW(slow_if_held);
    MARL_NEXT;
}
MARL_INSTRUCTION(wait) {
    top->next = MARL_FURTHER_ONE;
    ++top;
    MARL_NEXT;
}
MARL_INSTRUCTION(push_argument) { MARL_SLOW(slow_push_argument); }
MARL_INSTRUCTION(return_value) {
    value = MARL_REGISTER(b);
    MARL_RETURN;
}
MARL_INSTRUCTION(return_number) {
    value = MARL_WORD;
    MARL_RETURN;
}
MARL_INSTRUCTION(return_constant) {
    value = MARL_WORD;
    retain(node_of(value));
    MARL_RETURN;
}
MARL_INSTRUCTION(return_work) { MARL_SLOW(slow_return_work); }
MARL_INSTRUCTION(go) { MARL_SLOW(slow_go); }
MARL_INSTRUCTION(land) {
    MARL_MOVE_BACK;
    MARL_REGISTER(a) = value;
    MARL_NEXT;
}
MARL_INSTRUCTION(land_before_choice) {
    MARL_MOVE_BACK;
    MARL_REGISTER(a) = value;
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
