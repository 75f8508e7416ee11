// Digit Leaves and the numbers that stand in them.
//
// A digit text is zeros, which tell the sign and the kind, and then a number that begins with no
// zero, if any (number/digits.h). Long numbers stay in limbs, value/long_number.h.
#pragma once

#include <cstdint>

#include "number/magnitude.h"
#include "value/value.h"

namespace marl {

struct DigitText {
    int64_t zeros;
    Limbs decimal;
};

/// The Leaf of a digit text, which isn't empty.
Value digit_leaf(DigitText text);

/// The number that the text of a digit Leaf says, and the zeros at its front; "0" has one.
int64_t zeros_of_leaf(Node* leaf);
/// The limbs live as long as the Leaf and `room`, where those of a short one are put.
const Limbs& decimal_of_leaf(Node* leaf, Limbs& room);

/// The text as a String, and as bytes at `to`, of which there are `length_of`.
int64_t length_of(const DigitText& text);
void write_text(char* to, const DigitText& text);

}  // namespace marl
