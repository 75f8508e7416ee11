// Templates: the nodes that a copy of an expression makes, laid out in a row.
//
// Children before parents, each a word with a tag in the low two bits:
//
//   node | shared_node    push the node, which holds no variable that is due
//   index | argument      push an argument
//   index | last_argument push it, giving up the copy's reference
//   make_pair             pop right, pop left, push their Pair
//
// Behind `make_pair` stands the header of the new Pair when it is known already: its head is no
// parameter, and what the parameters stand for is settled; else 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "value/word.h"

namespace marl {

/// A part of a body that is built where its closure is made, and captured: all calls of the lambda
/// see the one that substitution would have put there. Borrowed from `whole`.
struct Hoisted {
    Node* node;
    uint8_t reg;
};

struct Template {
    int arity = 0;
    uint64_t unused = 0;  // bit i: argument i does not occur
    uint64_t nodes = 0;   // bit i: argument i stands where only a node can, as in front of another
    bool all_nodes = false;  // a right child has to be a node as well
    size_t depth = 0;        // the most operands that stand at once
    std::vector<uint64_t> row;
};

/// What stands for what in a copy: argument index_of[i] for the variable "a" + i, for each of
/// `letters`, and argument `reg` for each hoisted part, in which further variables may occur.
struct Places {
    uint32_t letters;
    const uint8_t* index_of;
    const std::vector<Hoisted>* hoisted;
    int arity;
    bool settled;  // the arguments are known to have no work in them
};

/// Lays out the copy of an expression, which must outlive the Template.
Template make_template(Node* expression, const Places& places);

/// A copy, owned and analysed. Consumes the arguments. Those of `nodes` are no closures without a
/// node, since that could take a copy in the copy (reduce/closure.cpp sees to it).
Node* run_template(const Template& layout, Word* arguments);

}  // namespace marl
