// Bits in limbs of 64, the lowest first. A list in cells is gathered bit by bit up to a digit Leaf,
// whose own bits are then shifted into their place.
#include "number/words.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "number/decimal.h"
#include "number/digit_leaf.h"

namespace marl {

size_t bit_length(const Limbs& a) {
    return a.empty() ? 0 : a.size() * 64 - static_cast<size_t>(std::countl_zero(a.back()));
}

size_t trailing_zeros(const Limbs& a) {
    size_t i = 0;
    while (a[i] == 0) ++i;
    return i * 64 + static_cast<size_t>(std::countr_zero(a[i]));
}

bool test_bit(const Limbs& a, size_t i) { return i / 64 < a.size() && (a[i / 64] >> (i % 64) & 1); }

void set_bit(Limbs& a, size_t i) {
    if (i / 64 >= a.size()) a.resize(i / 64 + 1, 0);
    a[i / 64] |= uint64_t{1} << (i % 64);
}

Limbs shift_left(const Limbs& a, uint64_t n) {
    if (a.empty()) return {};
    if (n >> 50) out_of_memory();
    const size_t limbs = n / 64;
    const int bits = static_cast<int>(n % 64);
    Limbs shifted(a.size() + limbs + 1, 0);
    for (size_t i = 0; i < a.size(); ++i) {
        shifted[i + limbs] |= a[i] << bits;
        if (bits) shifted[i + limbs + 1] = a[i] >> (64 - bits);
    }
    mag_trim(shifted);
    return shifted;
}

Limbs shift_right(const Limbs& a, uint64_t n) {
    const size_t limbs = n / 64;
    const int bits = static_cast<int>(n % 64);
    if (limbs >= a.size()) return {};
    Limbs shifted(a.begin() + static_cast<ptrdiff_t>(limbs), a.end());
    if (bits) {
        for (size_t i = 0; i + 1 < shifted.size(); ++i) {
            shifted[i] = shifted[i] >> bits | shifted[i + 1] << (64 - bits);
        }
        shifted.back() >>= bits;
    }
    mag_trim(shifted);
    return shifted;
}

Limbs words_of_bytes(std::string_view bytes) {
    Limbs words((bytes.size() + 7) / 8, 0);
    if (!bytes.empty()) memcpy(words.data(), bytes.data(), bytes.size());
    mag_trim(words);
    return words;
}

namespace {

/// The list of zeros and then a number; "0" is one zero.
Limbs words_of_parts(size_t zeros, const Limbs& decimal) {
    if (zeros == 1 && decimal.empty()) return {3};
    const Limbs number = binary_of_decimal(decimal);
    if (zeros < 2) {
        Limbs words = shift_left(number, 2);
        words[0] |= zeros ? 1 : 3;
        return words;
    }
    Limbs words = shift_left(number, zeros);
    set_bit(words, zeros - 1);
    return words;
}

Limbs words_of_leaf(Node* leaf) {
    Limbs room;
    return words_of_parts(static_cast<size_t>(zeros_of_leaf(leaf)), decimal_of_leaf(leaf, room));
}

}  // namespace

bool is_cell(Node* pair) {
    Node* cell = left(pair);
    if (is_leaf(cell) || first_byte(left(cell)) != 'J') return false;
    const uint8_t bit = first_byte(right(cell));
    return bit == 'H' || bit == 'K';
}

std::optional<Limbs> words_of_list(Node* x) {
    Limbs words;
    size_t n = 0;
    for (; !is_leaf(x); x = right(x), ++n) {
        if (!is_cell(x)) return std::nullopt;
        if (n % 64 == 0) words.push_back(0);
        if (first_byte(right(left(x))) == 'K') words.back() |= uint64_t{1} << (n % 64);
    }
    const uint8_t kind = first_byte(x);
    if (kind == 'K') {
        set_bit(words, n);
    } else if (is_digit_byte(kind)) {
        const Limbs rest = shift_left(words_of_leaf(x), n);
        words.resize(rest.size(), 0);
        for (size_t i = 0; i < rest.size(); ++i) words[i] |= rest[i];
    } else {
        return std::nullopt;
    }
    return words;
}

}  // namespace marl
