// Expressions of a run in the language's own notation: operators between their operands, calls with
// their lists.
#pragma once

#include <cstddef>
#include <string>

#include "lab/shown.h"
#include "value/value.h"

namespace marl::lab {

/// The expression as a program could write it, with its local names as letters. What is long is
/// shortened.
std::string infix_text(Node* expression, const Room& room = {});

struct MarkedText {
    std::string text;
    size_t begin = 0;  // of the marked part
    size_t end = 0;
};

/// A state as one expression, its focus marked. Of the frames that wait as many are shown as there
/// is room for; three dots stand for the others.
MarkedText infix_state(Node* context, Node* focus, const Room& room = {});

}  // namespace marl::lab
