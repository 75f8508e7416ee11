// Data in function position: every kind shows its structure as combinator terms.
#include "number/convert.h"
#include "number/cray.h"
#include "number/digits.h"
#include "number/kind.h"
#include "number/post.h"
#include "number/real.h"
#include "number/zits.h"
#include "reduce/data_head.h"

namespace marl {

namespace {

Value pair_cell(Value a, Value b) { return apply(leaf("V"), std::move(a), std::move(b)); }

/// The empty cray applied to a size is how a program allocates an array.
Value allocate_cray(Node* size) {
    if (!is_natural(size)) return leaf_Z();
    const uint64_t n = to_u64(size);
    return n < cray_limit ? cray_with_size(static_cast<int64_t>(n)) : leaf_Z();
}

/// Whether the slot is taken; the element itself is what `look` gives.
Value test_slot(Node* cray, Node* index) {
    if (!is_integer(index)) return leaf_Z();
    const int64_t n = cray_length(cray);
    int64_t i = to_i64(index);
    if (i < 0) i += n;
    if (i < 0 || i >= n) return leaf_Z();
    return truth(cray_word(cray, i) != 0);
}

Value unfold_cray(Node* cray, Node* argument) {
    if (is_leaf_of(argument, 'Z')) return cray_to_list(cray);
    return cray_length(cray) > 0 ? test_slot(cray, argument) : allocate_cray(argument);
}

/// Acts as V (X J) w, w the tree of the text; the selector G looks at one level only.
Value unfold_zits(Value zits, Value argument) {
    const bool empty = zits_is_empty(zits);
    if (!empty && is_leaf_of(argument, 'G')) {
        Value last = zits_right(zits);
        return pair_cell(zits_left(std::move(zits)), std::move(last));
    }
    Value tree = empty ? leaf_K() : zits_tree(zits);
    return apply(std::move(argument), pair(leaf("X"), leaf("J")), std::move(tree));
}

/// The perfect tree of 2^depth bits, the lowest one at the left.
Value bit_tree(unsigned bits, int depth, const Value& cell) {
    if (depth == 0) return (bits & 1) != 0 ? leaf_I() : leaf_H();
    Value low = bit_tree(bits, depth - 1, cell);
    return apply(cell, std::move(low), bit_tree(bits >> (1 << (depth - 1)), depth - 1, cell));
}

Value unfold_post(Node* post) {
    constexpr int byte_depth = 3;
    const std::string_view bytes = post_payload(post);
    if (bytes.empty()) return leaf_Z();
    if (bytes.size() == 1) return bit_tree(static_cast<uint8_t>(bytes[0]), byte_depth, leaf("V"));
    PostHalves halves = post_halves(post);
    return pair_cell(std::move(halves.low), std::move(halves.high));
}

}  // namespace

Value unfold_data(Value head, Value argument) {
    switch (kind_of(head)) {
        case 'c': return unfold_cray(head, argument);
        case 'i':
        case 'o': return pair_cell(digit_head(head), digit_tail(head));
        case 'u': return unfold_zits(std::move(head), std::move(argument));
        case 'a': return unfold_post(head);
        default: return pair(real_unfold(head), std::move(argument));
    }
}

}  // namespace marl
