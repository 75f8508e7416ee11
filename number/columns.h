// Columns: what the limbs of two decimal numbers make of one place of their product.
//
// A decimal product is dear to split, so whole columns are summed up first.
#pragma once

#include <cstddef>
#include <cstdint>

#include "number/radix.h"

namespace marl {

/// The sum of so many products of limbs fits.
constexpr size_t most_products = 300;

constexpr Wide square_of_base = Wide{Decimal::base} * Decimal::base;

/// How often the square goes into a sum, at times once too few: then hardly more than one is left.
inline uint64_t squares_in(Wide sum) {
    constexpr auto step = static_cast<uint64_t>(square_of_base >> 64) + 1;
    return static_cast<uint64_t>(sum >> 64) / step;
}

/// Makes limbs of the sums of columns, lowest first. Each is cut in three by itself, so that only
/// the carry of a limb waits for the columns below.
class ColumnLimbs {
  public:
    /// The limb at the place of a sum of at most `most_products`.
    uint64_t take(Wide sum) {
        const uint64_t squares = squares_in(sum);
        uint64_t high;
        // Below three times the base.
        const uint64_t limb = Decimal::split_nearly(sum - squares * square_of_base, high) + next_;
        const uint64_t over = uint64_t{limb >= Decimal::base} + uint64_t{limb >= 2 * Decimal::base};
        next_ = high + last_squares_ + over;
        last_squares_ = squares;
        return limb - over * Decimal::base;
    }
    /// What the next place has but for its own column.
    uint64_t next() const { return next_; }

  private:
    uint64_t next_ = 0;
    uint64_t last_squares_ = 0;
};

/// The sum of the products of n limbs at a, from the last one down, and n at b, from the first one
/// up. It waits for none of the columns below.
inline Wide column(const uint64_t* a, const uint64_t* b, size_t n) {
    Wide sum = 0;
    const uint64_t* last = a + n;
    for (; n >= 4; n -= 4, b += 4) {
        last -= 4;
        sum += Wide{last[3]} * b[0];
        sum += Wide{last[2]} * b[1];
        sum += Wide{last[1]} * b[2];
        sum += Wide{last[0]} * b[3];
    }
    for (; n > 0; --n) sum += Wide{*--last} * *b++;
    return sum;
}

/// Two columns side by side: the sums of n products up[i] * down[-i] and up[i] * down[1 - i].
struct ColumnPair {
    Wide first = 0;
    Wide second = 0;
};
inline ColumnPair column_pair(const uint64_t* up, const uint64_t* down, size_t n) {
    ColumnPair sums;
    for (; n > 0; --n, ++up, --down) {
        sums.first += Wide{*up} * down[0];
        sums.second += Wide{*up} * down[1];
    }
    return sums;
}

}  // namespace marl
