// Backquotes: expressions that are evaluated once, when the program is checked.
#pragma once

#include <string_view>

#include "value/value.h"

namespace marl {

/// What becomes of a Pair that an expression holds more than once.
enum class Shared { copied, kept };

/// A definition with every backquoted expression that is closed replaced by its value. One with
/// free letters becomes U with its line, the definition's name, its text, and itself. Every other
/// Pair is a new one, made right before left; so the values are computed in that order, and
/// whatever the evaluation does happens now.
Value unquote(std::string_view name, Node* definition, Shared shared);

}  // namespace marl
