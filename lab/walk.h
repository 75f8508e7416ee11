// Looking at expressions as they were written.
#pragma once

#include <string_view>

#include "value/walk.h"

namespace marl::lab {

/// An operator applied to two operands: ((op a) b).
struct Infix {
    char operation;
    Node* leaf;
    Node* a;
    Node* b;
};

/// Whether the node is an application of one of `operators`, `infix` being filled in then. It is
/// one by its form alone: `+ a b` is, as well.
inline bool is_infix(Node* node, std::string_view operators, Infix& infix) {
    if (is_leaf(node) || is_leaf(left(node))) return false;
    Node* leaf = left(left(node));
    const std::string_view bytes = leaf_bytes(leaf);
    if (bytes.size() != 1 || operators.find(bytes[0]) == operators.npos) return false;
    infix = {bytes[0], leaf, right(left(node)), right(node)};
    return true;
}

inline bool is_digits(Node* node) { return is_digit_byte(first_byte(node)); }

}  // namespace marl::lab
