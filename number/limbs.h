// Between decimal text, decimal limbs, binary limbs and bit strings.
//
// The change of base is the only dear one: the number is cut in two at a power of its base, both
// halves are changed, and put together by one product, so that it costs a few products of its size.
#pragma once

#include <string_view>

#include "number/magnitude.h"
#include "text/string.h"

namespace marl {

/// The number of a row of decimal digits, leading zeros allowed.
Limbs decimal_of_text(std::string_view digits);
/// How many digits a decimal number has; 0 for zero.
int64_t count_digits(const Limbs& decimal);
/// Writes the digits, as many as `count_digits` says.
void write_digits(const Limbs& decimal, char* text);

Limbs binary_of_decimal(const Limbs& decimal);
Limbs decimal_of_binary(const Limbs& binary);

/// The number of a row of bytes, the lowest first.
Limbs binary_of_bytes(std::string_view bytes);
/// The bytes of a binary number without zeros at the high end; none for zero.
String bytes_of_binary(const Limbs& binary);

/// The index of the highest set bit plus 1; 0 for zero.
int64_t bit_length(const Limbs& binary);
/// How many bits below the lowest set one; the number is not zero.
int64_t trailing_zeros(const Limbs& binary);
bool get_bit(const Limbs& binary, int64_t i);
/// Sets a bit; the number grows as it must.
void set_bit(Limbs& binary, int64_t i);
Limbs shift_left(const Limbs& binary, int64_t bits);
/// What is shifted out is dropped.
Limbs shift_right(const Limbs& binary, int64_t bits);

}  // namespace marl
