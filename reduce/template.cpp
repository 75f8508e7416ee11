// An expression is turned into a row of words once, with the header of each new Pair worked out
// where it is known, and run for each copy: a loop over the words with one stack of results, and no
// recursion. The last use of an argument hands its reference over, so that what nobody else holds
// stays so.
#include "reduce/template.h"

#include <algorithm>

#include "reduce/build.h"
#include "reduce/needs.h"

namespace marl {

namespace {

enum Tag : uint64_t { shared_node = 0, argument = 1, last_argument = 2, make_pair = 3 };
constexpr uint64_t tag_mask = 3;
constexpr int tag_bits = 2;

// What is known of an operand before the copy.
struct Known {
    bool head;       // its head is no parameter, and it is no zits
    bool settled;    // whether work is left in it
    int index = -1;  // of the argument that it is
};

class Maker {
  public:
    explicit Maker(const Places& places) : places_(places), due_(places.letters) {
        made_.arity = places.arity;
        made_.all_nodes = keeps_identity;
        for (const Hoisted& hoisted : *places.hoisted) due_ |= free_set(hoisted.node);
    }

    Template make(Node* expression) {
        copy_later(expression, 0);
        while (!work_.empty()) {
            const Work next = work_.back();
            work_.pop_back();
            if (next.pair) {
                emit_pair(next.node, next.bound);
            } else {
                copy(next.node, next.bound);
            }
        }
        must_be_node(standing_.back());
        mark_last_uses();
        return std::move(made_);
    }

  private:
    struct Work {
        Node* node;
        uint32_t bound;  // the variables that binders around it stand for
        bool pair;       // its children's copies stand: make the Pair
    };

    // The work list is taken from the back: what stands in the text first is pushed last.
    void copy_later(Node* node, uint32_t bound) { work_.push_back({node, bound, false}); }
    void pair_later(Node* node, uint32_t bound) { work_.push_back({node, bound, true}); }

    void emit(uint64_t word, Known known) {
        made_.row.push_back(word);
        standing_.push_back(known);
        made_.depth = std::max(made_.depth, standing_.size());
    }
    void emit_shared(Node* node) { emit(word_of(node) | shared_node, {!is_zits(node), true}); }
    void emit_argument(uint64_t index, bool settled) {
        emit((index << tag_bits) | argument, {false, settled, static_cast<int>(index)});
    }

    void must_be_node(const Known& known) {
        if (known.index >= 0) made_.nodes |= uint64_t{1} << known.index;
    }

    const Hoisted* hoisted_at(Node* node, uint32_t bound) const {
        if ((free_set(node) & bound) != 0) return nullptr;
        for (const Hoisted& hoisted : *places_.hoisted) {
            if (hoisted.node == node) return &hoisted;
        }
        return nullptr;
    }

    /// Lays out the copy of `node`, in which arguments stand for the variables that are not bound.
    void copy(Node* node, uint32_t bound) {
        if ((free_set(node) & due_ & ~bound) == 0) return emit_shared(node);
        if (const Hoisted* hoisted = hoisted_at(node, bound)) {
            return emit_argument(hoisted->reg, places_.settled);
        }
        if (is_leaf(node)) {
            return emit_argument(places_.index_of[*leaf_text(node) - 'a'], places_.settled);
        }
        pair_later(node, bound);
        switch (form(node)) {
            case Form::lambda:
                copy_later(lambda_body(node), bound | free_set(lambda_key(node)));
                return emit_shared(left(node));
            case Form::let:
                // The key binds in the body, and not in the value.
                copy_later(let_body(node), bound | free_set(let_key(node)));
                pair_later(left(node), bound);
                copy_later(let_value(node), bound);
                return emit_shared(left(left(node)));
            case Form::other:
                copy_later(right(node), bound);
                copy_later(left(node), bound);
                return;
        }
    }

    void emit_pair(Node* original, uint32_t bound) {
        const Known argument_known = standing_.back();
        standing_.pop_back();
        Known& known = standing_.back();
        must_be_node(known);
        // A closure that stands in a lambda's place for the body is the lambda's own.
        const bool is_lambda = form(original) == Form::lambda;
        if (made_.all_nodes || is_lambda) must_be_node(argument_known);
        const bool fixed = is_lambda || (known.head && known.settled && argument_known.settled);
        known = {fixed, fixed};
        made_.row.push_back((uint64_t{is_lambda} << tag_bits) | make_pair);
        made_.row.push_back(fixed ? fixed_header(original, due_ & ~bound) : 0);
    }

    /// The header of the copy of a Pair whose caches are those of the original, but that the
    /// variables are bound.
    static uint64_t fixed_header(Node* original, uint32_t due) {
        const uint64_t free = free_set(original) & ~due;
        return (original->header & ~(count_mask | span_mask)) | (free << span_shift) | 1;
    }

    void mark_last_uses() {
        made_.unused = made_.arity == 0 ? 0 : ~uint64_t{0} >> (64 - made_.arity);
        for (const size_t i : argument_places()) {
            uint64_t& word = made_.row[i];
            const uint64_t bit = uint64_t{1} << (word >> tag_bits);
            if (made_.unused & bit) word = (word & ~uint64_t{tag_mask}) | last_argument;
            made_.unused &= ~bit;
        }
    }

    /// Where arguments stand in the row, the last one first.
    std::vector<size_t> argument_places() const {
        std::vector<size_t> places;
        for (size_t i = 0; i < made_.row.size(); ++i) {
            const uint64_t tag = made_.row[i] & tag_mask;
            if (tag == argument) places.push_back(i);
            if (tag == make_pair) ++i;
        }
        std::reverse(places.begin(), places.end());
        return places;
    }

    const Places& places_;
    uint32_t due_;  // the variables that arguments stand for, those in hoisted parts included
    Template made_;
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

Word run(const Template& layout, Word* operands, Word* arguments) {
    Word* top = operands;
    const uint64_t* end = layout.row.data() + layout.row.size();
    for (const uint64_t* word = layout.row.data(); word != end; ++word) {
        const uint64_t index = *word >> tag_bits;
        switch (*word & tag_mask) {
            case shared_node: *top++ = word_of(shared(node_of(*word & ~tag_mask))); break;
            case argument: *top++ = shared_word(arguments[index]); break;
            case last_argument: *top++ = arguments[index]; break;
            default: {
                const uint64_t header = *++word;
                --top;
                if (layout.all_nodes || index != 0) top[0] = word_of(force(top[0]));
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

Template make_template(Node* expression, const Places& places) {
    return Maker(places).make(expression);
}

Node* run_template(const Template& layout, Word* arguments) {
    constexpr size_t small_depth = 64;
    Word copied;
    if (layout.depth <= small_depth) {
        Word operands[small_depth];
        copied = run(layout, operands, arguments);
    } else {
        std::vector<Word> operands(layout.depth);
        copied = run(layout, operands.data(), arguments);
    }
    for (int i = 0; i < layout.arity; ++i) {
        if (layout.unused & (uint64_t{1} << i)) release_word(arguments[i]);
    }
    return force(copied);
}

}  // namespace marl
