// load and road: more program, compiled while the program runs.
//
// A text goes through the stages of the program check on a table of its own, its entry expression
// under the empty name. From the moment when its definitions are published they count as defined,
// also for what its backquotes evaluate; they stay for the rest of the run. The two built-ins
// differ in what becomes of a fault, Z or an abort with its Report, and in the order of their last
// steps.
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "front/backquote.h"
#include "front/brackets.h"
#include "front/check.h"
#include "front/definitions.h"
#include "front/intern.h"
#include "front/names.h"
#include "front/patterns.h"
#include "front/places.h"
#include "front/scan.h"
#include "library/families.h"
#include "number/convert.h"
#include "number/kind.h"
#include "number/post.h"
#include "number/zits.h"
#include "reduce/analysis.h"
#include "reduce/machine.h"
#include "text/rope.h"
#include "value/todo.h"

namespace marl {

namespace {

/// A text on its way into the program.
struct Module {
    String text;
    std::map<String, Value> definitions;
    std::set<String> unmemoised;
    std::vector<Value> interned;
    size_t members_before = 0;  // of the intern set, when `interned` began
};

/// Nothing when all is well.
using Fault = std::optional<Report>;
using Step = Fault (*)(Module& module);

// Before the definitions are published, `definitions` holds them.

Report binder_key_fault(const Definition& definition) {
    Report report;
    report.kind = "built";
    report.say = joined({"Built in function ", definition.key.view(), " cannot be re-defined."});
    report.vip = base64_name(definition.position);
    report.tip = fit_line(definition.key.view());
    return report;
}

Fault check_text(Module& module) {
    Report report;
    int64_t position = 0;
    if (check_brackets(module.text.view(), report, position)) return {};
    return report;
}

Fault cut_text(Module& module) {
    const std::vector<int64_t> lines = backquote_lines(module.text.view());
    Pieces pieces = parse_pieces(normalise(module.text.view()).view(), lines);
    module.definitions[""] = std::move(pieces.entry);
    for (Definition& definition : pieces.definitions) {
        if (is_local_key(definition.key)) return local_key_fault(definition);
        if (is_binder_key(definition.key)) return binder_key_fault(definition);
        module.definitions[definition.key] = std::move(definition.expression);
        if (definition.unmemoised) {
            module.unmemoised.insert(definition.key);
        } else {
            module.unmemoised.erase(definition.key);
        }
    }
    return {};
}

Fault refuse_known_names(Module& module) {
    for (const auto& [name, expression] : module.definitions) {
        if (name.empty() || !find_definition(name.view())) continue;
        Report report;
        report.kind = "roads";
        report.say =
            joined({"Attempt to redefine function ", name.view(), " using the road function."});
        report.vip = fit_line(name.view());
        return report;
    }
    return {};
}

Fault expand_patterns(Module& module) {
    for (auto& [name, expression] : module.definitions) {
        expression = expand_pair_patterns(expression);
    }
    return {};
}

Fault refuse_funky_keys(Module& module) {
    for (const auto& [name, expression] : module.definitions) {
        if (Node* offender = find_funky(expression)) return funky_report(name, offender);
    }
    return {};
}

References references_of(const Module& module) {
    References references;
    for (const auto& [name, expression] : module.definitions) {
        add_references(references, symbol_of(name.view()), free_names(expression));
    }
    return references;
}

Fault refuse_dangling_names(Module& module) {
    const auto dangling = find_dangling(references_of(module));
    if (!dangling) return {};
    const std::string_view from = dangling->from->name.view();
    const std::string_view shown = from.empty() ? "TOP" : from;
    const std::string_view name = dangling->name->name.view();
    Report report;
    report.kind = "alive";
    report.say = joined({"Alive function ", shown, " references undefined function ", name, "."});
    report.vip = fit_line(shown);
    report.tip = fit_line(name);
    return report;
}

Fault remove_doomed(Module& module) {
    for (Symbol* doomed : find_doomed(references_of(module))) {
        if (doomed->name.empty()) return Report{};  // for load; road has refused it in words
        module.definitions.erase(doomed->name);
    }
    return {};
}

Fault give_places(Module& module) {
    for (auto& [name, expression] : module.definitions) {
        if (!assign_places(expression)) return place_report(name);
    }
    return {};
}

Fault refuse_excess_parameters(Module& module) {
    for (const auto& [name, expression] : module.definitions) {
        if (has_excess_parameters(expression)) return arity_report(name);
    }
    return {};
}

// From here on the program's own tables hold them, all but the entry expression, and `definitions`
// what was stored last: a constant may have been evaluated meanwhile.

void store(const String& name, Value& slot, Value expression) {
    slot = std::move(expression);
    if (!name.empty()) set_definition(name.view(), slot);
}

Node* current(const String& name, const Value& slot) {
    return name.empty() ? slot.get() : find_definition(name.view());
}

Fault publish(Module& module) {
    for (auto& [name, slot] : module.definitions) store(name, slot, slot);
    for (const String& name : module.unmemoised) symbol_of(name.view()).unmemoised = true;
    return {};
}

Fault intern_definitions(Module& module) {
    module.members_before = intern_set_size();
    for (auto& [name, slot] : module.definitions) {
        store(name, slot, intern(Value::share(current(name, slot))));
        module.interned.push_back(slot);
    }
    return {};
}

/// For `load`, whose definitions are copies of what was interned.
Fault drop_interned_todos(Module& module) {
    drop_todos_from(module.members_before);
    return {};
}

Fault drop_unsettled_parts(Module& module) {
    for (const Value& expression : module.interned) drop_unsettled(expression);
    return {};
}

Fault evaluate_backquotes(Module& module) {
    for (auto& [name, slot] : module.definitions) {
        Node* expression = current(name, slot);
        // A program can tell copies in its text apart. A value may hold one part far too often to
        // be copied out.
        const Shared shared = expression == slot.get() ? Shared::copied : Shared::kept;
        store(name, slot, unquote(name, expression, shared));
    }
    return {};
}

Fault refuse_unbound_locals(Module& module) {
    for (const auto& [name, slot] : module.definitions) {
        if (const uint32_t free = free_set(current(name, slot))) {
            Report report = local_report(name, free);
            report.vip = fit_line(name.view());
            return report;
        }
    }
    return {};
}

// `load` shares equal parts before it evaluates, `road` behind it. Dropping comes last in both: it
// analyses the names in the text, whose ranks stand only when all backquotes are evaluated.
constexpr Step load_steps[] = {
    check_text,
    cut_text,
    refuse_known_names,
    expand_patterns,
    refuse_funky_keys,
    remove_doomed,
    give_places,
    refuse_excess_parameters,
    publish,
    intern_definitions,
    drop_interned_todos,
    evaluate_backquotes,
    drop_unsettled_parts,
    refuse_unbound_locals,
};

constexpr Step road_steps[] = {
    check_text,
    cut_text,
    refuse_known_names,
    expand_patterns,
    refuse_funky_keys,
    refuse_dangling_names,
    remove_doomed,
    give_places,
    refuse_excess_parameters,
    publish,
    evaluate_backquotes,
    refuse_unbound_locals,
    intern_definitions,
    drop_unsettled_parts,
};

struct Outcome {
    Fault fault;
    Value entry;  // null on a fault
};

Outcome compile(const String& text, std::span<const Step> steps) {
    const TodoArming unarmed(false);
    Module module{text, {}, {}, {}, 0};
    for (const Step step : steps) {
        if (Fault fault = step(module)) return {std::move(fault), {}};
    }
    return {{}, module.definitions[""]};
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

Value load(Value* arguments) {
    const std::optional<String> text = source_text(arguments[0]);
    if (!text) return leaf_Z();
    const Outcome outcome = compile(*text, load_steps);
    return outcome.fault ? leaf_Z() : reduce(outcome.entry);
}

Value road(Value* arguments) {
    const std::optional<String> text = source_text(arguments[0]);
    if (!text) return leaf_Z();
    Outcome outcome = compile(*text, road_steps);
    if (!outcome.fault) return reduce(outcome.entry);
    Report& report = *outcome.fault;
    const bool is_match = report.kind == "match";
    report.way = is_match ? "yes" : clip_text(normalise(text->view()).view(), true);
    return report_value(report);
}

constexpr Row rows[] = {
    {"load", 1, load},
    {"road", 1, road},
};

}  // namespace

std::span<const Row> load_rows() { return rows; }

}  // namespace marl
