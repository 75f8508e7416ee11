// hint: integers of any size.
//
// A hint is a digit Leaf whose text doesn't begin "00", or the same list in J cells
// (number/digits.h). A "0" in front of other digits is the minus sign: "0123" is -123. Every value
// has exactly one text, so equal texts are equal numbers.
//
// All operations take both forms, borrow their arguments and give a new digit Leaf. A list that is
// ill-formed, J K t with a t that is no list, gives `Z`. The Leaf K counts as zero.
#pragma once

#include <cstdint>
#include <optional>

#include "value/value.h"

namespace marl {

Value hint_add(Node* x, Node* y);
Value hint_sub(Node* x, Node* y);
/// x + y, or x - y where x is greater, of two long Leaves that are not negative and have their
/// limbs; null, and nothing is done, for any others.
Value hint_add_long(Node* x, Node* y);
Value hint_sub_long(Node* x, Node* y);
Value hint_mul(Node* x, Node* y);
/// The quotient rounded toward minus infinity; `Z` when y is zero.
Value hint_div(Node* x, Node* y);
/// |x| mod |y| when the signs are the same, else what is missing from |x| to a multiple of |y|:
/// never negative. `Z` when y is zero.
Value hint_mod(Node* x, Node* y);
/// x to the power y: 0 for a negative y, 1 for y zero.
Value hint_pow(Node* x, Node* y);
/// The same for short numbers.
Value hint_pow(int64_t x, int64_t y);
Value hint_neg(Node* x);

/// Whether x is not negative; true as well for what is no list (`is_list` tells).
bool hint_sign(Node* x);
/// Below 0 for x < y, 0 for equal, above 0 for x > y; nothing when either is ill-formed.
std::optional<int> hint_compare(Node* x, Node* y);

}  // namespace marl
