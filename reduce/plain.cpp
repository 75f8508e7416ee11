// The machine in its plainest form: each step does what its rule says, in the rule's order.
//
// It shares the expressions' analysis, the tables and the built-ins with the fast machine, and no
// code that makes, moves or drops a part of a state, so that each machine can be held against the
// other. A step costs a constant and what it makes, copies or frees; no walk recurses.
//
// The old state must outlive the making of the next one. `context` and `focus` hold it until a rule
// assigns them, and Value's assignment releases the old node when the new one is in place.
#include "reduce/plain.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "reduce/build.h"
#include "reduce/data_head.h"
#include "reduce/heads.h"
#include "reduce/interrupts.h"
#include "reduce/observer.h"
#include "reduce/tables.h"

namespace marl {

#ifdef MARL_OBSERVED
Observer* observer = nullptr;
#endif

namespace {

// The combinators that contexts are made of, and the mark of the lambda that a waiting let becomes.

/// A Leaf that lives for good.
Value made_for_good(const char* name) {
    keep_for_good();
    return leaf(name);
}

Value leaf_B() {
    static Value& kept = *new Value(made_for_good("B"));
    return kept;
}

/// A name's rank stays in the Leaf that was asked for it: when `T` has been given another rank, a
/// new Leaf takes the place of the old one.
Value leaf_T() {
    static Value& kept = *new Value(made_for_good("T"));
    static const Symbol& symbol = symbol_of("T");
    if (rank_of(kept) != symbol.parameters) kept = leaf("T");
    return kept;
}

Value leaf_lambda() {
    static Value& kept = *new Value(made_for_good("\\"));
    return kept;
}

/// (f x), analysed.
Value applied(Value f, Value x) {
    analyse(f);
    analyse(x);
    return Value::adopt(analysed_pair(f.take(), x.take()));
}

Value marked(char mark, std::string_view name) { return leaf(std::string(1, mark).append(name)); }

// Substitution.

struct Substitution {
    uint32_t letters = 0;  // the variables that have a value
    std::array<Node*, 26> values;

