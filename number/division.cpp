// Division of long magnitudes.
//
// By one limb it goes limb by limb. By several limbs, the top limbs of both tell a limb of the
// quotient nearly, and what it takes from the rest shows whether it was right: a row for each limb,
// or, for decimal ones, a column (number/column_division.h). From `divide_limit` limbs on the
// quotient is found in halves, each from as many limbs of the divisor as it needs; the others are
// multiplied out at once, which is faster than row by row. All this happens where the dividend
// stands. From `newton_limit` limbs on the divisor's reciprocal is found, by Newton's step, and
// multiplied by: a quotient as long as its divisor then costs about two and a half products.
//
// Newton's step, and the guess of a binary limb, want a divisor whose top limb is at least half the
// base. So for these both numbers are scaled first, and the remainder is scaled back.
#include <algorithm>
#include <utility>

#include "number/column_division.h"
#include "number/guess.h"
#include "number/limb_runs.h"
#include "number/magnitude.h"
#include "number/pieces.h"
#include "text/fatal.h"

namespace marl {

namespace {

/// The number without its n lowest limbs, and these alone.
Limbs above(const Limbs& a, size_t n) {
    return n < a.size() ? Limbs(a.begin() + static_cast<ptrdiff_t>(n), a.end()) : Limbs{};
}
Limbs below(const Limbs& a, size_t n) {
    Limbs low(a.begin(), a.begin() + static_cast<ptrdiff_t>(std::min(n, a.size())));
    mag_trim(low);
    return low;
}
/// high * base^n + low, where low has no more than n limbs.
Limbs above_of(const Limbs& high, size_t n, const Limbs& low) {
    Limbs joined;
    joined.reserve(n + high.size());
    joined = low;
    joined.resize(n, 0);
    joined.insert(joined.end(), high.begin(), high.end());
    mag_trim(joined);
    return joined;
}

template <class Radix>
uint64_t divide_in_place(Limbs& a, uint64_t d) {
    const Divider divider(d);
    uint64_t rest = 0;
    for (size_t i = a.size(); i-- > 0;) a[i] = divider.divide(Radix::join(rest, a[i]), rest);
    mag_trim(a);
    return rest;
}

/// The remainder alone.
template <class Radix>
uint64_t rest_by_limb(const Limbs& a, uint64_t d) {
    const Divider divider(d);
    uint64_t rest = 0;
    for (size_t i = a.size(); i-- > 0;) divider.divide(Radix::join(rest, a[i]), rest);
    return rest;
}

uint64_t divide_by_limb(Binary, Limbs& a, uint64_t d) { return divide_in_place<Binary>(a, d); }
uint64_t rest_by_limb(Binary, const Limbs& a, uint64_t d) { return rest_by_limb<Binary>(a, d); }

// Where a decimal divisor goes into the base, no limb waits for the ones above it.

uint64_t divide_by_limb(Decimal, Limbs& a, uint64_t d) {
    if (Decimal::base % d != 0) return divide_in_place<Decimal>(a, d);
    const uint64_t share = Decimal::base / d;
    const uint64_t reciprocal = ~uint64_t{0} / d;
    uint64_t above = 0;
    for (size_t i = a.size(); i-- > 0;) {
        auto quotient = static_cast<uint64_t>((Wide{a[i]} * reciprocal) >> 64);
        uint64_t rest = a[i] - quotient * d;
        if (rest >= d) {
            ++quotient;
            rest -= d;
        }
        a[i] = quotient + above * share;
        above = rest;
    }
    mag_trim(a);
    return above;
}
uint64_t rest_by_limb(Decimal, const Limbs& a, uint64_t d) {
    if (Decimal::base % d != 0) return rest_by_limb<Decimal>(a, d);
    return a.empty() ? 0 : a[0] % d;
}

// Division of runs: n + m limbs at a by n at b, n at least 2, where the top n limbs at a are less
// than b. The quotient goes to the m limbs at q, the remainder stays in the lowest n at a, and
// above it are zeros. Binary divisors have their top bit set; decimal ones may be any.

/// Limb by limb, each one guessed.
template <class Radix>
void divide_by_rows(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n) {
    const Guess<Radix> guess(b, n);
    for (size_t j = m; j-- > 0;) {
        uint64_t* row = a + j;
        uint64_t& top = row[n];
        uint64_t digit = guess(&top);
        uint64_t borrow = 0;
        top = Radix::subtract(top, subtract_product(Radix{}, row, b, n, digit), borrow);
        for (; borrow; --digit) {
            uint64_t carry = add_equal(Radix{}, row, row, b, n);
            top = Radix::add(top, 0, carry);
            borrow -= carry;
        }
        for (; top > 0 || compare_limbs(row, b, n) >= 0; ++digit) {
            top -= subtract_equal(Radix{}, row, row, b, n);
        }
        q[j] = digit;
    }
}

template <class Radix>
void divide_by_newton(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n);
template <class Radix>
void divide_run(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n, uint64_t* scratch);

/// m limbs of quotient by a b of more than m + 1: the top m + 1 limbs of b tell them but for at
/// most a few, which show when the rest of b is multiplied out. `scratch` has room for n limbs.
template <class Radix>
void divide_by_top(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n,
                   uint64_t* scratch) {
    const size_t dropped = n - m - 1;
    if (compare_limbs(a + n - 1, b + dropped, m + 1) < 0) {
        divide_run<Radix>(q, m, a + dropped, b + dropped, m + 1, scratch);
    } else {
        // The top limbs are the same, so the quotient would be one limb longer.
        std::fill(q, q + m, Radix::largest);
        std::fill(a + n - 1, a + n + m, 0);
        a[n] = add_equal(Radix{}, a + dropped, a + dropped, b + dropped, m + 1);
    }
    if (dropped > m) {
        multiply_limbs<Radix>(scratch, b, dropped, q, m);
    } else {
        multiply_limbs<Radix>(scratch, q, m, b, dropped);
    }
    uint64_t borrow = subtract_limbs<Radix>(a, a, n + 1, scratch, n - 1);
    while (borrow) {
        constexpr uint64_t one = 1;
        subtract_limbs<Radix>(q, q, m, &one, 1);
        borrow -= add_limbs<Radix>(a, a, n + 1, b, n);
    }
}

/// Quotients of few limbs, or by few.
void divide_short(Binary, uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n,
                  uint64_t* scratch) {
    if (m > 2 && n > 2 * m + 2) return divide_by_top<Binary>(q, m, a, b, n, scratch);
    divide_by_rows<Binary>(q, m, a, b, n);
}
void divide_short(Decimal, uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n,
                  uint64_t* /*scratch*/) {
    if (m > 1 && n > 2) return divide_by_columns(q, m, a, b, n);
    divide_by_rows<Decimal>(q, m, a, b, n);
}

template <class Radix>
void divide_run(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n,
                uint64_t* scratch) {
    if (m < Radix::divide_limit || n < Radix::divide_limit) {
        return divide_short(Radix{}, q, m, a, b, n, scratch);
    }
    if (n > m + 1) return divide_by_top<Radix>(q, m, a, b, n, scratch);
    if (n >= Radix::newton_limit && n <= Radix::most_pieces) {
        return divide_by_newton<Radix>(q, m, a, b, n);
    }
    // In two halves, or at most as much at a time as the divisor is long.
    const size_t low = m > 2 * n ? m - n : m / 2;
    divide_run<Radix>(q + low, m - low, a + low, b, n, scratch);
    divide_run<Radix>(q, low, a, b, n, scratch);
}

struct Division {
    Limbs quotient;
    Limbs remainder;
};

/// The same for whole numbers, b being of two limbs at least.
template <class Radix>
Division divide_numbers(const Limbs& a, const Limbs& b) {
    if (mag_compare(a, b) < 0) return {{}, a};
    const size_t n = b.size();
    size_t m = a.size() - n;
    Division division;
    division.remainder.reserve(a.size() + 1);
    division.remainder = a;
    if (compare_limbs(a.data() + m, b.data(), n) >= 0) {
        division.remainder.push_back(0);
        ++m;
    }
    division.quotient.resize(m);
    Limbs scratch(n);
    divide_run<Radix>(division.quotient.data(), m, division.remainder.data(), b.data(), n,
                      scratch.data());
    mag_trim(division.quotient);
    mag_trim(division.remainder);
    return division;
}

// By Newton's step. With B the base, n the limbs of b and x about B^(n+h) / b, h limbs of quotient
// are the top of what is to be divided times x, give or take a few. So many times b is close to
// what is divided, and the rest is short: the product is only wanted modulo a power of the base
// less 1, which takes transforms of half the length.

/// A number that is multiplied with others, transformed once for all of them.
template <class Radix>
struct Transformed {
    Limbs limbs;
    size_t count;  // of pieces, that are wanted of its products
    size_t length;
    Spectrum spectrum;

