#include "reduce/stack.h"

#include <vector>

#include "reduce/enter.h"

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

/// What the entries hold, in order of release. The arguments that a call has reduced already stand
/// above the empty entry, first argument on top, and go after the call's function, in order.
std::vector<Word> contents_in_order(const Entry* first, const Entry* end) {
    std::vector<Word> words;
    for (const Entry* entry = first; entry != end; ++entry) {
        if (entry->node) {
            words.push_back(content(*entry));
        } else if (entry->kind() == Waiting::argument) {
            const Entry* call = entry + 1;
            while (call->kind() != Waiting::call) ++call;
            for (const Entry* done = call; done != entry; --done) words.push_back(content(*done));
            entry = call;
        }
    }
    return words;
}

}  // namespace

void drop_context() {
    const Entry* first = stack.top;
    while (first[-1].kind() != Waiting::base) --first;
    const std::vector<Word> words = contents_in_order(first, stack.top);
    stack.top -= stack.top - first;
    for (const Word word : words) drop(word);
}

}  // namespace marl
