// Packing goes through the number that a list is, in words of 64 bits; the text of that number,
// with its zeros in front, is the packed form. Taking the tail of a digit Leaf never unpacks it:
// it halves the decimal number.
#include "number/digits.h"

#include <bit>
#include <cstring>

#include "number/convert.h"
#include "number/decimal.h"
#include "number/digit_leaf.h"
#include "number/words.h"
#include "value/short_hint.h"

namespace marl {

namespace {

DigitText digit_text(const Limbs& words) {
    MARL_REQUIRE(bit_length(words) > 1);
    if (words.size() == 1 && words[0] == 3) return {1, {}};
    if (test_bit(words, 0)) {
        const int64_t minus = test_bit(words, 1) ? 0 : 1;
        return {minus, decimal_of_binary(shift_right(words, 2))};
    }
    const size_t end = trailing_zeros(words);
    return {static_cast<int64_t>(end) + 1, decimal_of_binary(shift_right(words, end + 1))};
}

Limbs words_of_bits(const String& bits) { return words_of_bytes(bits.view()); }

String bits_of_words(const Limbs& words) {
    const size_t size = (bit_length(words) + 7) / 8;
    String bits = String::with_size(static_cast<int64_t>(size));
    if (size > 0) memcpy(bits.mutable_data(), words.data(), size);
    return bits;
}

// The tail of a list halves the number w that it is. With n > 0 the number behind the zeros of its
// text:
//
//   "00..." with zeros behind them: one zero less
//   "00n" and "n":                  w / 2 = 2n + 1, the hint n / 2, negative when n is even
//   "0n":                           w / 2 = 2n, so a numb

Value tail_of_positive(uint64_t n) { return short_leaf(n % 2 == 0, n / 2); }

Value tail_of_negative(uint64_t n) {
    const int zeros = std::countr_zero(n);
    const uint64_t half = n >> zeros >> 1;
    return digit_leaf({2 + zeros, half ? Limbs{half} : Limbs{}});
}

bool is_even(const Limbs& number) { return number[0] % 2 == 0; }

Value tail_of_long_negative(const Limbs& number) {
    // Nearly always a few halvings reach an odd number.
    constexpr int64_t most_halvings = 32;
    Limbs half = number;
    int64_t zeros = 2;
    for (; is_even(half) && zeros < most_halvings; ++zeros) halve(half);
    if (is_even(half)) return value_of_words(shift_left(binary_of_decimal(number), 1));
    halve(half);
    return digit_leaf({zeros, std::move(half)});
}

Value tail_of_long(int64_t zeros, const Limbs& number) {
    if (zeros > 2 || number.empty()) return digit_leaf({zeros - 1, number});
    if (zeros == 1) return tail_of_long_negative(number);
    const bool even = is_even(number);
    Limbs half = number;
    halve(half);
    return digit_leaf({even, std::move(half)});
}

}  // namespace

bool bit_get(int64_t i, const String& bits) {
    return i / 8 < bits.length() && (bits.data()[i / 8] >> (i % 8) & 1) != 0;
}

void bit_set(int64_t i, bool bit, String& bits) {
    const int64_t old = bits.length();
    if (i / 8 >= old) {
        String longer = String::with_size(i / 8 + 1);
        char* bytes = longer.mutable_data();
        memcpy(bytes, bits.data(), static_cast<size_t>(old));
        memset(bytes + old, 0, static_cast<size_t>(longer.length() - old));
        bits = std::move(longer);
    }
    char* byte = mutable_at(bits, i / 8);
    const int mask = 1 << (i % 8);
    *byte = static_cast<char>(bit ? *byte | mask : *byte & ~mask);
}

int64_t list_length(const String& bits) {
    int64_t n = bits.length();
    while (n > 0 && bits.data()[n - 1] == 0) --n;
    MARL_REQUIRE(n > 0);
    return n * 8 - 1 - std::countl_zero(static_cast<uint8_t>(bits.data()[n - 1]));
}

Value value_of_bits(const String& bits) { return value_of_words(words_of_bits(bits)); }

bool is_list(Node* x) {
    while (!is_leaf(x)) {
        if (!is_cell(x)) return false;
        x = right(x);
    }
    return first_byte(x) == 'K' || is_digit_byte(first_byte(x));
}

std::optional<String> bits_of(Node* x) {
    const std::optional<Limbs> words = words_of_list(x);
    if (!words) return std::nullopt;
    return bits_of_words(*words);
}

std::optional<String> digits_of(Node* x) {
    if (is_leaf(x)) {
        if (!is_digit_byte(first_byte(x))) return std::nullopt;
        return text(x);
    }
    const std::optional<Limbs> words = words_of_list(x);
    if (!words) return std::nullopt;
    const DigitText text = digit_text(*words);
    String digits = String::with_size(length_of(text));
    write_text(digits.mutable_data(), text);
    return digits;
}

Value digit_head(Node* leaf) {
    const char* text = leaf_text(leaf);
    return truth(!(text[0] == '0' && text[1] == '0'));
}

Value digit_tail(Node* leaf) {
    int64_t n;
    if (short_hint(leaf, n)) {
        if (n == 0) return leaf_K();
        const auto magnitude = static_cast<uint64_t>(n < 0 ? -n : n);
        return n > 0 ? tail_of_positive(magnitude) : tail_of_negative(magnitude);
    }
    const int64_t size = length(leaf);
    const int64_t zeros = zeros_of_leaf(leaf);
    if (zeros == 2 && size == 2) return leaf_K();
    if (zeros == 2 && size <= 2 + short_digits) {
        return tail_of_positive(parse_short(leaf_text(leaf) + size, size - 2));
    }
    Limbs room;
    return tail_of_long(zeros, decimal_of_leaf(leaf, room));
}

Value value_of_words(const Limbs& words) {
    if (words.size() == 1 && words[0] == 1) return leaf_K();
    return digit_leaf(digit_text(words));
}

}  // namespace marl
