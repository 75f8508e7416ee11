// The end of a node: what it holds is released, left before right, depth first, and the node freed.
//
// No recursion and no memory of its own: the nodes that are still to be finished form a list that
// is threaded through their header words, which nobody can look at any more. The list entry of a
// Pair waits for its right child; that of a cray, whose leaf bit stays set, for its next slot; that
// of a closure, whose pending bit is set, for the next Word that it captured.
#include <cstring>

#include "value/allocate.h"
#include "value/long_number.h"
#include "value/resize.h"
#include "value/todo.h"
#include "value/value.h"
#include "value/word.h"

namespace marl {

bool todo_armed = false;

namespace {

void free_leaf(Node* leaf) {
    const uint8_t kind = first_byte(leaf);
    // Most of what dies is a truth value.
    if (is_name_byte(kind) && kind != 0 && leaf_text(leaf)[1] == 0) {
        return free_node(symbol_word(leaf), letter_leaf_size);
    }
    const int64_t n = length(leaf);
    const size_t size = sizeof(Node) + static_cast<size_t>(n) + (kind != '\n');
    if (is_digit_byte(kind) && n >= long_length) {
        leaf_limbs(leaf).~LeafLimbs();
        return free_long_node(reinterpret_cast<char*>(leaf) - leaf_limbs_size,
                              leaf_limbs_size + size);
    }
    const size_t front = leaf_front_size(kind, n);
    free_node(reinterpret_cast<char*>(leaf) - front, front + size);
}

bool drops_to_zero(Word word) {
    return is_counted(word) && (--holder_of(word)->header & count_mask) == 0;
}

constexpr uint64_t kind_bits = leaf_bit | pending_bit;

struct Unfinished {
    Node* first = nullptr;

    void push(Node* node, uint64_t kind) {
        node->header = word_of(first) | kind;
        first = node;
    }
    void pop() { first = node_of(first->header & ~kind_bits); }
};

// No Word: nothing dies.
constexpr Word nothing = 0;

// A dying cray keeps what is left to do in its own slot 0, which is taken first: the element count
// above, the next slot below.
uint64_t cray_progress(Node* cray) { return cray_word(cray, 0); }
void set_cray_progress(Node* cray, uint64_t progress) { set_cray_word(cray, 0, progress); }

/// The Word, when this was its last reference; else nothing.
Word dropped(Word word) { return drops_to_zero(word) ? word : nothing; }

/// Releases further slots of the cray on top of the list, up to one whose element dies, and gives
/// that element; nothing when the cray is done, and then it is freed.
Word next_dying_element(Unfinished& unfinished) {
    Node* cray = unfinished.first;
    const uint64_t progress = cray_progress(cray);
    const uint64_t n = progress >> 32;
    for (uint64_t i = progress & 0xFFFFFFFF; i < n; ++i) {
        const Word element = cray_word(cray, static_cast<int64_t>(i));
        if (element != 0 && drops_to_zero(element)) {
            set_cray_progress(cray, (n << 32) | (i + 1));
            return element;
        }
    }
    unfinished.pop();
    free_node(cray, cray_block_size(static_cast<int64_t>(n)));
    return nothing;
}

// A dying closure keeps what is left to do in the place of its code: the number of Words above, the
// next one below.
uint64_t& closure_progress(Closure* closure) { return closure->progress; }

/// The same for the closure on top of the list.
Word next_dying_capture(Unfinished& unfinished) {
    auto* closure = static_cast<Closure*>(unfinished.first);
    const uint64_t progress = closure_progress(closure);
    const uint64_t n = progress >> 32;
    for (uint64_t i = progress & 0xFFFFFFFF; i < n; ++i) {
        const Word captured = closure->captured[i];
        if (drops_to_zero(captured)) {
            closure_progress(closure) = (n << 32) | (i + 1);
            return captured;
        }
    }
    unfinished.pop();
    free_node(closure, closure_size(n));
    return nothing;
}

/// Takes the right child of the Pair on top of the list, which is freed; nothing when it lives on.
Word next_dying_child(Unfinished& unfinished) {
    Node* pair = unfinished.first;
    unfinished.pop();
    const Word child = as_pair(pair)->right;
    free_node(pair, sizeof(PairNode));
    return dropped(child);
}

/// Goes on with the list's first node; gives the next Word to end, or nothing.
Word next_dying(Unfinished& unfinished) {
    Word dying = nothing;
    while (unfinished.first && dying == nothing) {
        switch (unfinished.first->header & kind_bits) {
            case 0: dying = next_dying_child(unfinished); break;
            case leaf_bit: dying = next_dying_element(unfinished); break;
            default: dying = next_dying_capture(unfinished); break;
        }
    }
    return dying;
}

/// Begins the end of a cray that has elements; gives the first one that dies, or nothing.
Word begin_cray(Node* cray, Unfinished& unfinished) {
    const uint64_t n = span_of(cray);
    const Word element = cray_word(cray, 0);
    unfinished.push(cray, leaf_bit);
    set_cray_progress(cray, (n << 32) | 1);
    return element != 0 && drops_to_zero(element) ? element : nothing;
}

Word begin_closure(Closure* closure, Unfinished& unfinished) {
    const uint64_t n = span_of(closure);
    const Word made = word_of(closure->node);
    unfinished.push(closure, pending_bit);
    closure_progress(closure) = n << 32;
    return made != 0 ? dropped(made) : nothing;
}

/// Releases the first of two things that a block of a Pair's size holds, then the second one, which
/// waits in the list while the first one dies.
Word begin_two(Node* node, Word first, Word second, Unfinished& unfinished) {
    if (drops_to_zero(first)) {
        unfinished.push(node, 0);
        return first;
    }
    free_node(node, sizeof(PairNode));
    return dropped(second);
}

Word begin_cell(Cell* cell, Unfinished& unfinished) {
    return begin_two(cell, cell->x, cell->y, unfinished);
}

/// Begins the end of a node; gives what dies with it next, or nothing.
Word begin(Node* node, Unfinished& unfinished) {
    if (!is_leaf(node)) {
        // Only a settled (todo x) y acts: rank 1 and not pending, unless nothing has asked yet.
        constexpr int todo_rank_code = rank_zero_code + 1;
        const int top = top_byte(node);
        if ((top == todo_rank_code || top == 0) && todo_armed && is_todo(node)) {
            run_todo_action(node);
        }
        return begin_two(node, word_of(as_pair(node)->left), as_pair(node)->right, unfinished);
    }
    if (*leaf_text(node) == '\n' && span_of(node) > 0) return begin_cray(node, unfinished);
    free_leaf(node);
    return nothing;
}

}  // namespace

bool begins_todo(Node* node) {
    if (!is_leaf(node)) node = as_pair(node)->left;
    return is_leaf(node) && strncmp(leaf_text(node), "todo", 5) == 0;
}

bool is_todo(Node* pair) {
    Node* function = as_pair(pair)->left;
    return !is_leaf(function) && begins_todo(function);
}

void destroy(Word dying) {
    Unfinished unfinished;
    while (dying != nothing) {
        const Word next = is_node(dying)   ? begin(node_of(dying), unfinished)
                          : is_cell(dying) ? begin_cell(cell_of(dying), unfinished)
                                           : begin_closure(closure_of(dying), unfinished);
        dying = next != nothing ? next : next_dying(unfinished);
    }
}

}  // namespace marl
