// The program goes through the stages of the front end as a module that nothing publishes. They go
// on behind a fault; only what a lambda or let binds must be names for all but the first ones, so
// others are mended there.
#include "lab/reach.h"

#include <set>
#include <utility>

#include "front/patterns.h"
#include "front/prelude.h"
#include "front/scopes.h"
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
    for (const String& name : funky) module.definitions[name] = mended(module.definitions[name]);
}

constexpr Stage stages[] = {
    add_records,           add_prelude,
    refuse_funky_keys,     mend_keys,
    expand_patterns,       gather_references,
    refuse_dangling_names, remove_doomed,
    refuse_captured_names, refuse_excess_parameters,
    give_places,
};

}  // namespace

Reach find_reach(const Program& program) {
    static const auto* prelude = new auto(read_prelude());
    bind_builtins();
    Reach reach{};
    Module& module = reach.module;
    module.all_faults = true;
    module.prelude = prelude;
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        add_piece(module, program.pieces[i].value, i);
    }
    run_stages(module, stages);

    for (const Symbol* name : module.alive) reach.alive.emplace(name->name.view());
    reach.loads = reach.alive.contains("load") || reach.alive.contains("road");
    for (const Symbol* name : find_doomed(module.references, module.alive)) {
        reach.doomed.emplace(name->name.view());
    }
    return reach;
}

}  // namespace marl::lab
