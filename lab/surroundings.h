// What stands around a place in a source that may be half typed.
#pragma once

#include <cstddef>
#include <string_view>

namespace marl::lab {

struct Surroundings {
    bool in_text = false;                         // between [ and ]
    size_t parenthesis = std::string_view::npos;  // the innermost one that is open there
    size_t commas = 0;                            // between that one and the place
};

/// The brackets behind the place needn't balance; those before it are looked at back to where a
/// line begins like a definition.
Surroundings surroundings_of(std::string_view source, size_t at);

}  // namespace marl::lab
