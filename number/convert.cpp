// Only the low 64 bits of a number are ever worked out, modulo 2^64 from the digits or from the
// cells as far as they matter, so a conversion doesn't depend on how long a number is.
#include "number/convert.h"

#include <cstring>
#include <optional>

#include "number/digit_leaf.h"
#include "number/digits.h"
#include "number/kind.h"
#include "number/words.h"
#include "reduce/tables.h"
#include "value/real_word.h"
#include "value/short_hint.h"

namespace marl {

namespace {

/// A list of bits as far as the conversions look at it.
struct LowBits {
    bool is_hint;
    bool negative;
    uint64_t magnitude;  // the low 64 bits
};

/// Whether x is a list of bits, in cells, that begins with that one.
bool begins_with(Node* x, char bit) {
    return is_cell(x) && first_byte(right(left(x))) == bit && is_list(x);
}

LowBits low_bits(Node* x) {
    int64_t n;
    if (short_hint(x, n)) return {true, n < 0, static_cast<uint64_t>(n < 0 ? -n : n)};
    if (is_leaf(x) && kind_of(x) == 'i') {
        // No need to convert all of a long one.
        Limbs room;
        const Limbs& decimal = decimal_of_leaf(x, room);
        uint64_t number = 0;
        for (size_t i = decimal.size(); i-- > 0;) number = number * Decimal::base + decimal[i];
        return {true, leaf_text(x)[0] == '0', number};
    }
    const std::optional<Limbs> list = words_of_list(x);
    // The empty list and the list 1 are zero, which has no bits of a magnitude.
    if (!list || bit_length(*list) < 3) return {true, false, 0};
    const Limbs magnitude = shift_right(*list, 2);
    return {test_bit(*list, 0), !test_bit(*list, 1), magnitude[0]};
}

}  // namespace

bool is_integer(Node* x) {
    if (!is_leaf(x)) return begins_with(x, 'K');
    const char* text = leaf_text(x);
    return *text == 'K' || (is_digit_byte(first_byte(x)) && !(text[0] == '0' && text[1] == '0'));
}

bool is_natural(Node* x) {
    if (!is_leaf(x)) return begins_with(x, 'H');
    const char* text = leaf_text(x);
    if (*text == 'K') return true;
    return is_digit_byte(first_byte(x)) && (text[0] != '0' || text[1] == 0);
}

bool is_memory(Node* x) {
    const char kind = kind_of(x);
    return kind == 'a' || kind == 'u' || (kind == 'i' && is_list(x));
}

bool is_real(Node* x) { return first_byte(x) == ' '; }

int64_t to_i64(Node* x) {
    const LowBits bits = low_bits(x);
    if (!bits.is_hint) return 0;
    return static_cast<int64_t>(bits.negative ? uint64_t{0} - bits.magnitude : bits.magnitude);
}

uint64_t to_u64(Node* x) { return low_bits(x).magnitude; }

double to_double(Node* x) {
    double number = 0;
    if (is_real(x)) memcpy(&number, leaf_text(x) + 1, sizeof number);
    return number;
}

Value from_i64(int64_t n) { return short_leaf(n); }
Value from_u64(uint64_t n) { return short_leaf(false, n); }

Value from_double(double x) { return Value::adopt(real_leaf(x)); }

Value leaf_K() {
    static Symbol& symbol = symbol_of("K");
    return letter_leaf('K', &symbol);
}

Value leaf_H() {
    static Symbol& symbol = symbol_of("H");
    return letter_leaf('H', &symbol);
}

Value leaf_I() {
    static Symbol& symbol = symbol_of("I");
    return letter_leaf('I', &symbol);
}

Value leaf_Z() {
    static Symbol& symbol = symbol_of("Z");
    return letter_leaf('Z', &symbol);
}

}  // namespace marl
