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

/// The same number in cells, the last bits of it in a digit Leaf.
Value in_cells(std::string_view text, int64_t tail = 0) {
    const String bits = *bits_of(leaf(text));
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

TEST(Hints, an_ill_formed_list_is_failure) {
    for (const Operator operation : {hint_add, hint_sub, hint_mul, hint_div, hint_mod, hint_pow}) {
        EXPECT_EQ(shown(operation(ill_formed(), leaf("1"))), "Z");
        EXPECT_EQ(shown(operation(leaf("1"), ill_formed())), "Z");
    }
    EXPECT_EQ(shown(hint_neg(ill_formed())), "Z");
    EXPECT_FALSE(hint_compare(ill_formed(), leaf("1")));
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

/// A number in one of its forms.
Value in_any_form(std::string_view text) {
    return random_words() % 3 ? leaf(text) : in_cells(text, random_words() % 4);
}

TEST(Hints, agree_with_machine_integers_in_either_form) {
    for (int i = 0; i < 20'000; ++i) {
        const Signed x = random_signed();
        const Signed y = i % 50 == 0 ? 0 : random_signed();
        const Value a = in_any_form(text_of(x));
        const Value b = in_any_form(text_of(y));
        ASSERT_EQ(shown(hint_add(a, b)), text_of(x + y));
        ASSERT_EQ(shown(hint_sub(a, b)), text_of(x - y));
        ASSERT_EQ(shown(hint_mul(a, b)), text_of(x * y));
        ASSERT_EQ(shown(hint_neg(a)), text_of(-x));
        ASSERT_EQ(hint_sign(a), x >= 0);
        ASSERT_EQ(*hint_compare(a, b) < 0, x < y);
        ASSERT_EQ(*hint_compare(a, b) == 0, x == y);
        if (y == 0) {
            ASSERT_EQ(shown(hint_div(a, b)) + shown(hint_mod(a, b)), "ZZ");
            continue;
        }
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

TEST(Hints, long_ones_agree_modulo_a_prime) {
    for (int i = 0; i < 1'500; ++i) {
        const std::string x = random_digits(1 + random_words() % (i % 50 == 0 ? 6'000 : 200));
        const std::string y = random_digits(1 + random_words() % (i % 50 == 0 ? 3'000 : 100));
        const Value a = leaf(x);
        const Value b = leaf(y);
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

TEST(Hints, powers_multiply_up) {
    const Value base = leaf("0123456789");
    Value product = leaf("1");
    for (int n = 0; n < 60; ++n) {
        EXPECT_EQ(shown(hint_pow(base, from_i64(n))), shown(product));
        product = hint_mul(product, base);
    }
}

}  // namespace
}  // namespace marl
