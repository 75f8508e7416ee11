// Putting work into the context and taking it up again: what the machine's two loops share.
//
// Every function consumes the focus and gives the next one, an owned, analysed node.
#pragma once

#include <string_view>

#include "value/value.h"

namespace marl {

/// Holds back the last argument of an application; the focus is its function.
Node* hold_back_argument(Node* application);

/// Takes up { p b c: c with b for p when b is settled; else the focus is b, and the let waits.
Node* begin_let(Node* let);

/// Hands a settled focus to what waits on top of the context, which is neither the base of the run
/// nor an argument.
Node* hand_over(Node* value);

/// Whether a head is lazy: an application of it fires without a look at its arguments. A zits Pair
/// is strict.
bool is_lazy_head(const Node* head);
/// The same for the head with that text.
bool is_lazy_name(std::string_view name);

}  // namespace marl
