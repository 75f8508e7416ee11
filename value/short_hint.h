// hints of up to 18 digits: between digit Leaves and machine integers.
//
// This is the path of nearly every number that a program computes with, so it is inline, works on
// eight digits at a time and allocates nothing but the resulting Leaf.
#pragma once

#include <bit>
#include <cstdint>

#include "text/swar.h"
#include "value/allocate.h"
#include "value/value.h"

namespace marl {

constexpr int short_digits = 18;
constexpr uint64_t ten_to_8 = 100'000'000;
constexpr uint64_t ten_to_16 = ten_to_8 * ten_to_8;

/// The word whose last bytes are the n digits, 1 to 8 of them, that end at `end`, and 0 in front.
/// It reads 8 bytes, so the caller knows that there are as many: in a Leaf the header makes up for
/// a short text.
inline uint64_t last_digits(const char* end, int64_t n) {
    return load_word(end - 8) & (~uint64_t{0} << (64 - 8 * n));
}

/// The number that the last 1 to 19 digits before `end`, in the text of a Leaf, say.
inline uint64_t parse_short(const char* end, int64_t n) {
    if (n <= 8) return parse_eight(last_digits(end, n));
    const uint64_t low = parse_eight(load_word(end - 8));
    if (n <= 16) return parse_eight(last_digits(end - 8, n - 8)) * ten_to_8 + low;
    const uint64_t middle = parse_eight(load_word(end - 16));
    return parse_eight(last_digits(end - 16, n - 16)) * ten_to_16 + middle * ten_to_8 + low;
}

/// Whether the node is a digit Leaf of a hint of at most 18 digits; n is its value then.
inline bool short_hint(const Node* node, int64_t& n) {
    if (!is_leaf(node)) return false;
    const char* text = leaf_text(node);
    const int64_t length = span_of(node);
    if (length == 0 || !is_digit_byte(static_cast<uint8_t>(*text))) return false;
    if (length == 1) {
        n = *text - '0';
        return true;
    }
    const bool negative = *text == '0';
    if (length > short_digits + negative || (negative && text[1] == '0')) return false;
    const auto magnitude = static_cast<int64_t>(parse_short(text + length, length));
    n = negative ? -magnitude : magnitude;
    return true;
}

/// A digit Leaf of `length` bytes that fill the given number of words with their NUL, the text not
/// set. It is born analysed: a number waits for one argument, and nothing in it is pending.
inline Node* new_short_leaf(int64_t length, size_t text_words) {
    auto* node = static_cast<Node*>(allocate_node(sizeof(Node) + text_words * word_size));
    node->header = leaf_bit | (uint64_t{rank_zero_code + 1} << top_shift) | 1;
    if (length < span_limit) node->header |= static_cast<uint64_t>(length) << span_shift;
    return node;
}

/// The zeros at the front of two words of digit values, not all of them 0.
inline int leading_zeros(uint64_t first, uint64_t second) {
    return (first ? std::countr_zero(first) : 64 + std::countr_zero(second)) / 8;
}

/// The hint Leaf of a magnitude and a sign; -0 is not allowed.
inline Value short_leaf(bool negative, uint64_t magnitude) {
    // The minus sign is a zero, so that a negative number is one with a leading zero kept. Each
    // word path takes what leaves at least one byte of 0 at the end of its words, for the NUL.
    const int sign = negative;
    if (magnitude < ten_to_8) {
        const uint64_t digits = eight_digits(magnitude);
        // The last digit stays even if it is 0.
        const int dropped = std::countr_zero(digits | uint64_t{1} << 56) / 8 - sign;
        if (dropped > 0) {
            Node* made = new_short_leaf(8 - dropped, 1);
            store_word(leaf_text(made), (digits + ascii_zeros) >> (8 * dropped));
            return Value::adopt(made);
        }
    }
    if (magnitude < ten_to_16) {
        const uint64_t high = eight_digits(magnitude / ten_to_8);
        const uint64_t low = eight_digits(magnitude % ten_to_8);
        const int dropped = leading_zeros(high, low) - sign;
        if (dropped > 0) {
            const Wide digits = (Wide{low + ascii_zeros} << 64) | (high + ascii_zeros);
            const Wide text = digits >> (8 * dropped);
            Node* made = new_short_leaf(16 - dropped, 2);
            store_word(leaf_text(made), static_cast<uint64_t>(text));
            store_word(leaf_text(made) + 8, static_cast<uint64_t>(text >> 64));
            return Value::adopt(made);
        }
    }
    const uint64_t rest = magnitude % ten_to_16;
    const uint64_t high = eight_digits(magnitude / ten_to_16);
    const uint64_t middle = eight_digits(rest / ten_to_8);
    char text[40] = {};
    store_word(text, high + ascii_zeros);
    store_word(text + 8, middle + ascii_zeros);
    store_word(text + 16, eight_digits(rest % ten_to_8) + ascii_zeros);
    const int dropped = leading_zeros(high, middle) - sign;
    Node* made = new_short_leaf(24 - dropped, 3);
    memcpy(leaf_text(made), text + dropped, 24);
    return Value::adopt(made);
}

inline Value short_leaf(int64_t n) {
    const auto bits = static_cast<uint64_t>(n);
    return short_leaf(n < 0, n < 0 ? uint64_t{0} - bits : bits);
}

/// The quotient of integers rounded toward minus infinity. y is not 0, and neither is the least
/// one.
template <class Int>
Int integer_div(Int x, Int y) {
    const Int quotient = x / y;
    return quotient * y != x && (x < 0) != (y < 0) ? quotient - 1 : quotient;
}

/// |x| mod |y| for the same signs, else what is missing from |x| to a multiple of |y|.
template <class Int>
Int integer_mod(Int x, Int y) {
    const Int divisor = y < 0 ? -y : y;
    const Int rest = (x < 0 ? -x : x) % divisor;
    return rest != 0 && (x < 0) != (y < 0) ? divisor - rest : rest;
}

}  // namespace marl
