// The bracket check: the first look at a source text, before anything is cut or moved.
//
// All later stages take balanced brackets for granted. This one proves them, and proves that every
// comma inside a parenthesis stands in a call list. Positions are those of the raw source.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "front/fault.h"
#include "front/scan.h"

namespace marl {

/// Goes through the brackets that count: in square brackets no others do. `mend` is given the
/// positions of the open ones, which it may change:
///
///   before(open, i)    the walk gets to the byte at i
///   misfit(open, i)    the bracket at i doesn't close the innermost open one, or there is none; at
///                      the end of the text, some are open. False ends the walk.
template <class Mend>
void walk_brackets(std::string_view text, Mend& mend) {
    std::vector<size_t> open;
    for (size_t i = 0; i < text.size(); ++i) {
        mend.before(open, i);
        const char byte = text[i];
        if (!is_bracket(byte)) continue;
        const bool in_bytes = !open.empty() && text[open.back()] == '[';
        if (in_bytes && byte != '[' && byte != ']') continue;
        if (byte == '(' || byte == '[' || byte == '{') {
            open.push_back(i);
        } else if (!open.empty() && text[open.back()] == partner(byte)) {
            open.pop_back();
        } else if (!mend.misfit(open, i)) {
            return;
        }
    }
    if (!open.empty()) mend.misfit(open, text.size());
}

/// Whether a text has no fault of the kinds below, as nearly every one.
bool is_sound(std::string_view text);

/// The first bracket fault, from left to right.
std::optional<Fault> find_bracket_fault(std::string_view text);

/// The leftmost comma of each parenthesis that has commas and nothing to call, from the last such
/// parenthesis on; of that one alone unless `all` is set. The brackets balance.
std::vector<int64_t> find_misplaced_commas(std::string_view text, bool all);

}  // namespace marl
