// The two number systems that big naturals are worked on in, limb by limb.
//
// Binary limbs are below 2^64, decimal limbs below 10^18. What differs between the two is how a sum
// or a product is cut into a limb and a carry, and how many pieces (number/pieces.h) a group of
// limbs is cut into for multiplication by convolution, which can take so many pieces. All else
// (number/magnitude.cpp, number/division.cpp) is written once for both.
//
// The limits tell from how many limbs of the shorter operand, or of the quotient, on a faster
// method is worth it. They are variables so that tests can compare the methods on small numbers.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "text/swar.h"

namespace marl {

/// Division of two words by one by multiplication with its reciprocal.
struct Divider {
    uint64_t divisor;     // shifted up until its top bit is set
    uint64_t reciprocal;  // (2^128 - 1) / divisor - 2^64
    int shift;

    constexpr explicit Divider(uint64_t d)
        : divisor(d << std::countl_zero(d)),
          reciprocal(static_cast<uint64_t>(~Wide{0} / divisor - (Wide{1} << 64))),
          shift(std::countl_zero(d)) {}

    /// n / d for n below d * 2^64; the rest goes out.
    uint64_t divide(Wide n, uint64_t& rest) const {
        n <<= shift;
        const auto high = static_cast<uint64_t>(n >> 64);
        const auto low = static_cast<uint64_t>(n);
        const Wide estimate = Wide{reciprocal} * high + n;
        uint64_t quotient = static_cast<uint64_t>(estimate >> 64) + 1;
        uint64_t r = low - quotient * divisor;
        if (r > static_cast<uint64_t>(estimate)) {
            --quotient;
            r += divisor;
        }
        if (r >= divisor) {
            ++quotient;
            r -= divisor;
        }
        rest = r >> shift;
        return quotient;
    }
};

struct Binary {
    static constexpr Wide piece_base = Wide{1} << 80;
    static constexpr size_t group_limbs = 5;
    static constexpr size_t group_pieces = 4;
    static constexpr size_t most_pieces = size_t{1} << 25;
    static constexpr uint64_t largest = ~uint64_t{0};
    static inline size_t karatsuba_limit = 28;   // at least 4
    static inline size_t transform_limit = 500;  // at least 1
    static inline size_t divide_limit = 48;      // at least 2
    static inline size_t newton_limit = 400;     // at least 4
    // Whether a divisor is scaled so that limbs of the quotient can be guessed.
    static constexpr bool guesses_scaled = true;

    /// a + b + carry as a limb; the carry goes out.
    static uint64_t add(uint64_t a, uint64_t b, uint64_t& carry) {
        const Wide sum = Wide{a} + b + carry;
        carry = static_cast<uint64_t>(sum >> 64);
        return static_cast<uint64_t>(sum);
    }
    /// a - b - borrow as a limb; the borrow goes out.
    static uint64_t subtract(uint64_t a, uint64_t b, uint64_t& borrow) {
        const Wide difference = Wide{a} - b - borrow;
        borrow = static_cast<uint64_t>(difference >> 64) & 1;
        return static_cast<uint64_t>(difference);
    }
    /// The low limb of a product of two limbs plus two more; the rest goes out.
    static uint64_t split(Wide t, uint64_t& carry) {
        carry = static_cast<uint64_t>(t >> 64);
        return static_cast<uint64_t>(t);
    }
    /// high * base + low.
    static Wide join(uint64_t high, uint64_t low) { return (Wide{high} << 64) | low; }
    /// The factor that makes a divisor's top limb at least half the base.
    static uint64_t normaliser(uint64_t top) { return uint64_t{1} << std::countl_zero(top); }
};

struct Decimal {
    static constexpr int digits = 18;
    static constexpr uint64_t base = 1'000'000'000'000'000'000;
    static constexpr Wide piece_base = Wide{1'000'000'000'000} * 1'000'000'000'000;
    static constexpr size_t group_limbs = 4;
    static constexpr size_t group_pieces = 3;
    static constexpr size_t most_pieces = 98'000'000;
    static constexpr uint64_t largest = base - 1;
    static inline size_t karatsuba_limit = 60;   // 4 to 200
    static inline size_t transform_limit = 460;  // at least 1
    static inline size_t divide_limit = 40;      // 2 to most_columns
    static inline size_t newton_limit = 800;     // at least 4
    static constexpr bool guesses_scaled = false;

    static uint64_t add(uint64_t a, uint64_t b, uint64_t& carry) {
        const uint64_t sum = a + b + carry;
        carry = sum >= base;
        return carry ? sum - base : sum;
    }
    static uint64_t subtract(uint64_t a, uint64_t b, uint64_t& borrow) {
        const uint64_t difference = a - b - borrow;
        borrow = difference >> 63;
        return borrow ? difference + base : difference;
    }
    /// Takes any t below 2^120. The carry is at most 1 too small: the bits cut off above lose less
    /// than 0.08, the reciprocal's fraction less than 0.13.
    static uint64_t split_nearly(Wide t, uint64_t& carry) {
        constexpr auto reciprocal = static_cast<uint64_t>((Wide{1} << 123) / base);
        const auto top = static_cast<uint64_t>(t >> 56);
        carry = static_cast<uint64_t>((Wide{top} * reciprocal) >> 67);
        return static_cast<uint64_t>(t) - carry * base;
    }
    static uint64_t split(Wide t, uint64_t& carry) {
        uint64_t rest = split_nearly(t, carry);
        if (rest >= base) {
            rest -= base;
            ++carry;
        }
        return rest;
    }
    static Wide join(uint64_t high, uint64_t low) { return Wide{high} * base + low; }
    /// m * 2^64 / base, rounded down: what splits products by m.
    static uint64_t share_of_base(uint64_t m) {
        constexpr Divider by_base(base);
        uint64_t rest;
        return by_base.divide(Wide{m} << 64, rest);
    }
    static uint64_t normaliser(uint64_t top) { return base / (top + 1); }
};

}  // namespace marl
