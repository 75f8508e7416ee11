// Copying: the nodes that a copy of a Body makes, laid out as code.
//
// Children before parents, each a word with a tag in the low two bits:
//
//   node | shared_node    push the node, which holds no parameter
//   index | argument      push an argument
//   index | last_argument push it, giving up the call's reference
//   make_pair             pop right, pop left, push their Pair
//
// Behind `make_pair` stands the header of the new Pair when it is known already: its head is no
// parameter, and what the parameters stand for is settled; else 0.
#pragma once

#include <cstdint>
#include <vector>

#include "reduce/enter.h"

namespace marl {

struct Copying {
    uint32_t unused = 0;  // bit i: argument i does not occur
    size_t depth = 0;     // the most operands that stand at once
    std::vector<uint64_t> code;
};

/// Lays out the copy of a Body's expression.
Copying make_copying(const Body& body);

/// A copy of the body as a node, owned and analysed. Consumes the arguments.
Node* copy_body(Body& body, Word* arguments);

}  // namespace marl
