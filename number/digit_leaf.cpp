// Three forms by length. A number of up to 18 digits is written as text at once; one of some more
// is text as well; a long one keeps its limbs, with room left for the text, which is written when
// somebody asks for it.
#include "number/digit_leaf.h"

#include <cstring>
#include <utility>

#include "number/decimal.h"
#include "reduce/needs.h"
#include "value/allocate.h"
#include "value/long_number.h"
#include "value/short_hint.h"

namespace marl {

namespace {

/// A digit Leaf of n bytes, from `long_length` to before `span_limit`, whose text is due: the
/// caller sees to the bytes that stand from the start.
Value long_number_leaf(int64_t n, Limbs limbs) {
    const size_t size = sizeof(Node) + static_cast<size_t>(n) + 1;
    char* block = static_cast<char*>(allocate_long_node(leaf_limbs_size + size));
    auto* node = reinterpret_cast<Node*>(block + leaf_limbs_size);
    new (&leaf_limbs(node)) LeafLimbs(std::move(limbs));
    node->header = leaf_bit | static_cast<uint64_t>(n) << span_shift | 1;
    leaf_text(node)[n] = 0;
    set_text_due(node, n);
    return Value::adopt(node);
}

}  // namespace

Value digit_leaf(DigitText text) {
    const Limbs& decimal = text.decimal;
    if (text.zeros <= 1 && decimal.size() <= 1) {
        return short_leaf(text.zeros == 1 && !decimal.empty(), decimal.empty() ? 0 : decimal[0]);
    }
    const int64_t digits = decimal_length(decimal);
    const int64_t n = text.zeros + digits;
    // Where memory can be read, the bytes stand from the start.
    const bool is_read = keeps_identity;
    if (n < long_length || n >= span_limit || decimal.size() < 2 || is_read) {
        Value made = leaf_with_size('0', n);
        write_text(leaf_text(made), text);
        return made;
    }
    Value made = long_number_leaf(n, std::move(text.decimal));
    char* bytes = leaf_text(made);
    if (text.zeros > 0) memset(bytes, '0', static_cast<size_t>(text.zeros));
    write_first_digits(bytes + text.zeros, leaf_limbs(made), digits);
    return made;
}

int64_t zeros_of_leaf(Node* leaf) {
    // A length that is not known stops the search at the NUL.
    const char* text = leaf_text(leaf);
    int64_t zeros = 0;
    while (text[zeros] == '0') ++zeros;
    return zeros;
}

const Limbs& decimal_of_leaf(Node* leaf, Limbs& room) {
    const int64_t n = length(leaf);
    Limbs& limbs = n < long_length ? room : leaf_limbs(leaf);
    if (limbs.empty()) limbs = decimal_of_text(leaf_bytes(leaf));
    return limbs;
}

int64_t length_of(const DigitText& text) { return text.zeros + decimal_length(text.decimal); }

void write_text(char* to, const DigitText& text) {
    memset(to, '0', static_cast<size_t>(text.zeros));
    write_decimal(to + text.zeros, text.decimal);
}

void write_due_text(Node* long_leaf) {
    write_decimal(leaf_text(long_leaf) + zeros_of_leaf(long_leaf), leaf_limbs(long_leaf));
}

}  // namespace marl
