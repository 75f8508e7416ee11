// `lits` and `lots`: the two forms of a list of bits, a digit Leaf and J cells, at a program's
// choice.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "number/convert.h"
#include "number/kind.h"
#include "number/numb.h"
#include "number/post.h"
#include "number/words.h"
#include "number/zits.h"
#include "reduce/tables.h"
#include "text/bit_cast.h"

namespace marl {

namespace {

/// The first 8 bytes as a little-endian number, zeros behind a shorter text.
Value integer_of_bytes(std::string_view bytes) {
    int64_t number = 0;
    memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    return from_i64(number);
}

Value lits(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'a': return integer_of_bytes(post_payload(x));
        case 'u': return integer_of_bytes(zits_text(x).view());
        case 'r': return numb_of_real(x);
        case 'i':
        case 'o': {
            if (is_leaf(x)) return leaf(leaf_bytes(x));
            const std::optional<Limbs> list = words_of_list(x);
            return list ? value_of_words(*list) : leaf_Z();
        }
        default: return leaf_Z();
    }
}

/// The first n bits in cells in front of a tail. Each element is a Leaf of its own.
Value cells_of(const Limbs& bits, size_t n, Value tail) {
    const Value cell = leaf("J");
    while (n-- > 0) tail = apply(cell, truth(test_bit(bits, n)), std::move(tail));
    return tail;
}

Value cells_of_list(const Limbs& list) { return cells_of(list, bit_length(list) - 1, leaf_K()); }

/// A list with what is not yet in cells unfolded; the cells that it has keep their elements' Pairs.
Value unfolded(Node* x) {
    std::vector<Node*> cells;
    Node* tail = x;
    for (; !is_leaf(tail); tail = right(tail)) {
        if (!is_cell(tail)) return leaf_Z();
        cells.push_back(left(tail));
    }
    if (first_byte(tail) == 'K') return Value::share(x);
    if (!is_digit_byte(first_byte(tail))) return leaf_Z();
    Value list = cells_of_list(*words_of_list(tail));
    while (!cells.empty()) {
        list = pair(Value::share(cells.back()), std::move(list));
        cells.pop_back();
    }
    return list;
}

/// As many elements 0 as there are NULs at the end, an element 1, and the bits of what is before
/// them, its top bit being the end of the list.
Value cells_of_bytes(std::string_view bytes) {
    const size_t last = bytes.find_last_not_of('\0');
    const size_t used = last == std::string_view::npos ? 0 : last + 1;
    const size_t zeros = bytes.size() - used;
    Limbs list = shift_left(words_of_bytes(bytes.substr(0, used)), zeros + 1);
    set_bit(list, zeros);
    return cells_of_list(list);
}

Value lots(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'a': return cells_of_bytes(post_payload(x));
        case 'u': return zits_expand(x);
        case 'r': return cells_of({bit_cast<uint64_t>(to_double(x))}, 64, leaf_K());
        case 'i':
        case 'o': return unfolded(x);
        default: return is_leaf_of(x, 'K') ? leaf_K() : leaf_Z();
    }
}

constexpr Builtin rows[] = {
    {"lits", 1, lits},
    {"lots", 1, lots},
};

}  // namespace

std::span<const Builtin> packing_rows() { return rows; }

}  // namespace marl
