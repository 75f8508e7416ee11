#include "reduce/frames.h"

#include <array>

#include "reduce/build.h"
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

Node* end_let(Node* value) {
    const Entry let = *--stack.top;
    Node* body = substitute(let.node, value, static_cast<char>(let.detail()));
    release(let.node);
    release(value);
    return body;
}

}  // namespace

bool is_lazy_head(const Node* head) { return lazy_heads[first_byte(head)]; }

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
    const char letter = *leaf_text(let_key(let));
    Node* value = shared(let_value(let));
    if (settled_analysed(value)) {
        Node* body = substitute(let_body(let), value, letter);
        release(let);
        release(value);
        return body;
    }
    Node* body = shared(let_body(let));
    release(let);
    push(Waiting::let, body, static_cast<uint64_t>(letter));
    return value;
}

Node* hand_over(Node* value) {
    switch (stack.top[-1].kind()) {
        case Waiting::let: return end_let(value);
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
