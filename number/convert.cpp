#include "number/convert.h"

#include <algorithm>
#include <cstring>

#include "number/digits.h"
#include "number/kind.h"
#include "number/short_hint.h"
#include "reduce/tables.h"

namespace marl {

namespace {

/// Whether x is a first cell J b t whose element b begins with that byte.
bool is_cell_of(Node* x, char bit) {
    if (is_leaf(x)) return false;
    Node* cell = left(x);
    return !is_leaf(cell) && is_leaf_of(left(cell), 'J') && is_leaf_of(right(cell), bit);
}

/// The low 64 bits of a number that decimal digits say.
uint64_t low_bits_of_digits(std::string_view digits) {
    uint64_t low = 0;
    for (const char digit : digits) low = low * 10 + static_cast<uint64_t>(digit - '0');
    return low;
}

/// Bits 2 to 65 of a list: the low bits of a magnitude.
uint64_t low_bits_of_list(Node* x) {
    const auto bits = bits_of(x);
    if (!bits) return 0;
    unsigned char bytes[9] = {};
    memcpy(bytes, bits->data(), static_cast<size_t>(std::min<int64_t>(bits->length(), 9)));
    uint64_t low;
    memcpy(&low, bytes, sizeof low);
    return (low >> 2) | (static_cast<uint64_t>(bytes[8]) << 62);
}

bool is_hint_text(std::string_view text) {
    return is_digit_byte(static_cast<uint8_t>(text[0])) && !text.starts_with("00");
}

bool is_negative(Node* x) {
    if (is_leaf(x)) return is_leaf_of(x, '0') && leaf_text(x)[1] != 0;
    if (!is_cell_of(x, 'K')) return false;
    Node* rest = right(x);
    if (is_leaf(rest)) return is_leaf_of(rest, '0') && leaf_text(rest)[1] == '0';
    return is_cell_of(rest, 'H');
}

/// A new Leaf of a one-byte name, which needs no search for its symbol.
Value new_name(Symbol& symbol) {
    Value made = leaf_with_size(symbol.name.data()[0], 1);
    symbol_slot(made) = &symbol;
    return made;
}

}  // namespace

bool is_integer(Node* x) {
    if (!is_leaf(x)) return is_cell_of(x, 'K');
    const uint8_t first = first_byte(x);
    if (first == 'K' || (first >= '1' && first <= '9')) return true;
    return first == '0' && leaf_text(x)[1] != '0';
}

bool is_natural(Node* x) {
    if (!is_leaf(x)) return is_cell_of(x, 'H');
    const uint8_t first = first_byte(x);
    if (first == 'K' || (first >= '1' && first <= '9')) return true;
    return first == '0' && leaf_text(x)[1] == 0;
}

bool is_memory(Node* x) {
    const char kind = kind_of(x);
    return kind == 'a' || kind == 'i' || kind == 'u';
}

bool is_real(Node* x) { return is_leaf_of(x, ' '); }

uint64_t to_u64(Node* x) {
    if (is_leaf(x)) {
        if (int64_t n; short_hint(x, n)) return static_cast<uint64_t>(n < 0 ? -n : n);
        const std::string_view text = leaf_bytes(x);
        if (text.empty() || !is_digit_byte(static_cast<uint8_t>(text[0]))) return 0;
        if (is_hint_text(text)) return low_bits_of_digits(text);
    }
    return low_bits_of_list(x);
}

int64_t to_i64(Node* x) {
    if (int64_t n; short_hint(x, n)) return n;
    const uint64_t magnitude = to_u64(x);
    return static_cast<int64_t>(is_negative(x) ? uint64_t{0} - magnitude : magnitude);
}

double to_double(Node* x) {
    double number = 0;
    if (is_real(x)) memcpy(&number, leaf_text(x) + 1, sizeof number);
    return number;
}

Value from_i64(int64_t n) { return short_leaf(n); }

Value from_u64(uint64_t n) { return short_leaf(false, n); }

Value from_double(double x) {
    Value made = leaf_with_size(' ', 1 + int64_t{sizeof x});
    memcpy(leaf_text(made) + 1, &x, sizeof x);
    return made;
}

Value leaf_K() {
    static Symbol& symbol = symbol_of("K");
    return new_name(symbol);
}

Value leaf_H() {
    static Symbol& symbol = symbol_of("H");
    return new_name(symbol);
}

Value leaf_I() {
    static Symbol& symbol = symbol_of("I");
    return new_name(symbol);
}

Value leaf_Z() {
    static Symbol& symbol = symbol_of("Z");
    return new_name(symbol);
}

}  // namespace marl
