#include "number/convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "text/bit_cast.h"
#include "value/real_word.h"
#include "value/short_hint.h"

namespace marl {
namespace {

std::string shown(const Value& x) { return std::string(leaf_bytes(x)); }

Value cells(std::string_view bits, Value tail = leaf("K")) {
    for (size_t i = bits.size(); i-- > 0;) {
        tail = apply(leaf("J"), leaf(bits.substr(i, 1)), std::move(tail));
    }
    return tail;
}

TEST(Integers, every_length_goes_to_text_and_back) {
    int64_t power = 1;
    for (int digits = 1; digits <= 18; ++digits, power *= 10) {
        for (const int64_t n : {power, power + 1, 2 * power - 1, 9 * power, 10 * power - 1}) {
            const std::string text = std::to_string(n);
            EXPECT_EQ(shown(from_i64(n)), text);
            EXPECT_EQ(shown(from_i64(-n)), "0" + text);
            EXPECT_EQ(leaf_text(from_i64(-n))[text.size() + 1], 0);
            EXPECT_EQ(to_i64(leaf(text)), n);
            EXPECT_EQ(to_i64(leaf("0" + text)), -n);
            // A build may cache so few lengths that not all of these are short.
            int64_t short_n = -n;
            EXPECT_EQ(short_hint(leaf("0" + text), short_n), digits + 1 < span_limit);
            EXPECT_EQ(short_n, -n);
        }
    }
}

TEST(Integers, beyond_the_machine_s_size_are_cut_off) {
    constexpr int64_t least = std::numeric_limits<int64_t>::min();
    EXPECT_EQ(shown(from_i64(0)), "0");
    EXPECT_EQ(shown(from_i64(-1)), "01");
    EXPECT_EQ(shown(from_i64(least)), "09223372036854775808");
    EXPECT_EQ(shown(from_u64(~uint64_t{0})), "18446744073709551615");
    EXPECT_EQ(to_i64(leaf("09223372036854775808")), least);
    // What goes over 64 bits is dropped before the sign is applied.
    EXPECT_EQ(to_i64(leaf("18446744073709551623")), 7);
    EXPECT_EQ(to_i64(leaf("018446744073709551623")), -7);
    EXPECT_EQ(to_u64(leaf("340282366920938463463374607431768211461")), 5u);
}

TEST(Integers, in_cells_are_read_alike) {
    EXPECT_EQ(to_i64(cells("KKH")), 2);
    EXPECT_EQ(to_i64(cells("KHH")), -2);
    EXPECT_EQ(to_i64(cells("K")), 0);
    EXPECT_EQ(to_i64(cells("K", leaf("0"))), 1);
    EXPECT_EQ(to_i64(cells("K", leaf("f"))), 0);
    EXPECT_EQ(to_i64(leaf("K")), 0);
    EXPECT_EQ(to_u64(leaf("K")), 0u);
    EXPECT_EQ(to_u64(cells("HKH")), 2u);
    EXPECT_EQ(to_i64(cells("HKH")), 0);
}

TEST(Arguments, are_told_apart_by_their_first_bytes) {
    struct Row {
        const char* text;
        bool integer, natural, memory;
    };
    const Row rows[] = {
        {"0", true, true, true},     {"7", true, true, true},      {"01", true, false, true},
        {"00", false, false, false}, {"007", false, false, false}, {"K", true, true, false},
        {"H", false, false, false},  {"[a]", false, false, true},  {"()", false, false, true},
    };
    for (const auto& [text, integer, natural, memory] : rows) {
        EXPECT_EQ(is_integer(leaf(text)), integer) << text;
        EXPECT_EQ(is_natural(leaf(text)), natural) << text;
        EXPECT_EQ(is_memory(leaf(text)), memory) << text;
    }
    EXPECT_TRUE(is_integer(cells("K")));
    EXPECT_FALSE(is_integer(cells("H")));
    EXPECT_TRUE(is_natural(cells("H")));
    EXPECT_FALSE(is_natural(cells("K")));
    EXPECT_TRUE(is_real(from_double(0.5)));
    EXPECT_FALSE(is_integer(from_double(0.5)));
    EXPECT_FALSE(is_memory(from_double(0.5)));
}

TEST(Integers, short_ones_are_digit_leaves_of_hints) {
    int64_t n = 0;
    for (const char* text :
         {"00", "005", "1234567890123456789", "01234567890123456789", "f", "[a]", "()", "K"}) {
        EXPECT_FALSE(short_hint(leaf(text), n)) << text;
    }
    EXPECT_FALSE(short_hint(cells("K"), n));
    EXPECT_FALSE(short_hint(from_double(1.0), n));
}

}  // namespace
TEST(Convert, a_real_is_a_word_from_2_to_the_minus_256_to_2_to_the_256) {
    std::mt19937_64 random(3);
    int words = 0;
    for (int i = 0; i < 100000; ++i) {
        // Exponents on both sides of the bounds, and any.
        const uint64_t exponent =
            i % 2 ? random() % 2048 : 1023 + (i % 4 - 1) * 256 + random() % 5 - 2;
        const auto x =
            bit_cast<double>(random() >> 63 << 63 | exponent << 52 | random() >> (i % 53 + 11));
        const double size = std::fabs(x);
        const Word word = real_word(x);
        const bool has_word =
            bit_cast<uint64_t>(x) == 0 || (size >= 0x1p-256 && size < 0x1p256 && x != 0x1p-256);
        ASSERT_EQ(word != 0, has_word) << x;
        if (word == 0) continue;
        ++words;
        ASSERT_TRUE(is_real(word) && !is_counted(word));
        ASSERT_EQ(bit_cast<uint64_t>(real_of(word)), bit_cast<uint64_t>(x));
    }
    EXPECT_GT(words, 20000);
    EXPECT_EQ(real_of(real_word(0.0)), 0.0);
    EXPECT_EQ(real_word(-0.0), 0U);
}

}  // namespace marl
