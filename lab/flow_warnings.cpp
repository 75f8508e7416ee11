// What happens in the run whatever its arguments are: constants that need themselves, recursion
// that never ends, and addresses of bytes that are gone.
#include <algorithm>
#include <array>
#include <set>

#include "lab/look.h"
#include "lab/needs_graph.h"
#include "lab/signatures.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

bool is_constant(const Piece* piece) {
    return piece->kind == PieceKind::definition && piece->parameters.empty() && !piece->fresh;
}

std::string way_text(const std::vector<const Piece*>& way) {
    std::string text;
    for (size_t i = 1; i < way.size(); ++i) text += ticked(way[i]->key) + ", which needs ";
    return text + ticked(way[0]->key);
}

// Constants.

void look_for_constant_cycle(const Look& look) {
    NeedsGraph graph = needs_graph(look);
    drop_ends(graph);
    std::set<const Piece*> told;
    for (const Piece* piece : look.sound) {
        if (!graph.contains(piece) || !is_constant(piece) || told.contains(piece)) continue;
        const std::vector<const Piece*> way = way_back(graph, piece);
        if (way.empty()) continue;
        told.insert(way.begin(), way.end());
        look.warn(piece->name, "The constant " + ticked(piece->key) +
                                   " needs its own value: it needs " + way_text(way) +
                                   ". One of them has to be a function.");
    }
}

// Recursion.

/// Whether a definition, or what it uses, may do more than compute, or leaves that to what it is
/// given.
bool may_act(const Look& look, const Piece* from) {
    std::set<const Piece*> seen{from};
    std::vector<const Piece*> waiting{from};
    while (!waiting.empty()) {
        const Piece* piece = waiting.back();
        waiting.pop_back();
        const bool applies_local = any_node(piece->expression, [&](Node* node) {
            return !is_leaf(node) && look.sorts.bound.contains(spine_of(look.program, node).head);
        });
        if (applies_local) return true;
        for (const Name& name : look.program.names_of(*piece)) {
            if (name.role != Role::use || name.binder) continue;
            if (const Piece* own = definition_of(look.program, name.key)) {
                if (seen.insert(own).second) waiting.push_back(own);
                continue;
            }
            const Signature* builtin = signature_of(name.key);
            if (builtin ? builtin->acts : !is_given(name.key)) return true;
        }
    }
    return false;
}

std::set<const Piece*> surely_reached(const NeedsGraph& graph, const Piece* from) {
    std::set<const Piece*> seen{from};
    std::vector<const Piece*> waiting{from};
    while (!waiting.empty()) {
        const auto row = graph.find(waiting.back());
        waiting.pop_back();
        if (row == graph.end()) continue;
        for (const auto& [next, leaf] : row->second) {
            if (seen.insert(next).second) waiting.push_back(next);
        }
    }
    return seen;
}

void look_for_endless(const Look& look) {
    if (look.sound.empty() || look.sound.front()->kind != PieceKind::entry) return;
    NeedsGraph graph = needs_graph(look);
    const std::set<const Piece*> reached = surely_reached(graph, look.sound.front());
    drop_ends(graph);
    std::set<const Piece*> told;
    for (const Piece* piece : look.sound) {
        if (!graph.contains(piece) || !reached.contains(piece) || told.contains(piece)) continue;
        const std::vector<const Piece*> way = way_back(graph, piece);
        if (way.empty()) continue;
        told.insert(way.begin(), way.end());
        if (std::any_of(way.begin(), way.end(), is_constant) || may_act(look, piece)) continue;
        const Piece* next = way.size() > 1 ? way[1] : piece;
        look.warn(look.program.range_of(graph[piece][next]),
                  ticked(piece->key) + " needs " + way_text(way) +
                      " in each case: nothing ends this recursion.");
    }
}

// Addresses.

