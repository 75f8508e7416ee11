// What is known of each definition stands in its Symbol, found out for all of them at once: those
// that name what is not calm, then whoever names them.
#include "reduce/calm.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "reduce/needs.h"
#include "reduce/tables.h"
#include "value/identity.h"
#include "value/walk.h"

namespace marl {

bool calls_are_calm = true;

namespace {

bool is_marked = false;

/// A constant under way has this in the place of its definition, and an abort in its text.
bool is_marker(Node* leaf) { return first_byte(leaf) == ')' || first_byte(leaf) == ']'; }

using Users = std::unordered_map<const Symbol*, std::vector<Symbol*>>;

/// Where a definition is data, parts of it may stand in it more often than can be counted.
constexpr int most_parts = 1 << 18;

/// Notes a definition as a user of all that it names; false for a marker in it, and when it is too
/// large.
bool note_uses(Symbol& symbol, Users& users) {
    int parts = 0;
    return walk<ChildrenAndElements>(symbol.definition, [&](Node* node) {
        if (++parts > most_parts || (is_leaf(node) && is_marker(node))) return Go::out;
        if (!names_definition(node)) return Go::in;
        std::vector<Symbol*>& known = users[&symbol_of_leaf(node)];
        if (known.empty() || known.back() != &symbol) known.push_back(&symbol);
        return Go::in;
    });
}

void mark_all() {
    is_marked = true;
    Users users;
    std::vector<Symbol*> restless;
    // A walk binds names that nobody has asked for, so what there is must be known before.
    for (Symbol* symbol : defined_symbols()) symbol->calm = note_uses(*symbol, users);
    for_each_symbol([&](Symbol& symbol) {
        if (symbol.builtin)
            symbol.calm = symbol.name != "todo";
        else if (!symbol.definition)
            symbol.calm = false;
        if (!symbol.calm) restless.push_back(&symbol);
    });
    while (!restless.empty()) {
        const Symbol* const named = restless.back();
        restless.pop_back();
        for (Symbol* user : users[named]) {
            if (std::exchange(user->calm, false)) restless.push_back(user);
        }
    }
}

/// The parts of a value but for numbers that have no node.
struct CountedParts {
    template <class See>
    static void from_the_back(Node* node, See see) {
        if (is_leaf_of(node, '\n')) {
            for (int64_t i = span_of(node); i-- > 0;) {
                const Word slot = cray_word(node, i);
                if (slot != 0 && is_counted(slot)) see(cray_slot(node, i));
            }
        } else if (!is_leaf(node)) {
            if (is_counted(as_pair(node)->right)) see(right(node));
            see(left(node));
        }
    }
};

// What may be looked at. A large value that was too large after all makes the next one wait until
// twice as much is in hand, so that a list that grows ahead of it costs little.
constexpr int64_t nodes_for_nothing = 64;
constexpr int64_t nodes_earned = 16;  // by a step
int64_t nodes_in_hand = 1 << 18;      // a few milliseconds, once
int64_t nodes_wanted = 0;             // before the next large value

}  // namespace

bool names_definition(Node* node) {
    if (!is_leaf(node) || !is_name_byte(first_byte(node)) || is_marker(node)) return false;
    const std::string_view name = leaf_bytes(node);
    if (name.size() != 1) return true;
    return !(name[0] >= 'a' && name[0] <= 'z') && name[0] != '\\' && name[0] != '{';
}

bool has_calm_calls() { return calls_are_calm && !meanings_change && !may_load && !keeps_identity; }

void forget_calm() { is_marked = false; }

bool is_calm(const Symbol& symbol) {
    if (!is_marked) mark_all();
    return symbol.calm;
}

void earn_look() { nodes_in_hand += nodes_earned; }

bool is_calm_value(Node* value) {
    const int64_t most = nodes_for_nothing + (nodes_in_hand >= nodes_wanted ? nodes_in_hand : 0);
    int64_t looked_at = 0;
    bool too_large = false;
    const bool calm = walk<CountedParts>(value, [&](Node* node) {
        const int64_t size = is_leaf_of(node, '\n') ? span_of(node) + 1 : 1;
        too_large = looked_at + size > most;
        if (too_large) return Go::out;
        looked_at += size;
        if (is_leaf(node) && is_marker(node)) return Go::out;
        return !names_definition(node) || is_calm(symbol_of_leaf(node)) ? Go::in : Go::out;
    });
    nodes_in_hand -= std::max<int64_t>(looked_at - nodes_for_nothing, 0);
    if (most > nodes_for_nothing) nodes_wanted = too_large ? 2 * most : 0;
    return calm;
}

}  // namespace marl
