// Limbs cut into pieces of about 80 bits, which is what a transform multiplies best.
//
// Decimal pieces have 24 digits, three of them make four limbs; binary ones have 80 bits, four make
// five limbs. A number is a sequence of pieces as it is one of limbs, least significant first. A
// cyclic product of n pieces is one modulo piece_base^n - 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "number/convolution.h"
#include "number/radix.h"

namespace marl {

using PieceList = std::vector<Wide>;

/// How many pieces hold n limbs.
template <class Radix>
size_t piece_count(size_t n) {
    return (n * Radix::group_pieces + Radix::group_limbs - 1) / Radix::group_limbs;
}

PieceList pieces_of(Decimal, const uint64_t* limbs, size_t n);
PieceList pieces_of(Binary, const uint64_t* limbs, size_t n);
/// Writes the n lowest limbs, filled up with 0.
void limbs_of(Decimal, uint64_t* limbs, size_t n, const PieceList& pieces);
void limbs_of(Binary, uint64_t* limbs, size_t n, const PieceList& pieces);

/// The number modulo piece_base^n - 1, in n pieces.
template <class Radix>
PieceList folded(const PieceList& pieces, size_t n);
/// The product of two numbers modulo piece_base^n - 1, n being the length of their spectra. The
/// shorter one has at most `most_pieces`.
template <class Radix>
PieceList cyclic_product(Spectrum a, const Spectrum& b);

/// a -= b, where b is no longer. Whether that is below 0, where it is a power of the base too much.
template <class Radix>
bool subtract_pieces(PieceList& a, const PieceList& b);

/// The lowest pieces of a product, na and nb being at least 1 (number/magnitude.cpp).
template <class Radix>
PieceList lowest_pieces(size_t count, const uint64_t* a, size_t na, const uint64_t* b, size_t nb);

// A transform may be some pieces shorter than what it is to tell, if so many of the lowest pieces
// are worked out by themselves: `length_to_wrap` gives such a length.

/// Makes a number of what it is modulo piece_base^n - 1, in n pieces, and of its lowest ones, of
/// which there are as many as it has pieces more than n.
template <class Radix>
void unwrap(PieceList& pieces, const PieceList& lowest);
/// The same for one that may be below 0, nearer to 0 than a quarter of the power of the base. Makes
/// it positive and says whether it was negative.
template <class Radix>
bool unwrap_signed(PieceList& pieces, const PieceList& lowest);

}  // namespace marl
