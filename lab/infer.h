// What each expression of a program can be, without running it.
//
// A definition's result is found from its body, its parameters from all of its calls, until nothing
// changes. Each starts as "never answers" and only grows, so what is left out at the end is surely
// no answer. Where not all calls are in sight, parameters can be anything.
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "lab/program.h"
#include "lab/sort.h"

namespace marl::lab {

/// An application: what is applied, and to what, the operators for application taken apart.
struct Spine {
    Node* head;
    std::vector<Node*> arguments;
};

/// Whether a name, or an operator, means here what it means in the system.
bool means_given(const Program& program, std::string_view name);

Spine spine_of(const Program& program, Node* node);

/// The definition of the program that a name means that no binder binds; null for other names.
const Piece* definition_of(const Program& program, std::string_view name);

/// How many arguments a definition, built-in or operator takes; -1 for other names.
int arity_of(const Program& program, std::string_view name);

struct Sorts {
    std::unordered_map<const Node*, Sort> nodes;
    // Of definitions, all arguments given; what isn't there can answer anything.
    std::map<std::string, Sort, std::less<>> results;
    std::unordered_set<const Node*> bound;  // the names that are local ones

    Sort of(const Node* node) const {
        const auto found = nodes.find(node);
        return found == nodes.end() ? sort::any : found->second;
    }
};

/// Of `pieces`, which are all that count. `all_calls`: the program holds all calls of its
/// definitions.
Sorts infer_sorts(const Program& program, const std::vector<const Piece*>& pieces, bool all_calls);

}  // namespace marl::lab
