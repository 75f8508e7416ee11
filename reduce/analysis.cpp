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
    const Symbol* known = symbol_slot(leaf);  // only a name has one
    if (known && known->definition) return set_rank(leaf, known->parameters);
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

/// Two zits in a row are one, of a length that is known while it is short.
void analyse_zits_pair(Node* v, const Node* function, const Node* argument) {
    v->header |= uint64_t{zits_code} << top_shift;
    const int64_t a = span_of(function);
    const int64_t b = span_of(argument);
    if (a >= 2 && b >= 2 && a + b < span_limit) set_span(v, a + b);
}

}  // namespace

void analyse_pair(Node* node) {
    PairNode* v = as_pair(node);
    Node* function = v->left;
    const Node* argument = seen(v->right);
    int rank = 0;
    if (!is_zits_analysed(function)) {
        rank = rank_analysed(function);
        if (rank != rank_variable && rank > rank_least) --rank;
    } else if (is_zits_analysed(argument)) {
        return analyse_zits_pair(v, function, argument);
    }
    const uint32_t free_left = free_analysed(function);
    const uint32_t free_right = free_analysed(argument);
    uint32_t free = free_left | free_right;
    bool is_lambda = false;
    if (!is_leaf(function)) {
        Node* head = as_pair(function)->left;
        // v may be \ x b, or { p b, or { p b c.
        if (!is_leaf(head)) {
            if (is_leaf_of(as_pair(head)->left, '{')) {
                free = free_left | (free_right & ~free_analysed(right(head)));
            }
        } else if (*leaf_text(head) == '\\') {
            is_lambda = true;
            free = free_right & ~free_left;
        } else if (*leaf_text(head) == '{') {
            free = free_right;
        }
    }
    const bool is_pending =
        !is_lambda && (pending_analysed(function) || !settled_analysed(argument));
    v->header |= uint64_t{free} << span_shift |
                 static_cast<uint64_t>(rank + rank_zero_code) << top_shift |
                 (is_pending ? pending_bit : 0);
}

void analyse_node(Node* root) {
    if (is_leaf(root)) return analyse_leaf(root);
    const bool are_parts_analysed =
        is_analysed(as_pair(root)->left) && is_analysed(seen(as_pair(root)->right));
    if (are_parts_analysed) return analyse_pair(root);
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
