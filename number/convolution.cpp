// A product runs in three phases: both sequences are transformed, multiplied point by point, and
// transformed back. A transform of length 2^k goes in passes of radix 4, whose results come out in
// an order that only the way back knows, so nothing is ever put in order; one of length 3 * 2^k is
// three of those with a step of radix 3 round them.
#include "number/convolution.h"

#include <array>

#include "text/fatal.h"
#include "text/swar.h"

namespace marl {

namespace {

constexpr uint64_t prime = convolution_prime;
constexpr uint64_t two_to_64 = 0xFFFFFFFF;  // modulo the prime

/// 2^32 - 1 when the condition holds, else 0. Taking it away is adding the prime, modulo 2^64.
inline uint64_t correction(bool condition) {
    uint32_t mask = uint32_t{0} - uint32_t{condition};
    // The conditions come out at random: seeing no more than a register here, no compiler makes a
    // branch of them, which would cost three times as much.
    asm("" : "+r"(mask));
    return mask;
}

/// All of these take and give numbers below the prime.
inline uint64_t subtract(uint64_t a, uint64_t b) {
    uint64_t difference;
    const bool borrow = __builtin_sub_overflow(a, b, &difference);
    return difference - correction(borrow);
}
inline uint64_t add(uint64_t a, uint64_t b) { return subtract(a, prime - b); }

inline uint64_t reduce(Wide t) {
    const auto low = static_cast<uint64_t>(t);
    const auto high = static_cast<uint64_t>(t >> 64);
    // t = low + (high mod 2^32) * 2^64 - (high / 2^32), and 2^64 = 2^32 - 1.
    const uint64_t difference = subtract(low, high >> 32);
    const uint64_t middle = (high << 32) - (high & two_to_64);
    uint64_t sum;
    const bool carry = __builtin_add_overflow(difference, middle, &sum);
    sum += correction(carry);
    return sum + correction(sum >= prime);
}
inline uint64_t multiply(uint64_t a, uint64_t b) { return reduce(Wide{a} * b); }

uint64_t power(uint64_t a, uint64_t n) {
    uint64_t result = 1;
    for (; n > 0; n >>= 1, a = multiply(a, a)) {
        if (n & 1) result = multiply(result, a);
    }
    return result;
}

/// A primitive root of unity of order n, which divides p - 1. The one of order 4 is 2^48.
uint64_t root_of_order(uint64_t n) { return power(7, (prime - 1) / n); }

/// A transform of length n = 2^k works in passes, each on blocks of a length s with four points at
/// a time, a quarter of the block apart. These are the factors of a pass: for each j below s / 4
/// the powers j, 2j and 3j of a root of order s. The factors of the next pass, on quarters of the
/// blocks, stand behind them.
std::vector<uint64_t> pass_factors(size_t n, uint64_t root) {
    std::vector<uint64_t> factors;
    factors.reserve(n);
    uint64_t power_of_root = 1;
    for (size_t j = 0; j < n / 4; ++j) {
        const uint64_t square = multiply(power_of_root, power_of_root);
        factors.insert(factors.end(), {power_of_root, square, multiply(square, power_of_root)});
        power_of_root = multiply(power_of_root, root);
    }
    size_t previous = 0;
    for (size_t s = n / 4; s >= 4; s /= 4) {
        const size_t begin = factors.size();
        for (size_t j = 0; j < s / 4; ++j) {
            for (size_t k = 0; k < 3; ++k) factors.push_back(factors[previous + 12 * j + k]);
        }
        previous = begin;
    }
    return factors;
}

void forward_pass(uint64_t* a, size_t s, const uint64_t* factors) {
    const size_t q = s / 4;
    for (size_t j = 0; j < q; ++j, factors += 3) {
        const uint64_t even_sum = add(a[j], a[j + 2 * q]);
        const uint64_t even = subtract(a[j], a[j + 2 * q]);
        const uint64_t odd_sum = add(a[j + q], a[j + 3 * q]);
        const uint64_t odd = reduce(Wide{subtract(a[j + q], a[j + 3 * q])} << 48);
        a[j] = add(even_sum, odd_sum);
        a[j + q] = multiply(subtract(even_sum, odd_sum), factors[1]);
        a[j + 2 * q] = multiply(add(even, odd), factors[0]);
        a[j + 3 * q] = multiply(subtract(even, odd), factors[2]);
    }
}

/// Undoes a forward pass, with the factors of the inverse root, but for a factor of 4.
void backward_pass(uint64_t* a, size_t s, const uint64_t* factors) {
    const size_t q = s / 4;
    for (size_t j = 0; j < q; ++j, factors += 3) {
        const uint64_t second = multiply(a[j + q], factors[1]);
        const uint64_t third = multiply(a[j + 2 * q], factors[0]);
        const uint64_t fourth = multiply(a[j + 3 * q], factors[2]);
        const uint64_t even_sum = add(a[j], second);
        const uint64_t odd_sum = subtract(a[j], second);
        const uint64_t even = add(third, fourth);
        const uint64_t odd = reduce(Wide{subtract(third, fourth)} << 48);
        a[j] = add(even_sum, even);
        a[j + q] = subtract(odd_sum, odd);
        a[j + 2 * q] = subtract(even_sum, even);
        a[j + 3 * q] = add(odd_sum, odd);
    }
}

void pair_pass(uint64_t* a, size_t n) {
    for (size_t i = 0; i < n; i += 2) {
        const uint64_t sum = add(a[i], a[i + 1]);
        a[i + 1] = subtract(a[i], a[i + 1]);
        a[i] = sum;
    }
}

// Up to this length all passes go over the whole at once; a longer one is finished quarter by
// quarter, each of which then fits the cache.
constexpr size_t cached_length = size_t{1} << 14;

/// The transform of length n = 2^k, its results in an order that only `backward` knows.
void forward(uint64_t* a, size_t n, const uint64_t* factors) {
    if (n > cached_length) {
        forward_pass(a, n, factors);
        for (size_t i = 0; i < 4; ++i) forward(a + i * n / 4, n / 4, factors + 3 * n / 4);
        return;
    }
    size_t s = n;
    for (; s >= 4; factors += 3 * s / 4, s /= 4) {
        for (size_t block = 0; block < n; block += s) forward_pass(a + block, s, factors);
    }
    if (s == 2) pair_pass(a, n);
}

/// Undoes `forward`, with the factors of the inverse root, but for a factor of n.
void backward(uint64_t* a, size_t n, const uint64_t* factors) {
    if (n > cached_length) {
        for (size_t i = 0; i < 4; ++i) backward(a + i * n / 4, n / 4, factors + 3 * n / 4);
        backward_pass(a, n, factors);
        return;
    }
    std::array<const uint64_t*, 32> passes;
    size_t count = 0;
    size_t s = n;
    for (; s >= 4; factors += 3 * s / 4, s /= 4) passes[count++] = factors;
    if (s == 2) pair_pass(a, n);
    for (s = s == 2 ? 8 : 4; s <= n; s *= 4) {
        --count;
        for (size_t block = 0; block < n; block += s) backward_pass(a + block, s, passes[count]);
    }
}

/// The step from three interleaved transforms of a third of the length to one.
void forward_thirds(uint64_t* a, size_t third, uint64_t root) {
    const uint64_t cube_root = power(root, third);
    uint64_t factor = 1;
    for (size_t j = 0; j < third; ++j, factor = multiply(factor, root)) {
        const uint64_t x = a[j];
        const uint64_t sum = add(a[j + third], a[j + 2 * third]);
        const uint64_t turned = multiply(subtract(a[j + third], a[j + 2 * third]), cube_root);
        // With c the cube root, c y + c^2 z = c (y - z) - z, and c^2 y + c z = -c (y - z) - y.
        const uint64_t second = add(subtract(x, a[j + 2 * third]), turned);
        const uint64_t last = subtract(subtract(x, a[j + third]), turned);
        a[j] = add(x, sum);
        a[j + third] = multiply(second, factor);
        a[j + 2 * third] = multiply(last, multiply(factor, factor));
    }
}

/// Undoes it, with the inverse root, but for a factor of 3.
void backward_thirds(uint64_t* a, size_t third, uint64_t root) {
    const uint64_t cube_root = power(root, third);
    uint64_t factor = 1;
    for (size_t j = 0; j < third; ++j, factor = multiply(factor, root)) {
        const uint64_t x = a[j];
        const uint64_t y = multiply(a[j + third], factor);
        const uint64_t z = multiply(a[j + 2 * third], multiply(factor, factor));
        const uint64_t turned = multiply(subtract(y, z), cube_root);
        a[j] = add(x, add(y, z));
        a[j + third] = add(subtract(x, z), turned);
        a[j + 2 * third] = subtract(subtract(x, y), turned);
    }
}

void forward_all(std::vector<uint64_t>& a, size_t parts, uint64_t root,
                 const std::vector<uint64_t>& factors) {
    const size_t n = a.size() / parts;
    if (parts == 3) forward_thirds(a.data(), n, root);
    for (size_t i = 0; i < parts; ++i) forward(a.data() + i * n, n, factors.data());
}

}  // namespace

size_t convolution_length(size_t n) {
    size_t length = 1;
    while (length < n) length *= 2;
    return length >= 4 && length / 4 * 3 >= n ? length / 4 * 3 : length;
}

void convolve(std::vector<uint64_t>& a, std::vector<uint64_t>& b) {
    MARL_REQUIRE(a.size() == b.size() && a.size() == convolution_length(a.size()));
    const size_t parts = a.size() % 3 == 0 ? 3 : 1;
    const size_t n = a.size() / parts;
    const uint64_t root = root_of_order(a.size());
    std::vector<uint64_t> factors = pass_factors(n, power(root, parts));
    forward_all(a, parts, root, factors);
    if (&a != &b) forward_all(b, parts, root, factors);
    const uint64_t scale = power(a.size(), prime - 2);
    for (size_t i = 0; i < a.size(); ++i) a[i] = multiply(multiply(a[i], b[i]), scale);
    const uint64_t inverse = power(root, prime - 2);
    factors = pass_factors(n, power(inverse, parts));
    for (size_t i = 0; i < parts; ++i) backward(a.data() + i * n, n, factors.data());
    if (parts == 3) backward_thirds(a.data(), n, inverse);
}

}  // namespace marl