/// Built-ins whose answer points into their first argument.
bool points_inside(std::string_view name) {
    constexpr std::array<std::string_view, 4> names{"strchr", "strpbrk", "strrchr", "strstr"};
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool has_leaf(Node* root, std::string_view bytes) {
    return any_node(root, [&](Node* node) { return is_leaf(node) && leaf_bytes(node) == bytes; });
}

/// Whether an expression makes bytes that nothing else holds.
bool makes_bytes(const Look& look, Node* node) {
    if (is_leaf(node) || !is_surely(look.sorts.of(node), sort::post)) return false;
    const Call call = call_of(look, node);
    const bool is_builtin = call.arity > 0 && !definition_of(look.program, leaf_bytes(call.name));
    return is_builtin && call.arguments.size() == static_cast<size_t>(call.arity);
}

/// Whether all calls of a definition hand bytes to a parameter that nothing else holds.
bool gets_own_bytes(const Look& look, const Piece& piece, size_t parameter) {
    bool all = true;
    for (Node* node : look.nodes) {
        const Call call = call_of(look, node);
        const bool is_this = leaf_bytes(call.name) == piece.key && call.arity > 0 &&
                             call.arguments.size() == static_cast<size_t>(call.arity);
        if (is_this && !makes_bytes(look, call.arguments[parameter])) all = false;
    }
    return all;
}

/// Whether a local name is bound to bytes that it alone holds.
bool holds_alone(const Look& look, Node* leaf) {
    const Name* name = look.program.name_at(look.program.range_of(leaf).begin);
    if (!name || !name->binder || !is_surely(look.sorts.of(leaf), sort::post)) return false;
    const Name& binder = look.program.names[*name->binder];
    const Piece& piece = look.program.pieces[name->piece];
    for (Node* node : look.nodes) {
        if (form(node) != Form::let || !is_leaf(let_key(node))) continue;
        if (look.program.range_of(let_key(node)) != binder.range) continue;
        return makes_bytes(look, let_value(node));
    }
    const auto own = std::find(piece.parameters.begin(), piece.parameters.end(), name->key);
    if (own == piece.parameters.end() || piece.kind != PieceKind::definition) return false;
    return gets_own_bytes(look, piece, static_cast<size_t>(own - piece.parameters.begin()));
}

/// Whether a built-in gets the address that a name has, or one near it.
bool is_followed(const Look& look, Node* body, std::string_view name) {
    return any_node(body, [&](Node* node) {
        const Call call = call_of(look, node);
        if (call.arguments.empty() || !builtin_arity(leaf_bytes(call.name))) return false;
        return std::any_of(call.arguments.begin(), call.arguments.end(), [&](Node* argument) {
            Infix infix{};
            Node* start = is_infix(argument, "+-", infix) ? infix.a : argument;
            return is_leaf(start) && leaf_bytes(start) == name;
        });
    });
}

void look_for_stale_address(const Look& look) {
    for (Node* node : look.nodes) {
        if (form(node) != Form::let || !is_leaf(let_key(node))) continue;
        const Call call = call_of(look, let_value(node));
        if (call.arity < 2 || !points_inside(leaf_bytes(call.name))) continue;
        if (call.arguments.size() != static_cast<size_t>(call.arity)) continue;
        Node* bytes = call.arguments[0];
        const bool is_gone = is_leaf(bytes) ? !has_leaf(let_body(node), leaf_bytes(bytes)) &&
                                                  holds_alone(look, bytes)
                                            : makes_bytes(look, bytes);
        if (!is_gone || !is_followed(look, let_body(node), leaf_bytes(let_key(node)))) continue;
        look.warn(place_of(look, let_value(node)),
                  ticked(leaf_bytes(let_key(node))) + " is an address in the bytes of " +
                      ticked(shown(look, bytes)) +
                      ", which nothing holds any more when it is used. Use them behind it once "
                      "more, or copy them by `strdup`.");
    }
}

constexpr std::array rows{
    Warning{"constant_cycle",
            "A constant needs its own value, as in `hen\\egg+1,egg\\hen+1`.\n"
            "That ends the run when the constant is used. One of those that need each other has to "
            "be a function.",
            look_for_constant_cycle},
    Warning{"endless",
            "A function calls itself in each case, and does nothing else, as in "
            "`fact\\n\\n*fact(n-1)`.\n"
            "Nothing ends the recursion. A condition does: `(n=0)1(n*fact(n-1))`. It isn't said of "
            "a function that nobody surely calls, or that reads, writes or ends the program.",
            look_for_endless},
    Warning{"stale_address",
            "An address points into bytes that nothing holds any more.\n"
            "What `strchr` and its like give is good as long as something holds the bytes, and a "
            "local name holds them up to its last use.",
            look_for_stale_address},
};

}  // namespace

std::span<const Warning> flow_warnings() { return rows; }

}  // namespace marl::lab
