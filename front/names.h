// What definitions refer to, and what follows from it: which are alive and which can't work.
//
// A name is undefined when none of the definitions at hand has it and it is no built-in; for a text
// that is loaded, when no definition stands in the program's tables either. A name of the tables
// alone counts as defined and is not followed. A built-in refers to `Z`, which it may answer.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <unordered_set>
#include <vector>

#include "front/scan.h"
#include "reduce/tables.h"
#include "value/value.h"

namespace marl {

/// Whether a Leaf refers to something by its name. The marks of lambda and let do not.
bool is_reference(Node* leaf);

/// A Leaf, borrowed, that stands for a name which is free there.
struct Use {
    Node* leaf;
    Symbol* name;
};
/// All of them in an expression, from left to right. Every key of a lambda or let in it is a name.
std::vector<Use> free_uses(Node* expression);
/// Their names, in the order of their text.
std::vector<Symbol*> free_names(Node* expression);

/// Some definitions, and the names that each of them refers to. A Symbol knows its entry in those
/// that it was entered in last, so no two are filled or asked in turn.
struct References {
    struct Entry {
        Symbol* name;
        uint32_t begin;  // of what it refers to, in `names`
        uint32_t end;
    };
    std::vector<Entry> entries;
    std::vector<Symbol*> names;
    bool beside_tables = false;  // of a text that is loaded: what the tables define is defined, too

    std::span<Symbol* const> of(const Entry& entry) const {
        return std::span(names).subspan(entry.begin, entry.end - entry.begin);
    }
    /// The entry of a name, if there is one.
    const Entry* find(const Symbol* name) const {
        const bool is_here = name->entry < entries.size() && entries[name->entry].name == name;
        return is_here ? &entries[name->entry] : nullptr;
    }
};

/// Enters a definition that refers to these names, in the place of one of the same name.
void add_references(References& references, Symbol& name, std::span<Symbol* const> free);
/// The same with the names in a definition as a parse has found them, which binds letters alone.
void add_written_references(References& references, Symbol& name, std::span<Symbol* const> names,
                            const ByteBits& letters);

struct ByName {
    bool operator()(const Symbol* a, const Symbol* b) const { return a->name < b->name; }
};

using Symbols = std::unordered_set<const Symbol*>;

bool is_undefined(const References& references, const Symbol* name);

/// An undefined name, and the definition that refers to it.
struct Dangling {
    Symbol* from;
    Symbol* name;
};

struct Alive {
    Symbols names;
    std::optional<Dangling> dangling;  // the first one
};

/// Follows the names from the roots, always the smallest one not visited yet. The first undefined
/// one ends it unless `all` is set.
Alive find_alive(const References& references, const std::vector<String>& roots, bool all);

/// The definitions that can't work: those that refer to an undefined name, and those that refer to
/// one of these; but for what is known to be alive, which is at fault itself. In no particular
/// order.
std::vector<Symbol*> find_doomed(const References& references, const Symbols& alive);

}  // namespace marl
