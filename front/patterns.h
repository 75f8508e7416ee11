// The keys of lambdas and lets: pair patterns are taken apart, and whatever else is no name is
// found.
#pragma once

#include "value/value.h"

namespace marl {

/// The expression with each let whose key is a pair of two names, as in "x y{e}c", written as lets
/// of one name each. Every Pair is a new one.
Value expand_pair_patterns(Node* expression);

/// The first lambda or let whose key is no name, borrowed; null when there is none.
Node* find_funky(Node* expression);

}  // namespace marl
