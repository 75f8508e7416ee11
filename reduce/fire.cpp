// A head fires in three steps: take its arguments, those in its own Pairs and those held back on
// the stack, so that no reference of the application is left; do what the kind of the head says;
// hand back what came of it as the next focus. What kind it is stands in a table by its first byte.
#include "reduce/fire.h"

#include <array>
#include <string>

#include "reduce/arguments.h"
#include "reduce/build.h"
#include "reduce/closure.h"
#include "reduce/data_head.h"
#include "reduce/heads.h"
#include "reduce/needs.h"
#include "reduce/run_code.h"
#include "reduce/stack.h"
#include "reduce/substitute.h"

namespace marl {

namespace {

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

Word analysed(Value value) {
    analyse(value);
    return word_of(value.take());
}

/// Ends the run with `r` as its result, unless a later step finds work in it.
Word abort_with(Value r) {
    drop_context();
    return analysed(std::move(r));
}

Value marked_leaf(char mark, std::string_view text) {
    return leaf(std::string(1, mark).append(text));
}

void take_held_arguments(int held, Word* arguments) {
    for (int i = 0; i < held; ++i) arguments[i] = (--machine.stack.top)->word;
}

/// All arguments of a head, in order. Consumes the function.
void take_arguments(Node* function, int inner, int held, Word* arguments) {
    if (inner > 0) {
        take_inner_arguments(function, inner, arguments);
    } else {
        release(function);
    }
    take_held_arguments(held, arguments + inner);
}

/// A text head applied to a text is a text and no work; every other data head unfolds.
Word fire_data(Node* head, Node* argument) {
    if (is_zits_analysed(head) && is_zits_analysed(argument)) {
        return word_of(analysed_pair(head, argument));
    }
    return analysed(unfold_data(Value::adopt(head), Value::adopt(argument)));
}

/// A Leaf ")name" in function position stores its argument, as an update does.
Word fire_marker(const Value& marker, Node* argument) {
    Symbol& symbol = symbol_of(leaf_bytes(marker).substr(1));
    MARL_REQUIRE(!symbol.name.empty() && symbol.definition && settled_analysed(argument));
    return store_constant(symbol, word_of(argument));
}

/// A lambda whose arguments have come one by one: \ x b a.
Word fire_binder(const Arguments& arguments, int count) {
    MARL_REQUIRE(count == 3);
    const Value key = Value::adopt(force(arguments[0]));
    const Value body = Value::adopt(force(arguments[1]));
    const Value argument = Value::adopt(force(arguments[2]));
    Bindings bindings;
    bind(bindings, static_cast<char>(first_byte(key)), argument);
    return word_of(substitute(body, bindings));
}

/// A failure applied to two arguments: the text of the first takes its place.
Word fire_failure(const Arguments& arguments) {
    const Value text = Value::adopt(force(arguments[0]));
    release_word(arguments[1]);
    return abort_with(marked_leaf(']', leaf_bytes(text)));
}

Word fire_undefined(const Symbol& symbol, const Word* arguments, int count) {
    for (int i = 0; i < count; ++i) release_word(arguments[i]);
    return abort_with(marked_leaf(']', symbol.name));
}

Word fire_builtin(const Builtin& row, Word* arguments) {
    Value result = call_builtin(row, arguments);
    return is_abort(result) ? abort_with(std::move(result)) : word_of(result.take());
}

/// A name that was asked for its rank before a backquote gave its definition more parameters.
Word fire_partly(const Symbol& symbol, const Arguments& arguments, int count) {
    Value body = Value::share(symbol.definition);
    for (int i = 0; i < count; ++i) {
        const Value argument = Value::adopt(force(arguments[i]));
        Bindings bindings;
        bind(bindings, static_cast<char>(first_byte(lambda_key(body))), argument);
        body = Value::adopt(substitute(lambda_body(body), bindings));
    }
    return word_of(body.take());
}

Word fire_symbol(Symbol& symbol, Node* function, int inner, int held) {
    const int count = inner + held;
    if (symbol.definition && !symbol.builtin && symbol.parameters <= count) {
        Code& code = code_of(symbol);
        MARL_REQUIRE(code.parameters == count);
        take_arguments(function, inner, held, machine.registers.top);
        return run_code(code);
    }
    MARL_REQUIRE(count <= most_arguments);
    Arguments arguments;
    take_arguments(function, inner, held, arguments.data());
    if (!symbol.builtin) {
        if (symbol.definition) return fire_partly(symbol, arguments, count);
        return fire_undefined(symbol, arguments.data(), count);
    }
    MARL_REQUIRE(symbol.builtin->arity == count);
    return fire_builtin(*symbol.builtin, arguments.data());
}

}  // namespace

Word fire(Node* function, Node* head, int inner, int held) {
    const Head kind = head_kind(head);
    if (kind == Head::name) return fire_symbol(symbol_of_leaf(head), function, inner, held);
    Value kept_head = Value::share(head);
    MARL_REQUIRE(inner + held <= most_arguments);
    Arguments arguments;
    take_arguments(function, inner, held, arguments.data());
    switch (kind) {
        case Head::data: return fire_data(kept_head.take(), force(arguments[0]));
        case Head::binder: return fire_binder(arguments, inner + held);
        case Head::marker: return fire_marker(kept_head, force(arguments[0]));
        case Head::failure: return fire_failure(arguments);
        case Head::name: break;
    }
    fatal_stop(__FILE__, __LINE__);
}

Word fire_lambda(Node* lambda) {
    const Value whole = Value::adopt(lambda);
    const Value argument = Value::adopt(force((--machine.stack.top)->word));
    Bindings bindings;
    bind(bindings, *leaf_text(lambda_key(lambda)), argument);
    return word_of(substitute(lambda_body(lambda), bindings));
}

Word fire_coded_lambda(Node* lambda, Closure* body) {
    Code& code = *body->code;
    Word* const frame = machine.registers.top;
    take_held_arguments(code.parameters, frame);
    for (int i = 0; i < code.captures; ++i) {
        frame[code.parameters + i] = shared_word(body->captured[i]);
    }
    release(lambda);
    return run_code(code);
}

Word fire_closure(Closure* closure) {
    Code& code = *closure->code;
    Word* const frame = machine.registers.top;
    take_held_arguments(code.parameters, frame);
    open_closure(closure, frame + code.parameters);
    return run_code(code);
}

Word fire_work(Closure* closure) {
    Code& code = *closure->code;
    open_closure(closure, machine.registers.top);
    return run_code(code);
}

Node* bind_let(Node* body, char letter, Word value) {
    const Value whole = Value::adopt(body);
    const Value argument = Value::adopt(force(value));
    Bindings bindings;
    bind(bindings, letter, argument);
    return substitute(whole, bindings);
}

Word store_constant(Symbol& symbol, Word value) {
    MARL_REQUIRE(!symbol.unmemoised && symbol.definition);
    const bool is_code = is_closure(value) && !is_cell(value) && !keeps_identity;
    if (!is_code) value = word_of(force(value));
    if (is_code || form(node_of(value)) == Form::lambda) {
        // A bare lambda would read as a definition with a parameter. Its code stays with it.
        Value wrapper = apply(leaf("B"), leaf("I"));
        analyse(wrapper);
        value = word_of(analysed_pair(wrapper.take(), value));
    }
    symbol.definition = Value::share(node_of(value));
    return value;
}

Word fire_name(Node* name) {
    Symbol& symbol = symbol_of_leaf(name);
    release(name);
    if (symbol.builtin) return fire_builtin(*symbol.builtin, nullptr);
    if (!symbol.definition) return fire_undefined(symbol, nullptr, 0);
    Node* definition = symbol.definition;
    MARL_REQUIRE(is_closed(definition));  // a failed load may have left a letter unbound
    if (symbol.unmemoised) return word_of(shared(definition));
    if (is_leaf_of(definition, ')')) return abort_with(marked_leaf(')', symbol.name));
    if (settled(definition)) return word_of(shared(definition));
    definition = symbol.definition.take();
    symbol.definition = leaf(")");
    push(Op::update, word_of_symbol(symbol));
    return word_of(definition);
}

}  // namespace marl
