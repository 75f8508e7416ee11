// The tree of a real is built and read by halves, six levels deep; the C library does all the rest.
#include "number/real.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "number/convert.h"
#include "number/digits.h"
#include "text/bit_cast.h"
#include "value/short_hint.h"

namespace marl {

namespace {

constexpr int real_bits = 64;

Value unfold_bits(uint64_t bits, int n, const Value& cell) {
    if (n == 1) return truth((bits & 1) != 0);
    Value low = unfold_bits(bits, n / 2, cell);
    return apply(cell, std::move(low), unfold_bits(bits >> (n / 2), n / 2, cell));
}

/// Reads the n bits of a tree into `bits`, bit 0 first; false when x has another shape.
bool read_bits(Node* x, int n, int low, uint64_t& bits) {
    if (n == 1) {
        if (is_leaf_of(x, 'K')) bits |= uint64_t{1} << low;
        return is_leaf_of(x, 'K') || is_leaf_of(x, 'H');
    }
    if (is_leaf(x)) return false;
    Node* cell = left(x);
    if (is_leaf(cell) || first_byte(left(cell)) != 'V') return false;
    return read_bits(right(cell), n / 2, low, bits) &&
           read_bits(right(x), n / 2, low + n / 2, bits);
}

}  // namespace

String real_text(Node* real) {
    MARL_REQUIRE(is_real(real));
    char text[99];
    snprintf(text, sizeof text, "%e", to_double(real));
    return text;
}

Value hint_to_real(Node* hint) {
    int64_t n;
    // The conversion of an integer rounds to nearest, as that of its decimal text does.
    if (short_hint(hint, n)) return from_double(static_cast<double>(n));
    const std::optional<String> digits = digits_of(hint);
    if (!digits) return leaf_Z();
    const char* text = digits->data();
    const bool negative = text[0] == '0' && text[1] != 0;
    const double magnitude = strtod(text, nullptr);
    return from_double(negative ? -magnitude : magnitude);
}

Value real_unfold(Node* real) {
    MARL_REQUIRE(is_real(real));
    return unfold_bits(bit_cast<uint64_t>(to_double(real)), real_bits, leaf("V"));
}

bool real_is_tree(Node* x) {
    uint64_t bits = 0;
    return read_bits(x, real_bits, 0, bits);
}

double real_fold(Node* tree) {
    uint64_t bits = 0;
    MARL_REQUIRE(read_bits(tree, real_bits, 0, bits));
    return bit_cast<double>(bits);
}

}  // namespace marl
