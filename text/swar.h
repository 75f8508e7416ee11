// Eight decimal digits at a time.
//
// A text's digits are loaded as a machine word; on the machines that this runs on, little-endian
// ones, the first digit is the lowest byte. Words of digit values hold 0 to 9 in each byte.
#pragma once

#include <cstdint>
#include <cstring>

namespace marl {

__extension__ typedef unsigned __int128 Wide;

constexpr uint64_t ascii_zeros = 0x3030303030303030;
constexpr uint64_t low_nibbles = 0x0F0F0F0F0F0F0F0F;

inline uint64_t load_word(const char* bytes) {
    uint64_t word;
    memcpy(&word, bytes, sizeof word);
    return word;
}
inline void store_word(char* bytes, uint64_t word) { memcpy(bytes, &word, sizeof word); }

/// The number that eight digits say, digits or digit values; bytes of 0 count as the digit 0.
inline uint64_t parse_eight(uint64_t word) {
    word &= low_nibbles;
    word = word * 10 + (word >> 8);
    constexpr uint64_t pairs = 0x000000FF000000FF;
    return ((word & pairs) * (100 + (uint64_t{1'000'000} << 32)) +
            ((word >> 16) & pairs) * (1 + (uint64_t{10'000} << 32))) >>
           32;
}

/// The eight digit values of a number below 10^8, leading zeros included.
inline uint64_t eight_digits(uint64_t n) {
    // Halves, quarters and digits are split off in parallel, by multiplication with reciprocals
    // that are exact in the range.
    const uint64_t halves = n / 10'000 + ((n % 10'000) << 32);
    const uint64_t hundreds = ((halves * 10'486) >> 20) & 0x0000007F0000007F;
    const uint64_t quarters = hundreds + ((halves - hundreds * 100) << 16);
    const uint64_t tens = ((quarters * 103) >> 10) & 0x000F000F000F000F;
    return tens + ((quarters - tens * 10) << 8);
}

}  // namespace marl
