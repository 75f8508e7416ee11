// What the built-ins take and give, as the reference's tables tell it.
#pragma once

#include <string>
#include <string_view>

#include "lab/sort.h"

namespace marl::lab {

struct Signature {
    std::string arguments;  // a letter each: I, N, M, R, z `zits`, p `post`, x any value
    Sort result;            // without `failure`, which nearly all can answer
    bool acts;              // or looks at what is outside of the program
};

/// Null for what is no built-in.
const Signature* signature_of(std::string_view builtin);

/// What an argument of a letter can be, so that the answer is not `Z`.
Sort accepted_by(char letter);

}  // namespace marl::lab
