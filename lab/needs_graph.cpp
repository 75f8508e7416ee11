// A list of expressions that are surely evaluated grows from the body: the operands of arithmetic,
// the arguments of calls that have all of them, values and bodies of lets. What only a branch or a
// lazy head may evaluate is left out.
#include "lab/needs_graph.h"

#include <algorithm>
#include <set>

#include "front/scopes.h"
#include "lab/signatures.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

struct Needs {
    const Look& look;
    std::map<const Piece*, Node*> found = {};
    std::vector<Node*> waiting = {};

    void add(Node* leaf) {
        const Piece* own = look.sorts.bound.contains(leaf)
                               ? nullptr
                               : definition_of(look.program, leaf_bytes(leaf));
        if (own) found.emplace(own, leaf);
    }

    /// How many of its arguments a head that the system defines surely evaluates.
    size_t strict_arguments(std::string_view name, size_t given) const {
        if (!means_given(look.program, name)) return 0;
        if (const auto arity = builtin_arity(name)) {
            return given >= static_cast<size_t>(*arity) ? static_cast<size_t>(*arity) : 0;
        }
        constexpr std::string_view two = "+-*/%^=#<>";
        constexpr std::string_view one = "~$!&|ILQR";
        if (two.find(name) != two.npos) return given > 1 ? 2 : 0;
        return name.size() == 1 && one.find(name) != one.npos ? 1 : 0;
    }

    /// What a call without its last arguments gives, when these are next.
    Sort result_of(std::string_view name) const {
        const auto own = look.sorts.results.find(name);
        if (own != look.sorts.results.end()) return own->second;
        const Signature* builtin = means_given(look.program, name) ? signature_of(name) : nullptr;
        return builtin ? builtin->result : sort::any;
    }

    void call(const Spine& spine) {
        const std::string_view name = leaf_bytes(spine.head);
        const size_t given = spine.arguments.size();
        size_t strict = 0;
        if (const Piece* own = definition_of(look.program, name)) {
            if (own->parameters.size() > given) return;
            strict = own->parameters.size();
            add(spine.head);
        } else {
            strict = strict_arguments(name, given);
        }
        for (size_t i = 0; i < strict; ++i) waiting.push_back(spine.arguments[i]);
        constexpr Sort goes_on = sort::unit | sort::numeric;
        if (strict > 0 && strict < given && is_surely(result_of(name), goes_on)) {
            waiting.push_back(spine.arguments[strict]);
        }
    }

    void take(Node* node) {
        if (is_leaf(node)) {
            if (arity_of(look.program, leaf_bytes(node)) == 0) add(node);
            return;
        }
        if (form(node) == Form::lambda) return;
        if (form(node) == Form::let) {
            waiting.push_back(let_value(node));
            waiting.push_back(let_body(node));
            return;
        }
        const Spine spine = spine_of(look.program, node);
        if (!is_leaf(spine.head)) {
            const bool is_lambda = form(spine.head) == Form::lambda;
            if (is_lambda) waiting.push_back(spine.arguments[0]);
            waiting.push_back(is_lambda ? lambda_body(spine.head) : spine.head);
        } else if (spine.arguments.empty()) {
            waiting.push_back(spine.head);
        } else if (first_byte(spine.head) != '[' && !look.sorts.bound.contains(spine.head)) {
            call(spine);
        }
    }

    void run(const Piece& piece) {
        Node* body = piece.expression;
        for (size_t i = 0; i < piece.parameters.size(); ++i) body = lambda_body(body);
        waiting.push_back(body);
        while (!waiting.empty()) {
            Node* node = waiting.back();
            waiting.pop_back();
            take(node);
        }
    }
};

}  // namespace

NeedsGraph needs_graph(const Look& look) {
    NeedsGraph graph;
    for (const Piece* piece : look.sound) {
        const auto index = static_cast<size_t>(piece - look.program.pieces.data());
        if (!look.program.counts(index)) continue;
        Needs needs{look};
        needs.run(*piece);
        graph.emplace(piece, std::move(needs.found));
    }
    return graph;
}

std::vector<const Piece*> way_back(const NeedsGraph& graph, const Piece* from) {
    std::map<const Piece*, const Piece*> before;
    std::vector<const Piece*> reached{from};
    for (size_t i = 0; i < reached.size(); ++i) {
        const auto row = graph.find(reached[i]);
        if (row == graph.end()) continue;
        for (const auto& [next, leaf] : row->second) {
            if (next == from) {
                std::vector<const Piece*> way;
                for (const Piece* at = reached[i]; at != from; at = before[at]) way.push_back(at);
                way.push_back(from);
                std::reverse(way.begin(), way.end());
                return way;
            }
            if (before.emplace(next, reached[i]).second) reached.push_back(next);
        }
    }
    return {};
}

void drop_ends(NeedsGraph& graph) {
    std::map<const Piece*, std::vector<const Piece*>> users;
    std::map<const Piece*, size_t> open;  // ways out that are left
    std::vector<const Piece*> ends;
    for (const auto& [piece, needs] : graph) {
        open[piece] = needs.size();
        if (needs.empty()) ends.push_back(piece);
        for (const auto& [next, leaf] : needs) {
            users[next].push_back(piece);
            if (!graph.contains(next)) open[piece] -= 1;
        }
        if (!needs.empty() && open[piece] == 0) ends.push_back(piece);
    }
    while (!ends.empty()) {
        const Piece* end = ends.back();
        ends.pop_back();
        graph.erase(end);
        for (const Piece* user : users[end]) {
            if (--open[user] == 0) ends.push_back(user);
        }
    }
}

}  // namespace marl::lab
