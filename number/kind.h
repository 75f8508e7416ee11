// The kinds of data: one letter for every Value.
//
//   a post   c cray   e void   i hint   o numb   r real   u zits
//
// The letters' order is the order of the kinds. void is whatever is no data: combinators,
// functions, names, Z.
#pragma once

#include "reduce/analysis.h"
#include "value/value.h"

namespace marl {

/// The kind letter of a Value; looks at its first cell only, and never fails.
char kind_of(Node* x);

}  // namespace marl
