// A work list walks the body and a list of results takes the copies: a part without a variable that
// is due is shared, a variable gives its Value, and a Pair is put together when both of its parts
// are there.
#include "reduce/substitute.h"

#include <vector>

#include "reduce/build.h"

namespace marl {

namespace {

struct Work {
    Node* node;  // null: make a Pair of the two results that came last
    uint32_t letters;
};

// Both lists are empty between calls and keep their memory: substitution runs no program code.
// The work list is taken from the back, so what stands in the text first is pushed last.
std::vector<Work> work;
std::vector<Node*> results;

void copy_later(Node* node, uint32_t letters) { work.push_back({node, letters}); }
void pair_later() { work.push_back({nullptr, 0}); }

void copy(Node* node, uint32_t letters, const Bindings& bindings) {
    if ((free_set(node) & letters) == 0) return results.push_back(shared(node));
    if (is_leaf(node)) return results.push_back(shared(bindings.values[*leaf_text(node) - 'a']));
    pair_later();
    switch (form(node)) {
        case Form::lambda:
            copy_later(lambda_body(node), letters & ~free_set(lambda_key(node)));
            return results.push_back(shared(left(node)));
        case Form::let:
            // The key binds in the body, and not in the value.
            copy_later(let_body(node), letters & ~free_set(let_key(node)));
            pair_later();
            copy_later(let_value(node), letters);
            return results.push_back(shared(left(left(node))));
        case Form::other:
            copy_later(right(node), letters);
            copy_later(left(node), letters);
            return;
    }
}

void make_pair_of_results() {
    Node* right_child = results.back();
    results.pop_back();
    results.back() = analysed_pair(results.back(), right_child);
}

}  // namespace

void bind(Bindings& bindings, char letter, Node* value) {
    MARL_REQUIRE(letter >= 'a' && letter <= 'z');
    bindings.letters |= uint32_t{1} << (letter - 'a');
    bindings.values[letter - 'a'] = value;
}

Node* substitute(Node* body, const Bindings& bindings) {
    copy_later(body, bindings.letters);
    while (!work.empty()) {
        const Work next = work.back();
        work.pop_back();
        if (next.node) {
            copy(next.node, next.letters, bindings);
        } else {
            make_pair_of_results();
        }
    }
    Node* copied = results.back();
    results.pop_back();
    return copied;
}

}  // namespace marl
