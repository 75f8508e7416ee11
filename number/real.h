// real: IEEE doubles, and the tree of their 64 bits.
//
// A real is a Leaf of a blank and the double's 8 bytes in memory order. Applied, it shows a perfect
// binary tree of V cells with the bits as leaves, K for 1 and H for 0, bit 0 at the far left.
#pragma once

#include "text/string.h"
#include "value/value.h"

namespace marl {

/// The double as the C library prints it for "%e".
String real_text(Node* real);
/// The real nearest to a hint in either form; `Z` for a list whose tail is no list.
Value hint_to_real(Node* hint);

/// The bit tree of a real.
Value real_unfold(Node* real);
/// Whether x has exactly the shape of a bit tree, cells and leaves by their first bytes.
bool real_is_tree(Node* x);
/// The double of a bit tree.
double real_fold(Node* tree);

}  // namespace marl
