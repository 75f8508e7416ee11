// Runs of limbs, least significant first: the loops that sums, products and quotients are made of.
//
// A run is a pointer and a length. A result may stand where an operand of the same length does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "number/decimal_runs.h"
#include "number/radix.h"

namespace marl {

/// r = a + b, of n limbs. Gives the carry.
inline uint64_t add_equal(Binary, uint64_t* r, const uint64_t* a, const uint64_t* b, size_t n) {
    uint64_t carry = 0;
    for (size_t i = 0; i < n; ++i) r[i] = Binary::add(a[i], b[i], carry);
    return carry;
}

/// r = a - b, of n limbs. Gives the borrow.
inline uint64_t subtract_equal(Binary, uint64_t* r, const uint64_t* a, const uint64_t* b,
                               size_t n) {
    uint64_t borrow = 0;
    for (size_t i = 0; i < n; ++i) r[i] = Binary::subtract(a[i], b[i], borrow);
    return borrow;
}

/// r = a, of n limbs.
inline void copy_limbs(uint64_t* r, const uint64_t* a, size_t n) {
    if (r != a && n > 0) memcpy(r, a, n * sizeof *r);
}

/// r = a + b, of na limbs, where na >= nb. Gives the carry.
template <class Radix>
uint64_t add_limbs(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    uint64_t carry = add_equal(Radix{}, r, a, b, nb);
    size_t i = nb;
    for (; carry && i < na; ++i) r[i] = Radix::add(a[i], 0, carry);
    copy_limbs(r + i, a + i, na - i);
    return carry;
}

/// r = a - b, of na limbs, where na >= nb. Gives the borrow.
template <class Radix>
uint64_t subtract_limbs(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    uint64_t borrow = subtract_equal(Radix{}, r, a, b, nb);
    size_t i = nb;
    for (; borrow && i < na; ++i) r[i] = Radix::subtract(a[i], 0, borrow);
    copy_limbs(r + i, a + i, na - i);
    return borrow;
}

/// r += b, where r has room for the sum. Stops early, so that it costs what b is long.
template <class Radix>
void add_limbs_in_place(uint64_t* r, const uint64_t* b, size_t nb) {
    uint64_t carry = add_equal(Radix{}, r, r, b, nb);
    for (size_t i = nb; carry; ++i) r[i] = Radix::add(r[i], 0, carry);
}

/// r = a * m + carry, of n limbs. Gives the limb above.
inline uint64_t multiply_by_limb(Binary, uint64_t* r, const uint64_t* a, size_t n, uint64_t m,
                                 uint64_t carry) {
    for (size_t i = 0; i < n; ++i) r[i] = Binary::split(Wide{a[i]} * m + carry, carry);
    return carry;
}
/// Here each product is split by itself, by what the factor times 2^64 makes of the base, so that
/// no split waits for the one before: a limb's own part of it is below 1.06 times the base, so that
/// with what comes from the limb below a second reduction is rare.
inline uint64_t multiply_by_limb(Decimal, uint64_t* r, const uint64_t* a, size_t n, uint64_t m,
                                 uint64_t above) {
    const uint64_t quotient = Decimal::share_of_base(m);
    uint64_t carry = 0;
    for (size_t i = 0; i < n; ++i) {
        const auto high = static_cast<uint64_t>((Wide{a[i]} * quotient) >> 64);
        uint64_t low = a[i] * m - high * Decimal::base + above;
        const uint64_t less = low - Decimal::base;
        const uint64_t mask = uint64_t{0} - (less >> 63);
        low = less + (mask & Decimal::base) + carry;
        carry = mask + 1;
        if (low >= Decimal::base) [[unlikely]] {
            low -= Decimal::base;
            ++carry;
        }
        r[i] = low;
        above = high;
    }
    return above + carry;
}

/// r -= a * m, of n limbs. Gives what is still to be taken from the limb above.
inline uint64_t subtract_product(Binary, uint64_t* r, const uint64_t* a, size_t n, uint64_t m) {
    uint64_t carry = 0;
    uint64_t borrow = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint64_t low = Binary::split(Wide{a[i]} * m + carry, carry);
        r[i] = Binary::subtract(r[i], low, borrow);
    }
    return carry + borrow;
}
/// Split like the product above. A limb of r less its own part of the product and the one from
/// below is above -2.06 times the base, so that it needs two additions of the base, and rarely a
/// third.
inline uint64_t subtract_product(Decimal, uint64_t* r, const uint64_t* a, size_t n, uint64_t m) {
    if (m == 1) return subtract_equal(Decimal{}, r, r, a, n);
    constexpr auto base = static_cast<int64_t>(Decimal::base);
    const uint64_t quotient = Decimal::share_of_base(m);
    uint64_t above = 0;
    int64_t borrow = 0;  // negative
    for (size_t i = 0; i < n; ++i) {
        const auto high = static_cast<uint64_t>((Wide{a[i]} * quotient) >> 64);
        auto rest = static_cast<int64_t>(r[i] - (a[i] * m - high * Decimal::base) - above);
        const int64_t first = rest >> 63;
        rest += first & base;
        const int64_t second = rest >> 63;
        rest += (second & base) + borrow;
        borrow = first + second;
        if (rest < 0) [[unlikely]] {
            rest += base;
            --borrow;
        }
        r[i] = static_cast<uint64_t>(rest);
        above = high;
    }
    return above - static_cast<uint64_t>(borrow);
}

/// Below 0 for a < b, 0 for equal, above 0 for a > b.
inline int compare_limbs(const uint64_t* a, const uint64_t* b, size_t n) {
    while (n > 0) {
        --n;
        if (a[n] != b[n]) return a[n] < b[n] ? -1 : 1;
    }
    return 0;
}

/// r = a * b, of na + nb limbs, where na >= nb >= 1 (number/magnitude.cpp).
template <class Radix>
void multiply_limbs(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb);

}  // namespace marl
