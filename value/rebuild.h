// Rebuilding an expression from the bottom up.
#pragma once

#include <utility>
#include <vector>

#include "value/walk.h"

namespace marl {

/// For `rebuild`: a Leaf stays, a Pair is rebuilt.
inline Value keep_leaf(Node* node) { return is_leaf(node) ? Value::share(node) : Value(); }

/// The image of an expression. `image(Node*)` gives that of a node, or null for a Pair whose image
/// `join(Value, Value)` makes of those of its children, left before right.
template <class Image, class Join>
Value rebuild(Node* root, Image image, Join join) {
    std::vector<Value> images;
    const auto begin = [&](Node* node) {
        Value made = image(node);
        if (!made) return true;
        images.push_back(std::move(made));
        return false;
    };
    walk_both_ways(root, begin, [&](Node*) {
        Value argument = std::move(images.back());
        images.pop_back();
        images.back() = join(std::move(images.back()), std::move(argument));
    });
    return std::move(images.back());
}

}  // namespace marl
