// Rebuilding an expression from the bottom up, with a work list in place of recursion.
#pragma once

#include <utility>
#include <vector>

#include "value/value.h"

namespace marl {

/// The image of an expression: `leaf_image(Node*)` of its Leaves and `pair_image(Value, Value)` of
/// the images of a Pair's children, left before right, children before parents. Both give a Value.
template <class LeafImage, class PairImage>
Value rebuild(Node* root, LeafImage leaf_image, PairImage pair_image) {
    struct Task {
        Node* node;
        bool children_done;
    };
    std::vector<Task> tasks{{root, false}};
    std::vector<Value> images;
    while (!tasks.empty()) {
        const auto [node, children_done] = tasks.back();
        tasks.pop_back();
        if (is_leaf(node)) {
            images.push_back(leaf_image(node));
        } else if (!children_done) {
            tasks.push_back({node, true});
            tasks.push_back({right(node), false});
            tasks.push_back({left(node), false});
        } else {
            Value right_image = std::move(images.back());
            images.pop_back();
            images.back() = pair_image(std::move(images.back()), std::move(right_image));
        }
    }
    return std::move(images.back());
}

/// Whether some node of an expression passes the test.
template <class Test>
bool any_node(Node* root, Test test) {
    std::vector<Node*> rest;
    for (Node* node = root;;) {
        if (test(node)) return true;
        if (!is_leaf(node)) {
            rest.push_back(right(node));
            node = left(node);
        } else if (rest.empty()) {
            return false;
        } else {
            node = rest.back();
            rest.pop_back();
        }
    }
}

}  // namespace marl
