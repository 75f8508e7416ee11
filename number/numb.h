// numb: exact binary numbers with a fractional part.
//
// A numb is a list of bits (number/digits.h) whose element 0 is 0: a digit Leaf that begins "00",
// or J cells with H first. The payload is the list without that element, its end being the number's
// last digit in this order:
//
//   bit 0        the sign: 1 for not negative, 0 for negative
//   bit 2p + 1   the binary digit of weight 2^p, p >= 0
//   bit 2p       the binary digit of weight 2^-p, p >= 1
//
// Zero is the payload 0x01. There is no negative zero.
//
// All operations take both forms, borrow their arguments and give a new digit Leaf. A list that is
// ill-formed, J H t with a t that is no list, gives `Z`. Nothing is rounded but by numb_to_real.
#pragma once

#include <optional>

#include "value/value.h"

namespace marl {

/// Both leave a note of the operands' signs in the record of impossible cases.
Value numb_add(Node* x, Node* y);
Value numb_sub(Node* x, Node* y);
Value numb_mul(Node* x, Node* y);
/// |x| mod |y| when the signs are the same, else what is missing from |x| to a multiple of |y|:
/// never negative. `Z` when y is zero.
Value numb_mod(Node* x, Node* y);
/// A numb x to the power of a hint y. 2 to any power whose list has fewer than 61 elements,
/// negative ones too; `Z` for other x when y is negative.
Value numb_pow(Node* x, Node* y);
Value numb_neg(Node* x);

/// Whether x is not negative; true as well for what is no list (`is_list` tells).
bool numb_sign(Node* x);
/// Below 0 for x < y, 0 for equal, above 0 for x > y; nothing when either is ill-formed.
std::optional<int> numb_compare(Node* x, Node* y);

/// The same number as a numb.
Value hint_to_numb(Node* x);
/// The double next to x toward zero; a NaN when |x| is 2^1024 or more, or not zero and below
/// 2^-1074.
Value numb_to_real(Node* x);
/// The exact value of a real; zero for an infinity or a NaN.
Value numb_of_real(Node* x);

}  // namespace marl
