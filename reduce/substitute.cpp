#include "reduce/substitute.h"

#include <vector>

#include "reduce/build.h"

namespace marl {

namespace {

enum class Step { copy, share, make_pair };

struct Work {
    Step step;
    Node* node;  // null for `make_pair`, which takes the two results that came last
};

// Both lists are empty between calls and keep their memory: substitution runs no program code.
// The work list is taken from the back, so what stands in the text first is pushed last.
std::vector<Work> work;
std::vector<Node*> results;

void copy(Node* node, uint32_t bit, Node* argument) {
    if ((free_set(node) & bit) == 0) return results.push_back(shared(node));
    if (is_leaf(node)) return results.push_back(shared(argument));
    work.push_back({Step::make_pair, nullptr});
    switch (form(node)) {
        case Form::lambda:
            // The key is another letter: this one is free here.
            work.push_back({Step::copy, lambda_body(node)});
            return results.push_back(shared(left(node)));
        case Form::let: {
            // The key binds in the body, and not in the value.
            const bool rebound = (free_set(let_key(node)) & bit) != 0;
            work.push_back({rebound ? Step::share : Step::copy, let_body(node)});
            work.push_back({Step::make_pair, nullptr});
            work.push_back({Step::copy, let_value(node)});
            return results.push_back(shared(left(left(node))));
        }
        case Form::other:
            work.push_back({Step::copy, right(node)});
            work.push_back({Step::copy, left(node)});
            return;
    }
}

void make_pair_of_results() {
    Node* right_child = results.back();
    results.pop_back();
    results.back() = analysed_pair(results.back(), right_child);
}

}  // namespace

Node* substitute(Node* body, Node* argument, char letter) {
    MARL_REQUIRE(letter >= 'a' && letter <= 'z');
    const uint32_t bit = uint32_t{1} << (letter - 'a');
    work.push_back({Step::copy, body});
    while (!work.empty()) {
        const Work next = work.back();
        work.pop_back();
        switch (next.step) {
            case Step::copy: copy(next.node, bit, argument); break;
            case Step::share: results.push_back(shared(next.node)); break;
            case Step::make_pair: make_pair_of_results(); break;
        }
    }
    Node* copied = results.back();
    results.pop_back();
    return copied;
}

}  // namespace marl
