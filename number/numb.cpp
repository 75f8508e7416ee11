// Arithmetic is done on a mantissa and a number of places behind the point. Packing and unpacking
// between that and the list, whose digits stand alternately left and right of the point, takes
// every second bit by shifts in whole words.
#include "number/numb.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "driver/report.h"
#include "number/convert.h"
#include "number/decimal.h"
#include "number/words.h"
#include "text/bit_cast.h"
#include "value/short_hint.h"

namespace marl {

namespace {

/// The working form, mantissa * 2^-places: a binary number with its point so many digits from the
/// right. Zeros at the right end of the mantissa don't matter.
struct Number {
    bool negative = false;
    Limbs mantissa;
    uint64_t places = 0;

    bool is_zero() const { return mantissa.empty(); }
};

// The digits of a payload stand alternately left and right of the point, so the two sides are
// unzipped and the right one, whose first digit is the one next to the point, is turned round.

/// The even bits of a word, moved together into the low half; and the way back.
uint64_t even_bits(uint64_t word) {
    word &= 0x5555555555555555;
    word = (word | word >> 1) & 0x3333333333333333;
    word = (word | word >> 2) & 0x0F0F0F0F0F0F0F0F;
    word = (word | word >> 4) & 0x00FF00FF00FF00FF;
    word = (word | word >> 8) & 0x0000FFFF0000FFFF;
    return (word | word >> 16) & 0x00000000FFFFFFFF;
}
uint64_t spread_bits(uint64_t half) {
    half = (half | half << 16) & 0x0000FFFF0000FFFF;
    half = (half | half << 8) & 0x00FF00FF00FF00FF;
    half = (half | half << 4) & 0x0F0F0F0F0F0F0F0F;
    half = (half | half << 2) & 0x3333333333333333;
    return (half | half << 1) & 0x5555555555555555;
}

uint64_t reversed(uint64_t word) {
    word = __builtin_bswap64(word);
    word = (word >> 4 & 0x0F0F0F0F0F0F0F0F) | (word & 0x0F0F0F0F0F0F0F0F) << 4;
    word = (word >> 2 & 0x3333333333333333) | (word & 0x3333333333333333) << 2;
    return (word >> 1 & 0x5555555555555555) | (word & 0x5555555555555555) << 1;
}

/// Every second bit, from bit 0 on.
Limbs even_bits(const Limbs& words) {
    Limbs bits((words.size() + 1) / 2, 0);
    for (size_t i = 0; i < words.size(); ++i) bits[i / 2] |= even_bits(words[i]) << (i % 2 * 32);
    mag_trim(bits);
    return bits;
}

/// Puts the bits of a to the places of every second bit, from `first`, 0 or 1, on.
void add_spread(Limbs& words, const Limbs& a, int first) {
    if (words.size() < 2 * a.size()) words.resize(2 * a.size(), 0);
    for (size_t i = 0; i < a.size(); ++i) {
        words[2 * i] |= spread_bits(a[i] & 0xFFFFFFFF) << first;
        words[2 * i + 1] |= spread_bits(a[i] >> 32) << first;
    }
}

/// The number whose bit i is bit n - 1 - i of a, which has no more than n bits.
Limbs reversed_bits(Limbs a, uint64_t n) {
    a.resize((n + 63) / 64, 0);
    std::reverse(a.begin(), a.end());
    for (uint64_t& word : a) word = reversed(word);
    return shift_right(a, a.size() * 64 - n);
}

Limbs low_bits(const Limbs& a, uint64_t n) {
    Limbs low = a;
    if (low.size() > n / 64) {
        low.resize(n / 64 + 1);
        low.back() &= (uint64_t{1} << (n % 64)) - 1;
    }
    mag_trim(low);
    return low;
}

/// The number of a list whose element 0 is 0.
Number number_of_words(const Limbs& list) {
    const Limbs payload = shift_right(list, 1);
    Number number;
    number.negative = !test_bit(payload, 0);
    const Limbs whole = even_bits(shift_right(payload, 1));
    // Bit q has the weight 2^-q. Turned round with q = 0, the sign, it goes to the top.
    const Limbs fraction = even_bits(payload);
    const size_t size = bit_length(fraction);
    number.places = size > 0 ? size - 1 : 0;
    number.mantissa = low_bits(reversed_bits(fraction, size), number.places);
    if (!whole.empty()) {
        number.mantissa = mag_add<Binary>(shift_left(whole, number.places), number.mantissa);
    }
    return number;
}

std::optional<Number> number_of(Node* x) {
    const std::optional<Limbs> list = words_of_list(x);
    if (!list) return std::nullopt;
    return number_of_words(*list);
}

Value value_of(const Number& number) {
    if (number.is_zero()) return leaf("00");
    Limbs payload{uint64_t{!number.negative}};
    add_spread(payload, shift_right(number.mantissa, number.places), 1);
    const Limbs fraction = low_bits(number.mantissa, number.places);
    // One digit more, so that the sign's place stays free.
    if (!fraction.empty()) add_spread(payload, reversed_bits(fraction, number.places + 1), 0);
    mag_trim(payload);
    return value_of_words(shift_left(payload, 1));
}

/// Brings two numbers to the same number of places.
void align(Number& a, Number& b) {
    if (a.places < b.places) return align(b, a);
    b.mantissa = shift_left(b.mantissa, a.places - b.places);
    b.places = a.places;
}

Number sum_of(Number a, Number b) {
    align(a, b);
    if (a.negative == b.negative) {
        a.mantissa = mag_add<Binary>(a.mantissa, b.mantissa);
        return a;
    }
    if (mag_compare(a.mantissa, b.mantissa) < 0) std::swap(a, b);
    a.mantissa = mag_sub<Binary>(a.mantissa, b.mantissa);
    return a;
}

Value sum_or_difference(Node* x, Node* y, bool subtract) {
    const std::optional<Number> a = number_of(x);
    std::optional<Number> b = number_of(y);
    if (!a || !b) return leaf_Z();
    if (subtract && !b->is_zero()) b->negative = !b->negative;
    const char signs[] = {a->negative ? '0' : '1', b->negative ? '0' : '1'};
    bug_note(concat("jjaa", concat({signs, 2}, "\n").view()));
    return value_of(sum_of(*a, *b));
}

/// The number with no zeros at the right end of its mantissa, but where that would take the places
/// below none; what is left of them goes out as a power of 2.
uint64_t strip_zeros(Number& number) {
    const uint64_t zeros = trailing_zeros(number.mantissa);
    number.mantissa = shift_right(number.mantissa, zeros);
    const uint64_t places = std::min(zeros, number.places);
    number.places -= places;
    return zeros - places;
}

/// 2^n.
Value power_of_two(int64_t n) {
    Number power{false, {1}, 0};
    if (n < 0) {
        power.places = static_cast<uint64_t>(-n);
        if (power.places >> 50) out_of_memory();
    } else {
        power.mantissa = shift_left(power.mantissa, static_cast<uint64_t>(n));
    }
    return value_of(power);
}

/// A number other than 0 to the power of n, n not 0.
Value power_of(Number base, uint64_t n) {
    const uint64_t twos = strip_zeros(base);
    Number power{base.negative && n % 2 != 0, mag_pow<Binary>(base.mantissa, n), 0};
    uint64_t shift;
    if (__builtin_mul_overflow(base.places, n, &power.places) || power.places >> 50 ||
        __builtin_mul_overflow(twos, n, &shift)) {
        out_of_memory();
    }
    power.mantissa = shift_left(power.mantissa, shift);
    return value_of(power);
}

/// The n bits of a from bit `from` on, n below 64; bits below bit 0, where `from` is negative, are
/// 0.
uint64_t bits_from(const Limbs& a, int64_t from, int n) {
    const Limbs moved = from < 0 ? shift_left(a, static_cast<uint64_t>(-from))
                                 : shift_right(a, static_cast<uint64_t>(from));
    return moved.empty() ? 0 : moved[0] & ((uint64_t{1} << n) - 1);
}

// A double: the sign in bit 63, the exponent plus a bias in 11 bits, the fraction in 52.
constexpr int fraction_bits = 52;
constexpr uint64_t fraction_mask = (uint64_t{1} << fraction_bits) - 1;
constexpr int64_t exponent_bias = 1023;
constexpr int64_t exponent_mask = 0x7FF;
constexpr int64_t exponent_least = -1022;
constexpr int64_t position_least = exponent_least - fraction_bits;
constexpr uint64_t out_of_range = 0x7FF9000000000000;

uint64_t double_bits(const Number& number) {
    if (number.is_zero()) return 0;
    const auto places = static_cast<int64_t>(number.places);
    const int64_t top = static_cast<int64_t>(bit_length(number.mantissa)) - 1 - places;
    if (top > exponent_bias || top < position_least) return out_of_range;
    const int64_t lowest = std::max(top - fraction_bits, position_least);
    uint64_t bits = bits_from(number.mantissa, lowest + places, fraction_bits);
    if (top >= exponent_least) bits |= static_cast<uint64_t>(top + exponent_bias) << fraction_bits;
    return bits | uint64_t{number.negative} << 63;
}

}  // namespace

Value numb_add(Node* x, Node* y) { return sum_or_difference(x, y, false); }
Value numb_sub(Node* x, Node* y) { return sum_or_difference(x, y, true); }

Value numb_mul(Node* x, Node* y) {
    const std::optional<Number> a = number_of(x);
    const std::optional<Number> b = number_of(y);
    if (!a || !b) return leaf_Z();
    return value_of({a->negative != b->negative, mag_mul<Binary>(a->mantissa, b->mantissa),
                     a->places + b->places});
}

Value numb_mod(Node* x, Node* y) {
    std::optional<Number> a = number_of(x);
    std::optional<Number> b = number_of(y);
    if (!a || !b || b->is_zero()) return leaf_Z();
    align(*a, *b);
    Limbs rest = mag_rest<Binary>(a->mantissa, b->mantissa);
    if (a->negative != b->negative && !rest.empty()) rest = mag_sub<Binary>(b->mantissa, rest);
    return value_of({false, std::move(rest), a->places});
}

Value numb_pow(Node* x, Node* y) {
    const std::optional<Limbs> base = words_of_list(x);
    const std::optional<Limbs> exponent = words_of_list(y);
    if (!base || !exponent) return leaf_Z();
    const Limbs list_of_two{0b10010};
    // A list that ends at bit 61 or above is one of 61 elements.
    constexpr size_t most_bits = 61;
    if (*base == list_of_two) {
        return bit_length(*exponent) <= most_bits ? power_of_two(to_i64(y)) : leaf_Z();
    }
    const Limbs magnitude = shift_right(*exponent, 2);
    if (magnitude.empty()) return leaf("001");
    if (!test_bit(*exponent, 1)) return leaf_Z();
    Number number = number_of_words(*base);
    if (number.is_zero()) return leaf("00");
    if (magnitude.size() == 1) return power_of(std::move(number), magnitude[0]);
    // Only 1 and -1 have such powers in any memory.
    if (number.places > 0 || number.mantissa != Limbs{1}) out_of_memory();
    number.negative = number.negative && magnitude[0] % 2 != 0;
    return value_of(number);
}

Value numb_neg(Node* x) {
    std::optional<Number> number = number_of(x);
    if (!number) return leaf_Z();
    number->negative = !number->negative;
    return value_of(*number);
}

bool numb_sign(Node* x) {
    if (is_leaf(x)) return leaf_text(x)[2] != '0';
    const std::optional<Limbs> list = words_of_list(x);
    return !list || test_bit(*list, 1);
}

std::optional<int> numb_compare(Node* x, Node* y) {
    std::optional<Number> a = number_of(x);
    std::optional<Number> b = number_of(y);
    if (!a || !b) return std::nullopt;
    if (a->negative != b->negative) return a->negative ? -1 : 1;
    align(*a, *b);
    const int order = mag_compare(a->mantissa, b->mantissa);
    return a->negative ? -order : order;
}

Value hint_to_numb(Node* x) {
    const std::optional<Limbs> list = words_of_list(x);
    if (!list) return leaf_Z();
    return value_of({!test_bit(*list, 1), shift_right(*list, 2), 0});
}

Value numb_to_real(Node* x) {
    const std::optional<Number> number = number_of(x);
    if (!number) return leaf_Z();
    return from_double(bit_cast<double>(double_bits(*number)));
}

Value numb_of_real(Node* x) {
    const auto bits = bit_cast<uint64_t>(to_double(x));
    const uint64_t fraction = bits & fraction_mask;
    const auto exponent = static_cast<int64_t>(bits >> fraction_bits) & exponent_mask;
    if (exponent == exponent_mask) return leaf("00");
    Number number{bits >> 63 != 0, {}, 0};
    const bool normal = exponent != 0;
    number.mantissa.push_back(normal ? fraction | (fraction_mask + 1) : fraction);
    mag_trim(number.mantissa);
    const int64_t lowest = (normal ? exponent - exponent_bias : exponent_least) - fraction_bits;
    if (lowest < 0) {
        number.places = static_cast<uint64_t>(-lowest);
    } else {
        number.mantissa = shift_left(number.mantissa, static_cast<uint64_t>(lowest));
    }
    return value_of(number);
}

}  // namespace marl
