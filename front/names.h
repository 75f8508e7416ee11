// What definitions refer to, and what follows from it: which are alive and which can't work.
//
// A name is undefined when none of the definitions at hand has it and no definition stands in the
// program's tables either. A name of the tables alone counts as defined and is not followed.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "reduce/tables.h"
#include "value/value.h"

namespace marl {

/// The names that are free in an expression, in the order of their text. Every key of a lambda or
/// let in it is a name.
std::vector<Symbol*> free_names(Node* expression);

/// Whether a text in an expression has the word in it.
bool has_text_with(Node* expression, std::string_view word);

/// Some definitions, and the names that each of them refers to.
struct References {
    struct Entry {
        Symbol* name;
        std::vector<Symbol*> free;
    };
    std::vector<Entry> entries;
    std::unordered_map<const Symbol*, size_t> places;  // of the names in `entries`
};

/// Enters a definition that refers to these names.
void add_references(References& references, Symbol& name, std::vector<Symbol*> free);

/// An undefined name, and the definition that refers to it.
struct Dangling {
    Symbol* from;
    Symbol* name;
};

/// Follows the names from the entry, the definition of the empty name, always the smallest one not
/// visited yet; gives the first undefined one.
std::optional<Dangling> find_dangling(const References& references);

/// The definitions that can't work: those that refer to an undefined name, and those that refer to
/// one of these. In no particular order.
std::vector<Symbol*> find_doomed(const References& references);

}  // namespace marl
