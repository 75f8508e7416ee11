// A map from names to Symbols that only grows, with names of one byte in an array in front of it.
// The definitions are no table of their own: they are found by going through the Symbols, which
// happens a few times in a run, and never in a call.
#include "reduce/tables.h"

#include <algorithm>

#include "reduce/analysis.h"
#include "reduce/code.h"
#include "reduce/needs.h"
#include "reduce/operators.h"

namespace marl {

std::map<String, Value> prelude_definitions;

namespace {

// Keyed by views of the symbols' own names. Never destroyed: Leaves point into it to the end.
using SymbolMap = std::map<std::string_view, std::unique_ptr<Symbol>>;
SymbolMap& symbols() {
    static auto* map = new SymbolMap;
    return *map;
}

// Names of one byte, which most Leaves hold, are found without a search.
Symbol* one_byte_symbols[256];

/// The lambdas at the top of a definition, 11 for that many or more.
int count_parameters(Node* definition) {
    int count = 0;
    for (Node* x = definition; count < rank_variable && form(x) == Form::lambda; ++count) {
        x = lambda_body(x);
    }
    return count;
}

}  // namespace

Symbol::Symbol() = default;
Symbol::~Symbol() = default;

Symbol* find_symbol(std::string_view name) {
    if (name.size() == 1) return one_byte_symbols[static_cast<uint8_t>(name[0])];
    const auto found = symbols().find(name);
    return found == symbols().end() ? nullptr : found->second.get();
}

Symbol& symbol_of(std::string_view name) {
    if (name.size() == 1) {
        if (Symbol* known = find_symbol(name)) return *known;
    }
    const auto place = symbols().lower_bound(name);
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

namespace {

// Code that definitions have lost, which closures may still be of.
std::vector<std::unique_ptr<Code>> lost_code;

void lose_code(Symbol& symbol) {
    if (symbol.code) lost_code.push_back(std::move(symbol.code));
}

}  // namespace

void set_definition(Symbol& symbol, Value expression) {
    symbol.parameters = count_parameters(expression);
    lose_code(symbol);
    note_definition(symbol.name.view(), expression);
    symbol.definition = std::move(expression);  // last: what ends here may run a todo action
}

void set_definition(std::string_view name, Value expression) {
    set_definition(symbol_of(name), std::move(expression));
}

void erase_definition(Symbol& symbol) {
    lose_code(symbol);
    symbol.definition = Value();
}

Symbol* next_defined_symbol(const Symbol* after) {
    const auto& map = symbols();
    auto next = after ? map.upper_bound(after->name.view()) : map.begin();
    while (next != map.end() && !next->second->definition) ++next;
    return next == map.end() ? nullptr : next->second.get();
}

std::vector<Symbol*> defined_symbols() {
    std::vector<Symbol*> defined;
    for (const auto& [name, symbol] : symbols()) {
        if (symbol->definition) defined.push_back(symbol.get());
    }
    return defined;
}

void clear_definitions() {
    for (const auto& [name, symbol] : symbols()) {
        erase_definition(*symbol);
        symbol->unmemoised = false;
    }
    forget_code();
    clear_needs();
}

bool has_code() {
    const auto owns_code = [](const auto& entry) { return entry.second->code != nullptr; };
    return !lost_code.empty() || std::any_of(symbols().begin(), symbols().end(), owns_code);
}

void forget_code() {
    for (const auto& [name, symbol] : symbols()) symbol->code.reset();
    lost_code.clear();
}

void retire_code() {
    for (const auto& [name, symbol] : symbols()) {
        lose_code(*symbol);
    }
    for (const auto& code : lost_code) retire(*code);
}

void bind_builtins() {
    for (const Builtin& row : builtin_table()) symbol_of(row.name).builtin = &row;
    bind_operators();
}

}  // namespace marl
