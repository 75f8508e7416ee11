#include "random/rules.h"

#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "reduce/data_head.h"
#include "reduce/tables.h"
#include "value/todo.h"
#include "value/value.h"

namespace marl {

namespace {

struct Term;
using Ref = std::shared_ptr<Term>;

struct Term {
    std::string text;  // of a Leaf
    Ref left, right;   // of a Pair
    int rank = 0;
    bool pending = false;
    uint32_t free = 0;
    ~Term();
};

std::map<std::string, Ref> known;
std::vector<Ref> interned;
int steps = 0;
bool acting = false;

constexpr int most_steps = 2000;
constexpr int most_parts = 2000;  // of a term that is written out

Ref reduce_term(Ref e);

char kind(const Ref& t) { return t->left ? '\0' : t->text[0]; }
bool settled(const Ref& t) { return !t->pending && t->rank >= 1; }

Ref leaf_term(const std::string& text) {
    Ref t = std::make_shared<Term>();
    t->text = text;
    const Symbol* symbol = find_symbol(text);
    if (text[0] == ')') {
        t->rank = 1;
    } else if (text[0] == ']') {
        t->rank = 2;
    } else if (symbol && symbol->definition) {
        t->rank = symbol->parameters;
    } else if (text.size() == 1 && text[0] >= 'a' && text[0] <= 'z') {
        t->rank = 11;
        t->free = 1u << (text[0] - 'a');
    } else {
        t->rank = 1;
    }
    return t;
}

Ref pair_term(const Ref& l, const Ref& r) {
    Ref t = std::make_shared<Term>();
    t->left = l;
    t->right = r;
    t->rank = l->rank == 11 ? 11 : l->rank - 1;
    if (l->left && kind(l->left) == '\\') {
        t->free = r->free & ~l->free;
        return t;
    }
    t->pending = l->pending || r->pending || r->rank < 1;
    if (l->left && kind(l->left) == '{') {
        t->free = r->free;
    } else if (l->left && l->left->left && kind(l->left->left) == '{') {
        t->free = l->free | (r->free & ~l->left->right->free);
    } else {
        t->free = l->free | r->free;
    }
    return t;
}

bool is_lambda(const Ref& t) { return t->left && t->left->left && t->left->left->text == "\\"; }
bool is_let(const Ref& t) {
    return t->left && t->left->left && t->left->left->left && t->left->left->left->text == "{";
}

Term::~Term() {
    if (acting && left && left->left && left->left->text == "todo") {
        const Ref x = left->right;
        const Ref y = right;
        if (x->free == 0 && y->free == 0 && settled(x) && settled(y)) reduce_term(pair_term(x, y));
    }
    left.reset();
    right.reset();
}

// Terms and Values.

Ref term_of(Node* node, std::unordered_map<Node*, Ref>& made) {
    Ref& term = made[node];
    if (!term) {
        Ref t = is_leaf(node) ? leaf_term(std::string(leaf_bytes(node)))
                              : pair_term(term_of(left(node), made), term_of(right(node), made));
        made[node] = t;
        return t;
    }
    return term;
}

Ref copied_term(const Value& value) {
    std::unordered_map<Node*, Ref> made;
    return term_of(value, made);
}

/// The parts of a term, up to one more than the most.
int size_of(const Ref& t, int so_far = 0) {
    if (so_far > most_parts || !t->left) return so_far + 1;
    return size_of(t->right, size_of(t->left, so_far + 1));
}

Value value_of(const Ref& t) {
    return t->left ? pair(value_of(t->left), value_of(t->right)) : leaf(std::string_view(t->text));
}

// The rules.

Ref substitute(const Ref& e, const Ref& argument, char c) {
    if ((e->free & (1u << (c - 'a'))) == 0) return e;
    if (is_lambda(e)) return pair_term(e->left, substitute(e->right, argument, c));
    if (is_let(e)) {
        const Ref value = substitute(e->left->right, argument, c);
        const bool bound = kind(e->left->left->right) == c;
        return pair_term(pair_term(e->left->left, value),
                         bound ? e->right : substitute(e->right, argument, c));
    }
    if (!e->left) return argument;
    const Ref r = substitute(e->right, argument, c);
    return pair_term(substitute(e->left, argument, c), r);
}

Ref call_builtin(const Row& row, const Ref& app, const std::vector<Ref>& arguments) {
    if (app->left && row.name == std::string("todo")) {
        const Ref head = app->left->left->left;
        if (arguments[2] == head) return app->left;
        return pair_term(pair_term(arguments[2], arguments[0]), arguments[1]);
    }
    if (row.name == std::string("raws")) {
        return leaf_term(arguments[0] == arguments[1] ? "K" : "H");
    }
    const TodoArming unarmed(false);
    std::vector<Value> values;
    for (const Ref& argument : arguments) {
        if (size_of(argument) > most_parts) steps = most_steps;
        values.push_back(steps < most_steps ? value_of(argument) : leaf("Z"));
    }
    return copied_term(row.function(values.data()));
}

Ref frame(const Ref& context, const Ref& f) {
    return pair_term(pair_term(leaf_term("B"), context), f);
}

Ref fire_constant(const Ref& context, const std::string& name, const Ref& definition) {
    if (kind(definition) == ')') return pair_term(leaf_term("I"), leaf_term(")" + name));
    if (settled(definition)) return pair_term(context, definition);
    known[name] = leaf_term(")");
    return pair_term(context, pair_term(leaf_term(")" + name), definition));
}

Ref fire(const Ref& state) {
    const Ref context = state->left;
    const Ref focus = state->right;
    std::vector<Ref> arguments;
    Ref head = focus;
    for (; head->left; head = head->left) arguments.insert(arguments.begin(), head->right);
    const std::string name = head->text;
    const Symbol* symbol = find_symbol(name);
    if (symbol && symbol->builtin) {
        const Ref r = call_builtin(*symbol->builtin, focus, arguments);
        const bool aborts = r->left && (kind(r->left) == ')' || kind(r->left) == ']');
        return pair_term(aborts ? leaf_term("I") : context, r);
    }
    if (name == "{") {
        if (settled(arguments[1])) {
            return pair_term(context, substitute(arguments[2], arguments[1], kind(arguments[0])));
        }
        const Ref lambda = pair_term(pair_term(leaf_term("\\"), arguments[0]), arguments[2]);
        return pair_term(frame(context, lambda), arguments[1]);
    }
    if (name == "\\") {
        return pair_term(context, substitute(arguments[1], arguments[2], kind(arguments[0])));
    }
    if (name[0] >= '0' && name[0] <= '9') {
        return pair_term(context,
                         copied_term(unfold_data(leaf(std::string_view(name)), leaf("Z"))));
    }
    if (name[0] == ')') {
        Ref v = arguments[0];
        if (is_lambda(v)) v = pair_term(pair_term(leaf_term("B"), leaf_term("I")), v);
        known[name.substr(1)] = v;
        return pair_term(context, v);
    }
    if (name[0] == ']') return pair_term(leaf_term("I"), leaf_term("]" + arguments[0]->text));
    Ref body = known.at(name);
    std::string letters;
    for (; is_lambda(body); body = body->right) letters += kind(body->left->right);
    if (letters.empty()) return fire_constant(context, name, body);
    for (size_t i = letters.size(); i-- > 0;) {
        body = substitute(body, arguments.at(i), letters[i]);
    }
    return pair_term(context, body);
}

bool is_lazy(Ref head) {
    while (head->left) head = head->left;
    return std::string_view("&|ABCDEFHIJKLNQRTUVXZ").find(head->text[0]) != std::string_view::npos;
}

Ref step(const Ref& state) {
    Ref context = state->left;
    Ref focus = state->right;
    const auto hold_back = [&] {
        return pair_term(frame(context, pair_term(leaf_term("T"), focus->right)), focus->left);
    };
    if (settled(focus)) {
        return pair_term(context->left->right, pair_term(context->right, focus));
    }
    if (focus->rank < 0) return hold_back();
    if (focus->rank == 0) {
        if (is_lazy(focus) || !focus->pending) return fire(state);
        if (is_let(focus)) return fire(state);
        if (focus->left->pending) return hold_back();
        return pair_term(frame(context, focus->left), focus->right);
    }
    if (is_lazy(focus)) {
        int count = 0;
        for (Ref c = context; count < focus->rank && c->left; c = c->left->right, ++count) {
            if (!c->right->left || kind(c->right->left) != 'T') break;
        }
        if (count == focus->rank) {
            for (; count > 0; --count) {
                focus = pair_term(focus, context->right->right);
                context = context->left->right;
            }
            return fire(pair_term(context, focus));
        }
    }
    if (settled(focus->left)) return pair_term(frame(context, focus->left), focus->right);
    return hold_back();
}

Ref reduce_term(Ref e) {
    Ref state = pair_term(leaf_term("I"), e);
    e.reset();
    while (kind(state->left) != 'I' || !settled(state->right)) {
        if (++steps > most_steps) return leaf_term("Z");
        Ref next = step(state);
        state = std::move(next);
    }
    return state->right;
}

}  // namespace

std::string result_by_the_rules() {
    acting = false;
    steps = 0;
    {
        std::unordered_map<Node*, Ref> made;
        for (Symbol* symbol : defined_symbols()) {
            known[std::string(symbol->name.view())] = term_of(symbol->definition, made);
        }
        // The check holds every settled part of the program.
        for (const auto& [node, term] : made) {
            if (settled(term)) interned.push_back(term);
        }
    }
    acting = true;
    Ref result = reduce_term(pair_term(known.at(""), leaf_term("0")));
    if (size_of(result) > most_parts) steps = most_steps + 1;
    std::string printed;
    if (steps <= most_steps) printed = print_value(value_of(result)).view();
    result.reset();
    acting = false;
    known.clear();
    interned.clear();
    return steps > most_steps ? "" : printed;
}

}  // namespace marl
