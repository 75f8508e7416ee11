#include "reduce/template.h"

#include <algorithm>

#include "reduce/build.h"

namespace marl {

namespace {

enum Tag : uintptr_t { shared_part = 0, argument = 1, last_use = 2, make_pair = 3 };
constexpr uintptr_t tag_mask = 3;
constexpr int tag_bits = 2;

struct Maker {
    Template made;
    int index_of[26];
    size_t standing = 0;

    struct Work {
        Node* node;  // null: make a Pair of the two operands that stand
        uint32_t letters;
    };
    std::vector<Work> work;

    void emit(uintptr_t word) {
        made.code.push_back(word);
        if ((word & tag_mask) == make_pair) {
            --standing;
        } else {
            made.depth = std::max(made.depth, ++standing);
        }
    }
    void emit_part(Node* part) { emit(reinterpret_cast<uintptr_t>(part) | shared_part); }

    // The work list is taken from the back: what stands in the text first is pushed last.
    void copy_later(Node* node, uint32_t letters) { work.push_back({node, letters}); }
    void pair_later() { work.push_back({nullptr, 0}); }

    /// Adds the copy of `node`, in which the parameters `letters` stand for arguments.
    void copy(Node* node, uint32_t letters) {
        const uint32_t held = free_set(node) & letters;
        if (held == 0) return emit_part(node);
        switch (form(node)) {
            case Form::lambda:
                pair_later();
                copy_later(lambda_body(node), letters & ~free_set(lambda_key(node)));
                return emit_part(left(node));
            case Form::let:
                pair_later();
                copy_later(let_body(node), letters & ~free_set(let_key(node)));
                pair_later();
                copy_later(let_value(node), letters);
                return emit_part(left(left(node)));
            case Form::other: break;
        }
        if (is_leaf(node)) {
            const int letter = *leaf_text(node) - 'a';
            return emit((static_cast<uintptr_t>(index_of[letter]) << tag_bits) | argument);
        }
        pair_later();
        copy_later(right(node), letters);
        copy_later(left(node), letters);
    }

    void run(Node* body, uint32_t letters) {
        copy_later(body, letters);
        while (!work.empty()) {
            const Work next = work.back();
            work.pop_back();
            if (next.node) {
                copy(next.node, next.letters);
            } else {
                emit(make_pair);
            }
        }
    }

    /// Marks the last occurrence of each argument, and the arguments that have none.
    void mark_last_uses() {
        made.unused = (uint32_t{1} << made.arity) - 1;
        for (size_t i = made.code.size(); i-- > 0;) {
            uintptr_t& word = made.code[i];
            if ((word & tag_mask) != argument) continue;
            const uint32_t bit = uint32_t{1} << (word >> tag_bits);
            if (made.unused & bit) word = (word & ~tag_mask) | last_use;
            made.unused &= ~bit;
        }
    }
};

void release_unused(const Template& body, Node** arguments) {
    for (int i = 0; i < body.arity; ++i) {
        if (body.unused & (uint32_t{1} << i)) release(arguments[i]);
    }
}

Node* run_code(const Template& body, Node** operands, Node** arguments) {
    Node** top = operands;
    for (const uintptr_t word : body.code) {
        switch (word & tag_mask) {
            case shared_part: *top++ = shared(reinterpret_cast<Node*>(word)); break;
            case argument: *top++ = shared(arguments[word >> tag_bits]); break;
            case last_use: *top++ = arguments[word >> tag_bits]; break;
            default:
                --top;
                top[-1] = analysed_pair(top[-1], top[0]);
                break;
        }
    }
    return operands[0];
}

}  // namespace

Template make_template(Node* definition) {
    Maker maker;
    uint32_t letters = 0;
    Node* body = definition;
    for (; form(body) == Form::lambda; body = lambda_body(body)) {
        const uint32_t letter = free_set(lambda_key(body));
        MARL_REQUIRE(letter != 0 && maker.made.arity < rank_variable);
        letters |= letter;
        maker.index_of[*leaf_text(lambda_key(body)) - 'a'] = maker.made.arity++;
    }
    maker.run(body, letters);
    maker.mark_last_uses();
    return std::move(maker.made);
}

Node* instantiate(const Template& body, Node** arguments) {
    constexpr size_t small_depth = 64;
    Node* copied;
    if (body.depth <= small_depth) {
        Node* operands[small_depth];
        copied = run_code(body, operands, arguments);
    } else {
        std::vector<Node*> operands(body.depth);
        copied = run_code(body, operands.data(), arguments);
    }
    if (body.unused) release_unused(body, arguments);
    return copied;
}

}  // namespace marl
