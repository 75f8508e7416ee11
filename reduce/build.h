// Nodes for the machine's hot path: born analysed, handled by bare pointers.
//
// The machine moves references between its stack, templates and nodes; a `Node*` that a function
// here takes or gives is an owned reference unless it says borrowed.
#pragma once

#include "reduce/analysis.h"
#include "reduce/needs.h"
#include "value/word.h"

namespace marl {

/// A Word as it may stand in a Pair: where memory can be read, only a node may.
inline Word as_right_child(Word word) { return keeps_identity ? word_of(force(word)) : word; }

/// A new Pair of two analysed children, analysed itself. Takes both references.
inline Node* analysed_pair(Node* left, Word right) {
    auto* node = static_cast<PairNode*>(allocate_node(sizeof(PairNode)));
    node->header = 1;
    node->left = left;
    node->right = right;
    analyse_pair(node);
    return node;
}

inline Node* analysed_pair(Node* left, Node* right) { return analysed_pair(left, word_of(right)); }

/// One more reference to a borrowed node.
inline Node* shared(Node* node) {
    retain(node);
    return node;
}

}  // namespace marl
