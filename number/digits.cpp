// Packing goes through the number that a list is, in words of 64 bits; the text of that number,
// with its zeros in front, is the packed form. Taking the tail of a digit Leaf never unpacks it:
// half of a decimal number is written from the text directly.
#include "number/digits.h"

#include <bit>
#include <cstring>
#include <string>

#include "number/convert.h"
#include "number/decimal.h"
#include "number/words.h"
#include "value/short_hint.h"

namespace marl {

namespace {

/// A digit text in parts: zeros, and then a number that begins with no zero, if any.
struct DigitText {
    int64_t zeros;
    Limbs decimal;
};

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

int64_t length_of(const DigitText& text) { return text.zeros + decimal_length(text.decimal); }

void write_text(char* to, const DigitText& text) {
    memset(to, '0', static_cast<size_t>(text.zeros));
    write_decimal(to + text.zeros, text.decimal);
}

/// The Leaf of so many zeros and then a number, if it is not 0.
Value zeros_and_number(int64_t zeros, uint64_t number) {
    if (zeros == 0 || (zeros == 1 && number > 0)) return short_leaf(zeros == 1, number);
    const DigitText text{zeros, number ? Limbs{number} : Limbs{}};
    Value made = leaf_with_size('0', length_of(text));
    write_text(leaf_text(made), text);
    return made;
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
    return zeros_and_number(2 + zeros, n >> zeros >> 1);
}

/// Writes half of a number of more than one digit, rounded down and without a leading zero: as many
/// digits as the number has, or one less, as the result tells. In place is fine.
size_t write_half(char* to, std::string_view number) {
    const size_t shorter = number[0] == '1';
    // Each digit takes 5 over from an odd one to the left of it.
    int from_left = 0;
    for (size_t i = 0; i < number.size(); ++i) {
        const int digit = number[i] - '0';
        if (i >= shorter) to[i - shorter] = static_cast<char>('0' + digit / 2 + from_left);
        from_left = digit % 2 * 5;
    }
    return shorter;
}

/// A digit Leaf of `zeros` zeros and half of a number of more than one digit, rounded down.
Value half_leaf(int64_t zeros, std::string_view number) {
    const auto n = static_cast<int64_t>(number.size()) - (number[0] == '1');
    Value made = leaf_with_size('0', zeros + n);
    memset(leaf_text(made), '0', static_cast<size_t>(zeros));
    write_half(leaf_text(made) + zeros, number);
    return made;
}

bool is_even(std::string_view number) { return number.back() % 2 == 0; }

Value tail_of_long_negative(std::string_view number) {
    // Nearly always a few halvings of the text reach an odd number.
    constexpr int64_t most_halvings = 32;
    std::string half(number);
    int64_t zeros = 2;
    for (; is_even(half) && zeros < most_halvings; ++zeros) {
        half.resize(half.size() - write_half(half.data(), half));
    }
    if (!is_even(half)) return half_leaf(zeros, half);
    return value_of_words(shift_left(binary_of_decimal(decimal_of_text(number)), 1));
}

Value tail_of_long(std::string_view digits) {
    if (digits[0] != '0') return half_leaf(is_even(digits), digits);
    if (digits[1] != '0') return tail_of_long_negative(digits.substr(1));
    if (digits[2] == '0') return leaf(digits.substr(1));
    return half_leaf(is_even(digits), digits.substr(2));
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

String digits_of_bits(const String& bits) {
    const DigitText text = digit_text(words_of_bits(bits));
    String digits = String::with_size(length_of(text));
    write_text(digits.mutable_data(), text);
    return digits;
}

String bits_of_digits(std::string_view digits) { return bits_of_words(words_of_digits(digits)); }

Value value_of_bits(const String& bits) { return value_of_words(words_of_bits(bits)); }

bool is_list(Node* x) {
    while (!is_leaf(x)) {
        if (!is_cell(x)) return false;
        x = right(x);
    }
    return first_byte(x) == 'K' || is_digit_byte(first_byte(x));
}

std::optional<String> bits_of(Node* x) {
    const std::optional<Limbs> words = words_of(x);
    if (!words) return std::nullopt;
    return bits_of_words(*words);
}

std::optional<String> digits_of(Node* x) {
    if (is_leaf(x)) {
        if (!is_digit_byte(first_byte(x))) return std::nullopt;
        return text(x);
    }
    const std::optional<Limbs> words = words_of(x);
    if (!words) return std::nullopt;
    const DigitText text = digit_text(*words);
    String digits = String::with_size(length_of(text));
    write_text(digits.mutable_data(), text);
    return digits;
}

Value digit_head(Node* digit_leaf) {
    const char* text = leaf_text(digit_leaf);
    return truth(!(text[0] == '0' && text[1] == '0'));
}

Value digit_tail(Node* digit_leaf) {
    int64_t n;
    if (short_hint(digit_leaf, n)) {
        if (n == 0) return leaf_K();
        const auto magnitude = static_cast<uint64_t>(n < 0 ? -n : n);
        return n > 0 ? tail_of_positive(magnitude) : tail_of_negative(magnitude);
    }
    const std::string_view digits = leaf_bytes(digit_leaf);
    if (digits == "00") return leaf_K();
    if (digits[0] == '0' && digits[1] == '0' && digits[2] != '0' &&
        digits.size() <= 2 + short_digits) {
        return tail_of_positive(
            parse_short(digits.data() + digits.size(), static_cast<int64_t>(digits.size()) - 2));
    }
    return tail_of_long(digits);
}

Value value_of_words(const Limbs& words) {
    if (words.size() == 1 && words[0] == 1) return leaf_K();
    const DigitText text = digit_text(words);
    Value made = leaf_with_size('0', length_of(text));
    write_text(leaf_text(made), text);
    return made;
}

}  // namespace marl
