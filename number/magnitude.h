// Big naturals.
//
// Limbs, least significant first, none of them 0 at the top; zero has no limbs. The functions come
// for both number systems of number/radix.h: decimal text is added up and multiplied out in decimal
// limbs and never changes its base, lists of bits work in binary ones.
//
// Cost: linear for sums; products quadratic for few limbs, then Karatsuba's, then number-theoretic
// transforms; a quotient costs a few products of its size.
#pragma once

#include <cstdint>

#include "number/radix.h"
#include "value/long_number.h"

namespace marl {

/// `Limbs(n)` are not set.
using Limbs = LeafLimbs;

/// Removes the limbs of 0 at the top.
void mag_trim(Limbs& a);
/// Below 0 for a < b, 0 for equal, above 0 for a > b.
int mag_compare(const Limbs& a, const Limbs& b);

template <class Radix>
Limbs mag_add(const Limbs& a, const Limbs& b);
/// a - b; b > a is a fatal stop.
template <class Radix>
Limbs mag_sub(const Limbs& a, const Limbs& b);
template <class Radix>
Limbs mag_mul(const Limbs& a, const Limbs& b);
/// a = a * m + c, with m and c each of one limb.
template <class Radix>
void mag_mul_add_limb(Limbs& a, uint64_t m, uint64_t c);
/// The quotient rounded down; the remainder goes out. b = 0 is a fatal stop.
template <class Radix>
Limbs mag_divide(const Limbs& a, const Limbs& b, Limbs& remainder);
/// The quotient alone, and the remainder alone.
template <class Radix>
Limbs mag_quotient(const Limbs& a, const Limbs& b);
template <class Radix>
Limbs mag_rest(const Limbs& a, const Limbs& b);
/// a^n, by repeated squaring. A result that can't fit any memory ends the process for lack of it.
template <class Radix>
Limbs mag_pow(const Limbs& a, uint64_t n);

}  // namespace marl
