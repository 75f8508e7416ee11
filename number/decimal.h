// Between decimal text and big naturals, in both number systems.
//
// Text and decimal limbs change into each other digit by digit. Decimal and binary limbs do so by
// halves: the two halves are converted and put together by one product in the new base.
#pragma once

#include <cstdint>
#include <string_view>

#include "number/magnitude.h"

namespace marl {

/// Numbers of up to this many limbs change their base limb by limb. A variable, so that tests can
/// compare the two ways; at least 1.
inline size_t base_change_limit = 30;

/// The number that a run of digits says, in decimal limbs. Leading zeros don't matter.
Limbs decimal_of_text(std::string_view digits);
/// The number of digits of decimal limbs; 0 for zero.
int64_t decimal_length(const Limbs& decimal);
/// Writes these digits, without a NUL.
void write_decimal(char* to, const Limbs& decimal);
/// Writes the first three of the n digits of two limbs or more.
void write_first_digits(char* to, const Limbs& decimal, int64_t n);

/// Half of decimal limbs, rounded down.
void halve(Limbs& decimal);

Limbs binary_of_decimal(const Limbs& decimal);
Limbs decimal_of_binary(const Limbs& binary);

}  // namespace marl
