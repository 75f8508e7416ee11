#include "random/rules.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string_view>
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
    bool zits = false;
    int depth = 0;
    uint32_t free = 0;
    ~Term();
};

std::map<std::string, Ref> known;
std::unordered_map<Node*, Ref> interned;  // what the program and loaded texts hold, each part once
int steps = 0;
bool acting = false;

constexpr int most_steps = 5000;
constexpr int most_parts = 2000;  // of a term that is written out
constexpr int most_depth = 3000;  // walks recurse

Ref reduce_term(Ref e);

bool is_head(const Ref& t) { return !t->left || t->zits; }
char kind(const Ref& t) { return t->left ? '\0' : t->text[0]; }
bool settled(const Ref& t) { return !t->pending && t->rank >= 1; }

Ref leaf_term(const std::string& text) {
    Ref t = std::make_shared<Term>();
    t->text = text;
    t->zits = text[0] == '[';
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
    t->depth = std::max(l->depth, r->depth) + 1;
    if (t->depth > most_depth) steps = most_steps;
    t->zits = l->zits && r->zits;
    if (t->zits) {
        t->rank = 1;
        return t;
    }
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
    if (const auto held = interned.find(node); held != interned.end()) return held->second;
    if (const auto found = made.find(node); found != made.end()) return found->second;
    const Ref t = is_leaf(node) ? leaf_term(std::string(leaf_bytes(node)))
                                : pair_term(term_of(left(node), made), term_of(right(node), made));
    return made[node] = t;
}

Ref copied_term(Node* value) {
    std::unordered_map<Node*, Ref> made;
    return term_of(value, made);
}

/// The term of what a loaded text gives. The program holds the parts that are settled in it.
Ref loaded_term(const Value& result) {
    std::unordered_map<Node*, Ref> made;
    Ref term = term_of(result, made);
    std::unordered_map<Node*, uint32_t> holders{{result, 1}};
    for (const auto& [node, part] : made) {
        if (!part->left) continue;
        ++holders[left(node)];
        ++holders[right(node)];
    }
    for (const auto& [node, part] : made) {
        if (count_of(node) > holders[node]) interned[node] = part;
    }
    return term;
}

/// The parts of a term, up to one more than the most.
int size_of(const Ref& t, int so_far = 0) {
    if (so_far > most_parts || !t->left) return so_far + 1;
    return size_of(t->right, size_of(t->left, so_far + 1));
}

/// A Value in which each term is one node.
Value value_of(const Ref& t, std::unordered_map<Term*, Value>& made) {
    Value& value = made[t.get()];
    if (value) return value;
    const Value whole = t->left ? pair(value_of(t->left, made), value_of(t->right, made))
                                : leaf(std::string_view(t->text));
    return made[t.get()] = whole;
}
Value value_of(const Ref& t) {
    std::unordered_map<Term*, Value> made;
    return value_of(t, made);
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

Ref call_builtin(const Builtin& row, const Ref& app, const std::vector<Ref>& arguments) {
    const std::string_view name = row.name;
    if (app->left && name == "todo") {
        const Ref head = app->left->left->left;
        if (arguments[2] == head) return app->left;
        return pair_term(pair_term(arguments[2], arguments[0]), arguments[1]);
    }
    if (name == "raws") return leaf_term(arguments[0] == arguments[1] ? "K" : "H");
    const TodoArming unarmed(false);
    std::unordered_map<Term*, Value> made;
    std::vector<Value> values;
    for (const Ref& argument : arguments) {
        if (size_of(argument) > most_parts) steps = most_steps;
        values.push_back(steps < most_steps ? value_of(argument, made) : leaf("Z"));
    }
    made.clear();
    const bool loads = name == "load" || name == "road";
    Value result;
    {
        const TodoArming armed(loads);
        result = row.function(values.data());
    }
    return loads ? loaded_term(result) : copied_term(result);
}

Ref frame(const Ref& context, const Ref& f) {
    return pair_term(pair_term(leaf_term("B"), context), f);
}

bool is_data(const Ref& head) {
    return head->zits || std::string_view("0123456789( ").find(head->text[0]) < 12;
}

/// A text and a real hand the argument on.
Ref unfold(const Ref& head, const Ref& argument) {
    const bool one_level = kind(argument) == 'G';
    Ref shown = copied_term(unfold_data(value_of(head), leaf(one_level ? "G" : "Z")));
    if (kind(head) == ' ') return pair_term(shown->left, argument);
    if (!head->zits || kind(shown->left->left) == 'V') return shown;
    return pair_term(pair_term(argument, shown->left->right), shown->right);
}

Ref fire_constant(const Ref& context, const std::string& name, const Ref& definition) {
    if (kind(definition) == ')') return pair_term(leaf_term("I"), leaf_term(")" + name));
    if (settled(definition) || find_symbol(name)->unmemoised) return pair_term(context, definition);
    known[name] = leaf_term(")");
    return pair_term(context, pair_term(leaf_term(")" + name), definition));
}

Ref fire(const Ref& state) {
    const Ref context = state->left;
    const Ref focus = state->right;
    std::vector<Ref> arguments;
    Ref head = focus;
    for (; !is_head(head); head = head->left) arguments.insert(arguments.begin(), head->right);
    const std::string name = head->text;
    if (is_data(head)) return pair_term(context, unfold(head, arguments[0]));
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
    if (name[0] == ')') {
        Ref v = arguments[0];
        if (is_lambda(v)) v = pair_term(pair_term(leaf_term("B"), leaf_term("I")), v);
        known[name.substr(1)] = v;
        return pair_term(context, v);
    }
    if (name[0] == ']') return pair_term(leaf_term("I"), leaf_term("]" + arguments[0]->text));
    Ref& definition = known[name];
    if (!definition) definition = copied_term(find_definition(name));
    Ref body = definition;
    std::string letters;
    for (; is_lambda(body); body = body->right) letters += kind(body->left->right);
    if (letters.empty()) return fire_constant(context, name, body);
    for (size_t i = letters.size(); i-- > 0;) {
        body = substitute(body, arguments.at(i), letters[i]);
    }
    return pair_term(context, body);
}

bool is_lazy(Ref head) {
    while (!is_head(head)) head = head->left;
    return !head->left &&
           std::string_view("&|ABCDEFHIJKLNQRTUVXZ").find(head->text[0]) != std::string_view::npos;
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
            known[std::string(symbol->name)] = term_of(symbol->definition, made);
        }
        // The check holds every settled part of the program.
        for (const auto& [node, term] : made) {
            if (settled(term)) interned[node] = term;
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
