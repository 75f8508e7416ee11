// A text goes through the stages of the program check on a module of its own. From the moment when
// its definitions are published they count as defined, also for what its backquotes evaluate; they
// stay for the rest of the run. The two ways in differ in what becomes of a fault, and in the order
// of their last stages.
#include "front/load.h"

#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "front/brackets.h"
#include "front/definitions.h"
#include "front/intern.h"
#include "front/scan.h"
#include "front/stages.h"
#include "number/convert.h"
#include "number/kind.h"
#include "number/post.h"
#include "number/zits.h"
#include "reduce/handover.h"
#include "reduce/machine.h"
#include "reduce/needs.h"
#include "text/rope.h"
#include "value/todo.h"

namespace marl {

namespace {

void refuse_known_names(Module& module) {
    for (const auto& [symbol, expression] : module.definitions) {
        if (symbol->name.empty() || !symbol->definition) continue;
        if (!goes_on_behind(module, {Fault::known, String(symbol->name)})) return;
    }
}

/// The definitions of `load` are copies of what was interned.
void drop_interned_todos(Module& module) { drop_todos_from(module.members_before); }

void drop_unsettled_parts(Module& module) {
    for (const Value& expression : module.interned) drop_unsettled(expression);
}

/// The runs that are under way go on in the plain machine when the text brings in `todo`.
void prepare_for_todo(Module& module) {
    const bool was_plain = needs_plain_machine;
    note_names(module);
    if (needs_plain_machine && !was_plain) hand_over();
}

// `load` shares equal parts before it evaluates, `road` behind it. Dropping comes last in both: it
// analyses the names in the text, whose ranks stand only when all backquotes are evaluated.
constexpr Stage load_stages[] = {
    check_text,
    cut_text,
    refuse_known_names,
    expand_patterns,
    refuse_funky_keys,
    gather_references,
    remove_doomed,
    prepare_for_todo,
    give_places,
    refuse_excess_parameters,
    publish,
    intern_definitions,
    drop_interned_todos,
    evaluate_backquotes,
    drop_unsettled_parts,
    refuse_unbound_locals,
};

constexpr Stage road_stages[] = {
    check_text,
    cut_text,
    refuse_known_names,
    expand_patterns,
    refuse_funky_keys,
    gather_references,
    refuse_dangling_names,
    remove_doomed,
    prepare_for_todo,
    give_places,
    refuse_excess_parameters,
    publish,
    evaluate_backquotes,
    refuse_unbound_locals,
    intern_definitions,
    drop_unsettled_parts,
};

struct Loaded {
    Report report;
    Value entry;  // null on a fault
};

Loaded compile(const String& text, std::span<const Stage> stages) {
    const TodoArming unarmed(false);
    Module module;
    module.text = text;
    module.kind = ModuleKind::loaded;
    module.references.beside_tables = true;
    Report report = run_stages(module, stages);
    if (!passed(report)) return {std::move(report), {}};
    return {std::move(report), module.definitions.find(symbol_of(""))->expression};
}

/// The source text that a Value gives; nothing for a kind that holds none.
std::optional<String> source_text(Node* x) {
    switch (kind_of(x)) {
        case 'a': return String(post_payload(x));
        case 'u': return zits_text(x);
        case 'i':
            if (!is_integer(x)) return {};
            return String(reinterpret_cast<const char*>(to_i64(x)));
        case 'c': return String();
        default: return {};
    }
}

}  // namespace

Value load_text(Node* x) {
    const std::optional<String> text = source_text(x);
    if (!text) return leaf_Z();
    const Loaded loaded = compile(*text, load_stages);
    return passed(loaded.report) ? reduce(loaded.entry) : leaf_Z();
}

Value road_text(Node* x) {
    const std::optional<String> text = source_text(x);
    if (!text) return leaf_Z();
    Loaded loaded = compile(*text, road_stages);
    Report& report = loaded.report;
    if (passed(report)) return reduce(loaded.entry);
    const bool is_match = report.kind == "match";
    report.way = is_match ? "yes" : clip_text(normalise(text->view()).view(), true);
    return report_value(report);
}

}  // namespace marl
