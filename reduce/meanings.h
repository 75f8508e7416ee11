// Combinators that the machine takes for what the prelude says.
#pragma once

#include <string_view>

#include "value/node.h"

namespace marl {

/// Whether `K`, `H` and `I` are defined as the prelude has them, so that a truth value picks one of
/// two operands, and `I` before an operand is the operand.
bool truth_is_plain();
/// Whether `J` and `V` are, so that a list cell or a pair hands its parts over.
bool pairs_are_plain();

/// Whether a definition of that name leaves to the name what the fast machine means by it.
bool keeps_meaning(std::string_view name, Node* definition);

}  // namespace marl
