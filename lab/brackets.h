// The brackets of a source: all of their faults, and a text without them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/message.h"

namespace marl::lab {

struct Mended {
    std::string text;             // as long as the source; its brackets balance
    std::vector<Message> faults;  // in the order of their places
    std::vector<Range> damage;    // where a piece can't be trusted; apart, in order
};

/// Finds every bracket that has no partner, and puts a blank in its place. A bracket that is still
/// open where a line begins like a definition is taken to end there.
Mended mend_brackets(std::string_view source);

/// The commas of each parenthesis that is no call list, the first one of each. The brackets
/// balance.
std::vector<Message> find_comma_faults(std::string_view source);

}  // namespace marl::lab
