// One walk with a stack of open brackets. A closing bracket takes the innermost one that it fits;
// those that stand open above it are given up, and what would have closed them later is awaited, so
// that one slip gives one message. Where a line looks like the begin of a definition all open ones
// are given up.
#include "lab/brackets.h"

#include <algorithm>
#include <map>

#include "front/brackets.h"
#include "front/scan.h"

namespace marl::lab {

namespace {

/// Whether a line begins at i that looks like a definition's first: a word, perhaps (), a
/// backslash, behind a comma that ends the line before.
bool begins_definition(std::string_view source, size_t i) {
    if (!is_word_byte(static_cast<uint8_t>(source[i]))) return false;
    size_t before = i;
    while (before > 0 && is_white(source[before - 1])) --before;
    if (before == i || before == 0 || source[before - 1] != ',') return false;
    size_t behind = i;
    while (behind < source.size() && is_word_byte(static_cast<uint8_t>(source[behind]))) ++behind;
    if (behind < i + 2) return false;
    if (source.substr(behind, 2) == "()") behind += 2;
    return behind < source.size() && source[behind] == '\\';
}

struct Mending {
    std::string_view source;
    Lines lines;
    Mended result;
    std::map<char, size_t> awaited;  // closing brackets whose opening one was given up
    Range blank = {};                // of byte text, the last that became blanks

    /// The open brackets at the bottom among which none fits a closing one. They are the same as
    /// long as the topmost of them is.
    struct Barren {
        size_t count = 0;
        size_t topmost = 0;
    };
    std::map<char, Barren> barren;

    using Open = std::vector<size_t>;

    /// Of byte text that is never closed all bytes become blanks: they needn't balance as program
    /// text.
    void fault(size_t at, std::string say, size_t damage_end) {
        result.faults.push_back({{at, at + 1}, Severity::fault, "match", std::move(say)});
        result.damage.push_back({at, damage_end});
        size_t blank_end = source[at] == '[' ? damage_end : at + 1;
        if (blank_end == blank.end && at <= blank.begin) blank_end = blank.begin;
        for (size_t i = at; i < blank_end; ++i) result.text[i] = ' ';
        if (source[at] == '[') blank = {at, damage_end};
    }

    /// The number of open brackets up to the innermost one that a closing one fits; 0 without one.
    size_t fitting(const Open& open, char closing) {
        Barren& known = barren[closing];
        const bool same =
            known.count > 0 && known.count <= open.size() && open[known.count - 1] == known.topmost;
        const size_t least = same ? known.count : 0;
        for (size_t count = open.size(); count > least; --count) {
            if (source[open[count - 1]] == partner(closing)) return count;
        }
        known = {open.size(), open.empty() ? 0 : open.back()};
        return 0;
    }

    std::string place(size_t at) const {
        const size_t line = lines.line_of(at);
        return std::to_string(line + 1) + ":" + std::to_string(at - lines.begin_of(line) + 1);
    }

    void give_up_all(Open& open, size_t at) {
        for (; !open.empty(); open.pop_back()) {
            const std::string where =
                at == source.size() ? "" : " before the definition at " + place(at);
            fault(open.back(), ticked(source[open.back()]) + " is never closed" + where + ".", at);
        }
    }

    void before(Open& open, size_t i) {
        if (!open.empty() && begins_definition(source, i)) give_up_all(open, i);
    }

    bool misfit(Open& open, size_t i) {
        if (i == source.size()) {
            give_up_all(open, i);
            return true;
        }
        const char c = source[i];
        const size_t fits = fitting(open, c);
        if (fits == 0) {
            close_nothing(open, i);
            return true;
        }
        const size_t opened = open[fits - 1];
        for (; source[open.back()] != partner(c); open.pop_back()) {
            const char opening = source[open.back()];
            ++awaited[partner(opening)];
            fault(open.back(),
                  ticked(opening) + " is still open where the " + ticked(c) + " at " + place(i) +
                      " comes, which closes the " + ticked(source[opened]) + " before it.",
                  i);
        }
        open.pop_back();
        return true;
    }

    void close_nothing(const Open& open, size_t i) {
        const char c = source[i];
        if (awaited[c] > 0) {
            --awaited[c];
            result.text[i] = ' ';
            result.damage.push_back({i, i + 1});
        } else if (open.empty()) {
            fault(i, ticked(c) + " closes nothing.", i + 1);
        } else {
            const size_t at = open.back();
            fault(i,
                  ticked(c) + " doesn't fit the " + ticked(source[at]) + " at " + place(at) +
                      ", which is still open.",
                  i + 1);
        }
    }
};

/// The same bytes in ranges that don't touch, in the order of their places.
std::vector<Range> apart(std::vector<Range> ranges) {
    std::sort(ranges.begin(), ranges.end(),
              [](const Range& a, const Range& b) { return a.begin < b.begin; });
    std::vector<Range> merged;
    for (const Range& range : ranges) {
        if (merged.empty() || merged.back().end < range.begin) {
            merged.push_back(range);
        } else {
            merged.back().end = std::max(merged.back().end, range.end);
        }
    }
    return merged;
}

}  // namespace

Mended mend_brackets(std::string_view source) {
    Mending mending{source, Lines(source), {std::string(source), {}, {}}, {}, {}, {}};
    if (find_bracket_fault(source)) walk_brackets(source, mending);
    std::sort(mending.result.faults.begin(), mending.result.faults.end(),
              [](const Message& a, const Message& b) { return a.range.begin < b.range.begin; });
    mending.result.damage = apart(std::move(mending.result.damage));
    return mending.result;
}

std::vector<Message> find_comma_faults(std::string_view source) {
    std::vector<Message> faults;
    for (const int64_t comma : find_misplaced_commas(source, true)) {
        const auto at = static_cast<size_t>(comma);
        faults.push_back({{at, at + 1},
                          Severity::fault,
                          "comma",
                          "A call list stands directly behind what it is applied to, as in "
                          "`f(a,b)`; this parenthesis stands behind nothing, a blank or an "
                          "operator."});
    }
    return faults;
}

}  // namespace marl::lab
