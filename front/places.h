// Places: every local name of a definition gets a letter of its own.
//
// The free variables of an expression are a set of 26 bits in its header, so a definition has at
// most 26 different local names. Names of one lower-case letter keep it; the others, in the order
// of their text, take the letters that are left.
#pragma once

#include "value/value.h"

namespace marl {

/// Renames the local names of a definition to letters; false when it has more than 26, and then it
/// stays as it is. Scope plays no part: a name that is bound anywhere in the definition is renamed
/// everywhere in it. Every key is a name.
bool assign_places(Value& definition);

}  // namespace marl
