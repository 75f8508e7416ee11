// Each stage is a loop over the module's definitions. Up to `publish` it sees the module alone, and
// may go on behind a fault; behind it the tables, and the first fault is the last.
#include "front/stages.h"

#include <bit>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "front/backquote.h"
#include "front/brackets.h"
#include "front/definitions.h"
#include "front/grammar.h"
#include "front/intern.h"
#include "front/patterns.h"
#include "front/places.h"
#include "front/records.h"
#include "front/scan.h"
#include "reduce/analysis.h"
#include "reduce/definitions.h"
#include "reduce/needs.h"
#include "reduce/tables.h"
#include "value/walk.h"

namespace marl {

namespace {

/// The key of the first parameter that a rank can't count; null when there are ten or fewer.
Node* excess_parameter(Node* definition) {
    constexpr int most = 10;
    for (int count = 0; form(definition) == Form::lambda; ++count) {
        if (count == most) return lambda_key(definition);
        definition = lambda_body(definition);
    }
    return nullptr;
}

/// What is wrong with a definition of the name. A loaded one of a built-in is one of a name that
/// the program has.
std::optional<Fault::Kind> name_fault(ModuleKind module, const Symbol& symbol) {
    if (module == ModuleKind::prelude) return std::nullopt;
    if (is_letter(symbol.name)) return Fault::lower;
    const bool is_builtin = module == ModuleKind::program && symbol.builtin;
    if (is_builtin || is_binder_key(symbol.name)) return Fault::built;
    return std::nullopt;
}

/// Whether a backquote stands in an expression, which may be a value that a backquote of another
/// definition has given: such a value may hold one part far too often to go there each time.
bool holds_backquote(Node* expression) {
    std::unordered_set<Node*> seen;
    return !walk(expression, [&](Node* node) {
        if (is_leaf(node)) return is_leaf_of(node, '`') ? Go::out : Go::past;
        const bool again = count_of(node) > 1 && !seen.insert(node).second;
        return again ? Go::past : Go::in;
    });
}

// Behind `publish`.

void store(Symbol& symbol, Value& slot, Value expression) {
    slot = std::move(expression);
    if (!symbol.name.empty()) set_definition(symbol, slot);
}

/// Calls `see(DefinitionList::Entry&)` in key order for the definitions of which a parse hasn't
/// told that all binders have letters for keys, and that all parts are members of the intern set.
/// False ends it.
template <class See>
void each_loose(Module& module, See see) {
    if (!module.shares_parts) {
        for (DefinitionList::Entry& entry : module.definitions) {
            if (!see(entry)) return;
        }
        return;
    }
    for (const Symbol* symbol : module.loose) {
        DefinitionList::Entry* entry = module.definitions.find(*symbol);
        if (entry && !see(*entry)) return;
    }
}

/// Whether a definition of the name may stand in the piece at the position, or the check goes on
/// though it may not.
bool goes_on_with_name(Module& module, const Symbol& symbol, size_t position) {
    const auto kind = name_fault(module.kind, symbol);
    if (!kind) return true;
    const auto at = static_cast<int64_t>(position);
    return goes_on_behind(module,
                          {.kind = *kind, .definition = String(symbol.name), .position = at});
}

/// Where a piece ends that was added; nothing when the check doesn't go on.
using End = std::optional<size_t>;

/// Adds the entry, which has no key, or the definition with a key of a size that stands at a place;
/// its parts are shared.
End add_shared_piece(Module& module, std::string_view text, size_t position, size_t key_size) {
    Symbol& symbol = symbol_of(key_size == 0 ? "" : key_in(text.substr(position, key_size)));
    if (key_size > 0 && !goes_on_with_name(module, symbol, position)) return {};
    const size_t begin = key_size == 0 ? position : position + key_size + 1;
    const SharedExpression body = parse_shared(text.substr(begin));
    module.definitions.set(symbol, Value::share(body.node));
    if (!module.unmemoised.empty()) module.unmemoised.erase(&symbol);
    if (body.other_keys == 0) {
        add_written_references(module.references, symbol, body.names, body.letters);
    } else {
        module.loose.insert(&symbol);
    }
    return begin + body.size;
}

/// Adds any piece. Its backquotes get the next lines.
End add_own_piece(Module& module, std::string_view text, size_t position,
                  const std::vector<int64_t>& lines, size_t& next_line) {
    const size_t end = end_of_piece(text, position);
    const Value piece = parse_expression(text.substr(position, end - position));
    stamp_lines(piece, lines, next_line);
    return add_piece(module, piece, position) ? End(end) : std::nullopt;
}

Node* current(const Symbol& symbol, const Value& slot) {
    return symbol.name.empty() ? slot.get() : symbol.definition.get();
}

}  // namespace

bool goes_on_behind(Module& module, Fault fault) {
    module.faults.push_back(std::move(fault));
    return module.all_faults;
}

Report run_stages(Module& module, std::span<const Stage> stages) {
    for (const Stage stage : stages) {
        stage(module);
        if (!module.faults.empty() && !module.all_faults) {
            return report_of(module.faults.front(), module.kind == ModuleKind::loaded);
        }
    }
    return {};
}

void check_text(Module& module) {
    const std::string_view text = module.text.view();
    if (is_sound(text)) return;
    if (std::optional<Fault> fault = find_bracket_fault(text)) {
        module.faults.push_back(std::move(*fault));
        return;
    }
    for (const int64_t comma : find_misplaced_commas(text, module.all_faults)) {
        module.faults.push_back({.kind = Fault::comma, .position = comma});
    }
}

bool may_share_parts(std::string_view source) {
    // A backquote runs code ahead of the interning, and a todo acts in the order of the members.
    return source.find('`') == source.npos && source.find("todo") == source.npos;
}

void cut_text(Module& module) {
    const std::vector<int64_t> lines = backquote_lines(module.text.view());
    module.has_backquotes = !lines.empty();
    const String normalised = normalise(module.text.view());
    module.text = String();
    const std::string_view text = normalised.view();
    if (module.shares_parts) expect_members(text.size());
    size_t next_line = 0;
    for (size_t next = 0; next <= text.size();) {
        const size_t key_size = next == 0 ? 0 : defined_key_size(text.substr(next));
        const bool is_shared = module.shares_parts && (next == 0 || key_size > 0);
        const End end = is_shared ? add_shared_piece(module, text, next, key_size)
                                  : add_own_piece(module, text, next, lines, next_line);
        if (!end) return;
        next = *end + 1;
    }
    MARL_REQUIRE(next_line == lines.size());
}

bool add_piece(Module& module, Node* piece, size_t position) {
    if (position == 0) {
        module.definitions.set(symbol_of(""), Value::share(piece));
        return true;
    }
    const DefinedName name = defined_name(piece);
    if (!is_definable(name.text)) return true;
    Symbol& symbol = symbol_of(key_in(name.text));
    if (!goes_on_with_name(module, symbol, position)) return false;
    Value expression = Value::share(right(piece));
    if (name.unmemoised) {
        module.definitions.set(symbol, pair(leaf("I"), std::move(expression)));
        module.unmemoised.insert(&symbol);
    } else {
        module.definitions.set(symbol, std::move(expression));
        module.unmemoised.erase(&symbol);
    }
    if (module.shares_parts) module.loose.insert(&symbol);
    return true;
}

void add_records(Module& module) {
    Symbol& records = symbol_of("_");
    module.loose.insert(&records);
    module.definitions.set(records, leaf(record_text()));
}

void add_prelude(Module& module) { module.definitions.add(*module.prelude); }

void expand_patterns(Module& module) {
    each_loose(module, [](DefinitionList::Entry& entry) {
        entry.expression = expand_pair_patterns(entry.expression);
        return true;
    });
}

void refuse_funky_keys(Module& module) {
    each_loose(module, [&](const DefinitionList::Entry& entry) {
        for (Node* binder : find_funky(entry.expression, module.all_faults)) {
            if (!goes_on_behind(module, {Fault::funky, String(entry.symbol->name), binder}))
                return false;
        }
        return true;
    });
}

void gather_references(Module& module) {
    const auto gather = [&](const DefinitionList::Entry& entry) {
        add_references(module.references, *entry.symbol, free_names(entry.expression));
        return true;
    };
    each_loose(module, gather);
    if (!module.shares_parts || !module.prelude) return;
    for (const DefinitionList::Entry& entry : *module.prelude) {
        if (!module.references.find(entry.symbol)) gather(entry);
    }
}

void refuse_dangling_names(Module& module) {
    Alive alive = find_alive(module.references, module.roots, module.all_faults);
    if (!module.all_faults) {
        if (!alive.dangling) return;
        const Symbol* from = alive.dangling->from;
        module.faults.push_back({Fault::undefined, String(from ? from->name : ""), nullptr,
                                 String(alive.dangling->name->name)});
        return;
    }
    module.alive = std::move(alive.names);
    for (const auto& [symbol, expression] : module.definitions) {
        const bool is_alive = module.alive.contains(symbol);
        for (const auto& [leaf, used] : free_uses(expression)) {
            if (!is_undefined(module.references, used)) continue;
            module.faults.push_back({is_alive ? Fault::undefined : Fault::doomed,
                                     String(symbol->name), leaf, String(used->name)});
        }
    }
}

void remove_doomed(Module& module) {
    for (Symbol* doomed : find_doomed(module.references, module.alive)) {
        const bool is_entry = doomed->name.empty();
        if (is_entry && !goes_on_behind(module, {Fault::doomed, String()})) return;
        const auto* before = module.prelude ? module.prelude->find(*doomed) : nullptr;
        if (before) {
            module.definitions.find(*doomed)->expression = before->expression;
        } else {
            module.definitions.erase(*doomed);
        }
    }
}

void refuse_captured_names(Module& module) {
    for (const auto& [symbol, expression] : module.definitions) {
        const LocalNames locals = local_names(expression);
        for (const auto& [leaf, used] : free_uses(expression)) {
            if (is_undefined(module.references, used) || !locals.contains(used->name)) {
                continue;
            }
            if (!goes_on_behind(module,
                                {Fault::local, String(symbol->name), leaf, String(used->name)}))
                return;
        }
    }
}

void note_names(Module& module) {
    const References& references = module.references;
    for (const References::Entry& entry : references.entries) {
        for (const Symbol* reference : references.of(entry)) {
            const std::string_view noted = reference->name;
            if (is_noted_name(noted) && module.definitions.contains(*entry.name)) note_name(noted);
        }
    }
}

void give_places(Module& module) {
    each_loose(module, [&](DefinitionList::Entry& entry) {
        LocalNames locals = local_names(entry.expression);
        if (locals.excess) {
            return goes_on_behind(module,
                                  {Fault::place, String(entry.symbol->name), locals.excess});
        }
        if (!module.all_faults) assign_places(entry.expression, std::move(locals));
        return true;
    });
}

void refuse_excess_parameters(Module& module) {
    for (const auto& [symbol, expression] : module.definitions) {
        Node* excess = excess_parameter(expression);
        if (excess && !goes_on_behind(module, {Fault::arity, String(symbol->name), excess})) return;
    }
}

void publish(Module& module) {
    for (auto& [symbol, slot] : module.definitions) store(*symbol, slot, slot);
    for (Symbol* symbol : module.unmemoised) symbol->unmemoised = true;
}

void evaluate_backquotes(Module& module) {
    // What is loaded becomes a copy of what was interned in any case.
    const bool in_any_case = module.kind != ModuleKind::program;
    if (!in_any_case && !module.has_backquotes) return;
    DefinitionsChange change;
    for (auto& [symbol, slot] : module.definitions) {
        Node* expression = current(*symbol, slot);
        if (!in_any_case && !holds_backquote(expression)) continue;
        // A program can tell copies in its text apart. A value may hold one part far too often to
        // be copied out.
        const Shared shared = expression == slot.get() ? Shared::copied : Shared::kept;
        store(*symbol, slot, unquote(symbol->name, expression, shared));
        change.changed();
    }
}

void intern_definitions(Module& module) {
    module.members_before = intern_set_size();
    each_loose(module, [&](DefinitionList::Entry& entry) {
        auto& [symbol, slot] = entry;
        Value expression = Value::share(current(*symbol, slot));
        slot = module.shares_parts ? intern_written(std::move(expression))
                                   : intern(std::move(expression));
        if (!symbol->name.empty()) replace_definition(*symbol, slot);
        module.interned.push_back(slot);
        return true;
    });
}

void refuse_unbound_locals(Module& module) {
    for (const auto& [symbol, slot] : module.definitions) {
        if (const uint32_t free = free_set(current(*symbol, slot))) {
            const char letter = static_cast<char>('a' + std::countr_zero(free));
            module.faults.push_back(
                {Fault::local, String(symbol->name), nullptr, String({&letter, 1})});
            return;
        }
    }
}

}  // namespace marl