    /// Of products the pieces of n limbs are wanted.
    Transformed(Limbs a, size_t n)
        : limbs(std::move(a)),
          count(piece_count<Radix>(n)),
          length(length_to_wrap(count)),
          spectrum(spectrum_of_limbs(limbs)) {}

    Spectrum spectrum_of_limbs(const Limbs& a) const {
        PieceList pieces = pieces_of(Radix{}, a.data(), a.size());
        if (pieces.size() > length) pieces = folded<Radix>(pieces, length);
        return spectrum_of(pieces, length);
    }
    /// A product modulo piece_base^length - 1.
    PieceList cyclic(const Limbs& a) const {
        return cyclic_product<Radix>(spectrum_of_limbs(a), spectrum);
    }
    /// As many of its lowest pieces as the length is less than what is wanted.
    PieceList lowest(const Limbs& a) const {
        if (a.empty()) return PieceList(count - length);
        return lowest_pieces<Radix>(count - length, a.data(), a.size(), limbs.data(), limbs.size());
    }
};

/// The product, which has n limbs at most, the n that are wanted.
template <class Radix>
Limbs product_of(const Transformed<Radix>& x, const Limbs& a, size_t n) {
    PieceList pieces = x.cyclic(a);
    if (x.length < x.count) unwrap<Radix>(pieces, x.lowest(a));
    Limbs product(n);
    limbs_of(Radix{}, product.data(), n, pieces);
    mag_trim(product);
    return product;
}

/// a less a product, when that is nearer to 0 than a quarter of what is wanted can tell.
struct Difference {
    bool negative;
    Limbs magnitude;
};
template <class Radix>
Difference difference_from(const Limbs& a, const Transformed<Radix>& x, const Limbs& b) {
    const PieceList pieces = pieces_of(Radix{}, a.data(), a.size());
    PieceList rest = folded<Radix>(pieces, x.length);
    if (subtract_pieces<Radix>(rest, x.cyclic(b))) subtract_pieces<Radix>(rest, {1});
    bool negative = rest.back() >= Radix::piece_base / 2;
    if (x.length < x.count) {
        PieceList lowest = pieces;
        lowest.resize(x.count - x.length);
        subtract_pieces<Radix>(lowest, x.lowest(b));
        negative = unwrap_signed<Radix>(rest, lowest);
    } else if (negative) {
        for (Wide& piece : rest) piece = Radix::piece_base - 1 - piece;
    }
    const size_t limbs = rest.size() * Radix::group_limbs + Radix::group_pieces - 1;
    Limbs magnitude(limbs / Radix::group_pieces);
    limbs_of(Radix{}, magnitude.data(), magnitude.size(), rest);
    mag_trim(magnitude);
    return {negative, std::move(magnitude)};
}

Limbs power_of_base(size_t n) {
    Limbs power(n + 1, 0);
    power[n] = 1;
    return power;
}

/// About B^(n+h) / b, from the top h limbs of b: at most 8 off.
template <class Radix>
Limbs reciprocal(const Limbs& b, size_t h) {
    const Limbs top = above(b, b.size() - h);
    if (h < Radix::newton_limit) return divide_numbers<Radix>(power_of_base(2 * h), top).quotient;
    // One limb more than half of them, so that what the step leaves over is below 1.
    const size_t half = h / 2 + 1;
    const Transformed<Radix> x(reciprocal<Radix>(top, half), 2 * half + 4);
    const Difference error = difference_from(power_of_base(h + half), x, top);
    const size_t dropped = h - half - 1;
    Limbs step = product_of(x, above(error.magnitude, dropped), 2 * half + 4);
    step = above(step, 3 * half - h + 1);
    const Limbs known = above_of(x.limbs, h - half, {});
    return error.negative ? mag_sub<Radix>(known, step) : mag_add<Radix>(known, step);
}

/// Whether a limb behind the point tells that what stands before it is right.
template <class Radix>
bool is_certain(uint64_t fraction) {
    constexpr uint64_t most_off = 16;
    return fraction >= most_off && fraction < Radix::largest - most_off;
}

enum class Wanted { both, quotient };

/// A quotient of any length, the divisor and its reciprocal being transformed once for all parts.
/// The remainder is not found where it is not wanted, and nothing else needs it.
template <class Radix>
Division divide_newton(const Limbs& a, const Limbs& b, Wanted wanted) {
    const size_t n = b.size();
    const size_t m = a.size() - n;
    // The quotient in parts of h limbs, two at least, so that the reciprocal is that short.
    const size_t parts = std::max<size_t>(2, (m + n - 1) / n);
    const size_t h = (m + parts - 1) / parts;
    // With one limb more, the last part has a fraction.
    const size_t known = wanted == Wanted::quotient && h < n ? h + 1 : h;
    const size_t all = known + h + 2;
    const Transformed<Radix> x(reciprocal<Radix>(b, known), all);
    const Transformed<Radix> divisor(b, n + 2);
    Division result{{}, above(a, m)};
    if (mag_compare(result.remainder, b) >= 0) {
        result = {{1}, mag_sub<Radix>(result.remainder, b)};
    }
    for (size_t left = m; left > 0;) {
        const size_t k = (left - 1) % h + 1;
        left -= k;
        const Limbs rest = above_of(result.remainder, k, below(above(a, left), k));
        const Limbs product = product_of(x, above(rest, n - 1), all);
        Limbs part = above(product, known + 1);
        if (left == 0 && known > h && product.size() > known && is_certain<Radix>(product[known])) {
            return {above_of(result.quotient, k, part), {}};
        }
        Difference left_over = difference_from(rest, divisor, part);
        while (left_over.negative) {
            part = mag_sub<Radix>(part, {1});
            left_over.negative = mag_compare(left_over.magnitude, b) > 0;
            left_over.magnitude = left_over.negative ? mag_sub<Radix>(left_over.magnitude, b)
                                                     : mag_sub<Radix>(b, left_over.magnitude);
        }
        while (mag_compare(left_over.magnitude, b) >= 0) {
            part = mag_add<Radix>(part, {1});
            left_over.magnitude = mag_sub<Radix>(left_over.magnitude, b);
        }
        result.quotient = above_of(result.quotient, k, part);
        result.remainder = std::move(left_over.magnitude);
    }
    return result;
}

template <class Radix>
void divide_by_newton(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n) {
    Division division = divide_newton<Radix>(Limbs(a, a + n + m), Limbs(b, b + n), Wanted::both);
    division.quotient.resize(m, 0);
    division.remainder.resize(n + m, 0);
    copy_limbs(q, division.quotient.data(), m);
    copy_limbs(a, division.remainder.data(), n + m);
}

template <class Radix>
Limbs scaled(Limbs a, uint64_t factor) {
    mag_mul_add_limb<Radix>(a, factor, 0);
    return a;
}

}  // namespace

template <class Radix>
Limbs mag_divide(const Limbs& a, const Limbs& b, Limbs& remainder) {
    MARL_REQUIRE(!b.empty());
    if (b.size() == 1) {
        Limbs quotient = a;
        remainder.assign(1, divide_by_limb(Radix{}, quotient, b[0]));
        mag_trim(remainder);
        return quotient;
    }
    if (mag_compare(a, b) < 0) {
        remainder = a;
        return {};
    }
    // A quotient of m limbs may be found from m + 1 limbs of the divisor.
    const size_t most_limbs = a.size() - b.size() + 1;
    const bool is_long = std::min(most_limbs + 1, b.size()) >= Radix::newton_limit;
    if (!is_long && !Radix::guesses_scaled) {
        Division division = divide_numbers<Radix>(a, b);
        remainder = std::move(division.remainder);
        return std::move(division.quotient);
    }
    const uint64_t factor = Radix::normaliser(b.back());
    Division division = divide_numbers<Radix>(scaled<Radix>(a, factor), scaled<Radix>(b, factor));
    divide_in_place<Radix>(division.remainder, factor);
    remainder = std::move(division.remainder);
    return std::move(division.quotient);
}

namespace {

bool find_quotient(Binary, const Limbs&, const Limbs&, Limbs&) { return false; }

/// The quotient where it is found without the remainder.
bool find_quotient(Decimal, const Limbs& a, const Limbs& b, Limbs& quotient) {
    const size_t n = b.size();
    if (n < 4 || a.size() < n) return false;
    size_t m = a.size() - n;
    if (n >= Decimal::newton_limit && n <= m + 1 && n <= Decimal::most_pieces) {
        const uint64_t factor = Decimal::normaliser(b.back());
        const Limbs dividend = scaled<Decimal>(a, factor);
        const Limbs divisor = scaled<Decimal>(b, factor);
        quotient = divide_newton<Decimal>(dividend, divisor, Wanted::quotient).quotient;
        return true;
    }
    Limbs longer;
    if (compare_limbs(a.data() + m, b.data(), n) >= 0) {
        longer.reserve(a.size() + 1);
        longer = a;
        longer.push_back(0);
        ++m;
    }
    if (m < 2 || (m >= Decimal::divide_limit && n >= Decimal::divide_limit)) return false;
    quotient.resize(m);
    const Limbs& dividend = longer.empty() ? a : longer;
    if (!quotient_by_columns(quotient.data(), m, dividend.data(), b.data(), n)) return false;
    mag_trim(quotient);
    return true;
}

}  // namespace

template <class Radix>
Limbs mag_quotient(const Limbs& a, const Limbs& b) {
    Limbs quotient;
    Limbs remainder;
    if (find_quotient(Radix{}, a, b, quotient)) return quotient;
    return mag_divide<Radix>(a, b, remainder);
}

template <class Radix>
Limbs mag_rest(const Limbs& a, const Limbs& b) {
    Limbs rest;
    if (b.size() != 1) {
        mag_divide<Radix>(a, b, rest);
    } else if (const uint64_t limb = rest_by_limb(Radix{}, a, b[0])) {
        rest.push_back(limb);
    }
    return rest;
}

template Limbs mag_divide<Binary>(const Limbs&, const Limbs&, Limbs&);
template Limbs mag_divide<Decimal>(const Limbs&, const Limbs&, Limbs&);
template Limbs mag_quotient<Binary>(const Limbs&, const Limbs&);
template Limbs mag_quotient<Decimal>(const Limbs&, const Limbs&);
template Limbs mag_rest<Binary>(const Limbs&, const Limbs&);
template Limbs mag_rest<Decimal>(const Limbs&, const Limbs&);

}  // namespace marl
