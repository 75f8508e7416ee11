// Free names come from one walk per definition, in which each name counts the binders that hold it.
// What is alive is then a search from the entry over these lists, smallest name first, which makes
// the name in a Report independent of the order of the text; what is doomed is the same graph
// walked from the undefined names backward to their callers.
#include "front/names.h"

#include <algorithm>
#include <map>
#include <unordered_set>
#include <utility>

#include "front/definitions.h"
#include "reduce/analysis.h"

namespace marl {

namespace {

struct ByName {
    bool operator()(const Symbol* a, const Symbol* b) const { return a->name < b->name; }
};

/// The Symbol of a Leaf that is a name, kept in the Leaf where it has room for it.
Symbol& symbol_of_name(Node* leaf) {
    return is_name_byte(first_byte(leaf)) ? symbol_of_leaf(leaf) : symbol_of(leaf_bytes(leaf));
}

Symbol& symbol_of_key(Node* key) { return symbol_of(definition_key(leaf_bytes(key)).view()); }

/// Whether a Leaf refers to something by its name. The marks of lambda and let do not.
bool is_reference(Node* leaf) {
    return !is_leaf_of(leaf, '\\') && !is_leaf_of(leaf, '{') && is_name(leaf_bytes(leaf));
}

/// One walk over an expression. A name that is bound counts the binders around the place where the
/// walk stands, so that entering and leaving a scope costs a constant.
struct NameWalk {
    struct Work {
        Node* node;
        enum Step { visit, enter, leave } step;
    };
    std::vector<Work> rest;
    std::unordered_map<const Symbol*, int> binders;
    std::unordered_set<Symbol*> found;

    bool is_bound(Symbol& name) const {
        const auto count = binders.find(&name);
        return count != binders.end() && count->second > 0;
    }

    void visit(Node* node) {
        if (is_leaf(node)) {
            if (!is_reference(node)) return;
            Symbol& name = symbol_of_name(node);
            if (!is_bound(name)) found.insert(&name);
            return;
        }
        // The list is taken from the back.
        switch (form(node)) {
            case Form::lambda: return visit_scope(lambda_key(node), lambda_body(node));
            case Form::let:
                visit_scope(let_key(node), let_body(node));
                rest.push_back({let_value(node), Work::visit});
                return;
            case Form::other:
                rest.push_back({right(node), Work::visit});
                rest.push_back({left(node), Work::visit});
                return;
        }
    }

    void visit_scope(Node* key, Node* body) {
        rest.push_back({key, Work::leave});
        rest.push_back({body, Work::visit});
        rest.push_back({key, Work::enter});
    }

    void run(Node* expression) {
        rest.push_back({expression, Work::visit});
        while (!rest.empty()) {
            const Work next = rest.back();
            rest.pop_back();
            switch (next.step) {
                case Work::visit: visit(next.node); break;
                case Work::enter: ++binders[&symbol_of_key(next.node)]; break;
                case Work::leave: --binders[&symbol_of_key(next.node)]; break;
            }
        }
    }
};

bool is_undefined(const References& references, Symbol* name) {
    return !references.places.contains(name) && !name->definition;
}

}  // namespace

std::vector<Symbol*> free_names(Node* expression) {
    NameWalk walk;
    walk.run(expression);
    std::vector<Symbol*> names(walk.found.begin(), walk.found.end());
    std::sort(names.begin(), names.end(), ByName());
    return names;
}

bool has_text_with(Node* expression, std::string_view word) {
    std::vector<Node*> rest{expression};
    while (!rest.empty()) {
        Node* node = rest.back();
        rest.pop_back();
        if (!is_leaf(node)) {
            rest.push_back(right(node));
            rest.push_back(left(node));
        } else if (is_leaf_of(node, '[') && leaf_bytes(node).find(word) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

void add_references(References& references, Symbol& name, std::vector<Symbol*> free) {
    references.places[&name] = references.entries.size();
    references.entries.push_back({&name, std::move(free)});
}

std::optional<Dangling> find_dangling(const References& references) {
    std::map<Symbol*, Symbol*, ByName> to_visit;  // with the definition that refers to it
    std::unordered_set<const Symbol*> alive;
    to_visit[&symbol_of("")] = nullptr;
    while (!to_visit.empty()) {
        const auto [name, from] = *to_visit.begin();
        to_visit.erase(to_visit.begin());
        alive.insert(name);
        if (is_undefined(references, name)) return Dangling{from, name};
        const auto place = references.places.find(name);
        if (place == references.places.end()) continue;
        for (Symbol* free : references.entries[place->second].free) {
            if (!alive.contains(free)) to_visit[free] = name;
        }
    }
    return std::nullopt;
}

std::vector<Symbol*> find_doomed(const References& references) {
    std::unordered_map<const Symbol*, std::vector<Symbol*>> callers;
    std::unordered_set<const Symbol*> known;
    std::vector<Symbol*> doomed;
    const auto doom = [&](Symbol* name) {
        if (known.insert(name).second) doomed.push_back(name);
    };
    for (const auto& [name, free_names_of_it] : references.entries) {
        for (Symbol* free : free_names_of_it) {
            callers[free].push_back(name);
            if (is_undefined(references, free)) doom(name);
        }
    }
    for (size_t i = 0; i < doomed.size(); ++i) {
        for (Symbol* caller : callers[doomed[i]]) doom(caller);
    }
    return doomed;
}

}  // namespace marl
