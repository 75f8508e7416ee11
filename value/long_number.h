// Digit Leaves of many digits.
//
// Most results of long arithmetic only meet more arithmetic, which works in limbs of 18 digits. So
// the Leaf of a long number keeps its limbs, in front of the header, and its text is written when
// somebody asks for it. The room behind the header is there from the start and the Leaf is complete
// but for these bytes: the length, the zeros at the front and three digits behind them stand, so
// that the first three bytes can be looked at, and the NUL. Until the text is written its last byte
// is 0. `leaf_bytes` is the way to it.
//
// Either of the two can be missing, never both. The limbs are a number's without the zeros at the
// front of its text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "value/blocks.h"
#include "value/node.h"

namespace marl {

/// From so many digits on a digit Leaf is a long one.
constexpr int64_t long_length = 48;

/// Limbs below 10^18, least significant first.
using LeafLimbs = std::vector<uint64_t, UnsetBlocks<uint64_t>>;
/// The room that they take in front of the header, which stays aligned.
constexpr size_t leaf_limbs_size = (sizeof(LeafLimbs) + 7) / 8 * 8;

/// The limbs of a long number; empty when nobody has needed them.
inline LeafLimbs& leaf_limbs(Node* long_leaf) {
    return *reinterpret_cast<LeafLimbs*>(reinterpret_cast<char*>(long_leaf) - leaf_limbs_size);
}

/// Whether the text of a Leaf of n bytes is still to be written.
inline bool text_is_due(Node* leaf, int64_t n) {
    return n >= long_length && is_digit_byte(first_byte(leaf)) && leaf_text(leaf)[n - 1] == 0;
}
/// Marks it so.
inline void set_text_due(Node* long_leaf, int64_t n) { leaf_text(long_leaf)[n - 1] = 0; }

/// Writes it (number/digit_leaf.cpp).
void write_due_text(Node* long_leaf);

}  // namespace marl
