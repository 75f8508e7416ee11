// Digits go into limbs 18 at a time. A change of base is divide and conquer: the powers of the old
// base to 2^k limbs are made once by squaring, and a number splits at the largest that is shorter
// than itself.
#include "number/decimal.h"

#include <array>
#include <bit>
#include <cstring>

#include "text/swar.h"

namespace marl {

namespace {

constexpr uint64_t ten_to_8 = 100'000'000;
constexpr uint64_t ten_to_16 = ten_to_8 * ten_to_8;

uint64_t parse_bytes(const char* digits, size_t n) {
    uint64_t number = 0;
    for (size_t i = 0; i < n; ++i) number = number * 10 + (static_cast<uint8_t>(digits[i]) & 0x0F);
    return number;
}

/// The value of a limb's 18 digits.
uint64_t parse_limb(const char* digits) {
    return parse_bytes(digits, 2) * ten_to_16 + parse_eight(load_word(digits + 2)) * ten_to_8 +
           parse_eight(load_word(digits + 10));
}

void write_limb(char* to, uint64_t limb) {
    const uint64_t top = limb / ten_to_16;
    const uint64_t rest = limb % ten_to_16;
    to[0] = static_cast<char>('0' + top / 10);
    to[1] = static_cast<char>('0' + top % 10);
    store_word(to + 2, eight_digits(rest / ten_to_8) + ascii_zeros);
    store_word(to + 10, eight_digits(rest % ten_to_8) + ascii_zeros);
}

constexpr auto powers_of_ten = [] {
    std::array<uint64_t, Decimal::digits + 1> powers{1};
    for (size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
    return powers;
}();

int64_t limb_length(uint64_t limb) {
    // 1233 / 4096 is close enough to log10(2) to be right or 1 too small.
    const size_t digits = std::bit_width(limb) * size_t{1233} >> 12;
    return static_cast<int64_t>(digits) + (limb >= powers_of_ten[digits]);
}

/// r = r * base of From + limb.
void append_limb(Decimal, Limbs& r, uint64_t limb) {
    constexpr Divider by_base(Decimal::base);
    uint64_t carry = limb;
    for (uint64_t& digit : r) carry = by_base.divide((Wide{digit} << 64) + carry, digit);
    for (; carry > 0; carry /= Decimal::base) r.push_back(carry % Decimal::base);
}
void append_limb(Binary, Limbs& r, uint64_t limb) {
    mag_mul_add_limb<Binary>(r, Decimal::base, limb);
}

/// The base that numbers come from, as a number of the base that they change to.
Limbs old_base(Decimal) { return {446'744'073'709'551'616, 18}; }
Limbs old_base(Binary) { return {Decimal::base}; }

/// The n limbs at a in the base To. `powers` are the old base to the power of the limit, of twice
/// the limit, and so on, as far as the number is longer than that.
template <class To>
Limbs change_base(const uint64_t* a, size_t n, size_t limit, const std::vector<Limbs>& powers) {
    if (n <= limit) {
        Limbs result;
        for (size_t i = n; i-- > 0;) append_limb(To{}, result, a[i]);
        return result;
    }
    const auto half = static_cast<size_t>(std::bit_width((n - 1) / limit)) - 1;
    const size_t low = limit << half;
    const Limbs high = change_base<To>(a + low, n - low, limit, powers);
    return mag_add<To>(mag_mul<To>(high, powers[half]), change_base<To>(a, low, limit, powers));
}

template <class To>
Limbs change_base(const Limbs& number) {
    if (number.empty() || (number.size() == 1 && number[0] < Decimal::base)) return number;
    const size_t limit = base_change_limit;
    std::vector<Limbs> powers;
    for (size_t n = limit; n < number.size(); n *= 2) {
        powers.push_back(powers.empty() ? mag_pow<To>(old_base(To{}), limit)
                                        : mag_mul<To>(powers.back(), powers.back()));
    }
    return change_base<To>(number.data(), number.size(), limit, powers);
}

}  // namespace

Limbs decimal_of_text(std::string_view digits) {
    constexpr size_t per_limb = Decimal::digits;
    const size_t whole = digits.size() / per_limb;
    const size_t rest = digits.size() % per_limb;
    Limbs limbs(whole + (rest > 0));
    const char* end = digits.data() + digits.size();
    for (size_t i = 0; i < whole; ++i) limbs[i] = parse_limb(end - (i + 1) * per_limb);
    if (rest > 0) limbs[whole] = parse_bytes(digits.data(), rest);
    mag_trim(limbs);
    return limbs;
}

int64_t decimal_length(const Limbs& decimal) {
    if (decimal.empty()) return 0;
    return limb_length(decimal.back()) + Decimal::digits * static_cast<int64_t>(decimal.size() - 1);
}

void write_first_digits(char* to, const Limbs& decimal, int64_t n) {
    const uint64_t top = decimal.back();
    const size_t of_top = static_cast<size_t>(n) - Decimal::digits * (decimal.size() - 1);
    uint64_t first = 0;
    if (of_top >= 3) {
        first = top / powers_of_ten[of_top - 3];
    } else {
        const size_t of_next = 3 - of_top;
        const uint64_t next = decimal[decimal.size() - 2];
        first = top * powers_of_ten[of_next] + next / powers_of_ten[Decimal::digits - of_next];
    }
    to[0] = static_cast<char>('0' + first / 100);
    to[1] = static_cast<char>('0' + first / 10 % 10);
    to[2] = static_cast<char>('0' + first % 10);
}

void write_decimal(char* to, const Limbs& decimal) {
    if (decimal.empty()) return;
    char top[Decimal::digits];
    write_limb(top, decimal.back());
    const auto n = static_cast<size_t>(limb_length(decimal.back()));
    memcpy(to, top + Decimal::digits - n, n);
    to += n;
    for (size_t i = decimal.size() - 1; i-- > 0; to += Decimal::digits) write_limb(to, decimal[i]);
}

void halve(Limbs& decimal) {
    uint64_t above = 0;
    for (size_t i = decimal.size(); i-- > 0;) {
        const uint64_t limb = decimal[i];
        decimal[i] = limb / 2 + above;
        above = limb % 2 * (Decimal::base / 2);
    }
    mag_trim(decimal);
}

Limbs binary_of_decimal(const Limbs& decimal) { return change_base<Binary>(decimal); }
Limbs decimal_of_binary(const Limbs& binary) { return change_base<Decimal>(binary); }

}  // namespace marl
