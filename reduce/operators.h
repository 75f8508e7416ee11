// The operators that code has instructions for, on Words.
#pragma once

#include "reduce/code.h"

namespace marl {

/// Tells the symbols of built-ins which instruction does the same.
void bind_operators();

inline bool is_arithmetic(Op op) { return op >= Op::add && op <= Op::modulo; }
inline bool is_comparison(Op op) { return op >= Op::less && op <= Op::differ; }
/// Whether the second operand of an instruction is a constant number.
inline bool is_number_op(Op op) {
    return (op >= Op::add_number && op <= Op::modulo_number) ||
           (op >= Op::less_number && op <= Op::differ_number);
}
/// From the instruction on two registers to the one with a constant number, and back.
inline Op number_op(Op op) {
    const int distance = is_arithmetic(op)
                             ? static_cast<int>(Op::add_number) - static_cast<int>(Op::add)
                             : static_cast<int>(Op::less_number) - static_cast<int>(Op::less);
    return static_cast<Op>(static_cast<int>(op) + distance);
}
inline Op plain_op(Op op) {
    if (!is_number_op(op)) return op;
    const int distance = op < Op::less
                             ? static_cast<int>(Op::add_number) - static_cast<int>(Op::add)
                             : static_cast<int>(Op::less_number) - static_cast<int>(Op::less);
    return static_cast<Op>(static_cast<int>(op) - distance);
}

/// x op y for an arithmetic instruction, where the two are not both short or the result is not.
/// Consumes both.
Word operate_slowly(Op op, Word x, Word y);

enum class Truth : uint8_t { yes, no, neither };
/// The same for a comparison. What is neither `K` nor `H` comes to `result`, owned.
Truth compare_slowly(Op op, Word x, Word y, Word& result);

/// The Word of a node, which is consumed: a number that nobody else holds needs no node.
Word word_of_result(Node* node);

}  // namespace marl
