// Division of long magnitudes.
//
// By one limb it goes limb by limb. A divisor of several limbs is scaled first, so that its top
// limb is at least half the base; then the top limbs of both tell a quotient nearly. Up to
// `divide_limit` limbs it is found a limb at a time. Longer ones are halved until they are as
// short, and from `newton_limit` limbs on the divisor's reciprocal is found, by Newton's step, and
// multiplied by: a quotient as long as its divisor then costs about two and a half products.
#include <algorithm>
#include <utility>

#include "number/limb_runs.h"
#include "number/magnitude.h"
#include "number/pieces.h"
#include "text/fatal.h"

namespace marl {

namespace {

/// The number without its n lowest limbs, and these alone.
Limbs above(const Limbs& a, size_t n) {
    return n < a.size() ? Limbs(a.begin() + static_cast<ptrdiff_t>(n), a.end()) : Limbs{};
}
Limbs below(const Limbs& a, size_t n) {
    Limbs low(a.begin(), a.begin() + static_cast<ptrdiff_t>(std::min(n, a.size())));
    mag_trim(low);
    return low;
}
/// high * base^n + low, where low has no more than n limbs.
Limbs above_of(const Limbs& high, size_t n, const Limbs& low) {
    Limbs joined;
    joined.reserve(n + high.size());
    joined = low;
    joined.resize(n);
    joined.insert(joined.end(), high.begin(), high.end());
    mag_trim(joined);
    return joined;
}

template <class Radix>
uint64_t divide_in_place(Limbs& a, uint64_t d) {
    const Divider divider(d);
    uint64_t rest = 0;
    for (size_t i = a.size(); i-- > 0;) a[i] = divider.divide(Radix::join(rest, a[i]), rest);
    mag_trim(a);
    return rest;
}

struct Division {
    Limbs quotient;
    Limbs remainder;
};

// Division of a by b, whose top limb is at least half the base.

/// Limb by limb, each one guessed from the top two of what is left. b has at least two limbs.
template <class Radix>
Division divide_short(Limbs a, const Limbs& b) {
    const size_t n = b.size();
    const Divider divider(b[n - 1]);
    a.push_back(0);
    Limbs quotient(a.size() - n);
    for (size_t j = quotient.size(); j-- > 0;) {
        uint64_t* top = a.data() + j + n;
        uint64_t guess = Radix::largest;
        if (*top < b[n - 1]) {
            uint64_t rest;
            guess = divider.divide(Radix::join(*top, top[-1]), rest);
            // With the second limb of b the guess is at most 1 too large.
            while (Wide{guess} * b[n - 2] > Radix::join(rest, top[-2])) {
                --guess;
                if (Radix::largest - rest < b[n - 1]) break;
                rest += b[n - 1];
            }
        }
        const uint64_t taken = subtract_product(Radix{}, top - n, b.data(), n, guess);
        uint64_t borrow = 0;
        *top = Radix::subtract(*top, taken, borrow);
        while (borrow) {
            --guess;
            uint64_t carry = add_limbs<Radix>(top - n, top - n, n, b.data(), n);
            *top = Radix::add(*top, 0, carry);
            borrow -= carry;
        }
        quotient[j] = guess;
    }
    mag_trim(quotient);
    mag_trim(a);
    return {std::move(quotient), std::move(a)};
}

template <class Radix>
Division divide_normal(const Limbs& a, const Limbs& b);

/// A quotient of m limbs by a longer b: the top 2m limbs by the top m tell it but for at most a
/// few, which show when the rest of b is multiplied out.
template <class Radix>
Division divide_by_long(const Limbs& a, const Limbs& b, size_t m) {
    const size_t dropped = b.size() - m;
    Division top = divide_normal<Radix>(above(a, dropped), above(b, dropped));
    Limbs rest = above_of(top.remainder, dropped, below(a, dropped));
    const Limbs product = mag_mul<Radix>(top.quotient, below(b, dropped));
    while (mag_compare(rest, product) < 0) {
        top.quotient = mag_sub<Radix>(top.quotient, {1});
        rest = mag_add<Radix>(rest, b);
    }
    return {std::move(top.quotient), mag_sub<Radix>(rest, product)};
}

/// A quotient longer than `block` limbs: that many of them at a time, from the top.
template <class Radix>
Division divide_in_blocks(const Limbs& a, const Limbs& b, size_t block) {
    size_t from = (a.size() - b.size() + block - 1) / block * block;
    Division result = divide_normal<Radix>(above(a, from), b);
    while (from > 0) {
        from -= block;
        const Limbs next = below(above(a, from), block);
        Division step = divide_normal<Radix>(above_of(result.remainder, block, next), b);
        result.quotient = above_of(result.quotient, block, step.quotient);
        result.remainder = std::move(step.remainder);
    }
    return result;
}

// By Newton's step. With B the base, n the limbs of b and x about B^(n+h) / b, h limbs of quotient
// are the top of what is to be divided times x, give or take a few. So many times b is close to
// what is divided, and the rest is short: the product is only wanted modulo a power of the base
// less 1, which takes transforms of half the length.

/// a less a product known modulo piece_base^n - 1, when that is nearer to 0 than half the modulus.
template <class Radix>
struct Difference {
    bool negative;
    Limbs magnitude;
};
template <class Radix>
Difference<Radix> difference_from(const Limbs& a, const PieceList& product) {
    const size_t n = product.size();
    PieceList rest = folded<Radix>(pieces_of(Radix{}, a.data(), a.size()), n);
    bool borrow = false;
    const auto take = [&](size_t i, Wide piece) {
        const Wide taken = piece + borrow;
        borrow = rest[i] < taken;
        rest[i] += borrow ? Radix::piece_base - taken : Wide{0} - taken;
    };
    for (size_t i = 0; i < n; ++i) take(i, product[i]);
    for (size_t i = 0; borrow && i < n; ++i) take(i, 0);
    const bool negative = rest.back() >= Radix::piece_base / 2;
    if (negative) {
        for (Wide& piece : rest) piece = Radix::piece_base - 1 - piece;
    }
    Limbs magnitude((n * Radix::group_limbs + Radix::group_pieces - 1) / Radix::group_pieces);
    limbs_of(Radix{}, magnitude.data(), magnitude.size(), rest);
    mag_trim(magnitude);
    return {negative, std::move(magnitude)};
}

template <class Radix>
Spectrum spectrum_of_limbs(const Limbs& a, size_t length) {
    return spectrum_of(pieces_of(Radix{}, a.data(), a.size()), length);
}

/// The length of transforms for n limbs.
template <class Radix>
size_t length_for(size_t n) {
    return convolution_length(piece_count<Radix>(n));
}

Limbs power_of_base(size_t n) {
    Limbs power(n + 1);
    power[n] = 1;
    return power;
}

/// About B^(n+h) / b, from the top h limbs of b: at most 8 off.
template <class Radix>
Limbs reciprocal(const Limbs& b, size_t h) {
    const Limbs top = above(b, b.size() - h);
    if (h < Radix::newton_limit) return divide_normal<Radix>(power_of_base(2 * h), top).quotient;
    // One limb more than half of them, so that what the step leaves over is below 1.
    const size_t half = h / 2 + 1;
    Limbs x = reciprocal<Radix>(top, half);
    const size_t length = length_for<Radix>(2 * half + 4);
    const Spectrum spectrum = spectrum_of_limbs<Radix>(x, length);
    const Difference<Radix> error = difference_from<Radix>(
        power_of_base(h + half),
        cyclic_product<Radix>(spectrum_of_limbs<Radix>(top, length), spectrum));
    const size_t dropped = h - half - 1;
    const PieceList product = cyclic_product<Radix>(
        spectrum_of_limbs<Radix>(above(error.magnitude, dropped), length), spectrum);
    Limbs step(2 * half + 4);
    limbs_of(Radix{}, step.data(), step.size(), product);
    mag_trim(step);
    step = above(step, 3 * half - h + 1);
    x = above_of(x, h - half, {});
    return error.negative ? mag_sub<Radix>(x, step) : mag_add<Radix>(x, step);
}

/// A quotient of any length, the divisor and its reciprocal being transformed once for all parts.
template <class Radix>
Division divide_newton(const Limbs& a, const Limbs& b) {
    const size_t n = b.size();
    const size_t m = a.size() - n;
    // The quotient in parts of h limbs, two at least, so that the reciprocal is that short.
    const size_t parts = std::max<size_t>(2, (m + n - 1) / n);
    const size_t h = (m + parts - 1) / parts;
    const size_t x_length = length_for<Radix>(2 * h + 2);
    const size_t b_length = length_for<Radix>(n + 2);
    const Spectrum x = spectrum_of_limbs<Radix>(reciprocal<Radix>(b, h), x_length);
    const Spectrum b_spectrum = spectrum_of_limbs<Radix>(b, b_length);
    Division result{{}, above(a, m)};
    if (mag_compare(result.remainder, b) >= 0) {
        result = {{1}, mag_sub<Radix>(result.remainder, b)};
    }
    for (size_t left = m; left > 0;) {
        const size_t k = (left - 1) % h + 1;
        left -= k;
        const Limbs rest = above_of(result.remainder, k, below(above(a, left), k));
        Limbs product(2 * h + 2);
        limbs_of(Radix{}, product.data(), product.size(),
                 cyclic_product<Radix>(spectrum_of_limbs<Radix>(above(rest, n - 1), x_length), x));
        mag_trim(product);
        Limbs part = above(product, h + 1);
        Difference<Radix> left_over = difference_from<Radix>(
            rest, cyclic_product<Radix>(spectrum_of_limbs<Radix>(part, b_length), b_spectrum));
        while (left_over.negative) {
            part = mag_sub<Radix>(part, {1});
            left_over.negative = mag_compare(left_over.magnitude, b) > 0;
            left_over.magnitude = left_over.negative ? mag_sub<Radix>(left_over.magnitude, b)
                                                     : mag_sub<Radix>(b, left_over.magnitude);
        }
        while (mag_compare(left_over.magnitude, b) >= 0) {
            part = mag_add<Radix>(part, {1});
            left_over.magnitude = mag_sub<Radix>(left_over.magnitude, b);
        }
        result.quotient = above_of(result.quotient, k, part);
        result.remainder = std::move(left_over.magnitude);
    }
    return result;
}

template <class Radix>
Division divide_normal(const Limbs& a, const Limbs& b) {
    if (mag_compare(a, b) < 0) return {{}, a};
    const size_t m = a.size() - b.size();
    if (m < Radix::divide_limit || b.size() < Radix::divide_limit) return divide_short<Radix>(a, b);
    if (m < b.size()) return divide_by_long<Radix>(a, b, m);
    if (b.size() >= Radix::newton_limit && b.size() <= Radix::most_pieces) {
        return divide_newton<Radix>(a, b);
    }
    return divide_in_blocks<Radix>(a, b, m == b.size() ? m - m / 2 : b.size());
}

}  // namespace

template <class Radix>
Limbs mag_divide(const Limbs& a, const Limbs& b, Limbs& remainder) {
    MARL_REQUIRE(!b.empty());
    if (b.size() == 1) {
        Limbs quotient = a;
        remainder.assign(1, divide_in_place<Radix>(quotient, b[0]));
        mag_trim(remainder);
        return quotient;
    }
    if (mag_compare(a, b) < 0) {
        remainder = a;
        return {};
    }
    const uint64_t factor = Radix::normaliser(b.back());
    Limbs scaled_a = a;
    Limbs scaled_b = b;
    mag_mul_add_limb<Radix>(scaled_a, factor, 0);
    mag_mul_add_limb<Radix>(scaled_b, factor, 0);
    Division division = divide_normal<Radix>(scaled_a, scaled_b);
    divide_in_place<Radix>(division.remainder, factor);
    remainder = std::move(division.remainder);
    return std::move(division.quotient);
}

template Limbs mag_divide<Binary>(const Limbs&, const Limbs&, Limbs&);
template Limbs mag_divide<Decimal>(const Limbs&, const Limbs&, Limbs&);

}  // namespace marl
