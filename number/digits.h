// Lists of bits and their decimal packing.
//
// To a program a number is a list of bits, J cells ended by K with the Leaves K (1) and H (0) as
// elements. Three forms of one list:
//
//   cells        J b t: what a program builds, and what `lots` gives; t is the rest in any form
//   digit Leaf   a decimal text; each text, leading zeros included, is exactly one list
//   bit string   a String: bit i is bit i % 8 of byte i / 8. The highest set bit is the end of the
//                list, the bits below are its elements. 0x01 is the empty list, 0x06 the list 0, 1
//
// The text of a list, read as the whole number w = sum of bit i * 2^i, the end included:
//
//   w = 4n + 2s + 1   "0" for w = 3; else n in decimal, with a "0" in front when s is 0
//   w = 2^(c+1) * (2n + 1)   "00", c zeros, and n in decimal unless it is 0
//
// So a text that begins "00" is a list whose first element is 0. The list of length 0 has no text;
// its Value is the Leaf K.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "text/string.h"
#include "value/value.h"

namespace marl {

/// Bit i of a bit string; 0 past its end.
bool bit_get(int64_t i, const String& bits);
/// Sets bit i of a bit string, first appending zero bytes until i fits.
void bit_set(int64_t i, bool bit, String& bits);
/// The length of a list, the index of the highest set bit. A bit string without a set bit is a
/// fatal stop.
int64_t list_length(const String& bits);

/// A new Value of a list: K for the empty list, else a digit Leaf. No set bit at all is a fatal
/// stop.
Value value_of_bits(const String& bits);

/// Whether x is a list of bits in any form, K included. Looks at every cell.
bool is_list(Node* x);
/// The list of x, which may be in any form, K included; nothing when x is no list.
std::optional<String> bits_of(Node* x);
/// The digit text of x, a number in any form; nothing when x is no list, or the empty one.
std::optional<String> digits_of(Node* x);

/// The first element of the list of a digit Leaf, a new Leaf H or K.
Value digit_head(Node* leaf);
/// The list of a digit Leaf without its first element: a new digit Leaf, or K.
Value digit_tail(Node* leaf);

}  // namespace marl
