// A transform of length n evaluates a polynomial of n coefficients at the n-th roots of unity, by
// splitting it: the remainder modulo x^2s - r^2 gives those modulo x^s - r and x^s + r, one factor
// r for the whole block. Blocks are split where they stand, so that the results come out in an
// order that only the way back knows. The factors come in the order of the blocks, and those of
// few blocks are the first ones of those of many: one table serves all passes and lengths.
//
//   table[0] = 1, table[1] = i, table[2] = the square root of i, table[3] = i * table[2], ...
//   block j is a remainder modulo x^s - table[j]^2
//
// A length 3 * 2^k is first split into three blocks modulo x^s - c, c a cube root of unity. All
// roots within such a block have a cube root of unity more in them, so it has a table of its own,
// every factor times c; taking a square root turns c into c^2.
//
// Factors are held with their quotient by the prime, which makes a product cost three
// multiplications. Numbers are reduced no further than needed: below 4p on the way there, below 2p
// on the way back.
#include "number/convolution.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "number/radix.h"
#include "text/fatal.h"
#include "text/swar.h"

namespace marl {

namespace {

/// A number below the prime, and floor(value * 2^64 / prime).
struct Factor {
    uint64_t value;
    uint64_t quotient;
};

struct Prime {
    uint64_t p;
    uint64_t root;     // a primitive one
    uint64_t inverse;  // of p modulo 2^64

