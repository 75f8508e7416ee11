// Products of long sequences of numbers below 2^80, by number-theoretic transforms.
//
// The sums of products are found modulo three primes just below 2^62, in which roots of unity exist
// for every transform length 2^k and 3 * 2^k that memory could hold, and put together from the
// three residues. So they are exact as long as they are below the product of the primes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "text/swar.h"

namespace marl {

constexpr std::array<uint64_t, 3> convolution_primes = {0x3FFFFF1800000001, 0x3FFFFF3000000001,
                                                        0x3FFFFFB400000001};

/// A sequence as the transforms see it, by prime.
using Spectrum = std::array<std::vector<uint64_t>, 3>;

/// A number below the product of the primes, least significant word first.
using Sum = std::array<uint64_t, 3>;

/// The length of the transform for a product of n elements: the least 2^k or 3 * 2^k that holds it.
size_t convolution_length(size_t n);

/// The same for one that may be some elements shorter, a ninth of n at most.
size_t length_to_wrap(size_t n);

/// The spectrum of a sequence of numbers below 2^80 that is no longer than `length`, one that
/// `convolution_length` gives.
Spectrum spectrum_of(const std::vector<Wide>& sequence, size_t length);

/// From the spectra of two sequences of one length to their cyclic convolution, element i being the
/// sum of all a[j] * b[i - j]. `sum_at` reads what comes out; b may be a itself.
void convolve(Spectrum& a, const Spectrum& b);
Sum sum_at(const Spectrum& sums, size_t i);

}  // namespace marl
