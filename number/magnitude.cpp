// Three layers. Kernels run over limbs, with a carry. Products choose their method by length: rows
// or columns up to some dozen limbs, three products of half the length up to some thousand,
// transforms of the limbs cut in pieces beyond. Division guesses limb by limb for short divisors,
// and for long ones halves the quotient until it is short, with one product at each step to correct
// the guess.
#include "number/magnitude.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "number/columns.h"
#include "number/limb_runs.h"
#include "number/pieces.h"
#include "text/fatal.h"

namespace marl {

namespace {

// Products of few limbs, r = a * b of na + nb limbs. Binary ones go row by row, decimal ones column
// by column.

void multiply_short(Binary, uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b,
                    size_t nb) {
    r[na] = multiply_by_limb(Binary{}, r, a, na, b[0], 0);
    for (size_t j = 1; j < nb; ++j) {
        uint64_t carry = 0;
        for (size_t i = 0; i < na; ++i) {
            r[i + j] = Binary::split(Wide{a[i]} * b[j] + r[i + j] + carry, carry);
        }
        r[na + j] = carry;
    }
}

/// The columns of a square of n limbs, times a factor; n * factor is at most `most_products`.
/// Writes all limbs but the two at the top, which `limbs` still has.
void square_columns(ColumnLimbs& limbs, uint64_t* r, const uint64_t* a, size_t n, uint64_t factor) {
    for (size_t i = 0; i + 1 < n; ++i) {
        const size_t k = 2 * i;
        const size_t from = k + 1 < n ? 0 : k + 2 - n;
        ColumnPair sums = column_pair(a + from, a + k - from, i - from);
        if (from > 0) sums.first += Wide{a[from - 1]} * a[n - 1];
        sums.second += Wide{a[i]} * a[i + 1];
        r[k] = limbs.take((sums.first * 2 + Wide{a[i]} * a[i]) * factor);
        r[k + 1] = limbs.take(sums.second * (2 * factor));
    }
    r[2 * n - 2] = limbs.take(Wide{a[n - 1]} * a[n - 1] * factor);
}

void square_short(uint64_t* r, const uint64_t* a, size_t n) {
    ColumnLimbs limbs;
    square_columns(limbs, r, a, n, 1);
    r[2 * n - 1] = limbs.next();
}

void multiply_short(Decimal, uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b,
                    size_t nb) {
    if (nb == 1) {
        r[na] = multiply_by_limb(Decimal{}, r, a, na, b[0], 0);
        return;
    }
    if (a == b && na == nb) return square_short(r, a, na);
    ColumnLimbs limbs;
    const size_t last = na + nb - 2;
    for (size_t k = 0; k < last; k += 2) {
        // What both columns have, and then what one of them has alone.
        const size_t from = k + 1 < na ? 0 : k + 2 - na;
        ColumnPair sums = column_pair(b + from, a + k - from, std::min(k + 1, nb) - from);
        if (from > 0) sums.first += Wide{b[from - 1]} * a[na - 1];
        if (k + 1 < nb) sums.second += Wide{b[k + 1]} * a[0];
        r[k] = limbs.take(sums.first);
        r[k + 1] = limbs.take(sums.second);
    }
    if (last % 2 == 0) r[last] = limbs.take(Wide{a[na - 1]} * b[nb - 1]);
    r[last + 1] = limbs.next();
}

/// Whether the sums of a transform, for a shorter operand of n limbs, stay below what it can tell.
template <class Radix>
bool fits_transform(size_t n) {
    return piece_count<Radix>(n) <= Radix::most_pieces;
}

/// The product in `length` pieces, over whose top it goes to the low end.
template <class Radix>
PieceList wrapped_product(const uint64_t* a, size_t na, const uint64_t* b, size_t nb,
                          size_t length) {
    Spectrum x = spectrum_of(pieces_of(Radix{}, a, na), length);
    if (a == b && na == nb) return cyclic_product<Radix>(x, x);
    const Spectrum y = spectrum_of(pieces_of(Radix{}, b, nb), length);
    return cyclic_product<Radix>(std::move(x), y);
}

/// Where a product is longer than a transform by few pieces, it takes that one, and these are
/// worked out by themselves.
template <class Radix>
void multiply_transform(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    const size_t n = na + nb;
    const size_t count = piece_count<Radix>(n);
    size_t length = length_to_wrap(count);
    if (length < piece_count<Radix>(na)) length = convolution_length(count);
    PieceList product = wrapped_product<Radix>(a, na, b, nb, length);
    if (length < count) {
        unwrap<Radix>(product, lowest_pieces<Radix>(count - length, a, na, b, nb));
    }
    limbs_of(Radix{}, r, n, product);
}

/// r = |a - b|, of na limbs, where na >= nb. Tells whether a < b.
template <class Radix>
bool difference(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    const bool longer = std::any_of(a + nb, a + na, [](uint64_t limb) { return limb != 0; });
    if (longer || compare_limbs(a, b, nb) >= 0) {
        subtract_limbs<Radix>(r, a, na, b, nb);
        return false;
    }
    subtract_limbs<Radix>(r, b, nb, a, nb);
    std::fill(r + nb, r + na, 0);
    return true;
}

/// Limbs of scratch that `multiply_equal` needs.
size_t scratch_size(size_t n) { return 4 * n + 128; }

/// r = a * b, both of n limbs: three products of half the length where two transforms of the whole
/// are not cheaper. A square, a and b the same pointer, stays one all the way down.
template <class Radix>
void multiply_equal(uint64_t* r, const uint64_t* a, const uint64_t* b, size_t n,
                    uint64_t* scratch) {
    // A square has half the products to be saved.
    const size_t limit = Radix::karatsuba_limit;
    if (n < (a == b ? limit + limit / 2 : limit)) return multiply_short(Radix{}, r, a, n, b, n);
    if (n >= Radix::transform_limit && fits_transform<Radix>(n)) {
        return multiply_transform<Radix>(r, a, n, b, n);
    }
    const size_t high = n / 2;
    const size_t low = n - high;
    uint64_t* middle = scratch;
    uint64_t* sum = scratch + 2 * low;
    // (a0 - a1) (b0 - b1), with the differences where the result comes later.
    const bool a_less = difference<Radix>(r, a, low, a + low, high);
    uint64_t* other = a == b ? r : r + low;
    const bool b_less = a == b ? a_less : difference<Radix>(other, b, low, b + low, high);
    multiply_equal<Radix>(middle, r, other, low, sum);
    multiply_equal<Radix>(r, a, b, low, sum);
    multiply_equal<Radix>(r + 2 * low, a + low, b + low, high, sum);
    // a0 b1 + a1 b0 = a0 b0 + a1 b1 - (a0 - a1) (b0 - b1)
    sum[2 * low] = add_limbs<Radix>(sum, r, 2 * low, r + 2 * low, 2 * high);
    if (a_less == b_less) {
        subtract_limbs<Radix>(sum, sum, 2 * low + 1, middle, 2 * low);
    } else {
        sum[2 * low] += add_limbs<Radix>(sum, sum, 2 * low, middle, 2 * low);
    }
    add_limbs_in_place<Radix>(r + low, sum, 2 * low + 1);
}

}  // namespace

template <class Radix>
void multiply_limbs(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    if (nb < Radix::karatsuba_limit) return multiply_short(Radix{}, r, a, na, b, nb);
    if (nb >= Radix::transform_limit && fits_transform<Radix>(nb)) {
        return multiply_transform<Radix>(r, a, na, b, nb);
    }
    Limbs scratch(scratch_size(nb));
    if (na == nb) return multiply_equal<Radix>(r, a, b, nb, scratch.data());
    // The longer operand in pieces as long as the shorter one.
    Limbs product(2 * nb);
    std::fill(r, r + na + nb, 0);
    for (size_t from = 0; from < na; from += nb) {
        const size_t n = std::min(nb, na - from);
        if (n == nb) {
            multiply_equal<Radix>(product.data(), a + from, b, nb, scratch.data());
        } else {
            multiply_limbs<Radix>(product.data(), b, nb, a + from, n);
        }
        add_limbs_in_place<Radix>(r + from, product.data(), n + nb);
    }
}

template <class Radix>
PieceList lowest_pieces(size_t count, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    const size_t enough =
        (count * Radix::group_limbs + Radix::group_pieces - 1) / Radix::group_pieces;
    na = std::min(na, enough);
    nb = std::min(nb, enough);
    Limbs product(na + nb);
    if (na < nb) {
        multiply_limbs<Radix>(product.data(), b, nb, a, na);
    } else {
        multiply_limbs<Radix>(product.data(), a, na, b, nb);
    }
    PieceList pieces = pieces_of(Radix{}, product.data(), std::min(product.size(), enough));
    pieces.resize(count);
    return pieces;
}

void mag_trim(Limbs& a) {
    while (!a.empty() && a.back() == 0) a.pop_back();
}

int mag_compare(const Limbs& a, const Limbs& b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return compare_limbs(a.data(), b.data(), a.size());
}

template <class Radix>
Limbs mag_add(const Limbs& a, const Limbs& b) {
    if (a.size() < b.size()) return mag_add<Radix>(b, a);
    Limbs sum(a.size() + 1);
    sum[a.size()] = add_limbs<Radix>(sum.data(), a.data(), a.size(), b.data(), b.size());
    mag_trim(sum);
    return sum;
}

template <class Radix>
Limbs mag_sub(const Limbs& a, const Limbs& b) {
    MARL_REQUIRE(a.size() >= b.size());
    Limbs rest(a.size());
    const uint64_t borrow =
        subtract_limbs<Radix>(rest.data(), a.data(), a.size(), b.data(), b.size());
    MARL_REQUIRE(borrow == 0);
    mag_trim(rest);
    return rest;
}

template <class Radix>
Limbs mag_mul(const Limbs& a, const Limbs& b) {
    if (a.size() < b.size()) return mag_mul<Radix>(b, a);
    if (b.empty()) return {};
    Limbs product(a.size() + b.size());
    multiply_limbs<Radix>(product.data(), a.data(), a.size(), b.data(), b.size());
    mag_trim(product);
    return product;
}

template <class Radix>
void mag_mul_add_limb(Limbs& a, uint64_t m, uint64_t c) {
    a.push_back(multiply_by_limb(Radix{}, a.data(), a.data(), a.size(), m, c));
    mag_trim(a);
}

namespace {

/// a * a * factor.
Limbs square_times(Binary, const Limbs& a, uint64_t factor) {
    Limbs product = mag_mul<Binary>(a, a);
    if (factor > 1) mag_mul_add_limb<Binary>(product, factor, 0);
    return product;
}

Limbs square_times(Decimal, const Limbs& a, uint64_t factor) {
    const size_t n = a.size();
    if (n < Decimal::karatsuba_limit && factor <= most_products / n) {
        Limbs product(2 * n + 1);
        ColumnLimbs limbs;
        square_columns(limbs, product.data(), a.data(), n, factor);
        product[2 * n - 1] = limbs.take(0);
        product[2 * n] = limbs.next();
        mag_trim(product);
        return product;
    }
    Limbs product = mag_mul<Decimal>(a, a);
    if (factor > 1) mag_mul_add_limb<Decimal>(product, factor, 0);
    return product;
}

/// The result's exponent grows by the bits of n, first in one limb.
template <class Radix>
Limbs power_of_limb(uint64_t a, uint64_t n) {
    int bit = static_cast<int>(std::bit_width(n));
    uint64_t start = 1;
    for (; bit > 0; --bit) {
        const uint64_t factor = (n >> (bit - 1)) & 1 ? a : 1;
        uint64_t next;
        if (__builtin_mul_overflow(start, start, &next)) break;
        if (__builtin_mul_overflow(next, factor, &next) || next > Radix::largest) break;
        start = next;
    }
    Limbs result{start};
    while (bit-- > 0) result = square_times(Radix{}, result, (n >> bit) & 1 ? a : 1);
    return result;
}

}  // namespace

template <class Radix>
Limbs mag_pow(const Limbs& a, uint64_t n) {
    if (n == 0) return {1};
    if (a.empty() || (a.size() == 1 && a[0] == 1)) return a;
    // No memory holds more limbs than this, and less keeps every count of them within its type.
    constexpr uint64_t most_limbs = uint64_t{1} << 44;
    if (n / 64 >= most_limbs || (a.size() - 1) * (n / 64) >= most_limbs) out_of_memory();
    if (a.size() == 1) return power_of_limb<Radix>(a[0], n);
    Limbs result = a;
    for (int bit = static_cast<int>(std::bit_width(n)) - 1; bit-- > 0;) {
        result = mag_mul<Radix>(result, result);
        if ((n >> bit) & 1) result = mag_mul<Radix>(result, a);
    }
    return result;
}

template void multiply_limbs<Binary>(uint64_t*, const uint64_t*, size_t, const uint64_t*, size_t);
template void multiply_limbs<Decimal>(uint64_t*, const uint64_t*, size_t, const uint64_t*, size_t);
template PieceList lowest_pieces<Binary>(size_t, const uint64_t*, size_t, const uint64_t*, size_t);
template PieceList lowest_pieces<Decimal>(size_t, const uint64_t*, size_t, const uint64_t*, size_t);
template Limbs mag_add<Binary>(const Limbs&, const Limbs&);
template Limbs mag_sub<Binary>(const Limbs&, const Limbs&);
template Limbs mag_mul<Binary>(const Limbs&, const Limbs&);
template void mag_mul_add_limb<Binary>(Limbs&, uint64_t, uint64_t);
template Limbs mag_pow<Binary>(const Limbs&, uint64_t);
template Limbs mag_add<Decimal>(const Limbs&, const Limbs&);
template Limbs mag_sub<Decimal>(const Limbs&, const Limbs&);
template Limbs mag_mul<Decimal>(const Limbs&, const Limbs&);
template void mag_mul_add_limb<Decimal>(Limbs&, uint64_t, uint64_t);
template Limbs mag_pow<Decimal>(const Limbs&, uint64_t);

}  // namespace marl
