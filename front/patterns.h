// The keys of lambdas and lets: pair patterns are taken apart, and whatever else is no name is
// found.
#pragma once

#include <vector>

#include "value/value.h"

namespace marl {

/// Whether an expression is a let whose key is a pair of two names, as in "x y{e}c".
bool has_pair_pattern(Node* expression);
/// Whether the key of a lambda or let is neither a name nor, of a let, such a pair.
bool is_funky(Node* binder);

/// The expression with each let of a pair pattern written as lets of one name each. Every Pair is a
/// new one.
Value expand_pair_patterns(Node* expression);

/// The lambdas and lets that are funky, borrowed, from left to right. The first one alone unless
/// `all` is set.
std::vector<Node*> find_funky(Node* expression, bool all);

}  // namespace marl
