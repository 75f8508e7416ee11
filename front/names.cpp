// Free names come from one walk per definition, in which each name counts the binders that hold it.
// What is alive is then a search from the roots over these lists, smallest name first, which makes
// the name in a Report independent of the order of the text; what is doomed is the same graph
// walked from the undefined names backward to their callers.
#include "front/names.h"

#include <algorithm>
#include <bit>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "front/definitions.h"
#include "front/scopes.h"
#include "reduce/analysis.h"
#include "value/walk.h"

namespace marl {

namespace {

/// The Symbol of a Leaf that is a name, kept in the Leaf where it has room for it.
Symbol& symbol_of_name(Node* leaf) {
    return is_name_byte(first_byte(leaf)) ? symbol_of_leaf(leaf) : symbol_of(leaf_bytes(leaf));
}

Symbol& symbol_of_key(Node* key) {
    const bool is_name = is_name_byte(first_byte(key));
    return is_name ? symbol_of_leaf(key) : symbol_of(key_in(leaf_bytes(key)));
}

/// Collects the Leaves of free names. A name counts the binders around the place where the walk
/// stands, so that entering and leaving a scope costs a constant.
struct FreeWalk {
    std::vector<Use> uses = {};

    void leaf(Node* node) {
        if (!is_reference(node)) return;
        Symbol& name = symbol_of_name(node);
        if (name.binders == 0) uses.push_back({node, &name});
    }
    void enter(Node* binder) { ++symbol_of_key(binder_key(binder)).binders; }
    void leave(Node* binder) { --symbol_of_key(binder_key(binder)).binders; }
};

}  // namespace

bool is_reference(Node* leaf) {
    const char* text = leaf_text(leaf);
    if (*text == '\\' || *text == '{') return false;
    return is_name(is_letter_leaf(leaf) ? std::string_view(text, 1) : leaf_bytes(leaf));
}

std::vector<Use> free_uses(Node* expression) {
    FreeWalk walk;
    walk_scopes(expression, walk);
    return std::move(walk.uses);
}

std::vector<Symbol*> free_names(Node* expression) {
    // Kept for the next time: nothing in here runs program code.
    static auto& walk = *new FreeWalk;
    walk.uses.clear();
    walk_scopes(expression, walk);
    std::vector<Symbol*> names;
    names.reserve(walk.uses.size());
    for (const Use& use : walk.uses) names.push_back(use.name);
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    std::sort(names.begin(), names.end(), ByName());
    return names;
}

namespace {

/// Enters a definition that refers to the names from a place on.
void enter(References& references, Symbol& name, size_t begin) {
    if (!references.find(&name)) {
        name.entry = static_cast<uint32_t>(references.entries.size());
        references.entries.push_back({});
    }
    references.entries[name.entry] = {&name, static_cast<uint32_t>(begin),
                                      static_cast<uint32_t>(references.names.size())};
}

}  // namespace

void add_references(References& references, Symbol& name, std::span<Symbol* const> free) {
    const size_t begin = references.names.size();
    references.names.insert(references.names.end(), free.begin(), free.end());
    enter(references, name, begin);
}

void add_written_references(References& references, Symbol& name, std::span<Symbol* const> names,
                            const ByteBits& letters) {
    static uint32_t search = 0;
    const size_t begin = references.names.size();
    ++search;
    for (Symbol* symbol : names) {
        if (std::exchange(symbol->search, search) != search) references.names.push_back(symbol);
    }
    letters.for_each([&](char letter) { references.names.push_back(&symbol_of({&letter, 1})); });
    enter(references, name, begin);
}

bool is_undefined(const References& references, const Symbol* name) {
    if (name->builtin || references.find(name)) return false;
    return !references.beside_tables || !name->definition;
}

Alive find_alive(const References& references, const std::vector<String>& roots, bool all) {
    Symbol* const of_builtin[] = {&symbol_of("Z")};
    std::map<Symbol*, Symbol*, ByName> to_visit;  // with the definition that refers to it
    Alive alive;
    for (const String& root : roots) to_visit[&symbol_of(root.view())] = nullptr;
    while (!to_visit.empty()) {
        const auto [name, from] = *to_visit.begin();
        to_visit.erase(to_visit.begin());
        alive.names.insert(name);
        if (is_undefined(references, name) && !alive.dangling) {
            alive.dangling = {from, name};
            if (!all) return alive;
        }
        const References::Entry* entry = references.find(name);
        if (!entry && !name->builtin) continue;
        for (Symbol* free : entry ? references.of(*entry) : of_builtin) {
            if (!alive.names.contains(free)) to_visit[free] = name;
        }
    }
    return alive;
}

std::vector<Symbol*> find_doomed(const References& references, const Symbols& alive) {
    std::unordered_map<const Symbol*, std::vector<Symbol*>> callers;
    Symbols known;
    std::vector<Symbol*> doomed;
    const auto doom = [&](Symbol* name) {
        if (!alive.contains(name) && known.insert(name).second) doomed.push_back(name);
    };
    for (const References::Entry& entry : references.entries) {
        for (const Symbol* free : references.of(entry)) {
            if (is_undefined(references, free)) doom(entry.name);
        }
    }
    if (doomed.empty()) return doomed;
    for (const References::Entry& entry : references.entries) {
        for (const Symbol* free : references.of(entry)) callers[free].push_back(entry.name);
    }
    for (size_t i = 0; i < doomed.size(); ++i) {
        for (Symbol* caller : callers[doomed[i]]) doom(caller);
    }
    return doomed;
}

}  // namespace marl
