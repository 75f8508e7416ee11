// Only the top of what is left is kept up to date: it tells the next limb of the quotient, which is
// multiplied out with the divisor's three top limbs at once. What all limbs so far take from a
// place below is one sum of products, and is split once, when that place becomes part of the top.
//
// A guess is never too large, so that nothing ever goes below zero, and at most 5 too small. That
// the next guess makes good: what is left is below 5 times the divisor, limbs of the quotient are
// below 5 times the base, and so is the sum of as many products as `most_columns` below 2^128. They
// get their carries, and the last one what it lacks, at the end.
#include "number/column_division.h"

#include <algorithm>

#include "number/columns.h"
#include "number/guess.h"
#include "number/limb_runs.h"

namespace marl {

namespace {

constexpr Wide square_of_base = Wide{Decimal::base} * Decimal::base;
static_assert(square_of_base * 5 <= ~Wide{0} / most_columns);

/// What is left, from a place on: two limbs, and what stands above them.
class Top {
  public:
    Top(Wide above, Wide two_limbs) : above_(above), low_(two_limbs) {}

    /// The part of it that a limb of the quotient is guessed from. What the places below still
    /// have to give is less than 1 here.
    Wide above() const { return above_ > 0 ? above_ - 1 : 0; }

    /// Takes a limb of the quotient times the divisor's top three limbs.
    void subtract_product(uint64_t digit, const uint64_t* top_limbs) {
        Wide sum = Wide{digit} * top_limbs[0];
        const uint64_t low = take_limb(sum);
        sum += Wide{digit} * top_limbs[1];
        const uint64_t high = take_limb(sum);
        sum += Wide{digit} * top_limbs[2];
        subtract(Decimal::join(high, low));
        above_ -= sum;
    }

    /// Goes on to the next lower place, which holds a limb less a sum.
    void take_place(uint64_t limb, Wide sum) {
        uint64_t high;
        const uint64_t low = Decimal::split(low_, high);
        above_ = above_ * Decimal::base + high;
        low_ = Decimal::join(low, limb);
        constexpr auto step = static_cast<uint64_t>(square_of_base >> 64) + 1;
        const uint64_t squares = static_cast<uint64_t>(sum >> 64) / step;
        above_ -= squares;
        subtract(sum - squares * square_of_base);
    }

  private:
    void subtract(Wide x) {
        for (; low_ < x; low_ += square_of_base) --above_;
        low_ -= x;
    }

    Wide above_;
    Wide low_;  // below the square of the base
};

/// What the limbs of q from `from` on take from a place of what is divided by n limbs at b.
Wide column_of(const uint64_t* q, size_t m, size_t from, const uint64_t* b, size_t n,
               size_t place) {
    const size_t first = std::max(from, place < n ? 0 : place - n + 1);
    const size_t last = std::min(place, m - 1);
    return first > last ? 0 : column(q + first, b + (place - last), last - first + 1);
}

void leave_remainder(uint64_t* a, const uint64_t* q, size_t m, const uint64_t* b, size_t n) {
    Wide sum = 0;
    uint64_t borrow = 0;
    for (size_t k = 0; k <= n; ++k) {
        sum += column_of(q, m, 0, b, n, k);
        a[k] = Decimal::subtract(a[k], take_limb(sum), borrow);
    }
    std::fill(a + n + 1, a + n + m, 0);
}

void carry_over(uint64_t* q, size_t m) {
    uint64_t carry = 0;
    for (size_t j = 0; j < m; ++j) q[j] = Decimal::split(Wide{q[j]} + carry, carry);
}

}  // namespace

void divide_by_columns(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n) {
    const Guess<Decimal> guess(b, n);
    const uint64_t* end = a + n + m;
    Top top(Decimal::join(end[-1], end[-2]), Decimal::join(end[-3], end[-4]));
    for (size_t j = m; j-- > 0;) {
        q[j] = guess(top.above());
        if (j == 0) break;
        top.subtract_product(q[j], b + n - 3);
        const size_t place = j + n - 4;
        top.take_place(a[place], column_of(q, m, j, b, n, place));
    }
    leave_remainder(a, q, m, b, n);
    for (; a[n] > 0 || compare_limbs(a, b, n) >= 0; ++q[0]) {
        a[n] -= subtract_equal(Decimal{}, a, a, b, n);
    }
    carry_over(q, m);
}

}  // namespace marl
