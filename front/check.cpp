// A program goes through the stages of a module, all of it as one: the prelude's definitions, the
// program's, and behind the backquotes those that they have loaded. In three parts: what the text
// says is tidied and refused where it can't run; it is published, and the backquotes are evaluated,
// which already runs code; then equal parts become one node and each is analysed for the run.
#include "front/check.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "front/intern.h"
#include "front/records.h"
#include "front/stages.h"
#include "number/convert.h"
#include "number/kind.h"
#include "reduce/analysis.h"
#include "reduce/exactness.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "text/rope.h"
#include "value/todo.h"

namespace marl {

namespace {

Report publish_records(Module&) {
    set_definition("_", leaf(record_text()));
    return {};
}

// The definitions of the built-ins, which nobody else can define, have none of the faults and refer
// to one name, `Z`; so they are no part of the module.

/// All definitions that the module has not; behind the backquotes, those that they have loaded.
Report gather_definitions(Module& module) {
    for (const Symbol* symbol : defined_symbols()) {
        if (symbol->builtin) continue;
        module.definitions.try_emplace(symbol->name, symbol->definition);
    }
    return {};
}

Report gather_references_of_builtins(Module& module) {
    const std::vector<Symbol*> of_builtin{&symbol_of("Z")};
    for (Symbol* symbol : defined_symbols()) {
        if (symbol->builtin) add_references(module.references, *symbol, of_builtin);
    }
    return {};
}

/// What the entry expression doesn't reach and can't work goes. A definition of the prelude comes
/// back in the place of such a one.
Report remove_doomed(Module& module) {
    // A built-in works whatever becomes of the name in its entry, which never runs.
    for (auto& [name, free] : module.references.entries) {
        if (name->builtin) free.clear();
    }
    for (Symbol* doomed : find_doomed(module.references)) {
        MARL_REQUIRE(!doomed->name.empty());
        const auto prelude = prelude_definitions.find(doomed->name);
        if (prelude != prelude_definitions.end()) {
            module.definitions[doomed->name] = prelude->second;
        } else {
            module.definitions.erase(doomed->name);
            erase_definition(*doomed);
        }
    }
    prelude_definitions.clear();
    return {};
}

/// A run that goes over to the plain machine has frames that are exact no more: a program that may
/// load a text of its own that names `todo` is exact from the start.
Report expect_loaded_todo(Module& module) {
    const auto loads = [](const References::Entry& entry) {
        return std::any_of(entry.free.begin(), entry.free.end(), [](const Symbol* name) {
            return name->name.view() == "load" || name->name.view() == "road";
        });
    };
    const auto& entries = module.references.entries;
    if (std::none_of(entries.begin(), entries.end(), loads)) return {};
    for (const auto& [name, definition] : module.definitions) {
        if (has_text_with(definition, "todo")) exactness_due = true;
    }
    return {};
}

Report empty_intern_set(Module&) {
    clear_intern_set();
    return {};
}

Report intern_builtins(Module&) {
    std::unordered_map<Node*, Value> interned;  // many of them have one definition
    for (Symbol* symbol : defined_symbols()) {
        if (!symbol->builtin) continue;
        Value& shared = interned[symbol->definition];
        if (!shared) shared = intern(symbol->definition);
        set_definition(*symbol, shared);
    }
    return {};
}

Report drop_all_unsettled(Module&) {
    drop_unsettled_members();
    return {};
}

Report publish_entry(Module& module) {
    set_definition("", module.definitions[""]);
    return {};
}

Report analyse_definitions(Module&) {
    for (Symbol* symbol : defined_symbols()) analyse(symbol->definition);
    return {};
}

constexpr Stage stages[] = {
    publish_records,
    gather_definitions,
    expand_patterns,
    refuse_funky_keys,
    gather_references,
    gather_references_of_builtins,
    refuse_dangling_names,
    expect_loaded_todo,
    remove_doomed,
    give_places,
    refuse_excess_parameters,
    publish,
    evaluate_backquotes,
    gather_definitions,
    empty_intern_set,
    intern_definitions,
    intern_builtins,
    drop_all_unsettled,
    refuse_unbound_locals,
    publish_entry,
    analyse_definitions,
};

Report cycle_report(std::string_view name) {
    Report report;
    report.kind = "cycle";
    report.say = joined({"Cycle detected on function ", name, "."});
    report.vip = clip_text(name, true);
    return report;
}

Report range_report(Node* result) {
    const String shown = print_value(result);
    Report report;
    report.kind = "range";
    report.say =
        joined({"The program must return an integer. Instead we encountered:\n", shown.view()});
    report.tip = clip_text(shown.view(), true);
    return report;
}

}  // namespace

Report check_program() {
    const TodoArming unarmed(false);
    Module module;
    return run_stages(module, stages);
}

Value run_entry(int64_t arguments) {
    todo_armed = true;
    return reduce(pair(Value::share(find_definition("")), from_i64(arguments)));
}

Report report_on(Node* result) {
    if (is_leaf_of(result, ')')) return cycle_report(leaf_bytes(result).substr(1));
    if (!is_leaf(result) && is_leaf_of(left(result), ']')) return report_parse(text(right(result)));
    return kind_of(result) == 'i' ? Report() : range_report(result);
}

Report run_program(int64_t arguments) {
    if (Report report = check_program(); !passed(report)) return report;
    Value result = run_entry(arguments);
    if (Report report = report_on(result); !passed(report)) return report;
    set_definition("", std::move(result));
    return {};
}

}  // namespace marl
