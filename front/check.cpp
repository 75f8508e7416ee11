#include "front/check.h"

#include <algorithm>
#include <bit>
#include <initializer_list>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "front/backquote.h"
#include "front/intern.h"
#include "front/names.h"
#include "front/patterns.h"
#include "front/places.h"
#include "front/rebuild.h"
#include "front/records.h"
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

/// A sentence about a definition: "Place error." for the entry expression, else
/// "Place error in function f.".
String sentence(std::string_view fault, const String& name) {
    if (name.empty()) return joined({fault, "."});
    return joined({fault, " in function ", name.view(), "."});
}

Report dangling_report(const Dangling& dangling) {
    const bool from_entry = !dangling.from || dangling.from->name.empty();
    const std::string_view shown = from_entry ? "TOP" : dangling.from->name.view();
    const std::string_view name = dangling.name->name.view();
    Report report;
    report.kind = "alive";
    report.say = joined({"Alive function ", shown, " references undefined ", name, "."});
    report.vip = fit_line(shown);
    report.tip = fit_line(name);
    return report;
}

// The stages. Each goes over all definitions in key order, the entry expression first. Those of the
// built-ins, which nobody else can define, have none of the faults and refer to one name, `Z`; so
// most stages leave them out.

std::vector<Symbol*> written_symbols() {
    std::vector<Symbol*> symbols = defined_symbols();
    std::erase_if(symbols, [](const Symbol* symbol) { return symbol->builtin != nullptr; });
    return symbols;
}

Report publish_records() {
    set_definition("_", leaf(record_text()));
    return {};
}

Report expand_patterns() {
    for (Symbol* symbol : written_symbols()) {
        set_definition(*symbol, expand_pair_patterns(symbol->definition));
    }
    return {};
}

Report refuse_funky_keys() {
    for (Symbol* symbol : written_symbols()) {
        if (Node* offender = find_funky(symbol->definition)) {
            return funky_report(symbol->name, offender);
        }
    }
    return {};
}

/// A definition of the prelude comes back in the place of a doomed one.
void remove_doomed(const References& references) {
    for (Symbol* doomed : find_doomed(references)) {
        MARL_REQUIRE(!doomed->name.empty());
        const auto prelude = prelude_definitions.find(doomed->name);
        if (prelude != prelude_definitions.end()) {
            set_definition(*doomed, prelude->second);
        } else {
            erase_definition(*doomed);
        }
    }
    prelude_definitions.clear();
}

/// A run can't change machines: a program that may load a text of its own that names `todo` needs
/// exactness from the start.
void expect_loaded_todo(const References& references) {
    const auto loads = [](const References::Entry& entry) {
        return std::any_of(entry.free.begin(), entry.free.end(), [](const Symbol* name) {
            return name->name.view() == "load" || name->name.view() == "road";
        });
    };
    if (std::none_of(references.entries.begin(), references.entries.end(), loads)) return;
    for (const auto& [name, free] : references.entries) {
        if (has_text_with(name->definition, "todo")) exactness_due = true;
    }
}

/// What the entry expression reaches must be defined; what it doesn't reach and can't work goes.
Report settle_names() {
    References references;
    const std::vector<Symbol*> of_builtin{&symbol_of("Z")};
    for (Symbol* symbol : defined_symbols()) {
        add_references(references, *symbol,
                       symbol->builtin ? of_builtin : free_names(symbol->definition));
    }
    if (const auto dangling = find_dangling(references)) return dangling_report(*dangling);
    expect_loaded_todo(references);
    // A built-in works whatever becomes of the names in its entry, which never runs.
    for (auto& [name, free] : references.entries) {
        if (name->builtin) free.clear();
    }
    remove_doomed(references);
    return {};
}

Report give_places() {
    for (Symbol* symbol : written_symbols()) {
        Value definition = symbol->definition;
        if (!assign_places(definition)) return place_report(symbol->name);
        set_definition(*symbol, std::move(definition));
    }
    return {};
}

