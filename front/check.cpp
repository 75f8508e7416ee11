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
#include "front/prelude.h"
#include "number/convert.h"
#include "number/kind.h"
#include "reduce/analysis.h"
#include "reduce/closure.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "text/rope.h"
#include "value/todo.h"

namespace marl {

namespace {

void forget_prelude(Module& module) {
    module.prelude = nullptr;
    prelude_definitions.clear();
}

// The definitions of the built-ins, which nobody else can define, have none of the faults; so they
// are no part of the module.

void publish_builtins(Module&) { define_builtins(); }

/// Adds what the backquotes have loaded.
void gather_definitions(Module& module) {
    for (const Symbol* symbol : defined_symbols()) {
        if (!symbol->builtin) module.definitions.try_emplace(symbol->name, symbol->definition);
    }
}

void empty_intern_set(Module&) { clear_intern_set(); }

/// The backquotes have made code of definitions that still change. What they have left becomes
/// nodes, and the run makes its own code.
void forget_early_code(Module& module) {
    if (!has_code()) return;
    for (const auto& [name, expression] : module.definitions) make_all_nodes(expression);
    for (const Symbol* symbol : defined_symbols()) make_all_nodes(symbol->definition);
    forget_code();
}

void intern_builtins(Module&) {
    std::unordered_map<Node*, Value> interned;  // many of them have one definition
    for (Symbol* symbol : defined_symbols()) {
        if (!symbol->builtin) continue;
        Value& shared = interned[symbol->definition];
        if (!shared) shared = intern(symbol->definition);
        set_definition(*symbol, shared);
    }
}

void drop_all_unsettled(Module&) { drop_unsettled_members(); }

void publish_entry(Module& module) { set_definition("", module.definitions[""]); }

void analyse_definitions(Module&) {
    for (Symbol* symbol : defined_symbols()) analyse(symbol->definition);
}

constexpr Stage parse_stages[] = {check_text, cut_text};

constexpr Stage check_stages[] = {
    add_records,
    add_prelude,
    expand_patterns,
    refuse_funky_keys,
    gather_references,
    refuse_dangling_names,
    remove_doomed,
    forget_prelude,
    note_names,
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

Report parse_program(String source, Module& module) {
    module.text = std::move(source);
    module.prelude = &prelude_definitions;
    Report report = run_stages(module, parse_stages);
    module.text = String();  // nothing looks at it again
    return report;
}

Report check_program(Module&& parsed) {
    const TodoArming unarmed(false);
    Module module = std::move(parsed);
    return run_stages(module, check_stages);
}

Report set_up_program(String source) {
    build_prelude();
    Module module;
    Report report = parse_program(std::move(source), module);
    return passed(report) ? check_program(std::move(module)) : report;
}

Value run_entry(int64_t arguments) {
    todo_armed = true;
    return reduce_call(symbol_of(""), from_i64(arguments));
}

Report report_on(Node* result) {
    if (is_leaf_of(result, ')')) return cycle_report(leaf_bytes(result).substr(1));
    if (!is_leaf(result) && is_leaf_of(left(result), ']')) return report_parse(text(right(result)));
    return kind_of(result) == 'i' ? Report() : range_report(result);
}

Report run_program(Module&& parsed, int64_t arguments) {
    if (Report report = check_program(std::move(parsed)); !passed(report)) return report;
    Value result = run_entry(arguments);
    if (Report report = report_on(result); !passed(report)) return report;
    set_definition("", std::move(result));
    return {};
}

}  // namespace marl
