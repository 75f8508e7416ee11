// What all stages of the front end share: white space, brackets, and the search for operators.
//
// There is no token stream. Program text is a byte string, and the stages cut it at positions,
// which count from 0. All but `is_spacing_operator` and `partner` take text whose brackets balance;
// text that is cut off inside a bracket is a fatal stop.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

#include "text/string.h"
#include "value/node.h"

namespace marl {

/// A set of bytes.
using Bytes = std::array<bool, 256>;
constexpr Bytes bytes_in(std::string_view set) {
    Bytes bytes{};
    for (const char byte : set) bytes[static_cast<uint8_t>(byte)] = true;
    return bytes;
}
inline bool contains(const Bytes& set, char byte) { return set[static_cast<uint8_t>(byte)]; }

/// A set of bytes to go through: a bit for each, the least one first.
struct ByteBits {
    std::array<uint64_t, 4> words = {};

    void add(int byte) { words[byte / 64] |= uint64_t{1} << byte % 64; }
    template <class See>
    void for_each(See see) const {
        for (size_t i = 0; i < words.size(); ++i) {
            for (uint64_t rest = words[i]; rest != 0; rest &= rest - 1) {
                see(static_cast<char>(i * 64 + std::countr_zero(rest)));
            }
        }
    }
};
inline ByteBits operator&(const ByteBits& a, const ByteBits& b) {
    ByteBits both;
    for (size_t i = 0; i < both.words.size(); ++i) both.words[i] = a.words[i] & b.words[i];
    return both;
}

/// The first place from i on where a byte of the set stands; the end of the text if there is none.
/// By fours, as most of a text is gone over in here.
inline size_t find_byte(std::string_view text, size_t i, const Bytes& set) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    const char* at = begin + i;
    for (; end - at >= 4; at += 4) {
        if (contains(set, at[0])) return at - begin;
        if (contains(set, at[1])) return at + 1 - begin;
        if (contains(set, at[2])) return at + 2 - begin;
        if (contains(set, at[3])) return at + 3 - begin;
    }
    while (at < end && !contains(set, *at)) ++at;
    return at - begin;
}

constexpr Bytes brackets = bytes_in("()[]{}");
inline bool is_bracket(char byte) { return contains(brackets, byte); }

inline bool is_white(char byte) { return byte == ' ' || byte == '\n'; }

/// A binary operator, a separator or white space: next to it, white space means nothing.
bool is_spacing_operator(uint8_t byte);

constexpr Bytes prefix_operators = bytes_in("~!\"$`");
/// Whether the byte is one of ~ ! " $ and backquote.
constexpr bool is_prefix_operator(uint8_t byte) { return prefix_operators[byte]; }

/// "_" or a lower-case letter: the bytes of words.
constexpr bool is_word_byte(uint8_t byte) { return byte == '_' || (byte >= 'a' && byte <= 'z'); }
inline bool is_word(char byte) { return is_word_byte(static_cast<uint8_t>(byte)); }
inline bool is_digit(char byte) { return is_digit_byte(static_cast<uint8_t>(byte)); }
/// Whether a key is one lower-case letter, which names nothing but what a binder holds.
inline bool is_letter(std::string_view key) {
    return key.size() == 1 && key[0] >= 'a' && key[0] <= 'z';
}

/// The closing bracket of an opening one, and the other way round. Any other byte is its own
/// partner.
char partner(char bracket);

/// The text without leading and trailing white space, and with each run of white space inside
/// reduced to one blank, or to nothing next to an operator or wing, behind "(" and before ")".
/// Byte text in [...] stays as it is.
String normalise(std::string_view source);
/// The same with the place in the source of each byte that is left; of a run of white space the
/// first one.
String normalise(std::string_view source, std::vector<size_t>& places);

/// The position of the bracket that matches the one at `position`, walking backward from a closing
/// one; `position` itself when no bracket stands there. Inside [...] only [ and ] count; outside,
/// ( and { are not told apart.
int64_t match_bracket(std::string_view text, int64_t position);

/// The positions of all bytes of `set` that stand outside of every bracket, ascending. An opening
/// bracket can itself be a member of the set.
std::vector<int64_t> find_operators(std::string_view text, std::string_view set);

}  // namespace marl
