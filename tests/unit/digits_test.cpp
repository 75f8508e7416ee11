#include "number/digits.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "number/convert.h"

namespace marl {
namespace {

std::mt19937_64 random_words(62);

String bits_of_bytes(std::initializer_list<int> bytes) {
    std::string text;
    for (const int byte : bytes) text += static_cast<char>(byte);
    return String(std::string_view(text));
}

std::string shown(const Value& x) { return std::string(leaf_bytes(x)); }

String bits_of_text(std::string_view digits) { return *bits_of(leaf(digits)); }

// The second computation: bit by bit and digit by digit, straight from what the text means.

/// (number << 1) + bit, as digits.
void double_up(std::string& number, int bit) {
    for (size_t i = number.size(); i-- > 0;) {
        const int doubled = 2 * (number[i] - '0') + bit;
        number[i] = static_cast<char>('0' + doubled % 10);
        bit = doubled / 10;
    }
    if (bit) number.insert(number.begin(), '1');
}

/// The text of a list; its end is not one of the elements.
std::string slow_digits(const std::vector<bool>& list) {
    const size_t length = list.size();
    const auto at = [&](size_t i) { return i == length || list[i]; };
    const auto from = [&](size_t low) {
        std::string number;
        for (size_t i = length + 1; i-- > low;) double_up(number, at(i));
        return number;
    };
    if (list[0] && length == 1) return "0";
    if (list[0]) return (list[1] ? "" : "0") + from(2);
    size_t first = 1;
    while (!at(first)) ++first;
    return std::string(first + 1, '0') + from(first + 1);
}

TEST(DigitText, agrees_with_its_meaning_digit_by_digit) {
    for (int i = 0; i < 400; ++i) {
        std::vector<bool> list(1 + random_words() % (i < 300 ? 140 : 600));
        const uint64_t density = random_words() % 4;
        for (size_t k = 0; k < list.size(); ++k) list[k] = random_words() % 4 <= density;
        String bits;
        for (size_t k = 0; k < list.size(); ++k) bit_set(static_cast<int64_t>(k), list[k], bits);
        bit_set(static_cast<int64_t>(list.size()), true, bits);
        const std::string digits = slow_digits(list);
        ASSERT_EQ(shown(value_of_bits(bits)), digits);
        ASSERT_EQ(bits_of_text(digits), bits);
        ASSERT_EQ(list_length(bits), static_cast<int64_t>(list.size()));
    }
}

TEST(DigitText, of_long_lists_comes_back) {
    for (const int64_t length : {5'000, 100'000, 1'000'000}) {
        String bits = String::with_size(length / 8 + 1);
        for (int64_t i = 0; i < bits.length(); ++i) {
            bits.mutable_data()[i] = static_cast<char>(random_words());
        }
        *mutable_at(bits, bits.length() - 1) = 1;
        EXPECT_EQ(*bits_of(value_of_bits(bits)), bits);
    }
}

TEST(DigitText, walked_by_tails_is_its_list) {
    const std::vector<std::string> texts = {"0",
                                            "00",
                                            "1",
                                            "01",
                                            "000",
                                            "0008",
                                            "123",
                                            "0123",
                                            "00123",
                                            "999999999999999999",
                                            "01152921504606846976",
                                            "00999999999999999999",
                                            "0680564733841876926926749214863536422912",
                                            "123456789012345678901234567890123456789",
                                            "00000340282366920938463463374607431768211457"};
    for (const std::string& text : texts) {
        const String bits = bits_of_text(text);
        Value rest = leaf(text);
        for (int64_t i = 0; i < list_length(bits); ++i) {
            ASSERT_EQ(shown(digit_head(rest)), bit_get(i, bits) ? "K" : "H") << text << " " << i;
            rest = digit_tail(rest);
        }
        EXPECT_EQ(shown(rest), "K") << text;
    }
}

TEST(Lists, end_in_K_or_in_a_digit_leaf) {
    const auto cell = [](const char* bit, Value rest) {
        return apply(leaf("J"), leaf(bit), std::move(rest));
    };
    EXPECT_EQ(*digits_of(cell("K", cell("K", leaf("K")))), "1");
    EXPECT_EQ(*digits_of(cell("K", leaf("0"))), "1");
    EXPECT_EQ(*digits_of(cell("H", leaf("K"))), "00");
    EXPECT_EQ(*digits_of(cell("H", leaf("7"))), *digits_of(leaf("0015")));
    EXPECT_EQ(*bits_of(leaf("K")), bits_of_bytes({1}));
    EXPECT_EQ(shown(value_of_bits(bits_of_bytes({1}))), "K");
    EXPECT_FALSE(digits_of(leaf("K")) && digits_of(leaf("f")));
}

TEST(Lists, of_other_shapes_are_none) {
    const auto cell = [](Value head, Value rest) {
        return apply(leaf("J"), std::move(head), std::move(rest));
    };
    const Value none[] = {leaf("f"),
                          leaf("[a]"),
                          cell(leaf("K"), leaf("f")),
                          cell(leaf("Z"), leaf("K")),
                          pair(leaf("J"), leaf("K")),
                          cell(leaf("K"), apply(leaf("V"), leaf("K"), leaf("K")))};
    for (const Value& x : none) {
        EXPECT_FALSE(is_list(x));
        EXPECT_FALSE(bits_of(x));
        EXPECT_FALSE(digits_of(x));
    }
    EXPECT_TRUE(is_list(leaf("K")));
    EXPECT_TRUE(is_list(cell(leaf("K"), leaf("007"))));
}

TEST(BitStrings, grow_when_a_bit_is_set_past_their_end) {
    String bits;
    bit_set(20, true, bits);
    EXPECT_EQ(bits.length(), 3);
    EXPECT_TRUE(bit_get(20, bits));
    EXPECT_FALSE(bit_get(19, bits));
    EXPECT_FALSE(bit_get(1000, bits));
    const String kept = bits;
    bit_set(20, false, bits);
    EXPECT_TRUE(bit_get(20, kept));
    EXPECT_FALSE(bit_get(20, bits));
}

}  // namespace
}  // namespace marl
