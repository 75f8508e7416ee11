// The scopes of an expression: which part of it a binder reaches.
//
// A lambda binds its key in its body, a let binds its own in its body, but not in its value.
#pragma once

#include "reduce/analysis.h"
#include "value/value.h"
#include "value/worklist.h"

namespace marl {

/// The key and the body of a lambda or let, borrowed.
inline Node* binder_key(Node* binder) {
    return form(binder) == Form::lambda ? lambda_key(binder) : let_key(binder);
}
inline Node* binder_body(Node* binder) { return right(binder); }

/// Calls `leaf(Node*)` for each Leaf that is no key or mark of a binder, from left to right, and
/// `enter(Node*)` and `leave(Node*)` for each lambda and let, before and behind its body.
template <class Visitor>
void walk_scopes(Node* root, Visitor& visitor) {
    struct Work {
        Node* node;
        enum Step { visit, enter, leave } step;
    };
    // Taken from the back.
    Worklist<Work> rest;
    rest.push({root, Work::visit});
    while (!rest.empty()) {
        const auto [node, step] = rest.pop();
        if (step == Work::enter) {
            visitor.enter(node);
        } else if (step == Work::leave) {
            visitor.leave(node);
        } else if (is_leaf(node)) {
            visitor.leaf(node);
        } else if (const Form shape = form(node); shape == Form::other) {
            rest.push({right(node), Work::visit});
            rest.push({left(node), Work::visit});
        } else {
            rest.push({node, Work::leave});
            rest.push({binder_body(node), Work::visit});
            rest.push({node, Work::enter});
            if (shape == Form::let) rest.push({let_value(node), Work::visit});
        }
    }
}

}  // namespace marl
