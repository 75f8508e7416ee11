// Combinators that the machine takes for what the prelude says, and what is lazy.
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
/// two operands, and `I` before an operand is the operand.
bool truth_is_plain();
/// Whether `J` and `V` are, so that a list cell or a pair hands its parts over.
bool pairs_are_plain();

/// Whether a definition of that name leaves to the name what the fast machine means by it.
bool keeps_meaning(std::string_view name, Node* definition);

}  // namespace marl
