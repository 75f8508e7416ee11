// lits and lots: a program chooses the form of a list of bits.
//
// `lits` packs a Value into a digit Leaf, `lots` unpacks it into J cells.
#include <algorithm>
#include <cstring>
#include <vector>

#include "library/families.h"
#include "number/convert.h"
#include "number/digits.h"
#include "number/kind.h"
#include "number/limbs.h"
#include "number/numb.h"
#include "number/post.h"
#include "number/zits.h"

namespace marl {

namespace {

/// The first 8 bytes as a number, the lowest first.
Value pack_bytes(std::string_view bytes) {
    int64_t n = 0;
    if (!bytes.empty()) memcpy(&n, bytes.data(), std::min(bytes.size(), sizeof n));
    return from_i64(n);
}

Value pack_list(Node* x) {
    const auto bits = bits_of(x);
    return bits ? value_of_bits(*bits) : leaf_Z();
}

Value lits(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'r': return numb_of_real(x);
        case 'u': return pack_bytes(zits_text(x).view());
        case 'a': return pack_bytes(post_payload(x));
        case 'i':
        case 'o': return pack_list(x);
        default: return leaf_Z();
    }
}

/// The first n bits as cells in front of `rest`. Each element is a Leaf of its own.
Value unpack(const String& bits, int64_t n, Value rest) {
    const Value cell = leaf("J");
    for (int64_t i = n; i-- > 0;) rest = apply(cell, truth(bit_get(i, bits)), std::move(rest));
    return rest;
}

/// The cells that the list has stay; a digit Leaf behind them is unpacked.
Value unpack_number(Node* x) {
    if (!is_list(x)) return leaf_Z();
    std::vector<Node*> cells;
    Node* end = x;
    for (; !is_leaf(end); end = right(end)) cells.push_back(end);
    if (is_leaf_of(end, 'K')) return Value::share(x);
    const String bits = bits_of_digits(leaf_bytes(end));
    Value list = unpack(bits, list_length(bits), leaf_K());
    for (size_t i = cells.size(); i-- > 0;) {
        list = pair(Value::share(left(cells[i])), std::move(list));
    }
    return list;
}

Value unpack_real(Node* x) { return unpack(String(leaf_bytes(x).substr(1)), 64, leaf_K()); }

/// As many elements 0 as there are NULs at the end, a 1, and the bits of what is before them.
Value unpack_post(Node* x) {
    const std::string_view payload = post_payload(x);
    const size_t last = payload.find_last_not_of('\0');
    const std::string_view bytes = payload.substr(0, last == payload.npos ? 0 : last + 1);
    const auto nuls = static_cast<int64_t>(payload.size() - bytes.size());
    Limbs whole = shift_left(binary_of_bytes(bytes), nuls + 1);
    set_bit(whole, nuls);
    const String bits = bytes_of_binary(whole);
    return unpack(bits, list_length(bits), leaf_K());
}

Value lots(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'i':
        case 'o': return unpack_number(x);
        case 'r': return unpack_real(x);
        case 'a': return unpack_post(x);
        case 'u': return zits_expand(x);
        default: return is_leaf_of(x, 'K') ? Value::share(x) : leaf_Z();
    }
}

constexpr Row rows[] = {
    {"lits", 1, lits},
    {"lots", 1, lots},
};

}  // namespace

std::span<const Row> packing_rows() { return rows; }

}  // namespace marl
