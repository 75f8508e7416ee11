// The program goes through the stages of the front end as a module that nothing publishes. They go
// on behind a fault; only what a lambda or let binds must be names for all but the first ones, so
// others are mended there.
#include "lab/reach.h"

#include <set>
#include <utility>

#include "front/patterns.h"
#include "front/prelude.h"
#include "front/scopes.h"
#include "reduce/definitions.h"
#include "reduce/tables.h"
#include "value/rebuild.h"

namespace marl::lab {

namespace {

/// An expression in which each key that is no name is replaced by lets of the words in it.
Value mended(Node* expression) {
    return rebuild(expression, keep_leaf, [](Value function, Value argument) {
        Value made = pair(std::move(function), std::move(argument));
        const Form shape = form(made);
        if (shape == Form::other || !is_funky(made)) return made;
        Value body = Value::share(binder_body(made));
        for (Node* word : bound_names(made)) {
            body = apply(leaf("{"), Value::share(word), leaf("0"), std::move(body));
        }
        return shape == Form::lambda ? body : pair(std::move(body), Value::share(let_value(made)));
    });
}

void mend_keys(Module& module) {
    std::set<String> funky;
    for (const Fault& fault : module.faults) {
        if (fault.kind == Fault::funky) funky.insert(fault.definition);
    }
    for (const String& name : funky) {
        Value& expression = module.definitions.find(symbol_of(name.view()))->expression;
        expression = mended(expression);
    }
}

constexpr Stage stages_up_to_references[] = {
    add_records, add_prelude, refuse_funky_keys, mend_keys, expand_patterns, gather_references,
};

/// What the files that it uses define is defined; they are looked at by themselves.
void add_used_names(Module& module, const Program& program) {
    for (const std::string& name : program.used_names) {
        Symbol& symbol = symbol_of(name);
        if (!module.references.find(&symbol)) {
            add_references(module.references, symbol, {});
        }
    }
}

constexpr Stage stages_behind_references[] = {
    refuse_dangling_names,    remove_doomed, refuse_captured_names,
    refuse_excess_parameters, give_places,
};

}  // namespace

Reach find_reach(const Program& program) {
    std::vector<std::string> roots;
    if (program.has_entry) roots.emplace_back();
    for (const auto& [key, piece] : program.definitions) {
        if (!program.has_entry) roots.push_back(key);
    }
    return find_reach(program, roots);
}

Reach find_reach(const Program& program, const std::vector<std::string>& roots) {
    static const auto* prelude = new auto(read_prelude());
    Reach reach{};
    Module& module = reach.module;
    module.all_faults = true;
    module.prelude = prelude;
    module.roots.clear();
    for (const std::string& root : roots) module.roots.emplace_back(root);
    for (size_t i = program.has_entry ? 0 : 1; i < program.pieces.size(); ++i) {
        add_piece(module, program.pieces[i].value, i);
    }
    run_stages(module, stages_up_to_references);
    add_used_names(module, program);
    run_stages(module, stages_behind_references);

    for (const Symbol* name : module.alive) reach.alive.emplace(name->name);
    reach.loads = reach.alive.contains("load") || reach.alive.contains("road");
    for (const Symbol* name : find_doomed(module.references, module.alive)) {
        reach.doomed.emplace(name->name);
    }
    return reach;
}

}  // namespace marl::lab
