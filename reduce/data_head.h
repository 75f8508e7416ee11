// The seam between the machine and the kinds of data: data in function position.
#pragma once

#include "value/value.h"

namespace marl {

/// What a data head (a number, post, real, cray, or zits Leaf or Pair) applied to a settled
/// argument gives: its structure as combinator terms. Any closed expression; `Z` is its only
/// failure. Defined in number/unfold.cpp.
Value unfold_data(Value head, Value argument);

}  // namespace marl
