// Reals as Words, and their Leaves.
//
// A Word has two bits for its tag, so a real's has 62 for the double. They hold those of zero and
// of every positive and negative number from 2^-256 up to 2^256: the sign moves to the lowest bit,
// and the exponent, from which the least one is taken, leaves the two highest bits free. What is
// smaller or larger, -0, infinite or no number is a Leaf; so a NaN keeps being one and the same
// node.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "text/bit_cast.h"
#include "value/identity.h"
#include "value/value.h"
#include "value/word.h"

namespace marl {

// The bits of 2^-256, the sign at the end. They stand for zero: 2^-256 itself is a Leaf.
constexpr uint64_t least_real = uint64_t{1023 - 256} << 53;

/// The double of a Word that is a real.
inline double real_of(Word word) {
    const uint64_t bits = word >> 2;
    return bit_cast<double>(bits == 0 ? bits : std::rotr(bits + least_real, 1));
}

/// The Word of a real; 0 for one that has none.
inline Word real_word(double x) {
    const auto bits = bit_cast<uint64_t>(x);
    const uint64_t above = std::rotl(bits, 1) - least_real;
    if (above - 1 < (uint64_t{1} << 62) - 1) return above << 2 | real_tag;
    return bits == 0 ? real_tag : 0;
}

inline bool is_real_leaf(const Node* node) { return is_leaf_of(node, ' '); }
inline double real_in_leaf(const Node* leaf) {
    double x;
    memcpy(&x, leaf_text(leaf) + 1, sizeof x);
    return x;
}

/// A new Leaf of a real, analysed: it waits for one argument, and nothing in it is pending.
inline Node* real_leaf(double x) {
    Node* leaf = leaf_with_size(' ', 1 + int64_t{sizeof x}).take();
    memcpy(leaf_text(leaf) + 1, &x, sizeof x);
    leaf->header |= uint64_t{rank_zero_code + 1} << top_shift;
    return leaf;
}

/// The real as a Word, or in a new Leaf.
inline Word word_of_real(double x) {
    const Word word = keeps_identity ? 0 : real_word(x);
    return word != 0 ? word : word_of(real_leaf(x));
}

/// The Word of a Leaf that is a number or a real and has one; false for every other node.
bool as_plain_word(const Node* node, Word& word);

}  // namespace marl
