#include "reduce/stack.h"

#include <vector>

namespace marl {

Stack stack;

void grow_stack() {
    const auto used = static_cast<size_t>(stack.top - stack.entries);
    const size_t room = used ? used * 2 : 1024;
    stack.entries = static_cast<Entry*>(reallocate_bytes(stack.entries, room * sizeof(Entry)));
    stack.top = stack.entries + used;
    stack.limit = stack.entries + room;
}

namespace {

/// The nodes of the entries in order of release. The arguments that a call has reduced already
/// stand above the empty entry, first argument on top, and go after the call's function, in order.
std::vector<Node*> nodes_in_order(const Entry* first, const Entry* end) {
    std::vector<Node*> nodes;
    for (const Entry* entry = first; entry != end; ++entry) {
        if (entry->node || entry->kind() != Waiting::argument) {
            if (entry->node) nodes.push_back(entry->node);
            continue;
        }
        const Entry* call = entry + 1;
        while (call->kind() != Waiting::call) ++call;
        for (const Entry* done = call; done != entry; --done) nodes.push_back(done->node);
        entry = call;
    }
    return nodes;
}

}  // namespace

void drop_context() {
    const Entry* first = stack.top;
    while (first[-1].kind() != Waiting::base) --first;
    const std::vector<Node*> nodes = nodes_in_order(first, stack.top);
    stack.top -= stack.top - first;
    for (Node* node : nodes) release(node);
}

}  // namespace marl
