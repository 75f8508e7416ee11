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
/// Makes a product of its cyclic one of n pieces, which is shorter by as many pieces as `lowest`
/// has, the lowest ones of the product: at most n. False, with nothing changed, where the cyclic
/// one doesn't tell enough, which hardly any does.
template <class Radix>
bool unwrap(PieceList& product, const PieceList& lowest);

}  // namespace marl
