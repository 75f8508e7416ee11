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

static_assert(square_of_base * 5 <= ~Wide{0} / most_columns);

/// What is left, from a place on: two limbs, and what stands above them.
class Top {
  public:
    /// From the four top limbs that are divided, which end at one place, by those of a divisor,
    /// three or more, which end at another one.
    Top(const uint64_t* end, const uint64_t* divisor_end)
        : above_(Decimal::join(end[-1], end[-2])),
          low_(Decimal::join(end[-3], end[-4])),
          divisor_(divisor_end[-1]),
          divisor_low_(Decimal::join(divisor_end[-2], divisor_end[-3])),
          share_(share_of_square(divisor_end[-2], divisor_end[-3])) {}

    /// The part of it that a limb of the quotient is guessed from. What the places below still
    /// have to give is less than 1 here.
    Wide above() const { return above_ > 0 ? above_ - 1 : 0; }

    /// Takes a limb of the quotient times the divisor's top three limbs.
    void subtract_product(uint64_t digit) {
        // At most 1 too small, so that what is left is below twice the square.
        const auto squares = static_cast<uint64_t>((Wide{digit} * share_) >> 64);
        above_ -= Wide{digit} * divisor_ + squares;
        subtract(divisor_low_ * digit - square_of_base * squares);
    }

    /// Goes on to the next lower place, which holds a limb less a sum.
    void take_place(uint64_t limb, Wide sum) {
        uint64_t high;
        const uint64_t low = Decimal::split(low_, high);
        above_ = above_ * Decimal::base + high;
        low_ = Decimal::join(low, limb);
        const uint64_t squares = squares_in(sum);
        above_ -= squares;
        subtract(sum - squares * square_of_base);
    }

  private:
    void subtract(Wide x) {
        for (; low_ < x; low_ += square_of_base) --above_;
        low_ -= x;
    }

    /// (high * base + low) * 2^64 / base^2, at most 2 too small.
    static uint64_t share_of_square(uint64_t high, uint64_t low) {
        constexpr Divider by_base(Decimal::base);
        uint64_t rest;
        const uint64_t share = by_base.divide(Wide{high} << 64, rest);
        const uint64_t below = Decimal::share_of_base(low);
        return share + below / Decimal::base + (below % Decimal::base + rest >= Decimal::base);
    }

    Wide above_;
    Wide low_;          // below the square of the base
    uint64_t divisor_;  // its top limb
    Wide divisor_low_;  // the two below it
    uint64_t share_;    // of them in the square of the base
};

/// What the limbs of q from `from` on take from a place of what is divided by n limbs at b.
Wide column_of(const uint64_t* q, size_t m, size_t from, const uint64_t* b, size_t n,
               size_t place) {
    const size_t first = std::max(from, place < n ? 0 : place - n + 1);
    const size_t last = std::min(place, m - 1);
    return first > last ? 0 : column(q + first, b + (place - last), last - first + 1);
}

/// Guesses the limbs of a quotient, from the top.
class Digits {
  public:
    /// Those of all places but the lowest one.
    Digits(uint64_t* q, size_t m, const uint64_t* a, const uint64_t* b, size_t n)
        : q_(q), m_(m), a_(a), b_(b), n_(n), guess_(b, n), top_(a + n + m, b + n) {
        for (size_t j = m; j-- > 1;) {
            q[j] = next();
            go_down(j);
        }
    }

    uint64_t next() const { return guess_(top_.above()); }

    /// Goes on to the place below j, where q stands by now.
    void go_down(size_t j) {
        top_.subtract_product(q_[j]);
        const size_t place = j + n_ - 4;
        top_.take_place(a_[place], column_of(q_, m_, j, b_, n_, place));
    }

  private:
    uint64_t* q_;
    size_t m_;
    const uint64_t* a_;
    const uint64_t* b_;
    size_t n_;
    Guess<Decimal> guess_;
    Top top_;
};

void leave_remainder(uint64_t* a, const uint64_t* q, size_t m, const uint64_t* b, size_t n) {
    ColumnLimbs limbs;
    uint64_t borrow = 0;
    for (size_t k = 0; k <= n; ++k) {
        a[k] = Decimal::subtract(a[k], limbs.take(column_of(q, m, 0, b, n, k)), borrow);
    }
    std::fill(a + n + 1, a + n + m, 0);
}

void carry_over(uint64_t* q, size_t m) {
    uint64_t carry = 0;
    for (size_t j = 0; j < m; ++j) q[j] = Decimal::split(Wide{q[j]} + carry, carry);
}

}  // namespace

void divide_by_columns(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n) {
    Digits digits(q, m, a, b, n);
    q[0] = digits.next();
    leave_remainder(a, q, m, b, n);
    for (; a[n] > 0 || compare_limbs(a, b, n) >= 0; ++q[0]) {
        a[n] -= subtract_equal(Decimal{}, a, a, b, n);
    }
    carry_over(q, m);
}

bool quotient_by_columns(uint64_t* q, size_t m, const uint64_t* a, const uint64_t* b, size_t n) {
    Digits digits(q, m, a, b, n);
    q[0] = digits.next();
    digits.go_down(0);
    // How often the divisor is left, and a part of it.
    const uint64_t left = digits.next();
    constexpr uint64_t most_missed = 8;
    if (left % Decimal::base >= Decimal::base - most_missed) return false;
    q[0] += left / Decimal::base;
    carry_over(q, m);
    return true;
}

}  // namespace marl
