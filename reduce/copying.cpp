// An expression is turned into a row of words once, with the header of each new Pair worked out
// where it is known, and run for each copy: a loop over the words with one stack of results, and no
// recursion. The last use of an argument hands its reference over, so that what nobody else holds
// stays so.
#include "reduce/copying.h"

#include <algorithm>

#include "reduce/build.h"

namespace marl {

namespace {

enum Tag : uint64_t { shared_node = 0, argument = 1, last_argument = 2, make_pair = 3 };
constexpr uint64_t tag_mask = 3;
constexpr int tag_bits = 2;

// What is known of an operand before the call.
struct Known {
    bool head;     // its head is no parameter, and it is no zits
    bool settled;  // whether work is left in it
};

class Maker {
  public:
    Maker(const uint8_t* index_of, int arity, bool settled)
        : index_of_(index_of), settled_(settled) {
        made_.arity = arity;
    }

    Copying make(Node* expression, uint32_t bound) {
        copy_later(expression, bound);
        while (!work_.empty()) {
            const Work next = work_.back();
            work_.pop_back();
            if (next.pair) {
                emit_pair(next.node, next.letters);
            } else {
                copy(next.node, next.letters);
            }
        }
        mark_last_uses();
        return std::move(made_);
    }

  private:
    struct Work {
        Node* node;
        uint32_t letters;
        bool pair;  // its children's copies stand: make the Pair
    };

    // The work list is taken from the back: what stands in the text first is pushed last.
    void copy_later(Node* node, uint32_t letters) { work_.push_back({node, letters, false}); }
    void pair_later(Node* node, uint32_t letters) { work_.push_back({node, letters, true}); }

    void emit(uint64_t word, Known known) {
        made_.code.push_back(word);
        standing_.push_back(known);
        made_.depth = std::max(made_.depth, standing_.size());
    }
    void emit_shared(Node* node) { emit(word_of(node) | shared_node, {!is_zits(node), true}); }

    /// Lays out the copy of `node`, in which arguments stand for the variables `letters`.
    void copy(Node* node, uint32_t letters) {
        if ((free_set(node) & letters) == 0) return emit_shared(node);
        if (is_leaf(node)) {
            const uint64_t index = index_of_[*leaf_text(node) - 'a'];
            return emit((index << tag_bits) | argument, {false, settled_});
        }
        pair_later(node, letters);
        switch (form(node)) {
            case Form::lambda:
                copy_later(lambda_body(node), letters & ~free_set(lambda_key(node)));
                return emit_shared(left(node));
            case Form::let:
                // The key binds in the body, and not in the value.
                copy_later(let_body(node), letters & ~free_set(let_key(node)));
                pair_later(left(node), letters);
                copy_later(let_value(node), letters);
                return emit_shared(left(left(node)));
            case Form::other:
                copy_later(right(node), letters);
                copy_later(left(node), letters);
                return;
        }
    }

    void emit_pair(Node* original, uint32_t letters) {
        const Known argument_known = standing_.back();
        standing_.pop_back();
        Known& known = standing_.back();
        const bool fixed = form(original) == Form::lambda ||
                           (known.head && known.settled && argument_known.settled);
        known = {fixed, fixed};
        made_.code.push_back(make_pair);
        made_.code.push_back(fixed ? fixed_header(original, letters) : 0);
    }

    /// The header of the copy of a Pair whose caches are those of the original, but that the
    /// variables are bound.
    static uint64_t fixed_header(Node* original, uint32_t letters) {
        const uint64_t free = free_set(original) & ~letters;
        return (original->header & ~(count_mask | span_mask)) | (free << span_shift) | 1;
    }

    void mark_last_uses() {
        made_.unused = (uint64_t{1} << made_.arity) - 1;
        for (const size_t i : argument_places()) {
            uint64_t& word = made_.code[i];
            const uint64_t bit = uint64_t{1} << (word >> tag_bits);
            if (made_.unused & bit) word = (word & ~uint64_t{tag_mask}) | last_argument;
            made_.unused &= ~bit;
        }
    }

    /// Where arguments stand in the code, the last one first.
    std::vector<size_t> argument_places() const {
        std::vector<size_t> places;
        for (size_t i = 0; i < made_.code.size(); ++i) {
            const uint64_t tag = made_.code[i] & tag_mask;
            if (tag == argument) places.push_back(i);
            if (tag == make_pair) ++i;
        }
        std::reverse(places.begin(), places.end());
        return places;
    }

    const uint8_t* const index_of_;
    const bool settled_;
    Copying made_;
    std::vector<Known> standing_;
    std::vector<Work> work_;
};

Node* pair_with_header(Node* left, Word right, uint64_t header) {
    auto* node = static_cast<PairNode*>(allocate_node(sizeof(PairNode)));
    node->header = header;
    node->left = left;
    node->right = right;
    return node;
}

Word run(const Copying& copying, Word* operands, Word* arguments) {
    Word* top = operands;
    const uint64_t* end = copying.code.data() + copying.code.size();
    for (const uint64_t* word = copying.code.data(); word != end; ++word) {
        const uint64_t index = *word >> tag_bits;
        switch (*word & tag_mask) {
            case shared_node: *top++ = word_of(shared(node_of(*word & ~tag_mask))); break;
            case argument: *top++ = share(arguments[index]); break;
            case last_argument: *top++ = arguments[index]; break;
            default: {
                const uint64_t header = *++word;
                --top;
                Node* function = force(top[-1]);
                top[-1] = word_of(header ? pair_with_header(function, top[0], header)
                                         : analysed_pair(function, top[0]));
                break;
            }
        }
    }
    return operands[0];
}

}  // namespace

Copying make_copying(Node* expression, uint32_t letters, const uint8_t* index_of, int arity,
                     bool settled) {
    return Maker(index_of, arity, settled).make(expression, letters);
}

Node* run_copying(const Copying& copying, Word* arguments) {
    constexpr size_t small_depth = 64;
    Word copied;
    if (copying.depth <= small_depth) {
        Word operands[small_depth];
        copied = run(copying, operands, arguments);
    } else {
        std::vector<Word> operands(copying.depth);
        copied = run(copying, operands.data(), arguments);
    }
    for (int i = 0; i < copying.arity; ++i) {
        if (copying.unused & (uint64_t{1} << i)) release_word(arguments[i]);
    }
    return force(copied);
}

}  // namespace marl
