#include "reduce/enter.h"

#include "reduce/build.h"
#include "reduce/copying.h"
#include "reduce/stack.h"
#include "value/todo.h"

namespace marl {

namespace {

void take_captures(const Body& captured_by, Word* arguments, Node** captured) {
    for (const uint8_t capture : captured_by.captures) {
        Word& word = arguments[capture & ~moved_capture];
        word = word_of(force(word));
        *captured++ = capture & moved_capture ? node_of(word) : shared(node_of(word));
    }
}

size_t delayed_size(const Body& body) {
    return sizeof(Body*) + static_cast<size_t>(body.arity) * sizeof(Node*);
}

void free_delayed(Delayed* delayed) { free_node(delayed, delayed_size(*delayed->body)); }

Delayed* delay(Body& body, Word* arguments) {
    auto* delayed = static_cast<Delayed*>(allocate_node(delayed_size(body)));
    delayed->body = &body;
    take_captures(body, arguments, delayed->captured);
    return delayed;
}

void push_word(Word word) {
    if (is_delayed(word)) {
        push(Waiting::delayed, reinterpret_cast<Node*>(delayed_of(word)));
    } else {
        push(Waiting::argument, node_of(word));
    }
}

/// What an operand or a head stands for.
Word take_word(Body& body, uintptr_t word, Word* arguments) {
    const size_t index = word >> tag_bits;
    switch (word & tag_mask) {
        case shared_node: return word_of(shared(reinterpret_cast<Node*>(word)));
        case argument:
            arguments[index] = word_of(force(arguments[index]));
            return word_of(shared(node_of(arguments[index])));
        case last_argument: return arguments[index];
        default: return word_of(delay(*body.parts[index], arguments));
    }
}

void drop_unused(const Body& body, Word* arguments) {
    for (int i = 0; i < body.arity; ++i) {
        if (body.unused & (uint32_t{1} << i)) drop(arguments[i]);
    }
}

Node* enter_word(Word word) {
    return is_delayed(word) ? enter_delayed(delayed_of(word)) : node_of(word);
}

/// Whether the end of the copy that a delayed operand stands for could be seen: it would hold a
/// todo Value, or several of its arguments end with it, whose order shows when there are todo
/// Values in them.
bool ends_visibly(const Delayed& delayed) {
    int ending = 0;
    for (int i = 0; i < delayed.body->arity; ++i) {
        Node* node = delayed.captured[i];
        if (begins_todo(node)) return true;
        ending += count_of(node) == 1 && (!is_leaf(node) || is_leaf_of(node, '\n'));
    }
    return ending > 1;
}

/// Whether the topmost entries are `count` settled arguments.
bool are_settled_arguments(int count) {
    for (int i = 1; i <= count; ++i) {
        const Entry& entry = stack.top[-i];
        if (!is_argument(entry) || !is_settled_argument(entry)) return false;
    }
    return true;
}

/// A delayed lambda as the focus.
Node* enter_lambda(Delayed* delayed) {
    Body& lambda = *delayed->body;
    if (!are_settled_arguments(lambda.takes)) return force(word_of(delayed));
    Word arguments[most_arguments];
    int count = 0;
    for (; count < lambda.arity; ++count) arguments[count] = word_of(delayed->captured[count]);
    free_delayed(delayed);
    for (int i = 0; i < lambda.takes; ++i) arguments[count++] = content(*--stack.top);
    return enter(*lambda.inner, arguments);
}

Node* enter_let(Body& body, Word* arguments) {
    Delayed* inner = delay(*body.inner, arguments);
    const Word value = take_word(body, body.head, arguments);
    if (body.unused) drop_unused(body, arguments);
    if (!is_delayed(value) && settled_analysed(node_of(value))) {
        return enter_let_body(inner, node_of(value));
    }
    inner->captured[body.inner->arity - 1] = nullptr;
    push(Waiting::delayed_let, reinterpret_cast<Node*>(inner));
    return enter_word(value);
}

Node* enter_application(Body& body, Word* arguments) {
    for (size_t i = body.operands.size(); i-- > 0;) {
        push_word(take_word(body, body.operands[i], arguments));
    }
    const Word head = take_word(body, body.head, arguments);
    if (body.unused) drop_unused(body, arguments);
    return enter_word(head);
}

}  // namespace

Node* enter(Body& body, Word* arguments) {
    if (!body.opened) open_body(body);
    switch (body.form) {
        case Form::other: return enter_application(body, arguments);
        case Form::let: return enter_let(body, arguments);
        case Form::lambda: break;
    }
    return copy_body(body, arguments);
}

Node* enter_delayed(Delayed* delayed) {
    Body& body = *delayed->body;
    if (!body.opened) open_body(body);
    if (body.form == Form::lambda) return enter_lambda(delayed);
    Word arguments[most_arguments];
    for (int i = 0; i < body.arity; ++i) arguments[i] = word_of(delayed->captured[i]);
    free_delayed(delayed);
    return enter(body, arguments);
}

Node* enter_let_body(Delayed* body, Node* value) {
    body->captured[body->body->arity - 1] = value;
    return enter_delayed(body);
}

Node* force(Word word) {
    if (!is_delayed(word)) return node_of(word);
    Delayed* delayed = delayed_of(word);
    Word arguments[most_arguments];
    for (int i = 0; i < delayed->body->arity; ++i) {
        arguments[i] = word_of(delayed->captured[i]);
    }
    Body& body = *delayed->body;
    free_delayed(delayed);
    return copy_body(body, arguments);
}

void drop(Word word) {
    if (!is_delayed(word)) return release(node_of(word));
    Delayed* delayed = delayed_of(word);
    const int arity = delayed->body->arity;
    // A let that still waits has no value yet.
    const bool complete = arity == 0 || delayed->captured[arity - 1];
    if (complete && ends_visibly(*delayed)) return release(force(word));
    for (int i = 0; i < arity - !complete; ++i) release(delayed->captured[i]);
    free_delayed(delayed);
}

}  // namespace marl
