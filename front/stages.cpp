// Each stage is a loop over the module's definitions. Which Report a fault becomes is told here as
// well, so that a program and a loaded text are refused in the same words, but for the few that
// `is_loaded` decides.
#include "front/stages.h"

#include <bit>
#include <string_view>
#include <utility>

#include "front/backquote.h"
#include "front/intern.h"
#include "front/patterns.h"
#include "front/places.h"
#include "front/rebuild.h"
#include "reduce/analysis.h"
#include "reduce/needs.h"
#include "reduce/tables.h"
#include "text/rope.h"

namespace marl {

namespace {

/// A sentence about a definition: "Place error." for the entry expression, else
/// "Place error in function f.".
String sentence(std::string_view fault, const String& name) {
    if (name.empty()) return joined({fault, "."});
    return joined({fault, " in function ", name.view(), "."});
}

Report funky_report(const String& name, Node* offender) {
    const String shown = print_value(offender);
    Report report;
    report.kind = "funky";
    report.say = sentence(joined({"Funky key in expression ", shown.view()}).view(), name);
    if (!name.empty()) report.vip = fit_line(name.view());
    report.tip = clip_text(shown.view(), false);
    return report;
}

Report dangling_report(const Dangling& dangling, std::string_view undefined) {
    const bool from_entry = !dangling.from || dangling.from->name.empty();
    const std::string_view shown = from_entry ? "TOP" : dangling.from->name.view();
    const std::string_view name = dangling.name->name.view();
    Report report;
    report.kind = "alive";
    report.say = joined({"Alive function ", shown, " references ", undefined, name, "."});
    report.vip = fit_line(shown);
    report.tip = fit_line(name);
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

Report local_report(const String& name, uint32_t free_letters, bool is_loaded) {
    const char letter = static_cast<char>('a' + std::countr_zero(free_letters));
    const std::string_view shown(&letter, 1);
    Report report;
    report.kind = "local";
    report.say = sentence(joined({"Local variable ", shown, " unbound"}).view(), name);
    report.vip = is_loaded ? fit_line(name.view()) : clip_text(name.view(), true);
    report.tip = String(shown);
    return report;
}

/// Whether a definition has more parameters than the ten that a rank can count.
bool has_excess_parameters(Node* definition) {
    constexpr int most = 10;
    int count = 0;
    for (; form(definition) == Form::lambda && count <= most; ++count) {
        definition = lambda_body(definition);
    }
    return count > most;
}

bool is_backquote(Node* node) { return is_leaf_of(node, '`'); }

// Behind `publish`.

void store(const String& name, Value& slot, Value expression) {
    slot = std::move(expression);
    if (!name.empty()) set_definition(name.view(), slot);
}

Node* current(const String& name, const Value& slot) {
    return name.empty() ? slot.get() : find_definition(name.view());
}

}  // namespace

Report run_stages(Module& module, std::span<const Stage> stages) {
    for (const Stage stage : stages) {
        if (Report report = stage(module); !passed(report)) return report;
    }
    return {};
}

Report expand_patterns(Module& module) {
    for (auto& [name, expression] : module.definitions) {
        expression = expand_pair_patterns(expression);
    }
    return {};
}

Report refuse_funky_keys(Module& module) {
    for (const auto& [name, expression] : module.definitions) {
        if (Node* offender = find_funky(expression)) return funky_report(name, offender);
    }
    return {};
}

Report gather_references(Module& module) {
    for (const auto& [name, expression] : module.definitions) {
        add_references(module.references, symbol_of(name.view()), free_names(expression));
    }
    return {};
}

Report refuse_dangling_names(Module& module) {
    const auto dangling = find_dangling(module.references);
    if (!dangling) return {};
    return dangling_report(*dangling, module.is_loaded ? "undefined function " : "undefined ");
}

Report note_names(Module& module) {
    for (const auto& [name, free] : module.references.entries) {
        for (const Symbol* reference : free) {
            const std::string_view noted = reference->name.view();
            if (is_noted_name(noted) && module.definitions.contains(name->name)) note_name(noted);
        }
    }
    return {};
}

Report give_places(Module& module) {
    for (auto& [name, expression] : module.definitions) {
        if (!assign_places(expression)) return place_report(name);
    }
    return {};
}

Report refuse_excess_parameters(Module& module) {
    for (const auto& [name, expression] : module.definitions) {
        if (has_excess_parameters(expression)) return arity_report(name);
    }
    return {};
}

Report publish(Module& module) {
    for (auto& [name, slot] : module.definitions) store(name, slot, slot);
    for (const String& name : module.unmemoised) symbol_of(name.view()).unmemoised = true;
    return {};
}

Report evaluate_backquotes(Module& module) {
    for (auto& [name, slot] : module.definitions) {
        Node* expression = current(name, slot);
        // What is loaded becomes a copy of what was interned in any case.
        if (!module.is_loaded && !any_node(expression, is_backquote)) continue;
        // A program can tell copies in its text apart. A value may hold one part far too often to
        // be copied out.
        const Shared shared = expression == slot.get() ? Shared::copied : Shared::kept;
        store(name, slot, unquote(name, expression, shared));
    }
    return {};
}

Report intern_definitions(Module& module) {
    module.members_before = intern_set_size();
    for (auto& [name, slot] : module.definitions) {
        store(name, slot, intern(Value::share(current(name, slot))));
        module.interned.push_back(slot);
    }
    return {};
}

Report refuse_unbound_locals(Module& module) {
    for (const auto& [name, slot] : module.definitions) {
        if (const uint32_t free = free_set(current(name, slot))) {
            return local_report(name, free, module.is_loaded);
        }
    }
    return {};
}

}  // namespace marl
