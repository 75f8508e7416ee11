// Limbs and pieces change into each other by groups, three pieces to four decimal limbs and four to
// five binary ones, so that no division goes over more than one group. A sequence that is not whole
// groups is filled up with zeros.
#include "number/pieces.h"

#include <algorithm>
#include <array>
#include <utility>

namespace marl {

namespace {

constexpr uint64_t million = 1'000'000;
constexpr uint64_t billions = million * million;

/// A group of limbs cut into pieces, and the way back.
void cut(Decimal, const uint64_t* limbs, Wide* pieces) {
    pieces[0] = Wide{limbs[1] % million} * Decimal::base + limbs[0];
    pieces[1] = Wide{limbs[2] % billions} * billions + limbs[1] / million;
    pieces[2] = Wide{limbs[3]} * million + limbs[2] / billions;
}
void join(Decimal, const Wide* pieces, uint64_t* limbs) {
    constexpr Divider by_million(million);
    constexpr Divider by_billions(billions);
    uint64_t rest;
    limbs[0] = Decimal::split(pieces[0], rest);
    uint64_t low;
    const uint64_t middle = by_billions.divide(pieces[1], low);
    limbs[1] = low * million + rest;
    limbs[3] = by_million.divide(pieces[2], low);
    limbs[2] = low * billions + middle;
}

void cut(Binary, const uint64_t* limbs, Wide* pieces) {
    for (int i = 0; i < 4; ++i) {
        const Wide two = Wide{limbs[i + 1]} << 64 | limbs[i];
        pieces[i] = two >> (16 * i) & (Binary::piece_base - 1);
    }
}
void join(Binary, const Wide* pieces, uint64_t* limbs) {
    limbs[0] = static_cast<uint64_t>(pieces[0]);
    for (int i = 1; i < 4; ++i) {
        limbs[i] = static_cast<uint64_t>(pieces[i] << (16 * i) | pieces[i - 1] >> (80 - 16 * i));
    }
    limbs[4] = static_cast<uint64_t>(pieces[3] >> 16);
}

template <class Radix>
PieceList cut_all(const uint64_t* limbs, size_t n) {
    const size_t groups = (n + Radix::group_limbs - 1) / Radix::group_limbs;
    PieceList pieces(groups * Radix::group_pieces);
    Wide* to = pieces.data();
    for (; n >= Radix::group_limbs; n -= Radix::group_limbs, limbs += Radix::group_limbs) {
        cut(Radix{}, limbs, to);
        to += Radix::group_pieces;
    }
    if (n > 0) {
        std::array<uint64_t, Radix::group_limbs> last{};
        std::copy_n(limbs, n, last.data());
        cut(Radix{}, last.data(), to);
        pieces.resize(pieces.size() - Radix::group_pieces + piece_count<Radix>(n));
    }
    return pieces;
}

template <class Radix>
void join_all(uint64_t* limbs, size_t n, const PieceList& pieces) {
    std::array<Wide, Radix::group_pieces> group;
    std::array<uint64_t, Radix::group_limbs> joined;
    for (size_t from = 0; n > 0; from += Radix::group_pieces) {
        for (size_t i = 0; i < Radix::group_pieces; ++i) {
            group[i] = from + i < pieces.size() ? pieces[from + i] : 0;
        }
        join(Radix{}, group.data(), joined.data());
        const size_t count = std::min(n, Radix::group_limbs);
        limbs = std::copy_n(joined.data(), count, limbs);
        n -= count;
    }
}

/// The low piece of a sum; what goes to the next one goes out.
Wide split(Binary, const Sum& sum, Wide& carry) {
    carry = Wide{sum[2]} << 48 | sum[1] >> 16;
    return (Wide{sum[1]} << 64 | sum[0]) & (Binary::piece_base - 1);
}
Wide split(Decimal, const Sum& sum, Wide& carry) {
    // The base is 5^24 * 2^24, and the sum's top word, moved down by 24 bits, is below 5^24.
    constexpr Divider by_power_of_5(static_cast<uint64_t>(Decimal::piece_base >> 24));
    const Wide high = (Wide{sum[2]} << 64 | sum[1]) >> 24;
    const uint64_t low = sum[1] << 40 | sum[0] >> 24;
    uint64_t rest;
    const uint64_t top = by_power_of_5.divide(high, rest);
    carry = Wide{top} << 64 | by_power_of_5.divide(Wide{rest} << 64 | low, rest);
    return Wide{rest} << 24 | (sum[0] & ((1 << 24) - 1));
}

void add_to(Sum& sum, Wide carry) {
    const Wide low = Wide{sum[0]} + static_cast<uint64_t>(carry);
    const Wide middle =
        Wide{sum[1]} + static_cast<uint64_t>(carry >> 64) + static_cast<uint64_t>(low >> 64);
    sum = {static_cast<uint64_t>(low), static_cast<uint64_t>(middle),
           sum[2] + static_cast<uint64_t>(middle >> 64)};
}

/// Adds what goes over the top of n pieces to their low end, where it has the weight 1.
template <class Radix>
void wrap(PieceList& pieces, Wide carry) {
    while (carry > 0) {
        for (size_t i = 0; i < pieces.size() && carry > 0; ++i) {
            const Wide sum = pieces[i] + carry;
            pieces[i] = sum % Radix::piece_base;
            carry = sum / Radix::piece_base;
        }
    }
}

/// a += b, where b is no longer. Whether it goes over the top of a, which is left out.
template <class Radix>
bool add(PieceList& a, const PieceList& b) {
    bool carry = false;
    for (size_t i = 0; i < b.size() || (carry && i < a.size()); ++i) {
        a[i] += (i < b.size() ? b[i] : 0) + (carry ? 1 : 0);
        carry = a[i] >= Radix::piece_base;
        if (carry) a[i] -= Radix::piece_base;
    }
    return carry;
}

template <class Radix>
bool is_negative(const PieceList& a) {
    return a.back() >= Radix::piece_base / 2;
}

}  // namespace

PieceList pieces_of(Decimal, const uint64_t* limbs, size_t n) { return cut_all<Decimal>(limbs, n); }
PieceList pieces_of(Binary, const uint64_t* limbs, size_t n) { return cut_all<Binary>(limbs, n); }
void limbs_of(Decimal, uint64_t* limbs, size_t n, const PieceList& pieces) {
    join_all<Decimal>(limbs, n, pieces);
}
void limbs_of(Binary, uint64_t* limbs, size_t n, const PieceList& pieces) {
    join_all<Binary>(limbs, n, pieces);
}

template <class Radix>
PieceList folded(const PieceList& pieces, size_t n) {
    PieceList sum(n);
    for (size_t from = 0; from < pieces.size(); from += n) {
        Wide carry = 0;
        for (size_t i = 0; i < n; ++i) {
            carry += sum[i] + (from + i < pieces.size() ? pieces[from + i] : 0);
            const bool over = carry >= Radix::piece_base;
            sum[i] = over ? carry - Radix::piece_base : carry;
            carry = over;
        }
        wrap<Radix>(sum, carry);
    }
    return sum;
}

template <class Radix>
PieceList cyclic_product(Spectrum a, const Spectrum& b) {
    convolve(a, b);
    PieceList product(a[0].size());
    Wide carry = 0;
    for (size_t i = 0; i < product.size(); ++i) {
        Sum sum = sum_at(a, i);
        add_to(sum, carry);
        product[i] = split(Radix{}, sum, carry);
    }
    wrap<Radix>(product, carry);
    return product;
}

template <class Radix>
bool subtract_pieces(PieceList& a, const PieceList& b) {
    bool borrow = false;
    for (size_t i = 0; i < b.size() || (borrow && i < a.size()); ++i) {
        const Wide less = (i < b.size() ? b[i] : 0) + (borrow ? 1 : 0);
        borrow = a[i] < less;
        a[i] += (borrow ? Radix::piece_base : 0) - less;
    }
    return borrow;
}

// The number is H * base^n + L, and what it is cyclically H + L, or that but for base^n - 1, which
// shows when H is taken away: then L is below 0 or not below base^n, and H is 1 off.
template <class Radix>
void unwrap(PieceList& pieces, const PieceList& lowest) {
    PieceList high(pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(lowest.size()));
    subtract_pieces<Radix>(high, lowest);
    if (subtract_pieces<Radix>(pieces, high)) subtract_pieces<Radix>(high, {1});
    pieces.insert(pieces.end(), high.begin(), high.end());
}

namespace {

/// -a modulo the power of the base that its length says.
template <class Radix>
PieceList negative_of(const PieceList& a) {
    PieceList negative(a.size());
    subtract_pieces<Radix>(negative, a);
    return negative;
}

}  // namespace

template <class Radix>
bool unwrap_signed(PieceList& pieces, const PieceList& lowest) {
    PieceList high(pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(lowest.size()));
    subtract_pieces<Radix>(high, lowest);
    if (is_negative<Radix>(high)) {
        if (add<Radix>(pieces, negative_of<Radix>(high))) add<Radix>(high, {1});
    } else if (subtract_pieces<Radix>(pieces, high)) {
        subtract_pieces<Radix>(high, {1});
    }
    pieces.insert(pieces.end(), high.begin(), high.end());
    const bool negative = is_negative<Radix>(pieces);
    if (negative) pieces = negative_of<Radix>(pieces);
    return negative;
}

template PieceList folded<Decimal>(const PieceList&, size_t);
template PieceList folded<Binary>(const PieceList&, size_t);
template PieceList cyclic_product<Decimal>(Spectrum, const Spectrum&);
template PieceList cyclic_product<Binary>(Spectrum, const Spectrum&);
template bool subtract_pieces<Decimal>(PieceList&, const PieceList&);
template bool subtract_pieces<Binary>(PieceList&, const PieceList&);
template void unwrap<Decimal>(PieceList&, const PieceList&);
template void unwrap<Binary>(PieceList&, const PieceList&);
template bool unwrap_signed<Decimal>(PieceList&, const PieceList&);
template bool unwrap_signed<Binary>(PieceList&, const PieceList&);

}  // namespace marl
