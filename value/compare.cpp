// The total order on Values. Walks with a list of its own, so that depth costs heap and no stack.
#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>
#include <vector>

#include "value/value.h"

namespace marl {

namespace {

int compare_leaves(Node* a, Node* b) {
    const std::string_view x = leaf_bytes(a);
    const std::string_view y = leaf_bytes(b);
    const int order = memcmp(x.data(), y.data(), std::min(x.size(), y.size()));
    if (order != 0) return order < 0 ? 1 : -1;
    if (x.size() == y.size()) return 0;
    return x.size() < y.size() ? 1 : -1;
}

}  // namespace

int compare(Node* a, Node* b) {
    std::vector<std::pair<Node*, Node*>> rest;
    for (;;) {
        if (a != b) {
            if (is_leaf(a) != is_leaf(b)) return is_leaf(a) ? 1 : -1;
            if (!is_leaf(a)) {
                rest.emplace_back(right(a), right(b));
                a = left(a);
                b = left(b);
                continue;
            }
            if (const int order = compare_leaves(a, b)) return order;
        }
        if (rest.empty()) return 0;
        std::tie(a, b) = rest.back();
        rest.pop_back();
    }
}

}  // namespace marl
