#include "reduce/frames.h"

#include <array>

#include "reduce/build.h"
#include "reduce/enter.h"
#include "reduce/fire.h"
#include "reduce/stack.h"
#include "reduce/substitute.h"
#include "reduce/tables.h"

namespace marl {

namespace {

constexpr auto lazy_heads = [] {
    std::array<bool, 256> table{};
    for (char c : std::string_view("&|ABCDEFHIJKLNQRTUVXZ")) table[static_cast<uint8_t>(c)] = true;
    return table;
}();

/// `body`, borrowed, with the value, which is consumed, for the variable `letter`.
Node* bind_in(Node* body, char letter, Node* value) {
    Bindings bindings;
    bind(bindings, letter, value);
    Node* bound = substitute(body, bindings);
    release(value);
    return bound;
}

}  // namespace

bool is_lazy_head(const Node* head) { return lazy_heads[first_byte(head)]; }

bool is_lazy_name(std::string_view name) {
    return !name.empty() && lazy_heads[static_cast<uint8_t>(name[0])];
}

Node* hold_back_argument(Node* application) {
    PairNode* node = as_pair(application);
    Node* function = node->left;
    if (count_of(node) == 1) {
        // Nobody else looks at the Pair: its references move. A todo Value, which must not go
        // without its action, is settled and never comes here.
        push(Waiting::argument, node->right);
        free_node(node, sizeof(PairNode));
    } else {
        retain(function);
        push(Waiting::argument, shared(node->right));
        release(node);
    }
    return function;
}

Node* begin_let(Node* let) {
    const Value whole = Value::adopt(let);
    const char letter = *leaf_text(let_key(let));
    Node* value = shared(let_value(let));
    if (settled_analysed(value)) return bind_in(let_body(let), letter, value);
    // What waits holds the body only: the value may be the last holder of its parts.
    push(Waiting::let, shared(let_body(let)), static_cast<uint64_t>(letter));
    return value;
}

Node* hand_over(Node* value) {
    switch (stack.top[-1].kind()) {
        case Waiting::let: {
            const Entry let = *--stack.top;
            const Value body = Value::adopt(let.node);
            return bind_in(body, static_cast<char>(let.detail()), value);
        }
        case Waiting::delayed_let:
            return enter_let_body(reinterpret_cast<Delayed*>((--stack.top)->node), value);
        case Waiting::function: {
            Node* function = (--stack.top)->node;
            return analysed_pair(function, value);
        }
        case Waiting::update: {
            const Entry update = *--stack.top;
            return store_constant(*reinterpret_cast<Symbol*>(update.detail()), value);
        }
        default: fatal_stop(__FILE__, __LINE__);
    }
}

}  // namespace marl
