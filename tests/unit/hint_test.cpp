#include "number/hint.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "number/convert.h"
#include "number/digits.h"
#include "text/swar.h"

namespace marl {
namespace {

std::mt19937_64 random_words(4);

Value digits(std::string_view text) { return leaf(text); }

/// The same number in cells, the last bits of it in a digit Leaf.
Value in_cells(std::string_view text, int64_t tail = 0) {
    const String bits = bits_of_digits(text);
    Value list = leaf_K();
    for (int64_t i = list_length(bits); i-- > 0;) {
        list = apply(leaf("J"), truth(bit_get(i, bits)), std::move(list));
        if (tail-- > 0) list = value_of_bits(*bits_of(list));
    }
    return list;
}

Value ill_formed() { return apply(leaf("J"), leaf("K"), leaf("f")); }

std::string shown(const Value& x) { return std::string(leaf_bytes(x)); }

using Operator = Value (*)(Node*, Node*);

struct Row {
    Operator operation;
    const char* x;
    const char* y;
    const char* result;
};

TEST(Hints, WorkedValuesInEitherForm) {
    const Row rows[] = {
        {hint_add, "5", "05", "0"},
        {hint_add, "05", "05", "010"},
        {hint_add, "999999999999999999", "1", "1000000000000000000"},
        {hint_add, "99999999999999999999", "1", "100000000000000000000"},
        {hint_sub, "3", "3", "0"},
        {hint_sub, "0", "3", "03"},
        {hint_sub, "100000000000000000000", "1", "99999999999999999999"},
        {hint_sub, "1", "100000000000000000000", "099999999999999999999"},
        {hint_mul, "0", "05", "0"},
        {hint_mul, "03", "4", "012"},
        {hint_mul, "03", "04", "12"},
        {hint_mul, "99", "99", "9801"},
        {hint_mul, "2", "5", "10"},
        {hint_mul, "999999999999999999", "0999999999999999999",
         "0999999999999999998000000000000000001"},
        {hint_div, "7", "2", "3"},
        {hint_div, "07", "2", "04"},
        {hint_div, "7", "02", "04"},
        {hint_div, "07", "02", "3"},
        {hint_div, "0", "05", "0"},
        {hint_div, "1", "0", "Z"},
        {hint_div, "100000000000000000000", "0", "Z"},
        {hint_div, "1", "0100000000000000000000", "01"},
        {hint_mod, "7", "2", "1"},
        {hint_mod, "07", "2", "1"},
        {hint_mod, "7", "02", "1"},
        {hint_mod, "07", "02", "1"},
        {hint_mod, "6", "04", "2"},
        {hint_mod, "0", "05", "0"},
        {hint_mod, "5", "0", "Z"},
        {hint_mod, "01", "100000000000000000000", "99999999999999999999"},
        {hint_pow, "0", "0", "1"},
        {hint_pow, "2", "010", "0"},
        {hint_pow, "02", "3", "08"},
        {hint_pow, "02", "2", "4"},
        {hint_pow, "2", "64", "18446744073709551616"},
        {hint_pow, "01", "1000000000000000000001", "01"},
        {hint_pow, "0", "1000000000000000000001", "0"},
    };
    for (const auto& [operation, x, y, result] : rows) {
        EXPECT_EQ(shown(operation(digits(x), digits(y))), result) << x << " " << y;
        EXPECT_EQ(shown(operation(in_cells(x), digits(y))), result) << x << " " << y;
        EXPECT_EQ(shown(operation(in_cells(x, 2), in_cells(y))), result) << x << " " << y;
    }
}

TEST(Hints, OrderAndSignInEitherForm) {
    const char* ascending[] = {
        "0123456789012345678901", "0123456789012345678900", "02", "01", "0", "1", "9", "10",
        "123456789012345678900"};
    const auto sign = [](int order) { return (order > 0) - (order < 0); };
    for (size_t i = 0; i < std::size(ascending); ++i) {
        EXPECT_EQ(hint_sign(digits(ascending[i])), i > 3);
        EXPECT_EQ(hint_sign(in_cells(ascending[i])), i > 3);
        for (size_t j = 0; j < std::size(ascending); ++j) {
            const int order = (i > j) - (i < j);
            EXPECT_EQ(sign(*hint_compare(digits(ascending[i]), digits(ascending[j]))), order);
            EXPECT_EQ(sign(*hint_compare(in_cells(ascending[i]), digits(ascending[j]))), order);
        }
    }
}

TEST(Hints, NegationTurnsTheSignOfBothForms) {
    const std::pair<const char*, const char*> rows[] = {
        {"0", "0"}, {"5", "05"}, {"1234567890123456789", "01234567890123456789"}};
    for (const auto& [x, minus_x] : rows) {
        EXPECT_EQ(shown(hint_neg(digits(x))), minus_x);
        EXPECT_EQ(shown(hint_neg(digits(minus_x))), x);
        EXPECT_EQ(shown(hint_neg(in_cells(x))), minus_x);
        EXPECT_EQ(shown(hint_neg(in_cells(minus_x))), x);
    }
}

TEST(Hints, AnIllFormedListIsFailure) {
    for (const Operator operation : {hint_add, hint_sub, hint_mul, hint_div, hint_mod, hint_pow}) {
        EXPECT_EQ(shown(operation(ill_formed(), digits("1"))), "Z");
        EXPECT_EQ(shown(operation(digits("1"), ill_formed())), "Z");
    }
    EXPECT_EQ(shown(hint_neg(ill_formed())), "Z");
    EXPECT_FALSE(hint_compare(ill_formed(), digits("1")));
}

// The second computation: machine integers of 128 bits.

__extension__ typedef __int128 Signed;

std::string text_of(Signed n) {
    if (n < 0) return "0" + text_of(-n);
    std::string text;
    do {
        text.insert(text.begin(), static_cast<char>('0' + static_cast<int>(n % 10)));
        n /= 10;
    } while (n > 0);
    return text;
}

Signed random_signed() {
    const auto bits = static_cast<int64_t>(random_words() >> (random_words() % 64));
    return random_words() % 2 ? -Signed{bits} : Signed{bits};
}

TEST(Hints, AgreeWithMachineIntegers) {
    for (int i = 0; i < 20'000; ++i) {
        const Signed x = random_signed();
        const Signed y = random_signed();
        const Value a = digits(text_of(x));
        const Value b = digits(text_of(y));
        ASSERT_EQ(shown(hint_add(a, b)), text_of(x + y));
        ASSERT_EQ(shown(hint_sub(a, b)), text_of(x - y));
        ASSERT_EQ(shown(hint_mul(a, b)), text_of(x * y));
        ASSERT_EQ(*hint_compare(a, b) < 0, x < y);
        if (y == 0) continue;
        const Signed quotient = x / y - (x % y != 0 && (x < 0) != (y < 0));
        ASSERT_EQ(shown(hint_div(a, b)), text_of(quotient));
        const Signed divisor = y < 0 ? -y : y;
        const Signed rest = (x < 0 ? -x : x) % divisor;
        const Signed remainder = (x < 0) == (y < 0) || rest == 0 ? rest : divisor - rest;
        ASSERT_EQ(shown(hint_mod(a, b)), text_of(remainder));
    }
}

// The second computation for long ones: residues modulo a prime, taken digit by digit.

constexpr uint64_t prime = 0x1FFFFFFFFFFFFFFF;

uint64_t residue(std::string_view text) {
    uint64_t rest = 0;
    for (const char digit : text) {
        rest =
            static_cast<uint64_t>((Wide{rest} * 10 + static_cast<uint64_t>(digit - '0')) % prime);
    }
    return text[0] == '0' && rest > 0 ? prime - rest : rest;
}

uint64_t times(uint64_t a, uint64_t b) { return static_cast<uint64_t>(Wide{a} * b % prime); }

std::string random_digits(size_t n) {
    std::string text;
    const int kind = static_cast<int>(random_words() % 3);
    while (text.size() < n) {
        const uint64_t r = random_words();
        text += kind == 0 ? '9' : kind == 1 && r % 8 ? '0' : static_cast<char>('0' + r % 10);
    }
    text[0] = static_cast<char>('1' + random_words() % 9);
    if (random_words() % 2) text.insert(text.begin(), '0');
    return text;
}

TEST(Hints, LongOnesAgreeModuloAPrime) {
    for (int i = 0; i < 1'500; ++i) {
        const std::string x = random_digits(1 + random_words() % (i % 50 == 0 ? 6'000 : 200));
        const std::string y = random_digits(1 + random_words() % (i % 50 == 0 ? 3'000 : 100));
        const Value a = digits(x);
        const Value b = digits(y);
        const uint64_t p = residue(x);
        const uint64_t q = residue(y);
        ASSERT_EQ(residue(shown(hint_add(a, b))), (p + q) % prime) << x << " " << y;
        ASSERT_EQ(residue(shown(hint_sub(a, b))), (p + prime - q) % prime) << x << " " << y;
        ASSERT_EQ(residue(shown(hint_mul(a, b))), times(p, q)) << x << " " << y;
        // a = (a / b) b + r, where r is short of |b|, and not below 0 for a positive b.
        const Value quotient = hint_div(a, b);
        const Value rest = hint_sub(a, hint_mul(quotient, b));
        const bool same_signs = hint_sign(a) == hint_sign(b);
        const Value size = hint_sign(b) ? b : hint_neg(b);
        const Value distance = hint_sign(b) ? rest : hint_neg(rest);
        ASSERT_TRUE(hint_sign(distance)) << x << " " << y;
        ASSERT_LT(*hint_compare(distance, size), 0) << x << " " << y;
        ASSERT_EQ(shown(hint_mod(a, b)), shown(distance)) << x << " " << y << same_signs;
        ASSERT_EQ(shown(hint_sub(hint_add(a, b), b)), x);
    }
}

TEST(Hints, PowersMultiplyUp) {
    const Value base = digits("0123456789");
    Value product = digits("1");
    for (int n = 0; n < 60; ++n) {
        EXPECT_EQ(shown(hint_pow(base, from_i64(n))), shown(product));
        product = hint_mul(product, base);
    }
}

}  // namespace
}  // namespace marl
