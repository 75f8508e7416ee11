#include "number/limbs.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "number/short_hint.h"
#include "number/swar.h"

namespace marl {

namespace {

constexpr size_t limb_digits = Decimal::digits;

/// The number of up to 18 digits.
uint64_t parse_limb(std::string_view digits) {
    uint64_t limb = 0;
    for (; digits.size() >= 8; digits.remove_prefix(8)) {
        limb = limb * ten_to_8 + parse_eight(load_word(digits.data()));
    }
    for (const char digit : digits) limb = limb * 10 + static_cast<uint64_t>(digit - '0');
    return limb;
}

/// All 18 digits of a limb.
void write_limb(uint64_t limb, char* text) {
    const uint64_t low = limb % ten_to_8;
    limb /= ten_to_8;
    const uint64_t middle = limb % ten_to_8;
    const uint64_t high = limb / ten_to_8;
    text[0] = static_cast<char>('0' + high / 10);
    text[1] = static_cast<char>('0' + high % 10);
    store_word(text + 2, eight_digits(middle) + ascii_zeros);
    store_word(text + 10, eight_digits(low) + ascii_zeros);
}

int digits_of_limb(uint64_t limb) {
    int count = 0;
    for (; limb > 0; limb /= 10) ++count;
    return count;
}

// The change of base, from limbs of one radix to those of the other. `Horner` adds one limb of the
// source below what there is already.

void horner_binary(Limbs& result, uint64_t limb) {
    mag_mul_add_limb<Binary>(result, Decimal::base, limb);
}
void horner_decimal(Limbs& result, uint64_t limb) {
    // In halves, as a factor of a decimal product must stay below the decimal base.
    constexpr uint64_t half_base = uint64_t{1} << 32;
    mag_mul_add_limb<Decimal>(result, half_base, limb >> 32);
    mag_mul_add_limb<Decimal>(result, half_base, limb & (half_base - 1));
}

template <class To>
class BaseChange {
  public:
    using Horner = void (*)(Limbs&, uint64_t);

    BaseChange(Horner horner, const Limbs& source) : horner_(horner) {
        if (source.size() <= short_size) return;
        Limbs power{1};
        for (size_t i = 0; i < short_size; ++i) horner_(power, 0);
        powers_.push_back(std::move(power));
        while ((short_size << powers_.size()) < source.size()) {
            powers_.push_back(mag_mul<To>(powers_.back(), powers_.back()));
        }
    }

    /// The number of n limbs of the source.
    Limbs convert(const uint64_t* source, size_t n) const {
        if (n <= short_size) {
            Limbs result;
            for (size_t i = n; i-- > 0;) horner_(result, source[i]);
            return result;
        }
        // The low part is the largest for which there is a power.
        const auto level = static_cast<size_t>(std::bit_width((n - 1) / short_size) - 1);
        const size_t low = short_size << level;
        const Limbs high_part = convert(source + low, n - low);
        return mag_add<To>(mag_mul<To>(high_part, powers_[level]), convert(source, low));
    }

  private:
    static constexpr size_t short_size = 16;
    Horner horner_;
    std::vector<Limbs> powers_;  // of the source's base: to the short_size, doubling
};

}  // namespace

Limbs decimal_of_text(std::string_view digits) {
    Limbs limbs;
    limbs.reserve(digits.size() / limb_digits + 1);
    while (!digits.empty()) {
        const size_t n = std::min(digits.size(), limb_digits);
        limbs.push_back(parse_limb(digits.substr(digits.size() - n)));
        digits.remove_suffix(n);
    }
    mag_trim(limbs);
    return limbs;
}

int64_t count_digits(const Limbs& decimal) {
    if (decimal.empty()) return 0;
    const size_t below_top = (decimal.size() - 1) * limb_digits;
    return static_cast<int64_t>(below_top) + digits_of_limb(decimal.back());
}

void write_digits(const Limbs& decimal, char* text) {
    if (decimal.empty()) return;
    const int top_digits = digits_of_limb(decimal.back());
    uint64_t top = decimal.back();
    for (int i = top_digits; i-- > 0; top /= 10) text[i] = static_cast<char>('0' + top % 10);
    text += top_digits;
    for (size_t i = decimal.size() - 1; i-- > 0; text += limb_digits) write_limb(decimal[i], text);
}

Limbs binary_of_decimal(const Limbs& decimal) {
    return BaseChange<Binary>(horner_binary, decimal).convert(decimal.data(), decimal.size());
}

Limbs decimal_of_binary(const Limbs& binary) {
    return BaseChange<Decimal>(horner_decimal, binary).convert(binary.data(), binary.size());
}

Limbs binary_of_bytes(std::string_view bytes) {
    Limbs limbs((bytes.size() + 7) / 8);
    if (!bytes.empty()) memcpy(limbs.data(), bytes.data(), bytes.size());
    mag_trim(limbs);
    return limbs;
}

String bytes_of_binary(const Limbs& binary) {
    String bytes = String::with_size((bit_length(binary) + 7) / 8);
    if (!bytes.empty()) {
        memcpy(bytes.mutable_data(), binary.data(), static_cast<size_t>(bytes.length()));
    }
    return bytes;
}

int64_t bit_length(const Limbs& binary) {
    if (binary.empty()) return 0;
    return static_cast<int64_t>(binary.size() * 64) - std::countl_zero(binary.back());
}

int64_t trailing_zeros(const Limbs& binary) {
    size_t i = 0;
    while (binary[i] == 0) ++i;
    return static_cast<int64_t>(i * 64) + std::countr_zero(binary[i]);
}

bool get_bit(const Limbs& binary, int64_t i) {
    const auto limb = static_cast<size_t>(i / 64);
    return limb < binary.size() && ((binary[limb] >> (i % 64)) & 1) != 0;
}

void set_bit(Limbs& binary, int64_t i) {
    const auto limb = static_cast<size_t>(i / 64);
    if (limb >= binary.size()) binary.resize(limb + 1);
    binary[limb] |= uint64_t{1} << (i % 64);
}

Limbs shift_left(const Limbs& binary, int64_t bits) {
    const auto whole = static_cast<size_t>(bits / 64);
    Limbs shifted(whole);
    shifted.insert(shifted.end(), binary.begin(), binary.end());
    if (const int rest = static_cast<int>(bits % 64)) {
        mag_mul_add_limb<Binary>(shifted, uint64_t{1} << rest, 0);
    }
    mag_trim(shifted);
    return shifted;
}

Limbs shift_right(const Limbs& binary, int64_t bits) {
    const auto whole = static_cast<size_t>(bits / 64);
    if (whole >= binary.size()) return {};
    Limbs shifted(binary.begin() + static_cast<ptrdiff_t>(whole), binary.end());
    if (const int rest = static_cast<int>(bits % 64)) {
        for (size_t i = 0; i < shifted.size(); ++i) {
            const uint64_t above = i + 1 < shifted.size() ? shifted[i + 1] << (64 - rest) : 0;
            shifted[i] = (shifted[i] >> rest) | above;
        }
    }
    mag_trim(shifted);
    return shifted;
}

}  // namespace marl
