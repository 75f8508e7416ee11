#include "reduce/fire.h"

#include <array>
#include <string>

#include "reduce/body.h"
#include "reduce/build.h"
#include "reduce/copying.h"
#include "reduce/data_head.h"
#include "reduce/enter.h"
#include "reduce/frames.h"
#include "reduce/machine.h"
#include "reduce/stack.h"
#include "reduce/substitute.h"
#include "reduce/tables.h"

namespace marl {

bool is_abort(Node* r) {
    if (is_leaf(r)) return false;
    const uint8_t kind = first_byte(as_pair(r)->left);
    return kind == ')' || kind == ']';
}

namespace {

// Arguments on their way to a head. Those that are no definition take them as nodes.
using Arguments = std::array<Word, most_arguments>;

enum class Head : uint8_t { name, data, binder, marker, failure };

constexpr auto head_kinds = [] {
    std::array<Head, 256> kinds{};
    for (char c : std::string_view(" (\n[0123456789")) kinds[static_cast<uint8_t>(c)] = Head::data;
    kinds['\\'] = Head::binder;
    kinds[')'] = Head::marker;
    kinds[']'] = Head::failure;
    return kinds;
}();

Head head_kind(Node* head) { return is_leaf(head) ? head_kinds[first_byte(head)] : Head::data; }

/// Ends the run with `r` as its result, unless a later step finds work in it.
Node* abort_with(Value r) {
    drop_context();
    analyse(r);
    return r.take();
}

Value marked_leaf(char mark, std::string_view text) {
    return leaf(std::string(1, mark).append(text));
}

/// Takes the arguments that `function` has already out of it, and drops the rest of it. A Pair that
/// nobody else holds gives its references up, so that an argument held by it alone stays so.
void take_inner_arguments(Node* function, int inner, Word* arguments) {
    while (inner > 0) {
        PairNode* node = as_pair(function);
        if (count_of(node) == 1) {
            arguments[--inner] = word_of(node->right);
            function = node->left;
            free_node(node, sizeof(PairNode));
            continue;
        }
        Node* shared_part = function;
        for (; inner > 0; function = as_pair(function)->left) {
            arguments[--inner] = word_of(shared(as_pair(function)->right));
        }
        release(shared_part);
        return;
    }
    release(function);
}

void take_held_arguments(int held, Word* arguments) {
    for (int i = 0; i < held; ++i) arguments[i] = content(*--stack.top);
}

/// All arguments of a head, in order. Consumes the function.
void take_arguments(Node* function, int inner, int held, Arguments& arguments) {
    MARL_REQUIRE(inner + held <= most_arguments);
    if (inner > 0) {
        take_inner_arguments(function, inner, arguments.data());
    } else {
        release(function);
    }
    take_held_arguments(held, arguments.data() + inner);
}

Node* take_held_node() { return force(content(*--stack.top)); }

Node* call_builtin(const Row& row, Arguments& arguments) {
    for (int i = 0; i < row.arity; ++i) arguments[i] = word_of(force(arguments[i]));
    static_assert(sizeof(Value) == sizeof(Node*));
    auto* slots = reinterpret_cast<Value*>(arguments.data());
    Value result = row.function(slots);
    for (int i = 0; i < row.arity; ++i) {
        if (Node* left_over = slots[i].take()) release(left_over);
    }
    analyse(result);
    if (is_abort(result)) return abort_with(std::move(result));
    return result.take();
}

Node* call_definition(Symbol& symbol, Arguments& arguments, int count) {
    if (!symbol.body) {
        const bool strict = !is_lazy_name(symbol.name.view());
        symbol.body = make_body(symbol.definition, strict);
    }
    MARL_REQUIRE(symbol.body->arity == count);
    // A copy with a todo Value in it acts when it is dropped, also before anybody looks at it.
    const bool entered = !symbol.body->names_todo;
    return entered ? enter(*symbol.body, arguments.data())
                   : copy_body(*symbol.body, arguments.data());
}

/// A text head applied to a text is a text and no work; every other data head unfolds.
Node* fire_data(Node* head, Node* argument) {
    if (is_zits_analysed(head) && is_zits_analysed(argument)) return analysed_pair(head, argument);
    Value unfolded = unfold_data(Value::adopt(head), Value::adopt(argument));
    analyse(unfolded);
    return unfolded.take();
}

/// (todo a b) c: selected by the node of the name itself, the Pair (todo a) b is the result; else
/// it is c a b, and the Pair goes, which may be its end.
Node* fire_todo(Node* function, Node* head, int inner, int held) {
    if (inner == 3) {
        Node* whole = function;
        function = shared(left(whole));
        push(Waiting::argument, shared(right(whole)));
        release(whole);
        inner = 2;
        held = 1;
    }
    for (; held > 1; --held) function = analysed_pair(function, take_held_node());
    Node* selector = take_held_node();
    if (selector == head) {
        release(selector);
        return function;
    }
    Node* a = right(left(function));
    Node* selected = analysed_pair(analysed_pair(selector, shared(a)), shared(right(function)));
    release(function);
    return selected;
}

/// A Leaf ")name" in function position stores its argument, as an update does.
Node* fire_marker(const Value& marker, Node* argument) {
    Symbol& symbol = symbol_of(leaf_bytes(marker).substr(1));
    MARL_REQUIRE(!symbol.name.empty() && symbol.definition && settled_analysed(argument));
    return store_constant(symbol, argument);
}

/// A lambda whose arguments have come one by one: \ x b a.
Node* fire_binder(Arguments& arguments, int count) {
    MARL_REQUIRE(count == 3);
    const Value key = Value::adopt(force(arguments[0]));
    const Value body = Value::adopt(force(arguments[1]));
    const Value argument = Value::adopt(force(arguments[2]));
    Bindings bindings;
    bind(bindings, static_cast<char>(first_byte(key)), argument);
    return substitute(body, bindings);
}

/// A failure applied to two arguments: the text of the first takes its place.
Node* fire_failure(Arguments& arguments) {
    const Value text = Value::adopt(force(arguments[0]));
    Node* failure = abort_with(marked_leaf(']', leaf_bytes(text)));
    drop(arguments[1]);
    return failure;
}

Node* fire_undefined(const Symbol& symbol, Arguments& arguments, int count) {
    Node* failure = abort_with(marked_leaf(']', symbol.name.view()));
    for (int i = 0; i < count; ++i) drop(arguments[i]);
    return failure;
}

Node* fire_symbol(Symbol& symbol, Node* function, Node* head, int inner, int held) {
    static const Symbol& todo = symbol_of("todo");
    if (&symbol == &todo) return fire_todo(function, head, inner, held);
    Arguments arguments;
    take_arguments(function, inner, held, arguments);
    const int count = inner + held;
    if (symbol.builtin) {
        MARL_REQUIRE(symbol.builtin->arity == count);
        return call_builtin(*symbol.builtin, arguments);
    }
    if (!symbol.definition) return fire_undefined(symbol, arguments, count);
    return call_definition(symbol, arguments, count);
}

}  // namespace

Node* fire(Node* function, Node* head, int inner, int held) {
    const Head kind = head_kind(head);
    if (kind == Head::name) return fire_symbol(symbol_of_leaf(head), function, head, inner, held);
    Value kept_head = Value::share(head);
    Arguments arguments;
    take_arguments(function, inner, held, arguments);
    switch (kind) {
        case Head::data: return fire_data(kept_head.take(), force(arguments[0]));
        case Head::binder: return fire_binder(arguments, inner + held);
        case Head::marker: return fire_marker(kept_head, force(arguments[0]));
        case Head::failure: return fire_failure(arguments);
        case Head::name: break;
    }
    fatal_stop(__FILE__, __LINE__);
}

int lambda_takes(Node* lambda, int most) {
    int takes = 1;
    while (takes < most) {
        Node* body = lambda_body(lambda);
        const bool drops = (free_set(body) & free_set(lambda_key(lambda))) == 0;
        if (drops || form(body) != Form::lambda) break;
        lambda = body;
        ++takes;
    }
    return takes;
}

Node* fire_lambda(Node* lambda, int held) {
    Node* arguments[most_arguments];
    Bindings bindings;
    Node* body = lambda;
    for (int i = 0; i < held; ++i) {
        arguments[i] = take_held_node();
        bind(bindings, *leaf_text(lambda_key(body)), arguments[i]);
        body = lambda_body(body);
    }
    body = substitute(body, bindings);
    release(lambda);
    for (int i = 0; i < held; ++i) release(arguments[i]);
    return body;
}

Node* store_constant(Symbol& symbol, Node* value) {
    MARL_REQUIRE(!symbol.unmemoised && symbol.definition);
    if (form(value) == Form::lambda) {
        // A bare lambda would read as a definition with a parameter.
        Value wrapped = apply(leaf("B"), leaf("I"), Value::adopt(value));
        analyse(wrapped);
        value = wrapped.take();
    }
    symbol.definition = Value::share(value);
    return value;
}

Node* fire_name(Node* name) {
    Symbol& symbol = symbol_of_leaf(name);
    release(name);
    Arguments none;
    if (symbol.builtin) return call_builtin(*symbol.builtin, none);
    if (!symbol.definition) return fire_undefined(symbol, none, 0);
    MARL_REQUIRE(symbol.parameters == 0);
    Node* definition = symbol.definition;
    if (symbol.unmemoised) {
        analyse(definition);
        return shared(definition);
    }
    if (is_leaf_of(definition, ')')) return abort_with(marked_leaf(')', symbol.name.view()));
    if (settled(definition)) return shared(definition);
    definition = symbol.definition.take();
    symbol.definition = leaf(")");
    push(Waiting::update, nullptr, reinterpret_cast<uint64_t>(&symbol));
    return definition;
}

}  // namespace marl
