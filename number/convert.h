// Between Values and machine numbers.
//
// A conversion is defined on what the test beside it passes; none of them stops. The Leaf K, the
// empty list of bits, is the integer 0.
#pragma once

#include <cstdint>

#include "value/value.h"

namespace marl {

/// A hint in either form, or the Leaf K. A hint as its kind goes is none when it is no list of
/// bits.
bool is_integer(Node* x);
/// K, "0", a positive digit Leaf, or a list of bits beginning H.
bool is_natural(Node* x);
/// A post, hint or zits.
bool is_memory(Node* x);
/// A real.
bool is_real(Node* x);

/// The low 64 bits of the magnitude, negated in two's complement when x is negative. 0 for what is
/// no number.
int64_t to_i64(Node* x);
/// The low 64 bits of the magnitude.
uint64_t to_u64(Node* x);
/// The double of a real Leaf.
double to_double(Node* x);

/// A hint Leaf of the number.
Value from_i64(int64_t n);
Value from_u64(uint64_t n);
/// A real Leaf.
Value from_double(double x);

/// New Leaves of the combinators that built-ins answer with.
Value leaf_K();
Value leaf_H();
Value leaf_I();
Value leaf_Z();
inline Value truth(bool condition) { return condition ? leaf_K() : leaf_H(); }

}  // namespace marl
