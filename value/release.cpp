// The end of a node: what it holds is released, left before right, depth first, and the node freed.
//
// No recursion and no memory of its own: the nodes that are still to be finished form a list that
// is threaded through their header words, which nobody can look at any more. The list entry of a
// Pair waits for its right child; that of a cray, whose leaf bit stays set, for its next slot.
#include <cstring>

#include "value/allocate.h"
#include "value/todo.h"
#include "value/value.h"

namespace marl {

bool todo_armed = false;

namespace {

size_t leaf_size(Node* leaf) {
    const int64_t text = length(leaf);
    if (*leaf_text(leaf) == '\n') return sizeof(Node) + static_cast<size_t>(text);
    return sizeof(Node) + static_cast<size_t>(text) + 1;
}

void free_leaf(Node* leaf) {
    if (is_name_byte(first_byte(leaf))) {
        free_node(symbol_word(leaf), leaf_size(leaf) + sizeof(SymbolWord));
    } else {
        free_node(leaf, leaf_size(leaf));
    }
}

bool drops_to_zero(Node* node) { return (--node->header & count_mask) == 0; }

struct Unfinished {
    Node* first = nullptr;

    void push(Node* node) {
        node->header = reinterpret_cast<uint64_t>(first) | (node->header & leaf_bit);
        first = node;
    }
    void pop() { first = reinterpret_cast<Node*>(first->header & ~leaf_bit); }
};

// A dying cray keeps what is left to do in its own slot 0, which is taken first: the element count
// above, the next slot below.
uint64_t cray_progress(Node* cray) { return cray_word(cray, 0); }
void set_cray_progress(Node* cray, uint64_t progress) { set_cray_word(cray, 0, progress); }

/// Releases further slots of the cray on top of the list, up to one whose element dies, and gives
/// that element; null when the cray is done, and then it is freed.
Node* next_dying_element(Unfinished& unfinished) {
    Node* cray = unfinished.first;
    const uint64_t progress = cray_progress(cray);
    const uint64_t n = progress >> 32;
    for (uint64_t i = progress & 0xFFFFFFFF; i < n; ++i) {
        Node* element = cray_slot(cray, static_cast<int64_t>(i));
        if (element && drops_to_zero(element)) {
            set_cray_progress(cray, (n << 32) | (i + 1));
            return element;
        }
    }
    unfinished.pop();
    free_node(cray, sizeof(Node) + 1 + static_cast<size_t>(n * cray_slot_size));
    return nullptr;
}

/// Goes on with the list's first node; gives the next node to end, or null.
Node* next_dying(Unfinished& unfinished) {
    while (unfinished.first) {
        Node* node = unfinished.first;
        if (is_leaf(node)) {
            if (Node* element = next_dying_element(unfinished)) return element;
        } else {
            unfinished.pop();
            Node* child = as_pair(node)->right;
            free_node(node, sizeof(PairNode));
            if (drops_to_zero(child)) return child;
        }
    }
    return nullptr;
}

/// Begins the end of a cray that has elements; gives the first one that dies, or null.
Node* begin_cray(Node* cray, Unfinished& unfinished) {
    const uint64_t n = span_of(cray);
    Node* element = cray_slot(cray, 0);
    unfinished.push(cray);
    set_cray_progress(cray, (n << 32) | 1);
    return element && drops_to_zero(element) ? element : nullptr;
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

void destroy(Node* node) {
    constexpr int todo_rank_code = rank_zero_code + 1;
    Unfinished unfinished;
    while (node) {
        if (!is_leaf(node)) {
            // Only a settled (todo x) y acts: rank 1 and not pending, unless nothing has asked yet.
            const int top = top_byte(node);
            if ((top == todo_rank_code || top == 0) && todo_armed && is_todo(node)) {
                run_todo_action(node);
            }
            Node* child = as_pair(node)->left;
            unfinished.push(node);
            node = drops_to_zero(child) ? child : next_dying(unfinished);
        } else if (*leaf_text(node) == '\n' && span_of(node) > 0) {
            Node* element = begin_cray(node, unfinished);
            node = element ? element : next_dying(unfinished);
        } else {
            free_leaf(node);
            node = next_dying(unfinished);
        }
    }
}

}  // namespace marl
