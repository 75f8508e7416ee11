// The end of a run: `todo` Values that the definitions hold run their actions while every
// definition is still in place.
#pragma once

#include "value/value.h"

namespace marl {

/// A copy of the expression in which every (todo x) y is the Leaf Z, also in arrays. Parts without
/// one are shared.
Value disarm(Node* expression);

/// Disarms all definitions, in key order, until no action makes new ones, and then empties the
/// tables.
void shutdown();

}  // namespace marl
