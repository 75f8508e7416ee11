// Substitution of a closed Value for one variable: how a lambda or a let takes its argument.
#pragma once

#include "value/value.h"

namespace marl {

/// `body` with `argument`, which is closed and analysed, in the place of every free occurrence of
/// the variable `letter` ("a" to "z", else a fatal stop). Parts in which the variable is not free
/// are shared with `body`. Both are borrowed; gives an owned reference, analysed.
Node* substitute(Node* body, Node* argument, char letter);

}  // namespace marl