    constexpr Prime(uint64_t prime, uint64_t primitive_root)
        : p(prime), root(primitive_root), inverse(prime) {
        // Newton's step, from the three bits that any odd number is its own inverse in.
        for (int bits = 3; bits < 64; bits *= 2) inverse *= 2 - p * inverse;
    }
    constexpr Factor factor(uint64_t value) const {
        return {value, static_cast<uint64_t>((Wide{value} << 64) / p)};
    }
};

constexpr std::array<Prime, 3> primes = {Prime(convolution_primes[0], 5),
                                         Prime(convolution_primes[1], 5),
                                         Prime(convolution_primes[2], 19)};

inline uint64_t high_word(Wide x) { return static_cast<uint64_t>(x >> 64); }

/// x less m where it is not below m.
inline uint64_t reduced(uint64_t x, uint64_t m) { return std::min(x, x - m); }

/// Any x times a factor, below 2p.
constexpr uint64_t multiply(uint64_t x, Factor factor, uint64_t p) {
    return x * factor.value - static_cast<uint64_t>((Wide{x} * factor.quotient) >> 64) * p;
}

/// t / 2^64 modulo p, not 0 and below 2p, for t below 2^64 * p.
inline uint64_t divided_by_word(Wide t, const Prime& prime) {
    const uint64_t m = static_cast<uint64_t>(t) * prime.inverse;
    return high_word(t) + prime.p - high_word(Wide{m} * prime.p);
}

constexpr uint64_t multiply_slowly(uint64_t a, uint64_t b, uint64_t p) {
    return static_cast<uint64_t>(Wide{a} * b % p);
}
constexpr uint64_t power(uint64_t a, uint64_t n, uint64_t p) {
    uint64_t result = 1;
    for (; n > 0; n >>= 1, a = multiply_slowly(a, a, p)) {
        if (n & 1) result = multiply_slowly(result, a, p);
    }
    return result;
}
constexpr uint64_t inverse_of(uint64_t a, uint64_t p) { return power(a, p - 2, p); }

uint64_t root_of_order(uint64_t n, const Prime& prime) {
    return power(prime.root, (prime.p - 1) / n, prime.p);
}

/// The factors of the blocks modulo x^s - c^e, with c the cube root of unity, by e.
struct Tables {
    std::array<std::vector<Factor>, 3> times_cube_root;
    std::array<Factor, 3> minus_cube_root;
};

/// The tables of a prime, grown to n factors at least, for the exponents below `exponents`. They
/// stay for the next product.
const Tables& tables_of(size_t k, size_t n, size_t exponents) {
    static std::array<Tables, 3> all;
    const Prime& prime = primes[k];
    const uint64_t p = prime.p;
    const Divider by_prime(p);
    for (size_t e = 0; e < exponents; ++e) {
        std::vector<Factor>& table = all[k].times_cube_root[e];
        if (table.empty()) {
            const uint64_t c = power(root_of_order(3, prime), e, p);
            table.push_back(prime.factor(c));
            all[k].minus_cube_root[e] = prime.factor(p - c);
        }
        while (table.size() < n) {
            const size_t size = table.size();
            const Factor root = prime.factor(root_of_order(4 * size, prime));
            table.reserve(2 * size);
            for (size_t j = 0; j < size; ++j) {
                const uint64_t value = reduced(multiply(table[j].value, root, p), p);
                uint64_t rest;
                table.push_back({value, by_prime.divide(Wide{value} << 64, rest)});
            }
        }
    }
    return all[k];
}

/// Blocks modulo x^s - c^e * (a root of order 2^k), as the passes meet them.
struct Blocks {
    uint64_t p;
    const Factor* factors;     // times c^e
    const Factor* of_squares;  // times c^2e
    Factor minus_one;          // times c^e
    Factor minus_one_of_squares;
};
Blocks blocks_of(const Prime& prime, const Tables& tables, size_t e) {
    const size_t square = 2 * e % 3;
    return {prime.p, tables.times_cube_root[e].data(), tables.times_cube_root[square].data(),
            tables.minus_cube_root[e], tables.minus_cube_root[square]};
}

/// Splits block j, of four times q elements, into four.
void forward_pass(uint64_t* a, size_t q, size_t j, const Blocks& blocks) {
    const uint64_t p = blocks.p;
    const Factor square = blocks.of_squares[j];
    const Factor first = blocks.factors[2 * j];
    const Factor second = blocks.factors[2 * j + 1];
    for (size_t i = 0; i < q; ++i) {
        const uint64_t a0 = reduced(a[i], 2 * p);
        const uint64_t a1 = reduced(a[i + q], 2 * p);
        const uint64_t a2 = multiply(a[i + 2 * q], square, p);
        const uint64_t a3 = multiply(a[i + 3 * q], square, p);
        const uint64_t b0 = reduced(a0 + a2, 2 * p);
        const uint64_t b1 = multiply(a1 + a3, first, p);
        const uint64_t b2 = reduced(a0 - a2 + 2 * p, 2 * p);
        const uint64_t b3 = multiply(a1 - a3 + 2 * p, second, p);
        a[i] = b0 + b1;
        a[i + q] = b0 - b1 + 2 * p;
        a[i + 2 * q] = b2 + b3;
        a[i + 3 * q] = b2 - b3 + 2 * p;
    }
}

/// The way back needs the inverse factors, which are in the table as well: that of table[j] is
/// -table[k], k being j with all bits below its highest one turned round. The minus goes into the
/// difference that it is multiplied with; block 0 has none and takes one more.
struct InverseFactors {
    Factor square;
    Factor first;
    Factor second;
};
InverseFactors inverse_factors(size_t j, const Blocks& blocks) {
    // The inverse of c^e is c^2e.
    if (j == 0) {
        return {blocks.minus_one, blocks.minus_one_of_squares, blocks.of_squares[1]};
    }
    const size_t k = j ^ (std::bit_floor(j) - 1);
    return {blocks.factors[k], blocks.of_squares[2 * k + 1], blocks.of_squares[2 * k]};
}

/// Undoes a forward pass, but for a factor of 4.
void backward_pass(uint64_t* a, size_t q, size_t j, const Blocks& blocks) {
    const uint64_t p = blocks.p;
    const InverseFactors inverse = inverse_factors(j, blocks);
    for (size_t i = 0; i < q; ++i) {
        const uint64_t b0 = reduced(a[i] + a[i + q], 2 * p);
        const uint64_t b1 = multiply(a[i + q] - a[i] + 2 * p, inverse.first, p);
        const uint64_t b2 = reduced(a[i + 2 * q] + a[i + 3 * q], 2 * p);
        const uint64_t b3 = multiply(a[i + 3 * q] - a[i + 2 * q] + 2 * p, inverse.second, p);
        a[i] = reduced(b0 + b2, 2 * p);
        a[i + q] = reduced(b1 + b3, 2 * p);
        a[i + 2 * q] = multiply(b2 - b0 + 2 * p, inverse.square, p);
        a[i + 3 * q] = multiply(b3 - b1 + 2 * p, inverse.square, p);
    }
}

// Up to this length all passes go over the whole at once; a longer one is finished quarter by
// quarter, each of which then fits the cache.
constexpr size_t cached_length = size_t{1} << 12;

/// Splits block j, of n = 4^k elements, into single ones.
void forward(uint64_t* a, size_t n, size_t j, const Blocks& blocks) {
    if (n > cached_length) {
        forward_pass(a, n / 4, j, blocks);
        for (size_t i = 0; i < 4; ++i) forward(a + i * n / 4, n / 4, 4 * j + i, blocks);
        return;
    }
    size_t count = 1;
    for (size_t s = n; s >= 4; s /= 4, count *= 4) {
        for (size_t i = 0; i < count; ++i) {
            forward_pass(a + i * s, s / 4, j * count + i, blocks);
        }
    }
}

void backward(uint64_t* a, size_t n, size_t j, const Blocks& blocks) {
    if (n > cached_length) {
        for (size_t i = 0; i < 4; ++i) backward(a + i * n / 4, n / 4, 4 * j + i, blocks);
        backward_pass(a, n / 4, j, blocks);
        return;
    }
    size_t count = n / 4;
    for (size_t s = 4; s <= n; s *= 4, count /= 4) {
        for (size_t i = 0; i < count; ++i) {
            backward_pass(a + i * s, s / 4, j * count + i, blocks);
        }
    }
}

/// The first of the blocks of one prime, of 2^k elements. For an odd k it is halved first.
struct Whole {
    const Prime& prime;
    const Tables& tables;
};

void forward_power_of_two(uint64_t* a, size_t n, size_t e, const Whole& whole) {
    if (std::countr_zero(n) % 2 == 0) {
        return forward(a, n, 0, blocks_of(whole.prime, whole.tables, e));
    }
    const uint64_t p = whole.prime.p;
    const size_t half = n / 2;
    const size_t square = 2 * e % 3;
    const Factor factor = whole.tables.times_cube_root[square][0];
    for (size_t i = 0; i < half; ++i) {
        const uint64_t x = reduced(a[i], 2 * p);
        const uint64_t y = multiply(a[i + half], factor, p);
        a[i] = x + y;
        a[i + half] = x - y + 2 * p;
    }
    const Blocks blocks = blocks_of(whole.prime, whole.tables, square);
    forward(a, half, 0, blocks);
    forward(a + half, half, 1, blocks);
}

void backward_power_of_two(uint64_t* a, size_t n, size_t e, const Whole& whole) {
    if (std::countr_zero(n) % 2 == 0) {
        return backward(a, n, 0, blocks_of(whole.prime, whole.tables, e));
    }
    const uint64_t p = whole.prime.p;
    const size_t half = n / 2;
    const Blocks blocks = blocks_of(whole.prime, whole.tables, 2 * e % 3);
    backward(a, half, 0, blocks);
    backward(a + half, half, 1, blocks);
    const Factor factor = whole.tables.times_cube_root[e][0];
    for (size_t i = 0; i < half; ++i) {
        const uint64_t x = a[i];
        const uint64_t y = a[i + half];
        a[i] = reduced(x + y, 2 * p);
        a[i + half] = multiply(x - y + 2 * p, factor, p);
    }
}

// With c the cube root of unity, c y + c^2 z = c (y - z) - z, and c^2 y + c z = -c (y - z) - y.

void forward_all(std::vector<uint64_t>& a, const Whole& whole) {
    const size_t n = a.size();
    if (n % 3 != 0) return forward_power_of_two(a.data(), n, 0, whole);
    const uint64_t p = whole.prime.p;
    const size_t third = n / 3;
    const Factor cube_root = whole.tables.times_cube_root[1][0];
    for (size_t i = 0; i < third; ++i) {
        const uint64_t x = a[i];
        const uint64_t y = a[i + third];
        const uint64_t z = a[i + 2 * third];
        const uint64_t turned = multiply(y - z + 2 * p, cube_root, p);
        a[i] = x + reduced(y + z, 2 * p);
        a[i + third] = reduced(x - z + 2 * p, 2 * p) + turned;
        a[i + 2 * third] = reduced(x - y + 2 * p, 2 * p) - turned + 2 * p;
    }
    for (size_t e = 0; e < 3; ++e) {
        forward_power_of_two(a.data() + e * third, third, e, whole);
    }
}

/// Undoes it, but for a factor of the length.
void backward_all(std::vector<uint64_t>& a, const Whole& whole) {
    const size_t n = a.size();
    if (n % 3 != 0) return backward_power_of_two(a.data(), n, 0, whole);
    const uint64_t p = whole.prime.p;
    const size_t third = n / 3;
    for (size_t e = 0; e < 3; ++e) {
        backward_power_of_two(a.data() + e * third, third, e, whole);
    }
    const Factor inverse = whole.tables.times_cube_root[2][0];
    for (size_t i = 0; i < third; ++i) {
        const uint64_t x = a[i];
        const uint64_t y = a[i + third];
        const uint64_t z = a[i + 2 * third];
        const uint64_t turned = multiply(y - z + 2 * p, inverse, p);
        a[i] = reduced(x + reduced(y + z, 2 * p), 2 * p);
        a[i + third] = reduced(reduced(x - z + 2 * p, 2 * p) + turned, 2 * p);
        a[i + 2 * third] = reduced(reduced(x - y + 2 * p, 2 * p) - turned + 2 * p, 2 * p);
    }
}

Whole whole_of(size_t k, size_t length) {
    const bool thirds = length % 3 == 0;
    return {primes[k],
            tables_of(k, std::max<size_t>(2, (thirds ? length / 3 : length) / 2), thirds ? 3 : 1)};
}

}  // namespace

size_t convolution_length(size_t n) {
    size_t length = 1;
    while (length < n) length *= 2;
    return length >= 4 && length / 4 * 3 >= n ? length / 4 * 3 : length;
}

size_t length_to_wrap(size_t n) {
    const size_t length = convolution_length(n);
    const size_t shorter = length % 3 == 0 ? length / 3 * 2 : length / 4 * 3;
    return (n - shorter) * 8 <= shorter ? shorter : length;
}

Spectrum spectrum_of(const std::vector<Wide>& sequence, size_t length) {
    MARL_REQUIRE(sequence.size() <= length && length == convolution_length(length));
    Spectrum spectrum;
    for (size_t k = 0; k < primes.size(); ++k) {
        spectrum[k].resize(length);
        for (size_t i = 0; i < sequence.size(); ++i) {
            spectrum[k][i] = divided_by_word(sequence[i], primes[k]);
        }
        forward_all(spectrum[k], whole_of(k, length));
    }
    return spectrum;
}

void convolve(Spectrum& a, const Spectrum& b) {
    for (size_t k = 0; k < primes.size(); ++k) {
        const Prime& prime = primes[k];
        const uint64_t p = prime.p;
        const size_t length = a[k].size();
        MARL_REQUIRE(length == b[k].size());
        // Both sequences and their product have been divided by 2^64.
        const uint64_t word = static_cast<uint64_t>((Wide{1} << 64) % p);
        const Factor scale =
            prime.factor(multiply_slowly(power(word, 3, p), inverse_of(length % p, p), p));
        for (size_t i = 0; i < length; ++i) {
            const uint64_t factor = reduced(reduced(b[k][i], 2 * p), p);
            a[k][i] = multiply(divided_by_word(Wide{a[k][i]} * factor, prime), scale, p);
        }
        backward_all(a[k], whole_of(k, length));
    }
}

Sum sum_at(const Spectrum& sums, size_t i) {
    constexpr uint64_t p0 = primes[0].p;
    constexpr uint64_t p1 = primes[1].p;
    constexpr uint64_t p2 = primes[2].p;
    constexpr Factor p0_in_p1 = primes[1].factor(inverse_of(p0, p1));
    constexpr Factor p0_in_p2 = primes[2].factor(inverse_of(p0, p2));
    constexpr Factor p1_in_p2 = primes[2].factor(inverse_of(p1, p2));
    // The sum is x0 + p0 * (x1 + p1 * x2), and each prime is below the next.
    const uint64_t x0 = reduced(sums[0][i], p0);
    const uint64_t x1 = reduced(multiply(sums[1][i] - x0 + p1, p0_in_p1, p1), p1);
    const uint64_t rest = multiply(sums[2][i] - x0 + p2, p0_in_p2, p2);
    const uint64_t x2 = reduced(multiply(rest - x1 + p2, p1_in_p2, p2), p2);
    const Wide high = Wide{p1} * x2 + x1;
    const Wide low = Wide{p0} * static_cast<uint64_t>(high) + x0;
    const Wide top = Wide{p0} * high_word(high) + high_word(low);
    return {static_cast<uint64_t>(low), static_cast<uint64_t>(top), high_word(top)};
}

}  // namespace marl
