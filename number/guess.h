// Guesses: a limb of a quotient, from the top limbs of what is divided and of the divisor.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "number/radix.h"

namespace marl {

/// From the top limbs, a limb of the quotient. For a binary one the top limb is at most b's.
template <class Radix>
struct Guess;

/// At most 1 too large.
template <>
struct Guess<Binary> {
    Divider by_first;
    uint64_t first;
    uint64_t second;

    Guess(const uint64_t* b, size_t n) : by_first(b[n - 1]), first(b[n - 1]), second(b[n - 2]) {}

    uint64_t operator()(const uint64_t* top) const {
        if (*top >= first) return Binary::largest;
        uint64_t rest;
        uint64_t guess = by_first.divide(Binary::join(*top, top[-1]), rest);
        while (Wide{guess} * second > Binary::join(rest, top[-2])) {
            --guess;
            if (Binary::largest - rest < first) break;
            rest += first;
        }
        return guess;
    }
};

/// Never too large, and at most 2 too small for two limbs that stand in front of what is divided by
/// less than the base. They are multiplied by about base / b, with b as its highest 64 bits say.
/// What is left out of a is below the least that b can be, and what the reciprocal lacks makes less
/// than a quarter.
template <>
struct Guess<Decimal> {
    uint64_t reciprocal;  // 2^67 * base / b's highest 64 bits
    int shift;

    Guess(const uint64_t* b, size_t n) {
        const Wide top = Decimal::join(b[n - 1], b[n - 2]);
        const auto high = static_cast<uint64_t>(top >> 64);
        const int leading =
            high ? std::countl_zero(high) : 64 + std::countl_zero(static_cast<uint64_t>(top));
        const int bits = 128 - leading;
        const int missing = std::max(64 - bits, 0);  // 4 at most
        const uint64_t third = n > 2 ? (b[n - 3] << missing) / Decimal::base : 0;
        const Wide divisor = (bits > 64 ? top >> (bits - 64) : top << missing) + third + 1;
        reciprocal = static_cast<uint64_t>((Wide{Decimal::base} << 67) / divisor);
        // Four bits are moved out of the way so that the shift is none to the left.
        shift = bits - 64 + 7;
    }

    uint64_t operator()(const uint64_t* top) const { return (*this)(Decimal::join(*top, top[-1])); }
    /// Of the two limbs as one number, which may be some times what two limbs are.
    uint64_t operator()(Wide two_limbs) const {
        const Wide x = two_limbs << 4;
        const Wide low = Wide{static_cast<uint64_t>(x)} * reciprocal;
        const Wide product = (x >> 64) * reciprocal + (low >> 64);
        return static_cast<uint64_t>(product >> shift);
    }
};

}  // namespace marl
