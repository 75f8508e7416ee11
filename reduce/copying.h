// Copying: the nodes that a copy of an expression makes, laid out as code.
//
// Children before parents, each a word with a tag in the low two bits:
//
//   node | shared_node    push the node, which holds no variable that is due
//   index | argument      push an argument
//   index | last_argument push it, giving up the call's reference
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

struct Copying {
    int arity = 0;
    uint64_t unused = 0;  // bit i: argument i does not occur
    size_t depth = 0;     // the most operands that stand at once
    std::vector<uint64_t> code;
};

/// Lays out the copy of an expression in which argument index_of[i] stands for the variable
/// "a" + i, for each of `letters`. `settled`: the arguments are known to have no work in them.
Copying make_copying(Node* expression, uint32_t letters, const uint8_t* index_of, int arity,
                     bool settled);

/// A copy, owned and analysed. Consumes the arguments.
Node* run_copying(const Copying& copying, Word* arguments);

}  // namespace marl
