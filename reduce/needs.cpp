// The needs are flags, set by names and never taken back while a program is there.
#include "reduce/needs.h"

#include <algorithm>
#include <span>

#include "reduce/analysis.h"
#include "reduce/heads.h"
#include "reduce/meanings.h"
#include "value/worklist.h"

namespace marl {

bool needs_plain_machine = false;
bool meanings_change = false;
bool may_load = false;
bool repeats_operands = false;

namespace {

constexpr std::string_view todo_name = "todo";
constexpr std::string_view names_that_load[] = {"load", "road"};
constexpr std::string_view names_that_ask[] = {"raws", "leak", "bond", "copy",
                                               "tern", "load", "road"};

bool is_in(std::span<const std::string_view> names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Whether a variable of that name stands in two places of an expression, or in a lambda. The
/// expression need not be analysed yet.
bool is_repeated(std::string_view name, Node* expression) {
    struct Place {
        Node* node;
        bool in_lambda;
    };
    bool seen = false;
    Worklist<Place> rest;
    rest.push({expression, false});
    while (!rest.empty()) {
        const auto [node, in_lambda] = rest.pop();
        if (!is_leaf(node)) {
            const bool inner = in_lambda || form(node) == Form::lambda;
            rest.push({left(node), inner});
            rest.push({right(node), inner});
        } else if (is_leaf_text(node, name)) {
            if (seen || in_lambda) return true;
            seen = true;
        }
    }
    return false;
}

bool repeats_parameter(Node* definition) {
    Node* body = definition;
    while (form(body) == Form::lambda) body = lambda_body(body);
    for (; definition != body; definition = lambda_body(definition)) {
        if (is_repeated(leaf_bytes(lambda_key(definition)), body)) return true;
    }
    return false;
}

}  // namespace

bool is_noted_name(std::string_view name) {
    if (name.size() != 4) return false;  // none of them has another length
    return name == todo_name || is_in(names_that_ask, name);
}

void note_name(std::string_view name) {
    if (name == todo_name) needs_plain_machine = true;
    if (is_in(names_that_load, name)) may_load = true;
    if (is_in(names_that_ask, name)) keeps_identity = true;
}

void note_definition(std::string_view name, Node* definition) {
    if (name.size() != 1) return;  // combinators and operators
    if (!keeps_meaning(name, definition)) needs_plain_machine = meanings_change = true;
    if (is_lazy_name(name) && repeats_parameter(definition)) repeats_operands = true;
}

void clear_needs() {
    needs_plain_machine = false;
    meanings_change = false;
    keeps_identity = false;
    may_load = false;
    repeats_operands = false;
}

}  // namespace marl
