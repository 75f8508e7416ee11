// What a built-in answers as a Word, in a program that does not ask which node a number is.
#pragma once

#include <cstdint>

#include "value/value.h"
#include "value/word.h"

namespace marl {

/// An integer, and one that is not negative.
Word word_of_i64(int64_t n);
Word word_of_u64(uint64_t n);
/// A new node, which is analysed.
Word word_of_new(Value made);
/// A new `K` or `H`, or the `I` of a built-in that has nothing to say, analysed.
Word word_of_truth(bool condition);
Word word_of_nothing();

}  // namespace marl
