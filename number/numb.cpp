// The working form is a whole binary number and how many of its bits stand behind the binary point;
// a payload is taken apart and put together in one walk over its bits.
#include "number/numb.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "driver/report.h"
#include "number/convert.h"
#include "number/digits.h"
#include "number/limbs.h"

namespace marl {

namespace {

struct Number {
    bool negative = false;  // never for zero
    Limbs mantissa;         // binary; the value is mantissa / 2^fraction
    int64_t fraction = 0;

    bool is_zero() const { return mantissa.empty(); }
    /// The position of the most significant digit; the number is not zero.
    int64_t top() const { return bit_length(mantissa) - 1 - fraction; }
};

/// Takes away zeros behind the point.
void trim_fraction(Number& x) {
    if (x.is_zero()) {
        x = {};
        return;
    }
    const int64_t zeros = std::min(trailing_zeros(x.mantissa), x.fraction);
    x.mantissa = shift_right(x.mantissa, zeros);
    x.fraction -= zeros;
}

/// The number of a list, which has its element 0 still.
Number number_of_list(const Limbs& list) {
    Number x;
    x.negative = !get_bit(list, 1);
    const int64_t end = bit_length(list);
    // Bit 2p + 2 of the list is the digit of weight 2^p, bit 2p + 1 that of 2^-p.
    const int64_t whole = end / 2;
    x.fraction = std::max<int64_t>(0, (end - 2) / 2);
    x.mantissa.resize(static_cast<size_t>((whole + x.fraction) / 64 + 1));
    for (int64_t i = 2; i < end; ++i) {
        if (!get_bit(list, i)) continue;
        const int64_t position = i % 2 == 0 ? (i - 2) / 2 : -(i - 1) / 2;
        set_bit(x.mantissa, position + x.fraction);
    }
    mag_trim(x.mantissa);
    trim_fraction(x);
    return x;
}

/// Nothing for what is no list.
std::optional<Number> number_of(Node* x) {
    const auto bits = bits_of(x);
    if (!bits) return std::nullopt;
    return number_of_list(binary_of_bytes(bits->view()));
}

Value leaf_of_number(Number x) {
    trim_fraction(x);
    Limbs list;
    if (!x.negative) set_bit(list, 1);
    const int64_t length = bit_length(x.mantissa);
    for (int64_t i = length; i-- > 0;) {
        if (!get_bit(x.mantissa, i)) continue;
        const int64_t position = i - x.fraction;
        set_bit(list, position >= 0 ? 2 * position + 2 : -2 * position + 1);
    }
    return value_of_bits(bytes_of_binary(list));
}

/// Gives both numbers the same count of bits behind the point.
void align(Number& x, Number& y) {
    Number& shorter = x.fraction < y.fraction ? x : y;
    const int64_t fraction = std::max(x.fraction, y.fraction);
    shorter.mantissa = shift_left(shorter.mantissa, fraction - shorter.fraction);
    shorter.fraction = fraction;
}

int compare_magnitudes(Number x, Number y) {
    align(x, y);
    return mag_compare(x.mantissa, y.mantissa);
}

void note_signs(const Number& x, const Number& y) {
    char note[] = "jjaa??\n";
    note[4] = x.negative ? '0' : '1';
    note[5] = y.negative ? '0' : '1';
    bug_note(String(note));
}

Value add(Number x, Number y) {
    note_signs(x, y);
    align(x, y);
    if (x.negative == y.negative) {
        x.mantissa = mag_add<Binary>(x.mantissa, y.mantissa);
        return leaf_of_number(std::move(x));
    }
    if (mag_compare(x.mantissa, y.mantissa) < 0) std::swap(x, y);
    x.mantissa = mag_sub<Binary>(x.mantissa, y.mantissa);
    return leaf_of_number(std::move(x));
}

Number negated(Number x) {
    x.negative = !x.negative && !x.is_zero();
    return x;
}

/// x^n for the magnitude; the sign is the caller's.
Number power(const Number& x, uint64_t n) {
    // Past this no memory holds the result.
    constexpr int64_t most_bits = int64_t{1} << 46;
    int64_t fraction;
    if (x.is_zero()) return n == 0 ? Number{false, {1}, 0} : Number{};
    if (__builtin_mul_overflow(x.fraction, n, &fraction) || fraction > most_bits) out_of_memory();
    return {false, mag_pow<Binary>(x.mantissa, n), fraction};
}

/// 2^n for an exponent whose list is short enough; `Z` else.
Value power_of_two(Node* exponent, const String& list) {
    constexpr int64_t list_limit = 61;
    if (list_length(list) >= list_limit) return leaf_Z();
    const int64_t n = to_i64(exponent);
    // Past this no memory holds the result.
    constexpr int64_t most = int64_t{1} << 44;
    if (n >= most || n <= -most) out_of_memory();
    Limbs bits;
    set_bit(bits, 1);
    set_bit(bits, n >= 0 ? 2 * n + 2 : -2 * n + 1);
    return value_of_bits(bytes_of_binary(bits));
}

constexpr uint64_t out_of_range_nan = 0x7FF9000000000000;
constexpr int fraction_bits = 52;
constexpr int64_t exponent_bias = 1023;
constexpr int64_t least_exponent = -1074;

Value real_of_bits(uint64_t bits) { return from_double(std::bit_cast<double>(bits)); }

/// The digits of x from weight 2^lowest upward, what is below dropped, as a machine number.
uint64_t digits_from(const Number& x, int64_t lowest) {
    const int64_t shift = x.fraction + lowest;
    const Limbs shifted =
        shift >= 0 ? shift_right(x.mantissa, shift) : shift_left(x.mantissa, -shift);
    return shifted.empty() ? 0 : shifted[0];
}

}  // namespace

Value numb_add(Node* x, Node* y) {
    auto a = number_of(x);
    auto b = number_of(y);
    return a && b ? add(std::move(*a), std::move(*b)) : leaf_Z();
}

Value numb_sub(Node* x, Node* y) {
    auto a = number_of(x);
    auto b = number_of(y);
    return a && b ? add(std::move(*a), negated(std::move(*b))) : leaf_Z();
}

Value numb_mul(Node* x, Node* y) {
    const auto a = number_of(x);
    const auto b = number_of(y);
    if (!a || !b) return leaf_Z();
    Limbs mantissa = mag_mul<Binary>(a->mantissa, b->mantissa);
    return leaf_of_number(
        {a->negative != b->negative, std::move(mantissa), a->fraction + b->fraction});
}

Value numb_mod(Node* x, Node* y) {
    auto a = number_of(x);
    auto b = number_of(y);
    if (!a || !b || b->is_zero()) return leaf_Z();
    align(*a, *b);
    Limbs rest;
    mag_divide<Binary>(a->mantissa, b->mantissa, rest);
    if (a->negative != b->negative && !rest.empty()) rest = mag_sub<Binary>(b->mantissa, rest);
    return leaf_of_number({false, std::move(rest), a->fraction});
}

Value numb_pow(Node* x, Node* y) {
    const auto list = bits_of(y);
    const auto base = number_of(x);
    if (!list || !base) return leaf_Z();
    const bool is_two = !base->negative && base->fraction == 0 && base->mantissa == Limbs{2};
    if (is_two) return power_of_two(y, *list);
    const Limbs exponent = binary_of_bytes(list->view());
    const Limbs magnitude = shift_right(exponent, 2);
    if (!magnitude.empty() && !get_bit(exponent, 1)) return leaf_Z();
    // An exponent of more than one limb leaves a result that memory can hold for 0 and 1 only.
    uint64_t n = magnitude.empty() ? 0 : magnitude[0];
    if (magnitude.size() > 1) n = ~uint64_t{0};
    Number result = power(*base, n);
    result.negative = base->negative && get_bit(magnitude, 0);
    return leaf_of_number(std::move(result));
}

Value numb_neg(Node* x) {
    auto n = number_of(x);
    return n ? leaf_of_number(negated(std::move(*n))) : leaf_Z();
}

bool numb_sign(Node* x) {
    const auto bits = bits_of(x);
    return !bits || bit_get(1, *bits);
}

std::optional<int> numb_compare(Node* x, Node* y) {
    const auto a = number_of(x);
    const auto b = number_of(y);
    if (!a || !b) return std::nullopt;
    if (a->negative != b->negative) return a->negative ? -1 : 1;
    const int order = compare_magnitudes(*a, *b);
    return a->negative ? -order : order;
}

Value hint_to_numb(Node* x) {
    const auto bits = bits_of(x);
    if (!bits) return leaf_Z();
    const Limbs list = binary_of_bytes(bits->view());
    const Limbs magnitude = shift_right(list, 2);
    return leaf_of_number({!magnitude.empty() && !get_bit(list, 1), magnitude, 0});
}

Value numb_to_real(Node* x) {
    const auto n = number_of(x);
    if (!n) return leaf_Z();
    if (n->is_zero()) return from_double(0.0);
    const int64_t top = n->top();
    if (top > exponent_bias || top < least_exponent) return real_of_bits(out_of_range_nan);
    const uint64_t sign = static_cast<uint64_t>(n->negative) << 63;
    if (top <= -exponent_bias) return real_of_bits(sign | digits_from(*n, least_exponent));
    const uint64_t digits = digits_from(*n, top - fraction_bits);
    const uint64_t fraction = digits & ((uint64_t{1} << fraction_bits) - 1);
    const auto exponent = static_cast<uint64_t>(top + exponent_bias);
    return real_of_bits(sign | (exponent << fraction_bits) | fraction);
}

Value numb_of_real(Node* x) {
    const auto bits = std::bit_cast<uint64_t>(to_double(x));
    const uint64_t fraction = bits & ((uint64_t{1} << fraction_bits) - 1);
    const auto exponent = static_cast<int64_t>((bits >> fraction_bits) & 0x7FF);
    constexpr int64_t special = 0x7FF;
    if (exponent == special) return leaf_of_number({});
    const uint64_t mantissa = exponent ? fraction | (uint64_t{1} << fraction_bits) : fraction;
    if (mantissa == 0) return leaf_of_number({});
    // The weight of the mantissa's lowest bit.
    const int64_t weight = exponent ? exponent - exponent_bias - fraction_bits : least_exponent;
    Number n{(bits >> 63) != 0, {mantissa}, 0};
    if (weight >= 0) {
        n.mantissa = shift_left(n.mantissa, weight);
    } else {
        n.fraction = -weight;
    }
    return leaf_of_number(std::move(n));
}

}  // namespace marl
