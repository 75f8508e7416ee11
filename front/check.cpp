// A program goes through the stages of a module, all of it as one: the prelude's definitions, the
// program's, and behind the backquotes those that they have loaded. In three parts: what the text
// says is tidied and refused where it can't run; it is published, and the backquotes are evaluated,
// which already runs code; then equal parts become one node and each is analysed for the run.
#include "front/check.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "front/intern.h"
#include "front/prelude.h"
#include "reduce/analysis.h"
#include "reduce/closure.h"
#include "reduce/definitions.h"
#include "reduce/tables.h"
#include "value/todo.h"

namespace marl {

namespace {

/// What nothing looks at from here on.
void forget_prelude_and_references(Module& module) {
    module.prelude = nullptr;
    prelude_definitions.clear();
    module.references = {};
}

// The definitions of the built-ins, which nobody else can define, have none of the faults; so they
// are no part of the module.

void publish_builtins(Module&) { define_builtins(); }

/// Adds what the backquotes have loaded. All that the module defines, but for the entry, is defined
/// by now.
void gather_definitions(Module& module) {
    if (!module.has_backquotes) return;
    const auto is_here = [](const Symbol& symbol) {
        return symbol.definition && !symbol.builtin && !symbol.name.empty();
    };
    size_t count = 0;
    for_each_symbol([&](const Symbol& symbol) { count += is_here(symbol); });
    if (count + module.definitions.contains(symbol_of("")) == module.definitions.size()) return;
    DefinitionList loaded;
    for_each_symbol([&](Symbol& symbol) {
        if (is_here(symbol)) loaded.set(symbol, symbol.definition);
    });
    module.definitions.add(loaded);
}

/// What the backquotes have left there.
void empty_intern_set(Module& module) {
    if (!module.shares_parts) clear_intern_set();
}

/// The backquotes have made code of definitions that still change. What they have left becomes
/// nodes, and the run makes its own code.
void forget_early_code(Module& module) {
    if (!module.has_backquotes || !has_code()) return;
    for (const auto& [symbol, expression] : module.definitions) make_all_nodes(expression);
    for (const Symbol* symbol : defined_symbols()) make_all_nodes(symbol->definition);
    forget_code();
}

void intern_builtins(Module&) {
    std::vector<Value> by_arity = builtin_definitions;
    for (Value& definition : by_arity) definition = intern_written(std::move(definition));
    set_builtin_definitions(std::move(by_arity));
}

void drop_all_unsettled(Module&) { drop_unsettled_members(); }

void publish_entry(Module& module) {
    Symbol& entry = symbol_of("");
    set_definition(entry, module.definitions.find(entry)->expression);
}

void analyse_definitions(Module& module) {
    for (const auto& [symbol, slot] : module.definitions) analyse(symbol->definition);
    for (const Value& definition : builtin_definitions) analyse(definition);
}

constexpr Stage parse_stages[] = {check_text, cut_text};

constexpr Stage check_stages[] = {
    add_records,
    expand_patterns,
    refuse_funky_keys,
    add_prelude,  // none of its keys is a pattern
    gather_references,
    refuse_dangling_names,
    remove_doomed,
    note_names,
    forget_prelude_and_references,
    give_places,
    refuse_excess_parameters,
    publish_builtins,
    publish,
    evaluate_backquotes,
    gather_definitions,
    empty_intern_set,
    forget_early_code,
    intern_definitions,
    intern_builtins,
    drop_all_unsettled,
    refuse_unbound_locals,
    publish_entry,
    analyse_definitions,
};

}  // namespace

Report parse_program(String source, Module& module) {
    module.text = std::move(source);
    module.prelude = &prelude_definitions;
    return run_stages(module, parse_stages);
}

Report check_program(Module&& parsed) {
    const TodoArming unarmed(false);
    Module module = std::move(parsed);
    return run_stages(module, check_stages);
}

}  // namespace marl
