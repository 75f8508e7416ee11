// load and road: more program, compiled while the program runs.
#pragma once

#include "value/value.h"

namespace marl {

/// The value of the entry expression of the source text that x gives. Z for what gives none, and on
/// any fault in the text.
Value load_text(Node* x);
/// The same, but a fault gives the abort Value of its Report.
Value road_text(Node* x);

}  // namespace marl
