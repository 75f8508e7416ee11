// What instructions do when it is not the usual thing, and what takes longer than a jump is worth.
#include <algorithm>

#include "reduce/analysis.h"
#include "reduce/build.h"
#include "reduce/changing.h"
#include "reduce/closure.h"
#include "reduce/heads.h"
#include "reduce/interpreter.h"
#include "reduce/meanings.h"
#include "reduce/needs.h"
#include "reduce/operators.h"
#include "reduce/run_code.h"
#include "reduce/tables.h"

namespace marl {

namespace {

bool takes(const Instruction* at, int flag) { return (at->fields.f & flag) != 0; }

Word owned(Word word, bool taken) { return taken ? word : shared_word(word); }

/// The operands of an instruction that computes, owned.
Word first_operand(const Instruction* at, const Word* frame) {
    return owned(frame[at->b], takes(at, take_b));
}
Word second_operand(const Instruction* at, const Word* frame) {
    return is_number_op(at->op) ? at->word : owned(frame[at->c], takes(at, take_c));
}

/// The parts of (J x) y or (V x) y, to two registers. Consumes the node when it is `taken`.
void take_apart(Node* node, bool taken, Word* to) {
    PairNode* outer = as_pair(node);
    PairNode* inner = as_pair(outer->left);
    if (taken && count_of(outer) == 1 && count_of(inner) == 1) {
        to[0] = inner->right;
        to[1] = outer->right;
        Node* head = inner->left;
        free_node(outer, sizeof(PairNode));
        free_node(inner, sizeof(PairNode));
        return release(head);
    }
    to[0] = shared_word(inner->right);
    to[1] = shared_word(outer->right);
    if (taken) release(outer);
}

/// The same for a cell, unless it is the other kind, of list cells and pairs.
bool take_cell_apart(Word word, bool is_list, bool taken, Word* to) {
    Cell* cell = cell_of(word);
    const ClosureKind kind = kind_of_closure(word);
    if (kind == ClosureKind::node_cell) {
        Node* node = node_of(cell->x);
        if (!is_pair_of(node, is_list ? 'J' : 'V')) return false;
        take_apart(node, false, to);
        if (taken) release_word(word);
        return true;
    }
    if ((kind == ClosureKind::list_cell) != is_list) return false;
    const bool alone = taken && count_of(cell) == 1;
    to[0] = alone ? cell->x : shared_word(cell->x);
    to[1] = alone ? cell->y : shared_word(cell->y);
    if (alone) {
        free_node(cell, sizeof(Cell));
    } else if (taken) {
        --cell->header;
    }
    return true;
}

/// Whether a function that is no closure is strict and takes that many more arguments.
bool takes_strictly(Word function, int count) {
    if (!is_node(function)) return count == 1;
    Node* node = node_of(function);
    if (is_zits_analysed(node)) return count == 1;
    if (rank_analysed(node) >= count) return !lazy_head(name_in_front(node));
    if (form(node) != Form::lambda) return false;
    const Closure* body = body_closure(node);
    return body && body->code->parameters >= count;
}

void get_operands(const Instruction* at, const Word* frame, Word* to) {
    for (int i = 0; i < at->c; ++i) to[i] = get(at->operands[i], frame);
}

Word constant_of(Node* definition) {
    Word word;
    if (!keeps_identity && as_plain_word(definition, word)) return word;
    return word_of(shared(definition));
}

}  // namespace

void slow_drop(MARL_STATE) {
    release_word(frame[at->b]);
    MARL_NEXT;
}

// Not in what jumps here: those that need no registers saved would save them.
[[gnu::noinline]] void slow_compute(MARL_STATE) {
    const Word x = first_operand(at, frame);
    const Word y = second_operand(at, frame);
    frame[at->a] = operate_slowly(plain_op(at->op), x, y);
    MARL_NEXT;
}

[[gnu::noinline]] void slow_branch(MARL_STATE) {
    const Word x = first_operand(at, frame);
    const Word y = second_operand(at, frame);
    switch (compare_slowly(plain_op(at->op), x, y, frame[at->a])) {
        case Truth::yes: MARL_NEXT;
        case Truth::no: MARL_GO_TO(at + at->d);
        case Truth::neither: break;
    }
    MARL_GO_TO(at + at->fields.e);
}

#define MARL_OUTSIDE(name) \
    void slow_##name(MARL_STATE) { MARL_JUMP reals_##name(frame, top, m, value, at); }
MARL_OUTSIDE(add)
MARL_OUTSIDE(subtract)
MARL_OUTSIDE(multiply)
MARL_OUTSIDE(divide)
MARL_OUTSIDE(less)
MARL_OUTSIDE(not_less)
MARL_OUTSIDE(same)
MARL_OUTSIDE(differ)
MARL_OUTSIDE(modulo)
#undef MARL_OUTSIDE

void slow_choose(MARL_STATE) {
    const Choice& choice = *at->choice;
    const bool taken = takes(at, take_b);
    const Word head = frame[at->b];
    if (is_node(head)) {
        Node* node = node_of(head);
        if (is_leaf(node)) {
            if (const int32_t way = way_of_leaf(choice, node)) {
                if (taken) release(node);
                MARL_GO_TO(at + way);
            }
        } else if (choice.pair && is_pair_of(node, at->op == Op::choose_two ? 'J' : 'V')) {
            take_apart(node, taken, frame + choice.x);
            MARL_GO_TO(at + choice.pair);
        }
    } else if (choice.pair && is_cell(head) &&
               take_cell_apart(head, at->op == Op::choose_two, taken, frame + choice.x)) {
        MARL_GO_TO(at + choice.pair);
    }
    frame[at->a] = owned(head, taken);
    MARL_GO_TO(at + choice.other);
}

void slow_pairs(MARL_STATE) {
    Node* head = node_of(at->word);
    Node* made = shared(head);
    auto code = static_cast<uint64_t>(rank_zero_code + rank_of(head));
    for (int i = 0; i < at->c; ++i) {
        auto* pair = static_cast<PairNode*>(allocate_node(sizeof(PairNode)));
        pair->header = (--code << top_shift) | 1;
        pair->left = made;
        pair->right = as_right_child(get(at->operands[i], frame));
        made = pair;
    }
    frame[at->a] = word_of(made);
    MARL_NEXT;
}

void slow_cell(MARL_STATE) {
    const Word x = get(at->operands[0], frame);
    const Word y = get(at->operands[1], frame);
    void* memory = allocate_node(sizeof(Cell));
    frame[at->a] = make_cell(memory, static_cast<ClosureKind>(at->d), x, y);
    MARL_NEXT;
}

void slow_closure(MARL_STATE) {
    Closure* closure = new_closure(*at->part);
    get_operands(at, frame, closure->captured);
    frame[at->a] = finish_closure(closure);
    MARL_NEXT;
}

/// The rest of it, when `value` is the block of the closure.
void finish_slowly(MARL_STATE) {
    frame[at->a] = finish_closure(reinterpret_cast<Closure*>(value));
    MARL_NEXT;
}

void slow_construct(MARL_STATE) {
    Word captured[most_registers];
    get_operands(at, frame, captured);
    frame[at->a] = construct(*at->part, captured);
    MARL_NEXT;
}

void slow_name(MARL_STATE) {
#if MARL_NATIVE
    // Native code still comes here when the instruction is another one by now.
    if (at->op != Op::name) MARL_JUMP function_of(at->op)(frame, top, m, value, at);
#endif
    Node* definition = at->symbol->definition;
    // A constant that is being reduced is a cycle, which the machine finds.
    if (!settled(definition) || is_leaf_of(definition, ')')) {
        *top++ = {at + at->d, 0};
        m->stack.top = top;
        m->registers.top = frame + at->b;
        m->focus = get(*at->operands, frame);
        MARL_LEAVE;
    }
    const Word word = constant_of(definition);
    if (definitions_change) {
        frame[at->a] = word;
        MARL_NEXT;
    }
    // It stays what it is, and the code holds it from here on.
    std::vector<Word>& held = (at + at->d)->map->code->constants;
    held.push_back(word);
    if (!keeps_identity && is_node(word)) take_numbers_from_nodes(node_of(word), held);
    auto& self = const_cast<Instruction&>(*at);
    self.op = !is_counted(word) ? Op::number : Op::constant;
    self.word = word;
    link(self);
    MARL_GO_TO(at);
}

void slow_if_strict(MARL_STATE) {
    MARL_GO_TO(takes_strictly(frame[at->b], at->c) ? at + 1 : at + at->d);
}

void slow_push_argument(MARL_STATE) {
    m->stack.top = top;
    push(Op::argument, get(*at->operands, frame));
    top = m->stack.top;
    MARL_NEXT;
}

void slow_go(MARL_STATE) {
    m->stack.top = top;
    m->registers.top = frame + at->b;
    m->focus = get(*at->operands, frame);
    MARL_LEAVE;
}

void leave_loop(MARL_STATE) {
    m->stack.top = top + 1;  // the entry stays
    m->registers.top = frame;
    m->focus = value;
    MARL_LEAVE;
}

}  // namespace marl
