// Products of long sequences of small numbers, by number-theoretic transforms.
//
// Arithmetic is modulo the prime p = 2^64 - 2^32 + 1, in which 2^96 = -1 makes reduction cheap and
// roots of unity exist for every transform length 2^k and 3 * 2^k that memory could hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace marl {

constexpr uint64_t convolution_prime = 0xFFFFFFFF00000001;

/// The length of the transform for a product of n elements: the least 2^k or 3 * 2^k that holds it.
size_t convolution_length(size_t n);

/// Sets a to the cyclic convolution of a and b, element i being the sum of all a[j] * b[i - j].
/// Both have the same length, one that `convolution_length` gives. Exact when every sum is below
/// the prime. b's contents are lost; b may be a itself.
void convolve(std::vector<uint64_t>& a, std::vector<uint64_t>& b);

}  // namespace marl
