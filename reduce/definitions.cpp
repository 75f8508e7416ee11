// A definition that loses its code gives it up only when no frame and no closure can be of it any
// more, which is when the program is forgotten or the plain machine takes over.
#include "reduce/definitions.h"

#include "reduce/analysis.h"
#include "reduce/calm.h"
#include "reduce/changing.h"
#include "reduce/needs.h"
#include "reduce/retire.h"

namespace marl {

DefinitionList prelude_definitions;

Symbol::Symbol() = default;
Symbol::~Symbol() = default;

namespace {

/// The lambdas at the top of a definition, 11 for that many or more.
int8_t count_parameters(Node* definition) {
    int8_t count = 0;
    for (Node* x = definition; count < rank_variable && form(x) == Form::lambda; ++count) {
        x = lambda_body(x);
    }
    return count;
}

// Code that definitions have lost, which closures may still be of.
std::vector<std::unique_ptr<Code>> lost_code;

void lose_code(Symbol& symbol) {
    if (symbol.code) lost_code.push_back(std::move(symbol.code));
}

}  // namespace

void set_definition(Symbol& symbol, Value expression) {
    if (symbol.definition.get() == expression.get()) return;
    symbol.parameters = count_parameters(expression);
    note_definition(symbol.name, expression);
    replace_definition(symbol, std::move(expression));
}

void replace_definition(Symbol& symbol, Value equal) {
    lose_code(symbol);
    forget_calm();
    symbol.definition = std::move(equal);  // last: what ends here may run a todo action
}

void set_definition(std::string_view name, Value expression) {
    set_definition(symbol_of(name), std::move(expression));
}

void erase_definition(Symbol& symbol) {
    lose_code(symbol);
    forget_calm();
    symbol.definition = Value();
}

void clear_definitions() {
    for_each_symbol([](Symbol& symbol) {
        erase_definition(symbol);
        symbol.unmemoised = false;
    });
    builtin_definitions.clear();
    forget_code();
    clear_needs();
}

DefinitionsChange::DefinitionsChange()
    : lost_before_(lost_code.size()), changed_before_(std::exchange(definitions_change, true)) {
    for_each_symbol([&](const Symbol& symbol) {
        if (symbol.code) coded_before_.push_back(&symbol);
    });
}

DefinitionsChange::~DefinitionsChange() { definitions_change = changed_before_; }

void DefinitionsChange::changed() {
    auto before = coded_before_.begin();
    for_each_symbol([&](const Symbol& symbol) {
        const bool is_older = before != coded_before_.end() && *before == &symbol;
        if (is_older) ++before;
        if (symbol.code && !is_older) make_anew(*symbol.code);
    });
    for (size_t i = lost_before_; i < lost_code.size(); ++i) make_anew(*lost_code[i]);
}

bool has_code() {
    bool found = !lost_code.empty();
    for_each_symbol([&](Symbol& symbol) { found = found || symbol.code != nullptr; });
    return found;
}

void forget_code() {
    for_each_symbol([](Symbol& symbol) { symbol.code.reset(); });
    lost_code.clear();
}

void retire_code() {
    for_each_symbol(lose_code);
    for (const auto& code : lost_code) retire(*code);
}

void set_builtin_definitions(std::vector<Value> by_arity) {
    builtin_definitions = std::move(by_arity);
    for_each_symbol([](Symbol& symbol) {
        if (symbol.builtin) define_builtin(symbol);
    });
}

}  // namespace marl
