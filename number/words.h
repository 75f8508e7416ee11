// Binary naturals as strings of bits: shifts, lengths, and lists of bits in machine words.
//
// A list of bits (number/digits.h) read as a whole number, its end included, in binary limbs: bit i
// of the number is bit i % 64 of limb i / 64. The empty list is 1; 0 is no list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "number/magnitude.h"
#include "text/string.h"
#include "value/value.h"

namespace marl {

/// The index of the highest set bit plus 1; 0 for zero.
size_t bit_length(const Limbs& a);
/// The index of the lowest set bit of a number that is not zero.
size_t trailing_zeros(const Limbs& a);
bool test_bit(const Limbs& a, size_t i);
/// Sets bit i, making room for it.
void set_bit(Limbs& a, size_t i);
/// a * 2^n. A result that can't fit any memory ends the process for lack of it.
Limbs shift_left(const Limbs& a, uint64_t n);
/// a / 2^n, rounded down.
Limbs shift_right(const Limbs& a, uint64_t n);
/// The little-endian number that the bytes are.
Limbs words_of_bytes(std::string_view bytes);

/// The list of a Value in any form, K included; nothing when it is no list.
std::optional<Limbs> words_of_list(Node* x);
/// A new Value of a list: K for the empty one, else a digit Leaf. 0 is a fatal stop.
Value value_of_words(const Limbs& words);

/// Whether the Pair is a list cell J b t, whatever t is.
bool is_cell(Node* pair);

}  // namespace marl
