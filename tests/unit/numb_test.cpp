#include "number/numb.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>
#include <string>

#include "number/convert.h"
#include "number/digits.h"
#include "number/hint.h"

namespace marl {
namespace {

std::mt19937_64 random_words(64);

std::string shown(const Value& x) { return std::string(leaf_bytes(x)); }

Value ill_formed() { return apply(leaf("J"), leaf("H"), leaf("f")); }

Value in_cells(Node* x) {
    const String bits = *bits_of(x);
    Value list = leaf_K();
    for (int64_t i = list_length(bits); i-- > 0;) {
        list = apply(leaf("J"), truth(bit_get(i, bits)), std::move(list));
    }
    return list;
}

// The second computation: n / 2^places for a machine integer n, put into a list bit by bit.

struct Fraction {
    int64_t n;
    int places;
};

Value numb(Fraction x) {
    String bits;
    if (x.n == 0) return leaf("00");
    if (x.n > 0) bit_set(1, true, bits);
    const auto magnitude = static_cast<uint64_t>(x.n < 0 ? -x.n : x.n);
    for (int i = 0; i < 64; ++i) {
        const int position = i - x.places;
        if (magnitude >> i & 1) {
            bit_set(position < 0 ? 1 - 2 * position : 2 * position + 2, true, bits);
        }
    }
    return value_of_bits(bits);
}
Value numb(int64_t n) { return numb(Fraction{n, 0}); }

TEST(Numbs, agree_with_machine_fractions) {
    for (int i = 0; i < 3'000; ++i) {
        const int places_x = static_cast<int>(random_words() % 12);
        const int places_y = static_cast<int>(random_words() % 12);
        const auto random = [] {
            const auto n = static_cast<int64_t>(random_words() % (1u << random_words() % 24));
            return random_words() % 2 ? -n : n;
        };
        const int64_t n = random();
        const int64_t m = random();
        const Value x = numb({n, places_x});
        const Value y = i % 3 == 0 ? in_cells(numb({m, places_y})) : numb({m, places_y});
        const int places = std::max(places_x, places_y);
        const int64_t a = n * (int64_t{1} << (places - places_x));
        const int64_t b = m * (int64_t{1} << (places - places_y));
        ASSERT_EQ(shown(numb_add(x, y)), shown(numb({a + b, places})));
        ASSERT_EQ(shown(numb_sub(x, y)), shown(numb({a - b, places})));
        ASSERT_EQ(shown(numb_mul(x, y)), shown(numb({n * m, places_x + places_y})));
        ASSERT_EQ(*numb_compare(x, y), (a > b) - (a < b));
        ASSERT_EQ(numb_sign(y), m >= 0);
        ASSERT_EQ(shown(numb_neg(x)), shown(numb({-n, places_x})));
        ASSERT_EQ(shown(hint_to_numb(from_i64(n))), shown(numb(n)));
        if (b == 0) continue;
        const int64_t rest = std::abs(a) % std::abs(b);
        const bool mirrored = (a < 0) != (b < 0) && rest != 0;
        ASSERT_EQ(shown(numb_mod(x, y)),
                  shown(numb({mirrored ? std::abs(b) - rest : rest, places})));
    }
}

TEST(Numbs, whole_ones_agree_with_hints_at_hundreds_of_digits) {
    for (int i = 0; i < 100; ++i) {
        std::string x = "1";
        std::string y = "2";
        for (uint64_t k = random_words() % 300; k > 0; --k)
            x += static_cast<char>('0' + random_words() % 10);
        for (uint64_t k = random_words() % 200; k > 0; --k)
            y += static_cast<char>('0' + random_words() % 10);
        if (i % 2) x.insert(x.begin(), '0');
        const Value a = leaf(x);
        const Value b = leaf(y);
        const Value p = hint_to_numb(a);
        const Value q = hint_to_numb(b);
        EXPECT_EQ(shown(numb_add(p, q)), shown(hint_to_numb(hint_add(a, b))));
        EXPECT_EQ(shown(numb_mul(p, q)), shown(hint_to_numb(hint_mul(a, b))));
        EXPECT_EQ(shown(numb_mod(p, q)), shown(hint_to_numb(hint_mod(a, b))));
        // The same digits behind the point: times 2^-300.
        const Value scale = numb_pow(leaf("004"), leaf("0300"));
        EXPECT_EQ(shown(numb_mod(numb_mul(p, scale), numb_mul(q, scale))),
                  shown(numb_mul(numb_mod(p, q), scale)));
    }
}

TEST(Numbs, powers_of_two_are_exact_and_others_only_upwards) {
    const struct {
        Value base;
        const char* exponent;
        Value result;
    } rows[] = {{leaf("004"), "01", leaf("002")},
                {in_cells(leaf("004")), "01", leaf("002")},
                {leaf("004"), "0", leaf("001")},
                {leaf("004"), "1152921504606846976", leaf("Z")},
                {leaf("004"), "01152921504606846976", leaf("Z")},
                {leaf("00"), "0", leaf("001")},
                {leaf("00"), "5", leaf("00")},
                {leaf("005"), "5", numb(243)},
                {leaf("005"), "05", leaf("Z")},
                {leaf("002"), "2", numb({1, 2})},
                {numb({-6, 1}), "3", numb(-27)},
                {leaf("000"), "99999999999999999999999", leaf("000")}};
    for (const auto& [base, exponent, result] : rows) {
        EXPECT_EQ(shown(numb_pow(base, leaf(exponent))), shown(result)) << exponent;
    }
    EXPECT_EQ(shown(numb_pow(leaf("005"), apply(leaf("J"), leaf("K"), leaf("f")))), "Z");
    // 2^100000 mod 7: 2^3 is 1 mod 7, and 100000 is 1 mod 3.
    EXPECT_EQ(shown(numb_mod(numb_pow(leaf("004"), leaf("100000")), numb(7))), "004");
    EXPECT_EQ(shown(numb_mod(leaf("001"), leaf("00"))), "Z");
}

TEST(Numbs, an_ill_formed_list_is_failure) {
    for (const auto operation : {numb_add, numb_sub, numb_mul, numb_mod}) {
        EXPECT_EQ(shown(operation(ill_formed(), leaf("001"))), "Z");
        EXPECT_EQ(shown(operation(leaf("001"), ill_formed())), "Z");
    }
    EXPECT_EQ(shown(numb_neg(ill_formed())), "Z");
    EXPECT_EQ(shown(numb_to_real(ill_formed())), "Z");
    EXPECT_FALSE(numb_compare(ill_formed(), leaf("001")));
}

uint64_t bits_of_real(const Value& real) { return std::bit_cast<uint64_t>(to_double(real)); }

Value power_of_two(int64_t n) { return numb_pow(leaf("004"), from_i64(n)); }

TEST(NumbsAndReals, what_a_real_cannot_hold_is_cut_off_or_no_number) {
    constexpr uint64_t nan = 0x7FF9000000000000;
    EXPECT_EQ(bits_of_real(numb_to_real(power_of_two(1024))), nan);
    EXPECT_EQ(bits_of_real(numb_to_real(numb_neg(power_of_two(1024)))), nan);
    EXPECT_EQ(to_double(numb_to_real(power_of_two(1023))), std::ldexp(1.0, 1023));
    EXPECT_EQ(bits_of_real(numb_to_real(power_of_two(-1074))), 1u);
    EXPECT_EQ(bits_of_real(numb_to_real(power_of_two(-1075))), nan);
    EXPECT_EQ(bits_of_real(numb_to_real(leaf("00"))), 0u);
    EXPECT_EQ(to_double(numb_to_real(numb_add(leaf("001"), power_of_two(-53)))), 1.0);
    // All digits past the 52nd are cut off, however many there are.
    EXPECT_EQ(
        to_double(numb_to_real(numb_sub(leaf("000"), numb_sub(leaf("001"), power_of_two(-80))))),
        -2.0 + std::ldexp(1.0, -52));
    for (const double x : {HUGE_VAL, -HUGE_VAL, std::nan(""), 0.0, -0.0}) {
        EXPECT_EQ(shown(numb_of_real(from_double(x))), "00");
    }
    EXPECT_EQ(shown(numb_of_real(from_double(0.5))), "002");
    EXPECT_EQ(shown(numb_of_real(from_double(-1.0))), "000");
}

TEST(NumbsAndReals, every_finite_double_comes_back) {
    for (int i = 0; i < 2'000; ++i) {
        uint64_t bits = random_words();
        if (i % 4 == 0) bits &= 0x800FFFFFFFFFFFFF;
        if (i % 5 == 0) bits &= ~uint64_t{0} << (random_words() % 52);
        const auto x = std::bit_cast<double>(bits);
        if (!std::isfinite(x) || x == 0) continue;
        const Value number = numb_of_real(from_double(x));
        ASSERT_EQ(bits_of_real(numb_to_real(number)), bits);
        // Exact: twice the number is the number doubled.
        if (!std::isfinite(2 * x)) continue;
        const Value twice = numb_of_real(from_double(2 * x));
        ASSERT_EQ(shown(numb_mul(number, leaf("004"))), shown(twice));
    }
}

}  // namespace
}  // namespace marl
