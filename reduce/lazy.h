// Lazy heads, and what the code of a body takes for granted about them.
#pragma once

#include <string_view>

#include "value/node.h"

namespace marl {

/// Whether a head is lazy: an application of it fires without a look at its arguments. A zits Pair
/// is strict.
bool is_lazy_head(const Node* head);
/// The same for the head with that text.
bool is_lazy_name(std::string_view name);

/// Whether `K`, `H` and `I` are defined as the prelude has them, so that a truth value picks one of
/// two operands.
bool truth_is_plain();
/// Whether `J` and `V` are, so that a list cell or a pair hands its parts over.
bool pairs_are_plain();

}  // namespace marl
