// The total order on Values. Walks with a list of its own, so that depth costs heap and no stack.
#include <algorithm>
#include <cstring>

#include "value/identity.h"
#include "value/real_word.h"
#include "value/value.h"
#include "value/word.h"
#include "value/worklist.h"

namespace marl {

bool keeps_identity = false;

namespace {

int compare_bytes(const char* x, const char* y, size_t size) {
    const int order = memcmp(x, y, size);
    return order == 0 ? 0 : order < 0 ? 1 : -1;
}

/// A slot's Word, where that can be, without the node.
Word plain_word_in(Word slot) {
    Word word;
    return slot != 0 && is_node(slot) && as_plain_word(node_of(slot), word) ? word : slot;
}

/// Whether two slots of arrays hold what counts as one node.
bool hold_one_node(Word x, Word y) {
    return x == y || (!keeps_identity && plain_word_in(x) == plain_word_in(y));
}

/// The order of two arrays: that of the addresses in their slots, and then of their lengths.
int compare_arrays(Node* x, Node* y) {
    const int64_t common = std::min(span_of(x), span_of(y));
    for (int64_t i = 0; i < common; ++i) {
        if (hold_one_node(cray_word(x, i), cray_word(y, i))) continue;
        Node* const a = cray_slot(x, i);
        Node* const b = cray_slot(y, i);
        if (a == b) continue;  // a closure in one of them, and its node in the other
        return compare_bytes(reinterpret_cast<const char*>(&a), reinterpret_cast<const char*>(&b),
                             sizeof a);
    }
    if (span_of(x) == span_of(y)) return 0;
    return span_of(x) < span_of(y) ? 1 : -1;
}

int compare_leaves(Node* a, Node* b) {
    if (is_leaf_of(a, '\n') && is_leaf_of(b, '\n')) return compare_arrays(a, b);
    const std::string_view x = leaf_bytes(a);
    const std::string_view y = leaf_bytes(b);
    const size_t common = std::min(x.size(), y.size());
    if (const int order = compare_bytes(x.data(), y.data(), common)) return order;
    if (x.size() == y.size()) return 0;
    return x.size() < y.size() ? 1 : -1;
}

}  // namespace

int compare(Node* a, Node* b) {
    struct Both {
        Node* a;
        Node* b;
    };
    Worklist<Both> rest;
    for (;;) {
        if (a != b) {
            if (is_leaf(a) != is_leaf(b)) return is_leaf(a) ? 1 : -1;
            if (!is_leaf(a)) {
                rest.push({right(a), right(b)});
                a = left(a);
                b = left(b);
                continue;
            }
            if (const int order = compare_leaves(a, b)) return order;
        }
        if (rest.empty()) return 0;
        const Both next = rest.pop();
        a = next.a;
        b = next.b;
    }
}

}  // namespace marl
