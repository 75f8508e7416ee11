#include "reduce/body.h"

#include <algorithm>

#include "reduce/build.h"
#include "reduce/copying.h"
#include "reduce/stack.h"

namespace marl {

namespace {

// A tagged word of a Body: a node to share, an argument, an argument for the last time, or the
// index of a part.
enum Tag : uintptr_t { shared_node = 0, argument = 1, last_argument = 2, part = 3 };
constexpr uintptr_t tag_mask = 3;
constexpr int tag_bits = 2;

uintptr_t tagged(size_t index, Tag tag) { return (index << tag_bits) | tag; }

int letter_index(Node* variable) { return *leaf_text(variable) - 'a'; }

/// The Body of a part: its arguments are those of `enclosing` that occur in it.
Body* make_part(Body& enclosing, Node* expression) {
    auto made = std::make_unique<Body>();
    made->expression = expression;
    made->letters = free_set(expression) & enclosing.letters;
    made->strict = enclosing.strict;
    made->is_lambda = form(expression) == Form::lambda;
    made->root = enclosing.root;
    for (int letter = 0; letter < 26; ++letter) {
        if ((made->letters & (uint32_t{1} << letter)) == 0) continue;
        made->index_of[letter] = static_cast<uint8_t>(made->arity++);
        made->captures.push_back(enclosing.index_of[letter]);
    }
    enclosing.root->owned.push_back(std::move(made));
    return enclosing.root->owned.back().get();
}

uintptr_t word_for(Body& body, Node* node) {
    if ((free_set(node) & body.letters) == 0) return reinterpret_cast<uintptr_t>(node);
    if (is_leaf(node)) return tagged(body.index_of[letter_index(node)], argument);
    body.parts.push_back(make_part(body, node));
    return tagged(body.parts.size() - 1, part);
}

/// Marks argument uses that are the last in the order in which `enter` meets them: the operands
/// from the last to the first, then the head. What is left over is unused.
void mark_last_uses(Body& body) {
    uint32_t unused = (uint32_t{1} << body.arity) - 1;
    const auto visit = [&](uintptr_t& word) {
        if ((word & tag_mask) == argument) {
            const uint32_t bit = uint32_t{1} << (word >> tag_bits);
            if (unused & bit) word = (word & ~tag_mask) | last_argument;
            unused &= ~bit;
        } else if ((word & tag_mask) == part) {
            // The top bit of a captured index says that this part takes the argument over.
            for (uint8_t& index : body.parts[word >> tag_bits]->captures) {
                const uint32_t bit = uint32_t{1} << index;
                if (unused & bit) index |= 0x80;
                unused &= ~bit;
            }
        }
    };
    visit(body.head);
    for (uintptr_t& word : body.operands) visit(word);
    body.unused = unused;
}

void open(Body& body) {
    body.opened = true;
    Node* node = body.expression;
    for (; !is_leaf(node) && !is_zits(node) && form(node) == Form::other; node = left(node)) {
        body.operands.push_back(word_for(body, right(node)));
    }
    std::reverse(body.operands.begin(), body.operands.end());
    body.head = word_for(body, node);
    mark_last_uses(body);
}

void take_captures(const Body& captured_by, Word* arguments, Node** captured) {
    for (const uint8_t index : captured_by.captures) {
        Word& word = arguments[index & 0x7F];
        word = word_of(force(word));
        *captured++ = index & 0x80 ? node_of(word) : shared(node_of(word));
    }
}

size_t delayed_size(const Body& body) {
    return sizeof(Delayed) + (static_cast<size_t>(body.arity) - 1) * sizeof(Node*);
}

void free_delayed(Delayed* delayed) { free_node(delayed, delayed_size(*delayed->body)); }

/// A lambda is a value and must look like one, so it is copied at once; anything else waits.
void push_part(Body& body, Word* arguments) {
    if (body.is_lambda) {
        Node* captured[most_arguments];
        take_captures(body, arguments, captured);
        return push(Waiting::argument, copy_body(body, reinterpret_cast<Word*>(captured)));
    }
    auto* delayed = static_cast<Delayed*>(allocate_node(delayed_size(body)));
    delayed->body = &body;
    take_captures(body, arguments, delayed->captured);
    push(Waiting::delayed, reinterpret_cast<Node*>(delayed));
}

void push_word(Word word) {
    if (is_delayed(word)) {
        push(Waiting::delayed, reinterpret_cast<Node*>(delayed_of(word)));
    } else {
        push(Waiting::argument, node_of(word));
    }
}

void push_operand(Body& body, uintptr_t operand, Word* arguments) {
    const size_t index = operand >> tag_bits;
    switch (operand & tag_mask) {
        case shared_node: return push(Waiting::argument, shared(reinterpret_cast<Node*>(operand)));
        case argument:
            arguments[index] = word_of(force(arguments[index]));
            return push(Waiting::argument, shared(node_of(arguments[index])));
        case last_argument: return push_word(arguments[index]);
        default: return push_part(*body.parts[index], arguments);
    }
}

void drop_unused(const Body& body, Word* arguments) {
    for (int i = 0; i < body.arity; ++i) {
        if (body.unused & (uint32_t{1} << i)) drop(arguments[i]);
    }
}

}  // namespace

Body::Body() = default;
Body::~Body() = default;

std::unique_ptr<Body> make_body(Node* definition, bool strict) {
    auto made = std::make_unique<Body>();
    Node* expression = definition;
    for (; form(expression) == Form::lambda; expression = lambda_body(expression)) {
        const uint32_t letter = free_set(lambda_key(expression));
        MARL_REQUIRE(letter != 0 && made->arity < most_arguments);
        made->letters |= letter;
        made->index_of[letter_index(lambda_key(expression))] = static_cast<uint8_t>(made->arity++);
    }
    made->expression = expression;
    made->strict = strict;
    made->root = made.get();
    return made;
}

Node* enter(Body& body, Word* arguments) {
    if (!body.opened) open(body);
    for (size_t i = body.operands.size(); i-- > 0;) push_operand(body, body.operands[i], arguments);
    Word head = 0;
    const size_t index = body.head >> tag_bits;
    switch (body.head & tag_mask) {
        case shared_node: head = word_of(shared(reinterpret_cast<Node*>(body.head))); break;
        case argument:
        case last_argument: head = arguments[index]; break;
        default: {
            Body& copied = *body.parts[index];
            Node* captured[most_arguments];
            take_captures(copied, arguments, captured);
            head = word_of(copy_body(copied, reinterpret_cast<Word*>(captured)));
            break;
        }
    }
    if (body.unused) drop_unused(body, arguments);
    return is_delayed(head) ? enter_delayed(delayed_of(head)) : node_of(head);
}

Node* enter_delayed(Delayed* delayed) {
    Body& body = *delayed->body;
    Word arguments[most_arguments];
    for (int i = 0; i < body.arity; ++i) arguments[i] = word_of(delayed->captured[i]);
    free_delayed(delayed);
    return enter(body, arguments);
}

Node* force(Word word) {
    if (!is_delayed(word)) return node_of(word);
    Delayed* delayed = delayed_of(word);
    Node* node = copy_body(*delayed->body, reinterpret_cast<Word*>(delayed->captured));
    free_delayed(delayed);
    return node;
}

void drop(Word word) {
    if (!is_delayed(word)) return release(node_of(word));
    Delayed* delayed = delayed_of(word);
    // The order in which several arguments end shows when todo actions are among them: then they go
    // as the parts of the copy that stands for them.
    int ending = 0;
    for (int i = 0; i < delayed->body->arity; ++i) {
        Node* node = delayed->captured[i];
        ending += count_of(node) == 1 && (!is_leaf(node) || is_leaf_of(node, '\n'));
    }
    if (ending > 1) return release(force(word));
    for (int i = 0; i < delayed->body->arity; ++i) release(delayed->captured[i]);
    free_delayed(delayed);
}

}  // namespace marl
