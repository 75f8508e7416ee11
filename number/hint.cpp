// Every operation has two ways. Operands that fit a machine word are added up or multiplied there,
// and only a result that doesn't fit goes on; everything else is done on the sign and the magnitude
// in limbs. A list in cells is brought to one of these first.
#include "number/hint.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "number/convert.h"
#include "number/decimal.h"
#include "number/digits.h"
#include "value/short_hint.h"

namespace marl {

namespace {

/// An operand taken apart. The digits are those of a Leaf, borrowed, or the ones kept here.
struct Operand {
    std::string_view digits;  // of the magnitude, without leading zeros but in "0"
    bool negative = false;
    bool is_list = true;
    String kept;

    bool is_zero() const { return digits == "0"; }
};

Operand operand(Node* x) {
    Operand made;
    if (is_leaf_of(x, 'K')) {
        made.digits = "0";
        return made;
    }
    if (is_leaf(x)) {
        made.digits = leaf_bytes(x);
    } else {
        std::optional<String> digits = digits_of(x);
        made.is_list = digits.has_value();
        if (!digits) return made;
        made.kept = std::move(*digits);
        made.digits = made.kept.view();
    }
    made.negative = made.digits[0] == '0' && made.digits.size() > 1;
    if (made.negative) made.digits.remove_prefix(1);
    return made;
}

bool both_short(Node* x, Node* y, int64_t& a, int64_t& b) {
    return short_hint(x, a) && short_hint(y, b);
}

/// Below 0, 0 or above 0 as a < b, a = b, a > b.
int compare_digits(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

Value hint_of(bool negative, const Limbs& decimal) {
    if (decimal.empty()) return leaf("0");
    Value made = leaf_with_size('0', negative + decimal_length(decimal));
    *leaf_text(made) = '0';
    write_decimal(leaf_text(made) + negative, decimal);
    return made;
}

// Sums run on the text itself, eight digits a step from the right. As words of digit values, most
// significant digit in the top byte, a sum or difference carries from byte to byte by itself when
// every byte of the sum is raised by 246: a digit of 10 and more then goes over 255. Where it did
// not, and where a difference went below 0, the byte's high half is not 0 and its low half is 6 too
// large.

/// The digit values of the eight digits in front of `end`, or of all of them when they are fewer.
uint64_t digits_before(std::string_view text, size_t end) {
    if (end >= 8) return __builtin_bswap64(load_word(text.data() + end - 8)) & low_nibbles;
    uint64_t word = 0;
    for (size_t i = 0; i < end; ++i) word = word << 8 | (static_cast<uint8_t>(text[i]) & 0x0F);
    return word;
}

/// Puts the digits of a sum or difference in front of `end`, as many as there is room for.
void store_digits(char* text, size_t end, uint64_t raised) {
    constexpr uint64_t bit_of_high_half = 0x0101010101010101;
    uint64_t digits = (raised & low_nibbles) - ((raised >> 4) & bit_of_high_half) * 6 + ascii_zeros;
    if (end >= 8) return store_word(text + end - 8, __builtin_bswap64(digits));
    for (; end > 0; digits >>= 8) text[--end] = static_cast<char>(digits);
}

/// Writes a + b, as many digits as a has, which is no shorter than b. Tells whether a 1 is carried.
bool write_sum(char* to, std::string_view a, std::string_view b) {
    constexpr uint64_t raise = 0xF6F6F6F6F6F6F6F6;
    bool carry = false;
    size_t end_a = a.size();
    size_t end_b = b.size();
    while (end_a > 0) {
        uint64_t sum = digits_before(a, end_a) + raise;
        const bool over = __builtin_add_overflow(sum, digits_before(b, end_b), &sum);
        carry = __builtin_add_overflow(sum, uint64_t{carry}, &sum) || over;
        store_digits(to, end_a, sum);
        // The byte above the last digits is as it was raised, unless they carry into it.
        if (end_a < 8) return (sum >> (8 * end_a) & 0xFF) != (raise & 0xFF);
        end_a -= 8;
        end_b -= std::min<size_t>(end_b, 8);
    }
    return carry;
}

/// Writes a - b, as many digits as a has, where a >= b and a is no shorter.
void write_difference(char* to, std::string_view a, std::string_view b) {
    bool borrow = false;
    size_t end_a = a.size();
    size_t end_b = b.size();
    while (end_a > 0) {
        uint64_t difference = digits_before(a, end_a);
        const bool below = __builtin_sub_overflow(difference, digits_before(b, end_b), &difference);
        borrow = __builtin_sub_overflow(difference, uint64_t{borrow}, &difference) || below;
        store_digits(to, end_a, difference);
        end_a -= std::min<size_t>(end_a, 8);
        end_b -= std::min<size_t>(end_b, 8);
    }
}

Value sum_of(bool negative, std::string_view a, std::string_view b) {
    if (a.size() < b.size()) std::swap(a, b);
    const auto n = static_cast<int64_t>(a.size());
    Value made = leaf_with_size('0', negative + n);
    char* digits = leaf_text(made) + negative;
    *leaf_text(made) = '0';
    if (!write_sum(digits, a, b)) return made;
    Value longer = leaf_with_size('0', negative + n + 1);
    *leaf_text(longer) = '0';
    leaf_text(longer)[negative] = '1';
    memcpy(leaf_text(longer) + negative + 1, digits, a.size());
    return longer;
}

/// a - b with the sign that a has.
Value difference_of(bool negative, std::string_view a, std::string_view b) {
    const int order = compare_digits(a, b);
    if (order == 0) return leaf("0");
    if (order < 0) {
        negative = !negative;
        std::swap(a, b);
    }
    Value made = leaf_with_size('0', negative + static_cast<int64_t>(a.size()));
    char* digits = leaf_text(made) + negative;
    *leaf_text(made) = '0';
    write_difference(digits, a, b);
    const size_t zeros = std::string_view(digits, a.size()).find_first_not_of('0');
    if (zeros == 0) return made;
    // A shorter Leaf is a new one: what a node was allocated with follows from its length.
    return leaf({digits + zeros - negative, a.size() - zeros + negative});
}

Value sum_or_difference(Node* x, Node* y, bool subtract) {
    const Operand a = operand(x);
    const Operand b = operand(y);
    if (!a.is_list || !b.is_list) return leaf_Z();
    if (a.negative == (b.negative != subtract)) return sum_of(a.negative, a.digits, b.digits);
    return difference_of(a.negative, a.digits, b.digits);
}

/// The quotient of the magnitudes, rounded down, and the remainder.
Limbs divide_digits(const Operand& a, const Operand& b, Limbs& remainder) {
    if (a.digits.size() < b.digits.size()) {
        remainder = decimal_of_text(a.digits);
        return {};
    }
    return mag_divide<Decimal>(decimal_of_text(a.digits), decimal_of_text(b.digits), remainder);
}

/// Whether a magnitude times itself n times, n not 0, is known without doing it.
bool is_own_power(std::string_view digits) { return digits == "0" || digits == "1"; }

Value short_product(int64_t a, int64_t b) {
    int64_t product;
    if (!__builtin_mul_overflow(a, b, &product)) return short_leaf(product);
    uint64_t high;
    const uint64_t low = Decimal::split(Wide(a < 0 ? -a : a) * Wide(b < 0 ? -b : b), high);
    return hint_of((a < 0) != (b < 0), {low, high});
}

}  // namespace

Value hint_add(Node* x, Node* y) {
    int64_t a, b;
    if (both_short(x, y, a, b)) return short_leaf(a + b);
    return sum_or_difference(x, y, false);
}

Value hint_sub(Node* x, Node* y) {
    int64_t a, b;
    if (both_short(x, y, a, b)) return short_leaf(a - b);
    return sum_or_difference(x, y, true);
}

Value hint_mul(Node* x, Node* y) {
    int64_t short_a, short_b;
    if (both_short(x, y, short_a, short_b)) return short_product(short_a, short_b);
    const Operand a = operand(x);
    const Operand b = operand(y);
    if (!a.is_list || !b.is_list) return leaf_Z();
    const Limbs left = decimal_of_text(a.digits);
    if (x == y) return hint_of(false, mag_mul<Decimal>(left, left));
    return hint_of(a.negative != b.negative, mag_mul<Decimal>(left, decimal_of_text(b.digits)));
}

Value hint_div(Node* x, Node* y) {
    int64_t short_a, short_b;
    if (both_short(x, y, short_a, short_b)) {
        return short_b == 0 ? leaf_Z() : short_leaf(short_div(short_a, short_b));
    }
    const Operand a = operand(x);
    const Operand b = operand(y);
    if (!a.is_list || !b.is_list || b.is_zero()) return leaf_Z();
    Limbs remainder;
    Limbs quotient = divide_digits(a, b, remainder);
    const bool negative = a.negative != b.negative;
    if (negative && !remainder.empty()) quotient = mag_add<Decimal>(quotient, {1});
    return hint_of(negative, quotient);
}

Value hint_mod(Node* x, Node* y) {
    int64_t short_a, short_b;
    if (both_short(x, y, short_a, short_b)) {
        return short_b == 0 ? leaf_Z() : short_leaf(short_mod(short_a, short_b));
    }
    const Operand a = operand(x);
    const Operand b = operand(y);
    if (!a.is_list || !b.is_list || b.is_zero()) return leaf_Z();
    Limbs remainder;
    divide_digits(a, b, remainder);
    if (a.negative != b.negative && !remainder.empty()) {
        remainder = mag_sub<Decimal>(decimal_of_text(b.digits), remainder);
    }
    return hint_of(false, remainder);
}

Value hint_pow(Node* x, Node* y) {
    const Operand base = operand(x);
    const Operand exponent = operand(y);
    if (!base.is_list || !exponent.is_list) return leaf_Z();
    if (exponent.negative) return leaf("0");
    if (exponent.is_zero()) return leaf("1");
    const bool odd = exponent.digits.back() % 2 != 0;
    const Limbs magnitude = decimal_of_text(base.digits);
    if (is_own_power(base.digits)) return hint_of(base.negative && odd, magnitude);
    const Limbs n = decimal_of_text(exponent.digits);
    if (n.size() > 1) out_of_memory();
    return hint_of(base.negative && odd, mag_pow<Decimal>(magnitude, n[0]));
}

Value hint_neg(Node* x) {
    int64_t n;
    if (short_hint(x, n)) return short_leaf(-n);
    if (is_leaf_of(x, 'K')) return Value::share(x);
    const Operand a = operand(x);
    if (!a.is_list) return leaf_Z();
    if (a.negative || a.is_zero()) return leaf(a.digits);
    return leaf(concat("0", a.digits));
}

bool hint_sign(Node* x) {
    const Operand a = operand(x);
    return !a.negative;
}

std::optional<int> hint_compare(Node* x, Node* y) {
    int64_t short_a, short_b;
    if (both_short(x, y, short_a, short_b)) return (short_a > short_b) - (short_a < short_b);
    const Operand a = operand(x);
    const Operand b = operand(y);
    if (!a.is_list || !b.is_list) return std::nullopt;
    if (a.negative != b.negative) return a.negative ? -1 : 1;
    return a.negative ? compare_digits(b.digits, a.digits) : compare_digits(a.digits, b.digits);
}

}  // namespace marl
