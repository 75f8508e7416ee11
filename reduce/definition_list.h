// Definitions in key order, as the front end has them before the tables do.
//
// The entry expression of a program stands under the empty name, and so comes first. What is set
// goes to the end of the row; whoever looks at the row next has it put in its place.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "reduce/tables.h"

namespace marl {

class DefinitionList {
  public:
    struct Entry {
        Symbol* symbol;
        Value expression;
    };

    /// Defines a name, whatever it was defined as before.
    void set(Symbol& symbol, Value expression) { row_.push_back({&symbol, std::move(expression)}); }
    /// Takes the definition of a name away, if there is one.
    void erase(const Symbol& symbol);
    /// The definition of a name, null when there is none. It stays where it is until the next call
    /// of `set` or `erase`.
    const Entry* find(const Symbol& symbol) const;
    Entry* find(const Symbol& symbol) {
        return const_cast<Entry*>(std::as_const(*this).find(symbol));
    }
    bool contains(const Symbol& symbol) const { return find(symbol) != nullptr; }
    /// Adds what another list defines and this one doesn't.
    void add(const DefinitionList& other);
    void clear();

    // In key order.
    auto begin() { return in_order().begin(); }
    auto end() { return in_order().end(); }
    auto begin() const { return std::as_const(in_order()).begin(); }
    auto end() const { return std::as_const(in_order()).end(); }
    size_t size() const { return in_order().size(); }

  private:
    std::vector<Entry>& in_order() const;

    // A look puts them in order, which nobody can tell.
    mutable std::vector<Entry> row_;
    mutable size_t in_place_ = 0;  // so many of the first are in order, each name once
};

}  // namespace marl
