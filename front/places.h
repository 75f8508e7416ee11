// Places: every local name of a definition gets a letter of its own.
//
// The free variables of an expression are a set of 26 bits in its header, so a definition has at
// most 26 different local names. Names of one lower-case letter keep it; the others, in the order
// of their text, take the letters that are left.
#pragma once

#include <cstdint>
#include <set>
#include <string_view>

#include "value/value.h"

namespace marl {

/// The names that a definition binds, as they are written; up to the first one too many.
struct LocalNames {
    uint32_t letters = 0;                   // bit i for "a" + i
    std::set<std::string_view> long_names;  // the others; borrowed from the definition's Leaves
    Node* excess = nullptr;                 // the Leaf of the 27th name, borrowed

    bool contains(std::string_view key) const;
};
LocalNames local_names(Node* definition);

/// Renames the local names of a definition, which are these and not too many, to letters. Scope
/// plays no part: a name that is bound anywhere in the definition is renamed everywhere in it.
/// Every key is a name.
void assign_places(Value& definition, LocalNames names);

}  // namespace marl
