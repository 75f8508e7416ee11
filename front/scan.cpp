// Square brackets come first in everything: what stands in them is data, so walks over parentheses
// and wings jump over them whole, and inside them nothing else counts. Round brackets and wings are
// counted together, since text that comes here balances.
#include "front/scan.h"

#include <cstring>

#include "text/fatal.h"

namespace marl {

namespace {

constexpr Bytes spacing_operators = bytes_in("\n #%&'*+,-./:;<=>?@\\^|");
constexpr Bytes opening_brackets = bytes_in("([{");
constexpr Bytes no_blank_behind = bytes_in("({}");
constexpr Bytes no_blank_before = bytes_in("){}");

constexpr Bytes ends_kept_run = bytes_in(" \n[");

/// Whether a run of white space between the two bytes means something.
bool separates(char before, char behind) {
    return !is_spacing_operator(static_cast<uint8_t>(before)) &&
           !is_spacing_operator(static_cast<uint8_t>(behind)) &&
           !contains(no_blank_behind, before) && !contains(no_blank_before, behind);
}

/// How far one byte takes a walk down (+1) or up (-1), for a walk from left to right.
int depth_change(char byte, bool square) {
    if (square) return byte == '[' ? 1 : byte == ']' ? -1 : 0;
    return byte == '(' || byte == '{' ? 1 : byte == ')' || byte == '}' ? -1 : 0;
}

bool is_square(char byte) { return byte == '[' || byte == ']'; }

/// Walks from a bracket to its match, with the brackets of one shape counting.
int64_t walk(std::string_view text, int64_t position, bool square, int direction) {
    const auto size = static_cast<int64_t>(text.size());
    int64_t depth = 0;
    for (int64_t i = position;; i += direction) {
        MARL_REQUIRE(i >= 0 && i < size);
        const char byte = text[static_cast<size_t>(i)];
        if (!is_bracket(byte)) continue;
        if (!square && is_square(byte)) {
            i = walk(text, i, true, direction);
            continue;
        }
        depth += depth_change(byte, square) * direction;
        MARL_REQUIRE(depth >= 0);
        if (depth == 0) return i;
    }
}

}  // namespace

char partner(char bracket) {
    switch (bracket) {
        case '(': return ')';
        case ')': return '(';
        case '[': return ']';
        case ']': return '[';
        case '{': return '}';
        case '}': return '{';
        default: return bracket;
    }
}

bool is_spacing_operator(uint8_t byte) { return spacing_operators[byte]; }

namespace {

/// `see(i, n)` is told of the n bytes from i on that are kept next; a blank stands for more.
template <class See>
String normalise_seen(std::string_view source, See see) {
    size_t end = source.size();
    while (end > 0 && is_white(source[end - 1])) --end;
    size_t i = 0;
    while (i < end && is_white(source[i])) ++i;

    const std::string_view all = source.substr(0, end);
    String normal = String::with_size(static_cast<int64_t>(end - i));
    char* const begin = normal.mutable_data();
    char* next = begin;
    while (i < end) {
        const size_t from = i;
        if (is_white(source[i])) {
            while (is_white(source[i])) ++i;
            if (!separates(source[from - 1], source[i])) continue;
            see(from, 1);
            *next++ = ' ';
        } else {
            i = source[i] == '['
                    ? static_cast<size_t>(match_bracket(source, static_cast<int64_t>(i)) + 1)
                    : find_byte(all, i, ends_kept_run);
            see(from, i - from);
            memcpy(next, &source[from], i - from);
            next += i - from;
        }
    }
    shorten(normal, next - begin);
    return normal;
}

}  // namespace

String normalise(std::string_view source) {
    return normalise_seen(source, [](size_t, size_t) {});
}

String normalise(std::string_view source, std::vector<size_t>& places) {
    return normalise_seen(source, [&](size_t i, size_t n) {
        for (; n > 0; --n) places.push_back(i++);
    });
}

int64_t match_bracket(std::string_view text, int64_t position) {
    const char byte = text[static_cast<size_t>(position)];
    if (!is_bracket(byte)) return position;
    const int direction = contains(opening_brackets, byte) ? 1 : -1;
    return walk(text, position, is_square(byte), direction);
}

std::vector<int64_t> find_operators(std::string_view text, std::string_view set) {
    std::vector<int64_t> positions;
    const Bytes wanted = bytes_in(set);
    Bytes counts = brackets;
    for (const char byte : set) counts[static_cast<uint8_t>(byte)] = true;
    for (size_t i = 0; (i = find_byte(text, i, counts)) < text.size(); ++i) {
        const auto at = static_cast<int64_t>(i);
        if (contains(wanted, text[i])) positions.push_back(at);
        if (is_bracket(text[i])) i = static_cast<size_t>(match_bracket(text, at));
    }
    return positions;
}

}  // namespace marl
