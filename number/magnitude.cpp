// Three layers. Kernels run over limbs, with a carry. Products choose their method by length: rows
// or columns up to some dozen limbs, three products of half the length up to some thousand,
// transforms of the limbs cut in pieces beyond. Division guesses limb by limb for short divisors,
// and for long ones halves the quotient until it is short, with one product at each step to correct
// the guess.
#include "number/magnitude.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "number/convolution.h"
#include "text/fatal.h"

namespace marl {

namespace {

// Kernels on runs of limbs. A result may stand where an operand of the same length does.

/// r = a + b, of na limbs, where na >= nb. Gives the carry.
template <class Radix>
uint64_t add(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    uint64_t carry = 0;
    for (size_t i = 0; i < nb; ++i) r[i] = Radix::add(a[i], b[i], carry);
    for (size_t i = nb; i < na; ++i) r[i] = Radix::add(a[i], 0, carry);
    return carry;
}

/// r = a - b, of na limbs, where na >= nb. Gives the borrow.
template <class Radix>
uint64_t subtract(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    uint64_t borrow = 0;
    for (size_t i = 0; i < nb; ++i) r[i] = Radix::subtract(a[i], b[i], borrow);
    for (size_t i = nb; i < na; ++i) r[i] = Radix::subtract(a[i], 0, borrow);
    return borrow;
}

/// r += b, where r has room for the sum. Stops early, so that it costs what b is long.
template <class Radix>
void add_in_place(uint64_t* r, const uint64_t* b, size_t nb) {
    uint64_t carry = 0;
    for (size_t i = 0; i < nb; ++i) r[i] = Radix::add(r[i], b[i], carry);
    for (size_t i = nb; carry; ++i) r[i] = Radix::add(r[i], 0, carry);
}

/// r = a * m + carry, of n limbs. Gives the limb above.
template <class Radix>
uint64_t multiply_limb(uint64_t* r, const uint64_t* a, size_t n, uint64_t m, uint64_t carry) {
    for (size_t i = 0; i < n; ++i) r[i] = Radix::split(Wide{a[i]} * m + carry, carry);
    return carry;
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

int compare(const uint64_t* a, const uint64_t* b, size_t n) {
    while (n > 0) {
        --n;
        if (a[n] != b[n]) return a[n] < b[n] ? -1 : 1;
    }
    return 0;
}

// Products of few limbs, r = a * b of na + nb limbs. Binary ones go row by row. A decimal product
// is dear to split, so there whole columns are summed up first: the sum of 300 products fits.

void multiply_short(Binary, uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b,
                    size_t nb) {
    r[na] = multiply_limb<Binary>(r, a, na, b[0], 0);
    for (size_t j = 1; j < nb; ++j) {
        uint64_t carry = 0;
        for (size_t i = 0; i < na; ++i) {
            r[i + j] = Binary::split(Wide{a[i]} * b[j] + r[i + j] + carry, carry);
        }
        r[na + j] = carry;
    }
}

/// The low limb of a column's sum; what goes to the next column stays in the sum.
uint64_t take_limb(Wide& sum) {
    // base * 2^60 is a whole multiple of 2^64, so that the high word alone tells how often it fits.
    constexpr uint64_t step = Decimal::base / 16;
    const uint64_t multiples = static_cast<uint64_t>(sum >> 64) / step;
    uint64_t carry;
    const uint64_t low = Decimal::split(sum - (Wide{multiples * step} << 64), carry);
    sum = carry + (Wide{multiples} << 60);
    return low;
}

void square_short(uint64_t* r, const uint64_t* a, size_t n) {
    Wide sum = 0;
    for (size_t k = 0; k < 2 * n - 1; ++k) {
        Wide half = 0;
        for (size_t i = k < n ? 0 : k - n + 1; 2 * i < k; ++i) half += Wide{a[i]} * a[k - i];
        sum += half * 2;
        if (k % 2 == 0) sum += Wide{a[k / 2]} * a[k / 2];
        r[k] = take_limb(sum);
    }
    r[2 * n - 1] = static_cast<uint64_t>(sum);
}

void multiply_short(Decimal, uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b,
                    size_t nb) {
    if (a == b && na == nb) return square_short(r, a, na);
    Wide sum = 0;
    for (size_t k = 0; k < na + nb - 1; ++k) {
        const size_t end = std::min(k + 1, nb);
        for (size_t j = k < na ? 0 : k - na + 1; j < end; ++j) sum += Wide{a[k - j]} * b[j];
        r[k] = take_limb(sum);
    }
    r[na + nb - 1] = static_cast<uint64_t>(sum);
}

/// Whether the sums of a transform, for a shorter operand of n limbs, stay below its prime.
template <class Radix>
bool fits_transform(size_t n) {
    constexpr uint64_t largest = (Radix::piece_base - 1) * (Radix::piece_base - 1);
    return n <= (convolution_prime - 1) / largest / Radix::pieces;
}

/// The pieces of a, lowest first, in a sequence of the given length.
template <class Radix>
std::vector<uint64_t> pieces_of(const uint64_t* a, size_t n, size_t length) {
    std::vector<uint64_t> pieces(length);
    for (size_t i = 0, to = 0; i < n; ++i) {
        uint64_t limb = a[i];
        for (int piece = 0; piece < Radix::pieces; ++piece, limb /= Radix::piece_base) {
            pieces[to++] = limb % Radix::piece_base;
        }
    }
    return pieces;
}

template <class Radix>
void multiply_transform(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    const size_t n = na + nb;
    const size_t length = convolution_length(n * Radix::pieces);
    std::vector<uint64_t> x = pieces_of<Radix>(a, na, length);
    if (a == b && na == nb) {
        convolve(x, x);
    } else {
        std::vector<uint64_t> y = pieces_of<Radix>(b, nb, length);
        convolve(x, y);
    }
    uint64_t carry = 0;
    for (size_t i = 0; i < n; ++i) {
        Wide sum = 0;
        for (size_t piece = Radix::pieces; piece > 0; --piece) {
            sum = sum * Radix::piece_base + x[i * Radix::pieces + piece - 1];
        }
        r[i] = Radix::split(sum + carry, carry);
    }
}

/// r = |a - b|, of na limbs, where na >= nb. Tells whether a < b.
template <class Radix>
bool difference(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    const bool longer = std::any_of(a + nb, a + na, [](uint64_t limb) { return limb != 0; });
    if (longer || compare(a, b, nb) >= 0) {
        subtract<Radix>(r, a, na, b, nb);
        return false;
    }
    subtract<Radix>(r, b, nb, a, nb);
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
    if (n < Radix::karatsuba_limit) return multiply_short(Radix{}, r, a, n, b, n);
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
    sum[2 * low] = add<Radix>(sum, r, 2 * low, r + 2 * low, 2 * high);
    if (a_less == b_less) {
        subtract<Radix>(sum, sum, 2 * low + 1, middle, 2 * low);
    } else {
        sum[2 * low] += add<Radix>(sum, sum, 2 * low, middle, 2 * low);
    }
    add_in_place<Radix>(r + low, sum, 2 * low + 1);
}

/// r = a * b, of na + nb limbs, where na >= nb >= 1.
template <class Radix>
void multiply(uint64_t* r, const uint64_t* a, size_t na, const uint64_t* b, size_t nb) {
    if (nb < Radix::karatsuba_limit) return multiply_short(Radix{}, r, a, na, b, nb);
    if (nb >= Radix::transform_limit && fits_transform<Radix>(nb)) {
        return multiply_transform<Radix>(r, a, na, b, nb);
    }
    std::vector<uint64_t> scratch(scratch_size(nb));
    if (na == nb) return multiply_equal<Radix>(r, a, b, nb, scratch.data());
    // The longer operand in pieces as long as the shorter one.
    std::vector<uint64_t> product(2 * nb);
    std::fill(r, r + na + nb, 0);
    for (size_t from = 0; from < na; from += nb) {
        const size_t n = std::min(nb, na - from);
        if (n == nb) {
            multiply_equal<Radix>(product.data(), a + from, b, nb, scratch.data());
        } else {
            multiply<Radix>(product.data(), b, nb, a + from, n);
        }
        add_in_place<Radix>(r + from, product.data(), n + nb);
    }
}

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
    joined.resize(n);
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

struct Division {
    Limbs quotient;
    Limbs remainder;
};

// Division of a by b, whose top limb is at least half the base.

/// Limb by limb, each one guessed from the top two of what is left. b has at least two limbs.
template <class Radix>
Division divide_short(Limbs a, const Limbs& b) {
    const size_t n = b.size();
    const Divider divider(b[n - 1]);
    a.push_back(0);
    Limbs quotient(a.size() - n);
    for (size_t j = quotient.size(); j-- > 0;) {
        uint64_t* top = a.data() + j + n;
        uint64_t guess = Radix::largest;
        if (*top < b[n - 1]) {
            uint64_t rest;
            guess = divider.divide(Radix::join(*top, top[-1]), rest);
            // With the second limb of b the guess is at most 1 too large.
            while (Wide{guess} * b[n - 2] > Radix::join(rest, top[-2])) {
                --guess;
                if (Radix::largest - rest < b[n - 1]) break;
                rest += b[n - 1];
            }
        }
        const uint64_t taken = subtract_product<Radix>(top - n, b.data(), n, guess);
        uint64_t borrow = 0;
        *top = Radix::subtract(*top, taken, borrow);
        while (borrow) {
            --guess;
            uint64_t carry = add<Radix>(top - n, top - n, n, b.data(), n);
            *top = Radix::add(*top, 0, carry);
            borrow -= carry;
        }
        quotient[j] = guess;
    }
    mag_trim(quotient);
    mag_trim(a);
    return {std::move(quotient), std::move(a)};
}

template <class Radix>
Division divide_normal(const Limbs& a, const Limbs& b);

/// A quotient of m limbs by a longer b: the top 2m limbs by the top m tell it but for at most a
/// few, which show when the rest of b is multiplied out.
template <class Radix>
Division divide_by_long(const Limbs& a, const Limbs& b, size_t m) {
    const size_t dropped = b.size() - m;
    Division top = divide_normal<Radix>(above(a, dropped), above(b, dropped));
    Limbs rest = above_of(top.remainder, dropped, below(a, dropped));
    const Limbs product = mag_mul<Radix>(top.quotient, below(b, dropped));
    while (mag_compare(rest, product) < 0) {
        top.quotient = mag_sub<Radix>(top.quotient, {1});
        rest = mag_add<Radix>(rest, b);
    }
    return {std::move(top.quotient), mag_sub<Radix>(rest, product)};
}

/// A quotient longer than `block` limbs: that many of them at a time, from the top.
template <class Radix>
Division divide_in_blocks(const Limbs& a, const Limbs& b, size_t block) {
    size_t from = (a.size() - b.size() + block - 1) / block * block;
    Division result = divide_normal<Radix>(above(a, from), b);
    while (from > 0) {
        from -= block;
        const Limbs next = below(above(a, from), block);
        Division step = divide_normal<Radix>(above_of(result.remainder, block, next), b);
        result.quotient = above_of(result.quotient, block, step.quotient);
        result.remainder = std::move(step.remainder);
    }
    return result;
}

template <class Radix>
Division divide_normal(const Limbs& a, const Limbs& b) {
    if (mag_compare(a, b) < 0) return {{}, a};
    const size_t m = a.size() - b.size();
    if (m < Radix::divide_limit || b.size() < Radix::divide_limit) return divide_short<Radix>(a, b);
    if (m < b.size()) return divide_by_long<Radix>(a, b, m);
    return divide_in_blocks<Radix>(a, b, m == b.size() ? m - m / 2 : b.size());
}

}  // namespace

void mag_trim(Limbs& a) {
    while (!a.empty() && a.back() == 0) a.pop_back();
}

int mag_compare(const Limbs& a, const Limbs& b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return compare(a.data(), b.data(), a.size());
}

template <class Radix>
Limbs mag_add(const Limbs& a, const Limbs& b) {
    if (a.size() < b.size()) return mag_add<Radix>(b, a);
    Limbs sum(a.size() + 1);
    sum[a.size()] = add<Radix>(sum.data(), a.data(), a.size(), b.data(), b.size());
    mag_trim(sum);
    return sum;
}

template <class Radix>
Limbs mag_sub(const Limbs& a, const Limbs& b) {
    MARL_REQUIRE(a.size() >= b.size());
    Limbs rest(a.size());
    const uint64_t borrow = subtract<Radix>(rest.data(), a.data(), a.size(), b.data(), b.size());
    MARL_REQUIRE(borrow == 0);
    mag_trim(rest);
    return rest;
}

template <class Radix>
Limbs mag_mul(const Limbs& a, const Limbs& b) {
    if (a.size() < b.size()) return mag_mul<Radix>(b, a);
    if (b.empty()) return {};
    Limbs product(a.size() + b.size());
    multiply<Radix>(product.data(), a.data(), a.size(), b.data(), b.size());
    mag_trim(product);
    return product;
}

template <class Radix>
void mag_mul_add_limb(Limbs& a, uint64_t m, uint64_t c) {
    a.push_back(multiply_limb<Radix>(a.data(), a.data(), a.size(), m, c));
    mag_trim(a);
}

template <class Radix>
Limbs mag_divide(const Limbs& a, const Limbs& b, Limbs& remainder) {
    MARL_REQUIRE(!b.empty());
    if (b.size() == 1) {
        Limbs quotient = a;
        remainder.assign(1, divide_in_place<Radix>(quotient, b[0]));
        mag_trim(remainder);
        return quotient;
    }
    if (mag_compare(a, b) < 0) {
        remainder = a;
        return {};
    }
    const uint64_t factor = Radix::normaliser(b.back());
    Limbs scaled_a = a;
    Limbs scaled_b = b;
    mag_mul_add_limb<Radix>(scaled_a, factor, 0);
    mag_mul_add_limb<Radix>(scaled_b, factor, 0);
    Division division = divide_normal<Radix>(scaled_a, scaled_b);
    divide_in_place<Radix>(division.remainder, factor);
    remainder = std::move(division.remainder);
    return std::move(division.quotient);
}

template <class Radix>
Limbs mag_pow(const Limbs& a, uint64_t n) {
    if (n == 0) return {1};
    if (a.empty() || (a.size() == 1 && a[0] == 1)) return a;
    // No memory holds more limbs than this, and less keeps every count of them within its type.
    constexpr uint64_t most_limbs = uint64_t{1} << 44;
    if (n / 64 >= most_limbs || (a.size() - 1) * (n / 64) >= most_limbs) out_of_memory();
    Limbs result = a;
    for (int bit = static_cast<int>(std::bit_width(n)) - 2; bit >= 0; --bit) {
        result = mag_mul<Radix>(result, result);
        if ((n >> bit) & 1) result = mag_mul<Radix>(result, a);
    }
    return result;
}

template Limbs mag_add<Binary>(const Limbs&, const Limbs&);
template Limbs mag_sub<Binary>(const Limbs&, const Limbs&);
template Limbs mag_mul<Binary>(const Limbs&, const Limbs&);
template void mag_mul_add_limb<Binary>(Limbs&, uint64_t, uint64_t);
template Limbs mag_divide<Binary>(const Limbs&, const Limbs&, Limbs&);
template Limbs mag_pow<Binary>(const Limbs&, uint64_t);
template Limbs mag_add<Decimal>(const Limbs&, const Limbs&);
template Limbs mag_sub<Decimal>(const Limbs&, const Limbs&);
template Limbs mag_mul<Decimal>(const Limbs&, const Limbs&);
template void mag_mul_add_limb<Decimal>(Limbs&, uint64_t, uint64_t);
template Limbs mag_divide<Decimal>(const Limbs&, const Limbs&, Limbs&);
template Limbs mag_pow<Decimal>(const Limbs&, uint64_t);

}  // namespace marl
