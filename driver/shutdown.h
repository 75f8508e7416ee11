// The end of a run: `todo` Values that the definitions hold run their actions while every
// definition is still in place.
#pragma once

#include "value/value.h"

namespace marl {

/// A copy of the expression in which every (todo x) y is the Leaf Z. Parts without one are shared.
/// The elements of crays stay as they are.
Value disarm(Node* expression);

/// Disarms all definitions, in key order, and then empties the tables.
void shutdown();

}  // namespace marl
