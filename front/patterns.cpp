// Patterns are rewritten bottom-up, so that a pattern in the body of another one is already taken
// apart when its turn comes. Funky keys are looked for top-down, left before right, and the first
// one found is the one to tell.
#include "front/patterns.h"

#include <utility>
#include <vector>

#include "front/definitions.h"
#include "front/scopes.h"
#include "reduce/analysis.h"
#include "value/rebuild.h"

namespace marl {

namespace {

bool is_name_key(Node* key) { return is_definable(leaf_bytes(key)); }

Value let(Value key, Value value, Value body) {
    return apply(leaf("{"), std::move(key), std::move(value), std::move(body));
}

/// { (x y) e c becomes { y e ({ x (y K) ({ y (y H) c)): a pair gives its parts to K and to H, and y
/// holds the whole until both are taken.
Value split_pattern(Node* expression) {
    const Value x = Value::share(left(let_key(expression)));
    const Value y = Value::share(right(let_key(expression)));
    const Value whole = leaf(definition_key(leaf_bytes(y)));
    Value second = let(y, pair(whole, leaf("H")), Value::share(let_body(expression)));
    Value first = let(x, pair(whole, leaf("K")), std::move(second));
    return let(y, Value::share(let_value(expression)), std::move(first));
}

}  // namespace

bool has_pair_pattern(Node* expression) {
    if (form(expression) != Form::let) return false;
    Node* key = let_key(expression);
    if (is_leaf(key) || !is_leaf(left(key)) || !is_leaf(right(key))) return false;
    return is_name_key(left(key)) && is_name_key(right(key));
}

bool is_funky(Node* binder) {
    return !is_name_key(binder_key(binder)) && !has_pair_pattern(binder);
}

Value expand_pair_patterns(Node* expression) {
    if (!any_node(expression, has_pair_pattern)) return Value::share(expression);
    return rebuild(expression, keep_leaf, [](Value function, Value argument) {
        Value made = pair(std::move(function), std::move(argument));
        return has_pair_pattern(made) ? split_pattern(made) : made;
    });
}

std::vector<Node*> find_funky(Node* expression, bool all) {
    std::vector<Node*> funky;
    walk(expression, [&](Node* node) {
        if (form(node) == Form::other || !is_funky(node)) return Go::in;
        funky.push_back(node);
        return all ? Go::in : Go::out;
    });
    return funky;
}

}  // namespace marl
