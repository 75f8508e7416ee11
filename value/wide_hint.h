// hints of up to 38 digits, and some of 39: between digit Leaves and integers of 128 bits.
//
// What is no short integer any more, a product of two of them above all, stays one number as long
// as the processor has instructions for it. Only what is longer goes into limbs.
#pragma once

#include "value/short_hint.h"

namespace marl {

__extension__ typedef __int128 WideInt;

/// The most digits of a number below 2^127, which begins with 1701411.
constexpr int wide_digits = 39;
constexpr uint64_t wide_beginning = 1'701'411;

/// The number that the last 1 to 40 digits before `end` say, in the text of a Leaf.
inline Wide parse_wide(const char* end, int64_t n) {
    if (n <= 16) return parse_short(end, n);
    const uint64_t low = parse_short(end, 16);
    if (n <= 32) return Wide{parse_short(end - 16, n - 16)} * ten_to_16 + low;
    const uint64_t middle = parse_short(end - 16, 16);
    return (Wide{parse_short(end - 32, n - 32)} * ten_to_16 + middle) * ten_to_16 + low;
}

/// Whether the node is a digit Leaf of a hint that is so short; n is its value then.
inline bool wide_hint(const Node* node, WideInt& n) {
    if (!is_leaf(node)) return false;
    const char* text = leaf_text(node);
    const int64_t length = span_of(node);
    if (length == 0 || !is_digit_byte(static_cast<uint8_t>(*text))) return false;
    const bool negative = length > 1 && *text == '0';
    if (length > wide_digits + negative || (negative && text[1] == '0')) return false;
    const char* end = text + length;
    const bool is_full = length == wide_digits + negative;
    if (is_full && parse_short(end - 32, wide_digits - 32) >= wide_beginning) return false;
    const auto magnitude = static_cast<WideInt>(parse_wide(end, length));
    n = negative ? -magnitude : magnitude;
    return true;
}

/// The hint Leaf of an integer.
Value wide_leaf(WideInt n);

}  // namespace marl
