// A map from names to Symbols that only grows, with names of one byte in an array in front of it.
// The definitions are no table of their own: they are found by going through the Symbols, which
// happens a few times in a run, and never in a call.
#include "reduce/tables.h"

#include <algorithm>

#include "reduce/analysis.h"
#include "reduce/code.h"
#include "reduce/exactness.h"
#include "reduce/lambda.h"
#include "reduce/operators.h"

namespace marl {

std::map<String, Value> prelude_definitions;
bool exactness_due = false;

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

/// Whether an expression is \ x (\ y (y x)): what held-back arguments mean, and may be taken for as
/// long as it is so.
bool is_reversed_application(Node* e) {
    if (form(e) != Form::lambda || form(lambda_body(e)) != Form::lambda) return false;
    Node* x = lambda_key(e);
    Node* y = lambda_key(lambda_body(e));
    Node* body = lambda_body(lambda_body(e));
    return !is_leaf(body) && compare(x, y) != 0 && compare(left(body), y) == 0 &&
           compare(right(body), x) == 0;
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
    const std::string_view name = symbol.name.view();
    if (name == "todo") exactness_due = true;
    if (name == "raws" || name == "load" || name == "road") identity_matters = true;
    return symbol;
}

Node* find_definition(std::string_view name) {
    Symbol* symbol = find_symbol(name);
    return symbol ? symbol->definition.get() : nullptr;
}

namespace {

/// Code that a definition had may still be named by closures, which stand for parts of it.
struct Retired {
    std::unique_ptr<Unit> unit;
    Value definition;
};
std::vector<Retired> retired;

void retire(Symbol& symbol) {
    if (symbol.unit) retired.push_back({std::move(symbol.unit), symbol.definition});
}

}  // namespace

namespace {

/// Whether a definition gives another meaning to a name that the fast machine takes as given: a
/// held-back argument means T of it, and a backquote has a rank of 1.
bool is_seen_by_the_machine(const Symbol& symbol, Node* expression) {
    if (symbol.name.view() == "T") return !is_reversed_application(expression);
    return symbol.name.view() == "`" && symbol.parameters != 1;
}

}  // namespace

void set_definition(Symbol& symbol, Value expression) {
    symbol.parameters = count_parameters(expression);
    retire(symbol);
    if (is_seen_by_the_machine(symbol, expression)) exactness_due = true;
    symbol.definition = std::move(expression);  // last: what ends here may run a todo action
}

void set_definition(std::string_view name, Value expression) {
    set_definition(symbol_of(name), std::move(expression));
}

void erase_definition(Symbol& symbol) {
    retire(symbol);
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
    clear_lambda_units();
    retired.clear();
    exactness_due = false;
    identity_matters = false;
}

void bind_builtins() {
    for (const Row& row : builtin_table()) symbol_of(row.name).builtin = &row;
    bind_operators();
}

}  // namespace marl
