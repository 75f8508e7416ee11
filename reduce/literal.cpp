#include "reduce/literal.h"

#include "reduce/build.h"
#include "reduce/fire.h"
#include "reduce/frames.h"
#include "reduce/stack.h"

namespace marl {

namespace {

Node* head_of(Node* expression, int& arguments) {
    for (arguments = 0; !is_leaf(expression) && !is_zits_analysed(expression); ++arguments) {
        expression = as_pair(expression)->left;
    }
    return expression;
}

Node* fire_whole(Node* application) {
    int arguments;
    Node* head = head_of(application, arguments);
    return fire(application, head, arguments, 0);
}

Node* pop(Node* value) {
    if (stack.top[-1].kind() != Waiting::argument) return hand_over(value);
    Node* argument = (--stack.top)->node;
    Value reversed = leaf("T");
    analyse(reversed);
    return analysed_pair(analysed_pair(reversed.take(), argument), value);
}

/// The argument that an entry holds back, borrowed; null when it is another kind of frame. A
/// function frame of a partly applied `T` is the same thing.
Node* held_argument(const Entry& entry) {
    if (entry.kind() == Waiting::argument) return entry.node;
    if (entry.kind() != Waiting::function || is_leaf(entry.node)) return nullptr;
    return is_leaf_of(left(entry.node), 'T') ? right(entry.node) : nullptr;
}

bool are_held(int count) {
    for (int i = 1; i <= count; ++i) {
        if (!held_argument(stack.top[-i])) return false;
    }
    return true;
}

Node* take_held(Node* function, int count) {
    for (; count > 0; --count) {
        const Entry entry = *--stack.top;
        function = analysed_pair(function, shared(held_argument(entry)));
        release(entry.node);
    }
    return function;
}

/// The argument becomes the focus, and its function, which has no work left, waits.
Node* reduce_argument(Node* application) {
    Node* argument = shared(right(application));
    push(Waiting::function, shared(left(application)));
    release(application);
    return argument;
}

}  // namespace

Node* literal_step(Node* focus) {
    if (settled_analysed(focus)) return pop(focus);
    if (is_leaf(focus)) return fire_name(focus);
    const int rank = rank_analysed(focus);
    if (rank < 0) return hold_back_argument(focus);
    int arguments;
    const bool lazy = is_lazy_head(head_of(focus, arguments));
    if (rank == 0) {
        if (form(focus) == Form::let) return begin_let(focus);
        if (lazy || !pending_analysed(focus)) return fire_whole(focus);
        return pending_analysed(left(focus)) ? hold_back_argument(focus) : reduce_argument(focus);
    }
    if (lazy && are_held(rank)) return fire_whole(take_held(focus, rank));
    return settled_analysed(left(focus)) ? reduce_argument(focus) : hold_back_argument(focus);
}

}  // namespace marl
