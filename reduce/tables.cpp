// A map from names to Symbols that only grows, with names of one byte in an array in front of it.
// The definitions are no table of their own: they are found by going through the Symbols, which
// happens a few times in a run, and never in a call.
#include "reduce/tables.h"

#include <map>

namespace marl {

namespace {

// Keyed by views of the symbols' own names. Never destroyed: Leaves point into it to the end.
using SymbolMap = std::map<std::string_view, std::unique_ptr<Symbol>>;
SymbolMap& symbols() {
    static auto* map = new SymbolMap;
    return *map;
}

// Names of one byte, which most Leaves hold, are found without a search.
Symbol* one_byte_symbols[256];

}  // namespace

Symbol* find_symbol(std::string_view name) {
    if (name.size() == 1) return one_byte_symbols[static_cast<uint8_t>(name[0])];
    const auto found = symbols().find(name);
    return found == symbols().end() ? nullptr : found->second.get();
}

Symbol& symbol_of(std::string_view name) {
    if (name.size() == 1) {
        if (Symbol* known = find_symbol(name)) return *known;
    }
    // The first names of a process come in order.
    const bool is_last = !symbols().empty() && symbols().rbegin()->first < name;
    const auto place = is_last ? symbols().end() : symbols().lower_bound(name);
    if (place != symbols().end() && place->first == name) return *place->second;
    auto made = std::make_unique<Symbol>();
    made->name = String(name);
    Symbol& symbol = *made;
    symbols().emplace_hint(place, symbol.name.view(), std::move(made));
    if (name.size() == 1) one_byte_symbols[static_cast<uint8_t>(name[0])] = &symbol;
    return symbol;
}

Symbol& bind_symbol(Node* name_leaf) {
    Symbol& symbol = symbol_of(leaf_bytes(name_leaf));
    symbol_slot(name_leaf) = &symbol;
    return symbol;
}

Node* find_definition(std::string_view name) {
    Symbol* symbol = find_symbol(name);
    return symbol ? symbol->definition.get() : nullptr;
}

Symbol* next_defined_symbol(const Symbol* after) {
    const auto& map = symbols();
    auto next = after ? map.upper_bound(after->name.view()) : map.begin();
    while (next != map.end() && !next->second->definition) ++next;
    return next == map.end() ? nullptr : next->second.get();
}

void for_each_symbol(const std::function<void(Symbol&)>& see) {
    for (const auto& [name, symbol] : symbols()) see(*symbol);
}

std::vector<Symbol*> defined_symbols() {
    std::vector<Symbol*> defined;
    for (const auto& [name, symbol] : symbols()) {
        if (symbol->definition) defined.push_back(symbol.get());
    }
    return defined;
}

}  // namespace marl
