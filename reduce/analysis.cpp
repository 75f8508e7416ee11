// Analysis is one walk over what has no caches yet, children before parents, on a work list; a Pair
// whose children have theirs then costs a constant. What has been seen once is never walked again,
// so analysing is paid for by whoever made the node.
#include "reduce/analysis.h"

#include <array>

#include "reduce/tables.h"
#include "value/word.h"
#include "value/worklist.h"

namespace marl {

namespace {

void set_rank(Node* node, int rank) {
    const auto code = static_cast<uint64_t>(rank + rank_zero_code);
    node->header = (node->header & ~code_mask) | (code << top_shift);
}

/// The free variables of an analysed node. On Leaves only a variable has any: other spans are
/// lengths, and on a backquote a line number.
uint32_t free_analysed(const Node* node) {
    if (is_leaf(node)) {
        const auto letter = static_cast<uint8_t>(*leaf_text(node) - 'a');
        return letter < 26 ? span_of(node) : 0;
    }
    return is_zits_analysed(node) ? 0 : span_of(node);
}

void analyse_leaf(Node* leaf) {
    switch (first_byte(leaf)) {
        case '`':
        case '\n':
        case ')': return set_rank(leaf, 1);
        case ']': return set_rank(leaf, 2);
        case '[': leaf->header |= uint64_t{zits_code} << top_shift; return;
        default: break;
    }
    if (!is_name_byte(first_byte(leaf))) return set_rank(leaf, 1);
    // Most names are one byte long, and most of those are results of built-ins.
    const char* text = leaf_text(leaf);
    const std::string_view name =
        text[0] && !text[1] ? std::string_view(text, 1) : leaf_bytes(leaf);
    if (!is_name(name)) return set_rank(leaf, 1);
    const Symbol& symbol = symbol_of_leaf(leaf);
    if (symbol.definition) return set_rank(leaf, symbol.parameters);
    const auto letter = static_cast<uint8_t>(text[0] - 'a');
    MARL_REQUIRE(letter < 26 && name.size() == 1);
    set_rank(leaf, rank_variable);
    set_span(leaf, int64_t{1} << letter);
}

// What analysis sees of a Word that has no node: a number or a lambda, which is closed and settled,
// or an operand with work, which is closed.
struct StandIn {
    Node node;
    char text[8] = "0";
};
constexpr StandIn stand_in(uint64_t rank) {
    return {{leaf_bit | ((rank_zero_code + rank) << top_shift) | 1}};
}
const StandIn settled_word = stand_in(1);
const StandIn unsettled_word = stand_in(0);

const Node* seen(Word word) {
    if (is_node(word)) return node_of(word);
    const bool is_work = is_closure(word) && kind_of(closure_of(word)) == ClosureKind::work;
    return is_work ? &unsettled_word.node : &settled_word.node;
}

uint32_t free_of_pair(PairNode* v) {
    Node* function = v->left;
    const uint32_t free_left = free_analysed(function);
    const uint32_t free_right = free_analysed(seen(v->right));
    if (is_leaf(function)) return free_left | free_right;
    Node* head = as_pair(function)->left;
    // v is \ x b, or { p b, or { p b c.
    if (is_leaf_of(head, '\\')) return free_right & ~free_left;
    if (is_leaf_of(head, '{')) return free_right;
    if (!is_leaf(head) && is_leaf_of(as_pair(head)->left, '{')) {
        return free_left | (free_right & ~free_analysed(right(head)));
    }
    return free_left | free_right;
}

}  // namespace

void analyse_pair(Node* node) {
    PairNode* v = as_pair(node);
    Node* function = v->left;
    const Node* argument = seen(v->right);
    if (is_zits_analysed(function)) {
        if (is_zits_analysed(argument)) {
            v->header |= uint64_t{zits_code} << top_shift;
            const int64_t a = span_of(function);
            const int64_t b = span_of(argument);
            if (a >= 2 && b >= 2 && a + b < span_limit) set_span(v, a + b);
            return;
        }
        set_rank(v, 0);
    } else {
        const int rank = rank_analysed(function);
        set_rank(v, rank == rank_variable || rank <= rank_least ? rank : rank - 1);
    }
    if (const uint32_t free = free_of_pair(v)) set_span(v, free);
    const bool is_lambda = !is_leaf(function) && is_leaf_of(as_pair(function)->left, '\\');
    if (!is_lambda && (pending_analysed(function) || !settled_analysed(argument))) {
        v->header |= pending_bit;
    }
}

void analyse_node(Node* root) {
    if (is_leaf(root)) return analyse_leaf(root);
    Worklist<Node*> waiting;
    waiting.push(root);
    while (!waiting.empty()) {
        Node* node = waiting.top();
        if (is_leaf(node)) {
            analyse_leaf(waiting.pop());
        } else if (!is_analysed(as_pair(node)->left)) {
            waiting.push(as_pair(node)->left);
        } else if (!is_analysed(seen(as_pair(node)->right))) {
            waiting.push(right(node));
        } else {
            analyse_pair(waiting.pop());
        }
    }
}

uint32_t free_set(Node* node) {
    analyse(node);
    return free_analysed(node);
}

bool is_name(std::string_view text) {
    static constexpr auto classes = [] {
        enum : uint8_t { none, word, single };
        std::array<uint8_t, 256> table{};
        for (int c = 1; c < 32; ++c) table[c] = single;
        for (int c = 127; c < 256; ++c) table[c] = single;
        for (int c = 'A'; c <= 'Z'; ++c) table[c] = single;
        for (int c = 'a'; c <= 'z'; ++c) table[c] = word;
        table['_'] = word;
        for (char c : std::string_view("{,}~!@#$%^&*<>-|+/=\\.`'\":;?")) {
            table[static_cast<uint8_t>(c)] = single;
        }
        return table;
    }();
    if (text.empty()) return false;
    const uint8_t first = classes[static_cast<uint8_t>(text[0])];
    if (text.size() == 1) return first != 0;
    for (char c : text) {
        if (classes[static_cast<uint8_t>(c)] != 1) return false;
    }
    return true;
}

}  // namespace marl
