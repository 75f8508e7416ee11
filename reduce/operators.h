// The operators that code has instructions for, on Words.
#pragma once

#include "reduce/code.h"

namespace marl {

/// Tells the symbols of built-ins which instruction does the same.
void bind_operators();

inline bool is_arithmetic(Op op) { return op >= Op::add && op <= Op::cent; }
inline bool is_comparison(Op op) { return op >= Op::less && op <= Op::differ; }
/// The instruction for a constant number as the second operand.
constexpr int to_number_op = static_cast<int>(Op::add_number) - static_cast<int>(Op::add);
constexpr int to_compared_number = static_cast<int>(Op::less_number) - static_cast<int>(Op::less);

/// x op y for an arithmetic instruction, where the two are not both short or the result is not.
/// Consumes both.
Word operate_slowly(Op op, Word x, Word y);

enum class Truth : uint8_t { yes, no, neither };
/// The same for a comparison. What is neither `K` nor `H` comes to `result`, owned.
Truth compare_slowly(Op op, Word x, Word y, Word& result);

/// The Word of a node, which is consumed: a number that nobody else holds needs no node.
Word word_of_result(Node* node);

}  // namespace marl