Report refuse_excess_parameters() {
    for (Symbol* symbol : written_symbols()) {
        if (has_excess_parameters(symbol->definition)) return arity_report(symbol->name);
    }
    return {};
}

Report evaluate_backquotes() {
    const auto is_backquote = [](Node* node) { return is_leaf_of(node, '`'); };
    for (Symbol* symbol : written_symbols()) {
        if (!any_node(symbol->definition, is_backquote)) continue;
        set_definition(*symbol, unquote(symbol->name, symbol->definition, Shared::kept));
    }
    return {};
}

Report share_equal_parts() {
    clear_intern_set();
    std::unordered_map<Node*, Value> of_builtins;  // many of them have one definition
    for (Symbol* symbol : defined_symbols()) {
        if (!symbol->builtin) {
            set_definition(*symbol, intern(symbol->definition));
            continue;
        }
        Value& shared = of_builtins[symbol->definition];
        if (!shared) shared = intern(symbol->definition);
        set_definition(*symbol, shared);
    }
    drop_unsettled_members();
    return {};
}

Report refuse_unbound_locals() {
    for (Symbol* symbol : defined_symbols()) {
        if (const uint32_t free = free_set(symbol->definition)) {
            return local_report(symbol->name, free);
        }
    }
    return {};
}

Report analyse_definitions() {
    for (Symbol* symbol : defined_symbols()) analyse(symbol->definition);
    return {};
}

using Stage = Report (*)();
constexpr Stage stages[] = {
    publish_records,       expand_patterns,          refuse_funky_keys,   settle_names,
    give_places,           refuse_excess_parameters, evaluate_backquotes, share_equal_parts,
    refuse_unbound_locals, analyse_definitions,
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

Report funky_report(const String& name, Node* offender) {
    const String shown = print_value(offender);
    Report report;
    report.kind = "funky";
    report.say = sentence(joined({"Funky key in expression ", shown.view()}).view(), name);
    if (!name.empty()) report.vip = fit_line(name.view());
    report.tip = clip_text(shown.view(), false);
    return report;
}

Report place_report(const String& name) {
    Report report;
    report.kind = "place";
    report.say = sentence("Place error", name);
    report.vip = fit_line(name.view());
    return report;
}

Report arity_report(const String& name) {
    Report report;
    report.kind = "arity";
    report.say = joined({"Arity of function ", name.view(), " may not exceed ten."});
    report.vip = fit_line(name.view());
    return report;
}

Report local_report(const String& name, uint32_t free_letters) {
    const char letter = static_cast<char>('a' + std::countr_zero(free_letters));
    const std::string_view shown(&letter, 1);
    Report report;
    report.kind = "local";
    report.say = sentence(joined({"Local variable ", shown, " unbound"}).view(), name);
    report.vip = clip_text(name.view(), true);
    report.tip = String(shown);
    return report;
}

bool has_excess_parameters(Node* definition) {
    constexpr int most = 10;
    int count = 0;
    for (; form(definition) == Form::lambda && count <= most; ++count) {
        definition = lambda_body(definition);
    }
    return count > most;
}

Report check_program() {
    const TodoArming unarmed(false);
    for (const Stage stage : stages) {
        if (Report report = stage(); !passed(report)) return report;
    }
    return {};
}

Report run_program(int64_t arguments) {
    if (Report report = check_program(); !passed(report)) return report;
    todo_armed = true;
    Value result = reduce(pair(Value::share(find_definition("")), from_i64(arguments)));
    if (is_leaf_of(result, ')')) return cycle_report(leaf_bytes(result).substr(1));
    if (!is_leaf(result) && is_leaf_of(left(result), ']')) return report_parse(text(right(result)));
    if (kind_of(result) != 'i') return range_report(result);
    set_definition("", std::move(result));
    return {};
}

}  // namespace marl
