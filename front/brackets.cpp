// One pass tells whether all is well, two others what isn't. Forward, a stack of open brackets
// finds what dangles or doesn't fit. Backward, over brackets that are known to balance, a stack of
// closing ones with the leftmost comma seen in each finds a parenthesis that has commas and nothing
// to call. Going backward makes the last such parenthesis the one that is reported, and its first
// comma the place.
#include "front/brackets.h"

#include <string>

namespace marl {

namespace {

char byte_at(std::string_view text, int64_t i) { return text[static_cast<size_t>(i)]; }

/// Ends the walk at the first fault.
struct FirstFault {
    std::string_view text;
    std::optional<Fault> fault = {};

    void before(const std::vector<size_t>&, size_t) {}
    bool misfit(const std::vector<size_t>& open, size_t i) {
        const auto kind = open.empty()       ? Fault::dangling_right
                          : i == text.size() ? Fault::dangling_left
                                             : Fault::misfit;
        const size_t at = open.empty() ? i : open.back();
        const std::string_view behind = kind == Fault::misfit ? text.substr(i, 1) : "";
        fault = {.kind = kind,
                 .name = concat(text.substr(at, 1), behind),
                 .position = static_cast<int64_t>(at),
                 .closing = static_cast<int64_t>(i)};
        return false;
    }
};

/// Whether a parenthesis at i that holds a comma stands behind nothing that it could be applied to.
bool lacks_callee(std::string_view text, int64_t i) {
    return i == 0 || is_spacing_operator(static_cast<uint8_t>(byte_at(text, i - 1)));
}

}  // namespace

bool is_sound(std::string_view text) {
    constexpr Bytes counts = bytes_in("()[]{},");
    constexpr Bytes squares = bytes_in("[]");
    std::string open;  // a parenthesis that has something to call is a "c"
    for (size_t i = 0; (i = find_byte(text, i, counts)) < text.size(); ++i) {
        const char top = open.empty() ? ' ' : open.back();
        switch (text[i]) {
            case '(':
                open.push_back(lacks_callee(text, static_cast<int64_t>(i)) ? '(' : 'c');
                break;
            case '{': open.push_back('{'); break;
            case '[':
                for (int depth = 1; depth > 0; depth += text[i] == '[' ? 1 : -1) {
                    i = find_byte(text, i + 1, squares);
                    if (i == text.size()) return false;
                }
                break;
            case ')':
                if (top != '(' && top != 'c') return false;
                open.pop_back();
                break;
            case '}':
                if (top != '{') return false;
                open.pop_back();
                break;
            case ',':
                if (top == '(') return false;
                break;
            default: return false;  // a ] of nothing
        }
    }
    return open.empty();
}

std::optional<Fault> find_bracket_fault(std::string_view text) {
    FirstFault first{text};
    walk_brackets(text, first);
    return first.fault;
}

// Above each closing bracket, `seen` holds at most the leftmost of its commas so far.
std::vector<int64_t> find_misplaced_commas(std::string_view text, bool all) {
    constexpr Bytes counts = bytes_in("(){},]");
    std::vector<int64_t> misplaced;
    std::vector<int64_t> seen;
    for (int64_t i = static_cast<int64_t>(text.size()) - 1; i >= 0; --i) {
        const char byte = byte_at(text, i);
        if (!contains(counts, byte)) continue;
        const char top = seen.empty() ? '}' : byte_at(text, seen.back());
        if (byte == ']') {
            i = match_bracket(text, i);
        } else if (byte == ')' || byte == '}') {
            seen.push_back(i);
        } else if (byte == ',' && top == ')') {
            seen.push_back(i);
        } else if (byte == ',' && top == ',') {
            seen.back() = i;
        } else if (byte == '{') {
            seen.pop_back();
        } else if (byte == '(') {
            if (top == ',' && lacks_callee(text, i)) {
                misplaced.push_back(seen.back());
                if (!all) return misplaced;
            }
            if (top == ',') seen.pop_back();
            seen.pop_back();
        }
    }
    return misplaced;
}

}  // namespace marl
