#include "reduce/body.h"

#include <algorithm>

#include "reduce/copying.h"
#include "reduce/fire.h"
#include "value/todo.h"

namespace marl {

namespace {

uintptr_t tagged(size_t index, Tag tag) { return (index << tag_bits) | tag; }

int letter_index(Node* variable) { return *leaf_text(variable) - 'a'; }

/// A Body owned by the same root, with no arguments yet.
Body& add_body(Body& enclosing, Node* expression) {
    auto made = std::make_unique<Body>();
    made->expression = expression;
    made->form = form(expression);
    made->strict = enclosing.strict;
    made->root = enclosing.root;
    enclosing.root->owned.push_back(std::move(made));
    return *enclosing.root->owned.back();
}

void add_argument(Body& body, int letter) {
    body.letters |= uint32_t{1} << letter;
    body.index_of[letter] = static_cast<uint8_t>(body.arity++);
}

/// Makes arguments of those of the enclosing Body whose letters are among `letters`.
void capture(Body& body, const Body& enclosing, uint32_t letters) {
    for (int letter = 0; letter < 26; ++letter) {
        if ((letters & enclosing.letters & (uint32_t{1} << letter)) == 0) continue;
        add_argument(body, letter);
        body.captures.push_back(enclosing.index_of[letter]);
    }
}

Body& add_part(Body& enclosing, Node* expression) {
    Body& made = add_body(enclosing, expression);
    capture(made, enclosing, free_set(expression));
    return made;
}

uintptr_t word_for(Body& body, Node* node) {
    if ((free_set(node) & body.letters) == 0) return reinterpret_cast<uintptr_t>(node);
    if (is_leaf(node)) return tagged(body.index_of[letter_index(node)], argument);
    body.parts.push_back(&add_part(body, node));
    return tagged(body.parts.size() - 1, part);
}

/// Marks the uses of arguments that are the last ones in the order of entering. Visit the words in
/// the opposite order; what is left over is unused.
class LastUses {
  public:
    explicit LastUses(Body& body) : body_(body) { body_.unused = (uint32_t{1} << body_.arity) - 1; }
    void visit(uintptr_t& word) {
        if ((word & tag_mask) == argument && take(word >> tag_bits)) {
            word = (word & ~tag_mask) | last_argument;
        } else if ((word & tag_mask) == part) {
            visit_captures(*body_.parts[word >> tag_bits]);
        }
    }
    void visit_captures(Body& captured) {
        for (uint8_t& index : captured.captures) {
            if (take(index)) index |= moved_capture;
        }
    }

  private:
    bool take(size_t index) {
        const uint32_t bit = uint32_t{1} << index;
        const bool last = (body_.unused & bit) != 0;
        body_.unused &= ~bit;
        return last;
    }
    Body& body_;
};

void open_application(Body& body) {
    Node* node = body.expression;
    // What holds no argument is no copy but the node itself, and a program can tell.
    const auto is_copied = [&] { return (free_set(node) & body.letters) != 0; };
    for (; is_copied() && !is_leaf(node) && form(node) == Form::other; node = left(node)) {
        body.operands.push_back(word_for(body, right(node)));
    }
    std::reverse(body.operands.begin(), body.operands.end());
    body.head = word_for(body, node);
    // The operands are pushed from the last to the first, and then the head is taken up.
    LastUses uses(body);
    uses.visit(body.head);
    for (uintptr_t& word : body.operands) uses.visit(word);
}

/// The arguments of a delayed lambda keep their places, and those of the row come behind them.
void open_lambda(Body& body) {
    body.takes = lambda_takes(body.expression, most_lambda_arguments);
    Node* behind = body.expression;
    Body& inner = add_body(body, behind);
    for (int letter = 0; letter < 26; ++letter) {
        if (body.letters & (uint32_t{1} << letter)) inner.index_of[letter] = body.index_of[letter];
    }
    inner.letters = body.letters;
    inner.arity = body.arity;
    for (int i = 0; i < body.takes; ++i) {
        add_argument(inner, letter_index(lambda_key(behind)));
        behind = lambda_body(behind);
    }
    inner.expression = behind;
    inner.form = form(behind);
    body.inner = &inner;
}

void open_let(Body& body) {
    Node* let = body.expression;
    const uint32_t key = free_set(let_key(let));
    Body& inner = add_body(body, let_body(let));
    capture(inner, body, free_set(let_body(let)) & ~key);
    add_argument(inner, letter_index(let_key(let)));
    body.inner = &inner;
    body.head = word_for(body, let_value(let));
    // The body's captures are taken first, then the value is taken up.
    LastUses uses(body);
    uses.visit(body.head);
    uses.visit_captures(inner);
}

/// Whether the name `todo` stands in those parts of an expression that hold one of the letters, or
/// as the head of one.
bool names_todo(Node* expression, uint32_t letters) {
    std::vector<Node*> rest{expression};
    while (!rest.empty()) {
        Node* node = rest.back();
        rest.pop_back();
        if (begins_todo(node)) return true;
        if (!is_leaf(node) && (free_set(node) & letters) != 0) {
            rest.push_back(left(node));
            rest.push_back(right(node));
        }
    }
    return false;
}

}  // namespace

Body::Body() = default;
Body::~Body() = default;

std::unique_ptr<Body> make_body(Node* definition, bool strict) {
    auto made = std::make_unique<Body>();
    Node* expression = definition;
    for (; form(expression) == Form::lambda; expression = lambda_body(expression)) {
        MARL_REQUIRE(free_set(lambda_key(expression)) != 0 && made->arity < most_arguments);
        add_argument(*made, letter_index(lambda_key(expression)));
    }
    made->expression = expression;
    made->form = form(expression);
    made->names_todo = names_todo(expression, made->letters);
    made->strict = strict;
    made->root = made.get();
    return made;
}

void open_body(Body& body) {
    body.opened = true;
    switch (body.form) {
        case Form::lambda: return open_lambda(body);
        case Form::let: return open_let(body);
        case Form::other: return open_application(body);
    }
}

}  // namespace marl
