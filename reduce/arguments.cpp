// A Pair that nobody else holds is taken apart without a count.
#include "reduce/arguments.h"

#include <new>

#include "reduce/heads.h"

namespace marl {

void take_inner_arguments(Node* function, int inner, Word* arguments) {
    while (inner > 0) {
        PairNode* node = as_pair(function);
        if (count_of(node) == 1) {
            arguments[--inner] = node->right;
            function = node->left;
            free_node(node, sizeof(PairNode));
            continue;
        }
        Node* shared_part = function;
        for (; inner > 0; function = as_pair(function)->left) {
            arguments[--inner] = shared_word(as_pair(function)->right);
        }
        release(shared_part);
        return;
    }
    release(function);
}

Value call_builtin(const Builtin& row, Word* arguments) {
    // Only as many of them as there are arguments ever begin.
    union Slots {
        Slots() {}
        ~Slots() {}
        Value values[most_arguments];
    } slots;
    for (int i = 0; i < row.arity; ++i) {
        new (slots.values + i) Value(Value::adopt(force(arguments[i])));
    }
    Value result = row.function(slots.values);
    for (int i = 0; i < row.arity; ++i) slots.values[i].~Value();
    analyse(result);
    return result;
}

}  // namespace marl
