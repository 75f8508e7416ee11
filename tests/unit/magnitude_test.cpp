#include "number/magnitude.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "number/column_division.h"
#include "number/decimal.h"
#include "number/pieces.h"

namespace marl {
namespace {

std::mt19937_64 random_words(20240607);

/// Limbs that are random, or runs of the least and the largest, where carries run far.
template <class Radix>
Limbs random_limbs(size_t n) {
    Limbs limbs(n);
    const bool extreme = random_words() % 2;
    for (uint64_t& limb : limbs) {
        const uint64_t extremes[] = {0, 1, Radix::largest, Radix::largest};
        limb = extreme ? extremes[random_words() % 4] : random_words();
        if (limb > Radix::largest) limb %= Radix::largest;
    }
    mag_trim(limbs);
    return limbs;
}

/// The methods for long numbers from few limbs on, as long as it lives.
template <class Radix>
struct LowLimits {
    size_t karatsuba = Radix::karatsuba_limit;
    size_t transform = Radix::transform_limit;
    size_t divide = Radix::divide_limit;
    size_t newton = Radix::newton_limit;

    LowLimits(size_t karatsuba_limit, size_t transform_limit, size_t divide_limit,
              size_t newton_limit = 1000) {
        Radix::karatsuba_limit = karatsuba_limit;
        Radix::transform_limit = transform_limit;
        Radix::divide_limit = divide_limit;
        Radix::newton_limit = newton_limit;
    }
    ~LowLimits() {
        Radix::karatsuba_limit = karatsuba;
        Radix::transform_limit = transform;
        Radix::divide_limit = divide;
        Radix::newton_limit = newton;
    }
};

template <class Radix>
class Magnitudes : public testing::Test {};
using Radices = testing::Types<Binary, Decimal>;
TYPED_TEST_SUITE(Magnitudes, Radices);

TYPED_TEST(Magnitudes, all_methods_give_the_same_product) {
    for (int i = 0; i < 300; ++i) {
        const Limbs a = random_limbs<TypeParam>(random_words() % 60);
        const Limbs b = i % 4 == 0 ? a : random_limbs<TypeParam>(random_words() % 30);
        Limbs schoolbook;
        {
            const LowLimits<TypeParam> limits(200, 1000, 1000);
            schoolbook = mag_mul<TypeParam>(a, b);
        }
        for (const size_t transform_limit : {1000, 9, 1}) {
            const LowLimits<TypeParam> limits(4 + random_words() % 5, transform_limit, 1000);
            EXPECT_EQ(mag_mul<TypeParam>(a, b), schoolbook);
            EXPECT_EQ(mag_mul<TypeParam>(a, a), mag_mul<TypeParam>(a, Limbs(a)));
        }
    }
}

// A product that is some pieces longer than a transform is put together from what went round. That
// of 2 z - 1 and 2 z + 1, z being a power of the base, goes round once more at some lengths.
TYPED_TEST(Magnitudes, products_of_all_lengths_are_those_of_the_schoolbook) {
    for (size_t n = 4; n < 80; ++n) {
        Limbs below(n, TypeParam::largest);
        below.push_back(1);
        Limbs above(n + 1, 0);
        above[0] = 1;
        above.back() = 2;
        for (const Limbs& a : {random_limbs<TypeParam>(n), below}) {
            for (const Limbs& b : {random_limbs<TypeParam>(n - n / 4), above}) {
                const LowLimits<TypeParam> limits(200, 1000, 1000);
                const Limbs schoolbook = mag_mul<TypeParam>(a, b);
                TypeParam::karatsuba_limit = 4;
                TypeParam::transform_limit = 1;
                EXPECT_EQ(mag_mul<TypeParam>(a, b), schoolbook) << n;
            }
        }
    }
}

TYPED_TEST(Magnitudes, products_distribute_at_the_limits_in_use) {
    for (const size_t n : {TypeParam::karatsuba_limit, 3 * TypeParam::karatsuba_limit + 1,
                           TypeParam::transform_limit}) {
        const Limbs a = random_limbs<TypeParam>(n + 1);
        const Limbs b = random_limbs<TypeParam>(n);
        const Limbs c = random_limbs<TypeParam>(n - 1);
        EXPECT_EQ(mag_mul<TypeParam>(a, mag_add<TypeParam>(b, c)),
                  mag_add<TypeParam>(mag_mul<TypeParam>(a, b), mag_mul<TypeParam>(c, a)));
    }
}

TYPED_TEST(Magnitudes, quotients_undo_products) {
    for (const auto& [divide_limit, newton_limit] :
         {std::pair{2, 1000}, {3, 1000}, {7, 1000}, {int{most_columns}, 1000}, {2, 4}, {3, 9}}) {
        const LowLimits<TypeParam> limits(8, 20, divide_limit, newton_limit);
        for (int i = 0; i < 300; ++i) {
            Limbs quotient = random_limbs<TypeParam>(random_words() % 70);
            // Halves of it that are zero.
            if (i % 5 == 0) std::fill_n(quotient.begin(), quotient.size() - quotient.size() / 4, 0);
            mag_trim(quotient);
            Limbs divisor = random_limbs<TypeParam>(1 + random_words() % 50);
            if (divisor.empty()) divisor = {1};
            // A decimal base has factors.
            if (i % 10 == 0) divisor = {(uint64_t{1} << i % 7) * (i % 4 ? 1'000'000 : 125)};
            // Where Newton's step begins, with all that it needs of the divisor in lower limbs.
            if (i % 7 == 0 && newton_limit < 50) {
                quotient = random_limbs<TypeParam>(newton_limit - 1);
                divisor.push_back(1);
            }
            // The remainders next to both bounds are where a guessed digit is off.
            Limbs remainder = mag_sub<TypeParam>(divisor, {1});
            if (i % 3 == 0) remainder = {};
            if (i % 3 == 1) {
                mag_divide<TypeParam>(random_limbs<TypeParam>(30), divisor, remainder);
            }
            const Limbs dividend =
                mag_add<TypeParam>(mag_mul<TypeParam>(quotient, divisor), remainder);
            Limbs rest;
            EXPECT_EQ(mag_divide<TypeParam>(dividend, divisor, rest), quotient);
            EXPECT_EQ(rest, remainder);
            EXPECT_EQ(mag_rest<TypeParam>(dividend, divisor), remainder);
            EXPECT_EQ(mag_quotient<TypeParam>(dividend, divisor), quotient);
        }
    }
}

TYPED_TEST(Magnitudes, differences_undo_sums) {
    for (int i = 0; i < 300; ++i) {
        const Limbs a = random_limbs<TypeParam>(random_words() % 10);
        const Limbs b = random_limbs<TypeParam>(random_words() % 10);
        const Limbs sum = mag_add<TypeParam>(a, b);
        EXPECT_EQ(mag_sub<TypeParam>(sum, b), a);
        EXPECT_GE(mag_compare(sum, a), 0);
    }
}

TYPED_TEST(Magnitudes, powers_are_repeated_products) {
    for (const Limbs& base : {random_limbs<TypeParam>(3), Limbs{3}, Limbs{TypeParam::largest},
                              Limbs{uint64_t{1} << 29}}) {
        Limbs product{1};
        for (uint64_t n = 0; n < 80; ++n) {
            EXPECT_EQ(mag_pow<TypeParam>(base, n), product);
            product = mag_mul<TypeParam>(product, base);
        }
    }
    EXPECT_EQ(mag_pow<TypeParam>({}, ~uint64_t{0}), Limbs{});
    EXPECT_EQ(mag_pow<TypeParam>({1}, ~uint64_t{0}), Limbs{1});
}

TEST(BaseChange, by_halves_agrees_with_limb_by_limb) {
    const size_t limit_in_use = base_change_limit;
    for (size_t n = 0; n < 70; ++n) {
        const Limbs binary = random_limbs<Binary>(n);
        base_change_limit = 1000;
        const Limbs decimal = decimal_of_binary(binary);
        EXPECT_EQ(binary_of_decimal(decimal), binary);
        for (const size_t limit : {1, 2, 5}) {
            base_change_limit = limit;
            EXPECT_EQ(decimal_of_binary(binary), decimal);
            EXPECT_EQ(binary_of_decimal(decimal), binary);
        }
    }
    base_change_limit = limit_in_use;
}

TEST(Convolutions, give_sums_of_products_at_every_length) {
    const Wide largest = (Wide{1} << 80) - 1;
    for (size_t n = 1; n < 400; n += n / 3 + 1) {
        const size_t length = convolution_length(n);
        PieceList a(length);
        PieceList b(length);
        for (size_t i = 0; i < length; ++i) {
            a[i] = n % 2 ? largest : largest & (Wide{random_words()} << 64 | random_words());
            b[i] = largest & (Wide{random_words()} << 64 | random_words());
        }
        // The bits above the lowest 128 show in the next prime, and there they wrap.
        Spectrum sums = spectrum_of(a, length);
        convolve(sums, spectrum_of(b, length));
        for (size_t i = 0; i < length; ++i) {
            Wide expected = 0;
            for (size_t j = 0; j < length; ++j) expected += a[j] * b[(i + length - j) % length];
            const Sum sum = sum_at(sums, i);
            EXPECT_TRUE((Wide{sum[1]} << 64 | sum[0]) == expected) << length << ' ' << i;
            for (const uint64_t prime : convolution_primes) {
                const Wide word = (Wide{1} << 64) % prime;
                Wide residue = 0;
                for (size_t j = 0; j < length; ++j) {
                    residue += a[j] % prime * (b[(i + length - j) % length] % prime) % prime;
                }
                const Wide of_sum =
                    (sum[2] * word % prime * word + sum[1] % prime * word + sum[0]) % prime;
                EXPECT_TRUE(of_sum == residue % prime) << length << ' ' << i;
            }
        }
    }
}

}  // namespace
}  // namespace marl
