// Columns: what the limbs of two decimal numbers make of one place of their product.
//
// A decimal product is dear to split, so whole columns are summed up first: the sum of 300 products
// of limbs fits.
#pragma once

#include <cstddef>
#include <cstdint>

#include "number/radix.h"

namespace marl {

/// The low limb of a column's sum; what goes to the next column stays in the sum.
inline uint64_t take_limb(Wide& sum) {
    // base * 2^60 is a whole multiple of 2^64, so that the high word alone tells how often it fits.
    constexpr uint64_t step = Decimal::base / 16;
    const uint64_t multiples = static_cast<uint64_t>(sum >> 64) / step;
    uint64_t carry;
    const uint64_t low = Decimal::split(sum - (Wide{multiples * step} << 64), carry);
    sum = carry + (Wide{multiples} << 60);
    return low;
}

/// The sum of the products of n limbs at a, from the last one down, and n at b, from the first one
/// up. Two sums, neither of which waits for the columns below.
inline Wide column(const uint64_t* a, const uint64_t* b, size_t n) {
    Wide even = 0;
    Wide odd = 0;
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const uint64_t* last = a + n - i;
        even += Wide{last[-1]} * b[i];
        odd += Wide{last[-2]} * b[i + 1];
        even += Wide{last[-3]} * b[i + 2];
        odd += Wide{last[-4]} * b[i + 3];
    }
    for (; i < n; ++i) even += Wide{a[n - 1 - i]} * b[i];
    return even + odd;
}

}  // namespace marl
