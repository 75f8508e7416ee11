// The operators that code has instructions for, on Words.
#pragma once

#include "reduce/code.h"

namespace marl {

/// x op y for an arithmetic instruction, where the two are not both short or the result is not.
/// Consumes both.
Word operate_slowly(Op op, Word x, Word y);

enum class Truth : uint8_t { yes, no, neither };
/// The same for a comparison. What is neither `K` nor `H` comes to `result`, owned.
Truth compare_slowly(Op op, Word x, Word y, Word& result);

/// The Word of a node, which is consumed: a number that nobody else holds needs no node.
Word word_of_result(Node* node);

}  // namespace marl
