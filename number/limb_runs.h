// Runs of limbs, least significant first: the loops that sums, products and quotients are made of.
//
// A run is a pointer and a length. A result may stand where an operand of the same length does.
#pragma once

#include <cstddef>
#include <cstdint>

#include "number/radix.h"

namespace marl {

/// r = a + b, of na limbs, where na >= nb. Gives the carry.
template <class Radix>
uint64_t add_limbs(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    uint64_t carry = 0;
    for (size_t i = 0; i < nb; ++i) r[i] = Radix::add(a[i], b[i], carry);
    for (size_t i = nb; i < na; ++i) r[i] = Radix::add(a[i], 0, carry);
    return carry;
}

/// r = a - b, of na limbs, where na >= nb. Gives the borrow.
template <class Radix>
uint64_t subtract_limbs(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    uint64_t borrow = 0;
    for (size_t i = 0; i < nb; ++i) r[i] = Radix::subtract(a[i], b[i], borrow);
    for (size_t i = nb; i < na; ++i) r[i] = Radix::subtract(a[i], 0, borrow);
    return borrow;
}

/// r += b, where r has room for the sum. Stops early, so that it costs what b is long.
template <class Radix>
void add_limbs_in_place(uint64_t* r, const uint64_t* b, size_t nb) {
    uint64_t carry = 0;
    for (size_t i = 0; i < nb; ++i) r[i] = Radix::add(r[i], b[i], carry);
    for (size_t i = nb; carry; ++i) r[i] = Radix::add(r[i], 0, carry);
}

/// r = a * m + carry, of n limbs. Gives the limb above.
inline uint64_t multiply_by_limb(Binary, uint64_t* r, const uint64_t* a, size_t n, uint64_t m,
                                 uint64_t carry) {
    for (size_t i = 0; i < n; ++i) r[i] = Binary::split(Wide{a[i]} * m + carry, carry);
    return carry;
}
/// Here each product is split by itself, so that no split waits for the one before.
inline uint64_t multiply_by_limb(Decimal, uint64_t* r, const uint64_t* a, size_t n, uint64_t m,
                                 uint64_t above) {
    uint64_t carry = 0;
    for (size_t i = 0; i < n; ++i) {
        uint64_t high;
        const uint64_t low = Decimal::split(Wide{a[i]} * m, high);
        r[i] = Decimal::add(low, above, carry);
        above = high;
    }
    return above + carry;
}

/// r -= a * m, of n limbs. Gives what is still to be taken from the limb above.
template <class Radix>
uint64_t subtract_product(uint64_t* r, const uint64_t* a, size_t n, uint64_t m) {
    uint64_t carry = 0;
    uint64_t borrow = 0;
    for (size_t i = 0; i < n; ++i) {
        const uint64_t low = Radix::split(Wide{a[i]} * m + carry, carry);
        r[i] = Radix::subtract(r[i], low, borrow);
    }
    return carry + borrow;
}

/// Below 0 for a < b, 0 for equal, above 0 for a > b.
inline int compare_limbs(const uint64_t* a, const uint64_t* b, size_t n) {
    while (n > 0) {
        --n;
        if (a[n] != b[n]) return a[n] < b[n] ? -1 : 1;
    }
    return 0;
}

}  // namespace marl