    void bind(uint8_t letter, Node* value) {
        MARL_REQUIRE(letter >= 'a' && letter <= 'z');
        letters |= uint32_t{1} << (letter - 'a');
        values[letter - 'a'] = value;
    }
};

/// The body with values for all free occurrences of the variables. A part in which none of them is
/// free is the same node as before; every other Pair is a new one.
Value substitute_in(Node* body, const Substitution& substitution) {
    // Either a part to go through or one whose copy is to be made of the last two results.
    struct Work {
        Node* part;
        uint32_t letters;
        bool is_due = false;
    };
    // Kept for the next time: nothing in here runs program code.
    static std::vector<Work>& rest = *new std::vector<Work>;
    static std::vector<Value>& made = *new std::vector<Value>;

    rest.push_back({body, substitution.letters});
    while (!rest.empty()) {
        const auto [part, letters, is_due] = rest.back();
        rest.pop_back();
        if (is_due) {
            // The right child is made first, so the left one is on top.
            Value left_child = std::move(made.back());
            made.pop_back();
            made.back() = applied(std::move(left_child), std::move(made.back()));
            observe_copy(part, made.back());
            continue;
        }
        if ((free_set(part) & letters) == 0) {
            made.push_back(Value::share(part));
            continue;
        }
        if (is_leaf(part)) {
            made.push_back(Value::share(substitution.values[*leaf_text(part) - 'a']));
            continue;
        }
        rest.push_back({part, 0, true});
        const Form shape = form(part);
        if (shape == Form::lambda) {
            rest.push_back({left(part), 0});
            rest.push_back({lambda_body(part), letters & ~free_set(lambda_key(part))});
        } else if (shape == Form::let) {
            rest.push_back({left(part), 0, true});
            rest.push_back({left(left(part)), 0});
            rest.push_back({let_value(part), letters});
            rest.push_back({let_body(part), letters & ~free_set(let_key(part))});
        } else {
            rest.push_back({left(part), letters});
            rest.push_back({right(part), letters});
        }
    }
    Value result = std::move(made.back());
    made.pop_back();
    return result;
}

Value substitute_one(Node* body, Node* key, Node* value) {
    Substitution substitution;
    substitution.bind(first_byte(key), value);
    return substitute_in(body, substitution);
}

// What firing does with the state. The result is there before the old state goes.

void go_on(Value& focus, Value result) {
    analyse(result);
    focus = std::move(result);
}

/// Leaves nothing waiting: the result ends the run unless there is work in it.
void abort_with(Value& context, Value& focus, Value result) {
    analyse(result);
    context = empty_context();
    focus = std::move(result);
}

// Built-ins.

constexpr int most_builtin_arguments = 7;

/// A built-in's arguments as handles. Where the focus and its Pairs have no other holder they give
/// the arguments up, so that an argument held by nothing else has a count of 1. From the first Pair
/// on that somebody else holds, `shared_part` keeps the Pairs and the first `in_shared` arguments.
struct Slots {
    std::array<Value, most_builtin_arguments> arguments;
    Value shared_part;
    int in_shared;
};

void take_slots(Slots& slots, Value& focus, int count) {
    MARL_REQUIRE(count <= most_builtin_arguments);
    Node* node = focus.take();
    int i = count;
    while (i > 0 && count_of(node) == 1) {
        PairNode* given_up = as_pair(node);
        slots.arguments[--i] = Value::adopt(force(given_up->right));
        node = given_up->left;
        free_node(given_up, sizeof(PairNode));
    }
    slots.shared_part = Value::adopt(node);
    slots.in_shared = i;
    for (; i > 0; node = left(node)) slots.arguments[--i] = Value::share(right(node));
}

/// Drops what a built-in has left, in the order in which the application would have gone.
void drop_slots(Slots& slots, int count) {
    for (int i = 0; i < slots.in_shared; ++i) slots.arguments[i] = Value();
    slots.shared_part = Value();
    for (int i = slots.in_shared; i < count; ++i) slots.arguments[i] = Value();
}

void fire_builtin(const Builtin& row, Value& context, Value& focus) {
    Slots slots;
    take_slots(slots, focus, row.arity);
    Value result = observe_builtin(row, slots.arguments.data());
    analyse(result);
    if (is_abort(result)) context = empty_context();
    focus = std::move(result);
    drop_slots(slots, row.arity);
}

/// (todo a b) c. Selected by the node of the name itself it stays as it is, else it is c a b.
void fire_todo(const Application& application, Value& focus) {
    Node* c = application.arguments[2];
    if (c == application.head) return go_on(focus, Value::share(left(focus)));
    Value selected = applied(Value::share(c), Value::share(application.arguments[0]));
    go_on(focus, applied(std::move(selected), Value::share(application.arguments[1])));
}

// Everything else that fires.

/// { p b c with a settled b, or with one that must be reduced first, and then \ p c waits for it.
void fire_let(Value& context, Value& focus) {
    if (settled(let_value(focus))) {
        return go_on(focus, substitute_one(let_body(focus), let_key(focus), let_value(focus)));
    }
    Value binder = applied(leaf_lambda(), Value::share(let_key(focus)));
    Value lambda = applied(std::move(binder), Value::share(let_body(focus)));
    context = function_frame(std::move(context), std::move(lambda));
    focus = Value::share(let_value(focus));
}

void fire_lambda(const Application& application, Value& focus) {
    const auto& arguments = application.arguments;
    go_on(focus, substitute_one(arguments[1], arguments[0], arguments[2]));
}

/// A value for the constant whose name stands behind the ")".
void fire_update(const Application& application, Value& focus) {
    Symbol& symbol = symbol_of(leaf_bytes(application.head).substr(1));
    Value value = Value::share(application.arguments[0]);
    MARL_REQUIRE(!symbol.name.empty() && symbol.definition && !symbol.unmemoised);
    MARL_REQUIRE(settled(value));
    // A bare lambda would read as a definition with a parameter.
    if (form(value) == Form::lambda) value = applied(applied(leaf("B"), leaf("I")), value);
    symbol.definition = value;
    go_on(focus, std::move(value));
}

void fire_constant(Symbol& symbol, Value& context, Value& focus) {
    if (symbol.unmemoised) return go_on(focus, symbol.definition);
    const std::string_view name = symbol.name;
    if (is_leaf_of(symbol.definition, ')')) return abort_with(context, focus, marked(')', name));
    if (settled(symbol.definition)) return go_on(focus, symbol.definition);
    Value expression = std::exchange(symbol.definition, leaf(")"));
    go_on(focus, applied(marked(')', name), std::move(expression)));
}

/// A name that was asked for its rank before a backquote gave its definition parameters takes as
/// many as it had then.
void fire_definition(Symbol& symbol, const Application& application, Value& context, Value& focus) {
    Node* body = symbol.definition;
    if (application.count == 0 || form(body) != Form::lambda) {
        return fire_constant(symbol, context, focus);
    }
    Substitution substitution;
    for (int i = 0; i < application.count; ++i, body = lambda_body(body)) {
        MARL_REQUIRE(form(body) == Form::lambda);
        // Of two parameters with one letter the last one counts.
        substitution.bind(first_byte(lambda_key(body)), application.arguments[i]);
    }
    go_on(focus, substitute_in(body, substitution));
}

void fire_name(const Application& application, Value& context, Value& focus) {
    static const Symbol& todo = symbol_of("todo");
    Symbol& symbol = symbol_of_leaf(application.head);
    if (&symbol == &todo) return fire_todo(application, focus);
    observe_fire(symbol, context);
    if (symbol.builtin) {
        MARL_REQUIRE(symbol.builtin->arity == application.count);
        return fire_builtin(*symbol.builtin, context, focus);
    }
    if (!symbol.definition) {
        return abort_with(context, focus, marked(']', symbol.name));
    }
    MARL_REQUIRE(is_closed(symbol.definition));  // a failed load may have left a letter unbound
    fire_definition(symbol, application, context, focus);
}

void fire_data(const Application& application, Value& focus) {
    MARL_REQUIRE(application.count == 1);
    go_on(focus,
          unfold_data(Value::share(application.head), Value::share(application.arguments[0])));
}

/// The focus, closed and of rank 0, becomes what it reduces to.
void fire(Value& context, Value& focus) {
    MARL_REQUIRE(is_closed(focus) && rank_of(focus) == 0);
    const Application application = take_apart(focus);
    Node* head = application.head;
    const bool is_data = !is_leaf(head) || !is_name_byte(first_byte(head));
    if (is_data) return fire_data(application, focus);
    if (is_leaf_text(head, "{")) {
        MARL_REQUIRE(application.count == 3);
        return fire_let(context, focus);
    }
    if (is_leaf_text(head, "\\")) {
        MARL_REQUIRE(application.count == 3);
        return fire_lambda(application, focus);
    }
    switch (first_byte(head)) {
        case ')': return fire_update(application, focus);
        case ']':
            return abort_with(context, focus, marked(']', leaf_bytes(application.arguments[0])));
        default: return fire_name(application, context, focus);
    }
}

// Frames.

/// The focus is done: what waits takes it.
void pop(Value& context, Value& focus) {
    const Frame frame = top_frame(context);
    MARL_REQUIRE(frame.function);
    Value next = applied(Value::share(frame.function), std::move(focus));
    context = Value::share(frame.below);
    focus = std::move(next);
}

void hold_back_argument(Value& context, Value& focus) {
    context = argument_frame(std::move(context), Value::share(right(focus)));
    focus = Value::share(left(focus));
}

void reduce_argument(Value& context, Value& focus) {
    context = function_frame(std::move(context), Value::share(left(focus)));
    focus = Value::share(right(focus));
}

bool are_held_back(Node* context, int count) {
    for (; count > 0; --count) {
        if (!holds_back(context)) return false;
        context = top_frame(context).below;
    }
    return true;
}

/// A partial application with a lazy head fires when all that it lacks is held back.
void fire_with_held_back(Value& context, Value& focus) {
    // They hold the old state to the end of the step, its frames as well: context first.
    Value old_context = context;
    Value old_focus = focus;
    for (int lacking = rank_of(focus); lacking > 0; --lacking) {
        const Frame frame = top_frame(context);
        focus = applied(std::move(focus), Value::share(right(frame.function)));
        context = Value::share(frame.below);
    }
    fire(context, focus);
    old_context = Value();
    old_focus = Value();
}

}  // namespace

Frame top_frame(Node* context) {
    if (is_leaf(context) || is_leaf(left(context))) return {nullptr, nullptr};
    if (!is_leaf_of(left(left(context)), 'B')) return {nullptr, nullptr};
    return {right(left(context)), right(context)};
}

bool holds_back(Node* context) {
    const Frame frame = top_frame(context);
    return frame.function && !is_leaf(frame.function) && is_leaf_of(left(frame.function), 'T');
}

Value empty_context() { return leaf("I"); }

Value function_frame(Value context, Value function) {
    return pair(pair(leaf_B(), std::move(context)), std::move(function));
}

Value argument_frame(Value context, Value argument) {
    return function_frame(std::move(context), pair(leaf_T(), std::move(argument)));
}

bool is_last_state(Node* context, Node* focus) {
    return is_leaf_of(context, 'I') && settled(focus);
}

Rule rule_of(Node* context, Node* focus) {
    if (settled(focus)) return Rule::pop;
    const int rank = rank_of(focus);
    if (rank < 0) return Rule::hold_back;
    const bool lazy = lazy_head(head_of(focus));
    if (rank > 0) {
        if (lazy && are_held_back(context, rank)) return Rule::fire_held;
        return settled(left(focus)) ? Rule::reduce_argument : Rule::hold_back;
    }
    if (lazy || !pending(focus)) return Rule::fire;
    if (form(focus) == Form::let) return Rule::wait_for_value;
    return pending(left(focus)) ? Rule::hold_back : Rule::reduce_argument;
}

int frames_taken(Rule rule, Node* focus) {
    switch (rule) {
        case Rule::pop: return 1;
        case Rule::fire_held: return rank_of(focus);
        default: return 0;
    }
}

void plain_step(Value& context, Value& focus) {
    switch (rule_of(context, focus)) {
        case Rule::pop: return pop(context, focus);
        case Rule::hold_back: return hold_back_argument(context, focus);
        case Rule::reduce_argument: return reduce_argument(context, focus);
        case Rule::fire: return fire(context, focus);
        case Rule::fire_held: return fire_with_held_back(context, focus);
        case Rule::wait_for_value: return fire_let(context, focus);
    }
}

Value plain_reduce(Value& context, Value focus, DoCall do_call) {
    observe_begin();
    for (;;) {
        if (interrupted) run_interrupt();
        if (!observe_state(context, focus) || is_out_of_steps()) {
            context = empty_context();
            focus = leaf("Z");
            analyse(focus);
        }
        if (is_last_state(context, focus)) return focus;
        if (!do_call(context, focus)) plain_step(context, focus);
    }
}

}  // namespace marl
