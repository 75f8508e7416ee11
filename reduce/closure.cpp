// A closure stands for the copy of a part of a body. It has one node at most, made when somebody
// asks for it and kept, so that all its holders see the same one.
//
// The node of a lambda keeps its code: its right child, the body, is a closure of its own with what
// the lambda captured, and becomes a node only for who looks into it. So does the node of a lambda
// that stands in the program's text, from the moment when code uses it.
//
// A copy needs nodes where it applies something. Closures that hold closures there are made from
// the innermost on, by a list of those that are open, so that depth costs heap and no stack.
#include "reduce/closure.h"

#include <algorithm>
#include <unordered_set>

#include "reduce/build.h"
#include "reduce/needs.h"
#include "value/real_word.h"
#include "value/short_hint.h"
#include "value/value.h"

namespace marl {

namespace {

Closure* allocate_closure(Code& code, ClosureKind kind) {
    auto* closure =
        static_cast<Closure*>(allocate_node(closure_size(static_cast<uint64_t>(code.captures))));
    closure->header = closure_header(kind, code.captures);
    closure->code = &code;
    closure->node = nullptr;
    return closure;
}

uint32_t captured_letters(const Code& part) { return part.letters & free_set(part.whole); }

const Template& template_of(Closure* closure) {
    Code& part = *closure->code;
    const bool is_body = kind_of(closure) == ClosureKind::body;
    auto& known = is_body ? part.body_template : part.whole_template;
    if (!known) {
        const Places places{captured_letters(part), part.register_of, &part.hoisted,
                            part.parameters + part.captures, part.unsettled == 0};
        Node* copied = is_body ? lambda_body(part.whole) : part.whole.get();
        known = std::make_unique<Template>(make_template(copied, places));
    }
    return *known;
}

/// Whether the node of a closure is that of the program's text, or a Pair around its body.
bool needs_no_copy(const Closure* closure) {
    if (closure->code->captures == 0) return true;
    return kind_of(closure) == ClosureKind::lambda && !keeps_identity && !closure->code->is_copied;
}

/// The lambda as a Pair whose body is still a closure.
Node* lambda_around_body(Closure* closure) {
    Code& part = *closure->code;
    Closure* body = allocate_closure(part, ClosureKind::body);
    for (int i = 0; i < part.captures; ++i) {
        body->captured[i] = shared_word(closure->captured[i]);
    }
    auto* pair = static_cast<PairNode*>(allocate_node(sizeof(PairNode)));
    const auto code = static_cast<uint64_t>(rank_of(left(part.whole)) - 1 + rank_zero_code);
    pair->header = (code << top_shift) | 1;
    pair->left = shared(left(part.whole));
    pair->right = word_of(body);
    return pair;
}

/// Puts the closure of a body that captures nothing in its place.
void give_code(Node* lambda, Code& code) {
    if (body_closure(lambda)) return;
    Closure* body = allocate_closure(code, ClosureKind::body);
    body->node = node_of(std::exchange(as_pair(lambda)->right, word_of(body)));
}

Node* copy_of(Closure* closure) {
    const Template& layout = template_of(closure);
    const Code& part = *closure->code;
    Word words[most_registers];
    // The parameters have no place in the copy.
    for (int i = 0; i < part.parameters; ++i) words[i] = word_of_short(0);
    for (int i = 0; i < part.captures; ++i) {
        words[part.parameters + i] = shared_word(closure->captured[i]);
    }
    return run_template(layout, words);
}

/// A Word that a closure captured and that has to be a node before it is copied; null for none.
Closure* needed_first(Closure* closure) {
    if (needs_no_copy(closure)) return nullptr;
    const uint64_t nodes = template_of(closure).nodes >> closure->code->parameters;
    for (int i = 0; i < closure->code->captures; ++i) {
        const Word word = closure->captured[i];
        const bool is_needed = (nodes & (uint64_t{1} << i)) != 0;
        if (!is_needed || !is_closure(word) || is_cell(word)) continue;
        if (!closure_of(word)->node) return closure_of(word);
    }
    return nullptr;
}

/// Whether a lambda of several parameters does not use the first one. What it becomes when it is
/// applied to it is then one node for all arguments.
bool ignores_argument(const Code& part) {
    return part.parameters > 1 &&
           (free_set(lambda_body(part.whole)) & free_set(lambda_key(part.whole))) == 0;
}

Word remainder_of(Code& part, Word* frame) {
    if (!part.remainder) part.remainder = make_remainder(part);
    return make_piece(part.remainder->piece, frame);
}

Node* make_one_node(Closure* closure) {
    Code& part = *closure->code;
    if (kind_of(closure) == ClosureKind::body && ignores_argument(part)) {
        Word frame[most_registers] = {word_of_short(0)};
        std::copy_n(closure->captured, part.captures, frame + 1);
        return force(remainder_of(part, frame));
    }
    if (part.captures > 0) {
        return needs_no_copy(closure) ? lambda_around_body(closure) : copy_of(closure);
    }
    if (kind_of(closure) == ClosureKind::lambda && !keeps_identity) give_code(part.whole, part);
    return shared(part.whole);
}

/// Sees to it that a closure has a node.
void make_closure_node(Closure* closure) {
    std::vector<Closure*> open;
    for (Closure* next = closure;;) {
        while (Closure* first = needed_first(next)) {
            open.push_back(next);
            next = first;
        }
        next->node = make_one_node(next);
        if (open.empty()) return;
        next = open.back();
        open.pop_back();
    }
}

Node* node_of_closure(Closure* closure) {
    if (!closure->node) make_closure_node(closure);
    return closure->node;
}

/// The node of a cell, which it holds from now on.
Node* node_of_cell(Cell* cell) {
    const ClosureKind kind = kind_of(reinterpret_cast<Closure*>(cell));
    if (kind == ClosureKind::node_cell) return node_of(cell->x);
    Value head = leaf(kind == ClosureKind::list_cell ? "J" : "V");
    analyse(head);
    Node* node = analysed_pair(analysed_pair(head.take(), cell->x), cell->y);
    cell->header = closure_header(ClosureKind::node_cell, 0) - 1 + count_of(cell);
    cell->x = word_of(node);
    cell->y = word_of_short(0);
    return node;
}

/// The node of a Word that has the tag of a closure, borrowed.
Node* node_of_tagged(Word word) {
    return is_cell(word) ? node_of_cell(cell_of(word)) : node_of_closure(closure_of(word));
}

}  // namespace

Closure* new_closure(Code& part) {
    if (part.fixed) {
        retain(part.fixed);
        return part.fixed;
    }
    Closure* closure = allocate_closure(part, part.kind);
    if (part.captures == 0) {
        part.fixed = closure;
        retain(closure);
    }
    return closure;
}

Word construct(Code& part, Word* captured) {
    Closure* closure = new_closure(part);
    std::copy_n(captured, part.captures, closure->captured);
    const bool settled = std::all_of(captured, captured + part.captures, is_settled);
    return settled || part.is_copied ? word_of(force(word_of(closure))) : word_of(closure);
}

Word hoist_applied(Closure* closure) {
    Code& part = *closure->code;
    const Word word = word_of(closure);
    if (part.is_copied) return word_of(force(word));
    // A lambda, a cell and a number take one argument.
    const auto is_partial = [closure](const Applied& applied) {
        const Word head = closure->captured[applied.captured];
        return is_node(head) && settled(node_of(head)) && rank_of(node_of(head)) > applied.count;
    };
    if (!std::any_of(part.applied.begin(), part.applied.end(), is_partial)) return word;
    if (!part.hoisting) part.hoisting = make_hoisting(part);
    const Word made = make_piece(part.hoisting->piece, closure->captured);
    release_word(word);
    return made;
}

void open_closure(Closure* closure, Word* to) {
    const int captures = closure->code->captures;
    const bool alone = count_of(closure) == 1;
    for (int i = 0; i < captures; ++i) {
        to[i] = alone ? closure->captured[i] : shared_word(closure->captured[i]);
    }
    if (!alone) return release(closure);
    if (closure->node) release(closure->node);
    free_node(closure, closure_size(static_cast<uint64_t>(captures)));
}

Word apply_partly(Closure* closure, Word argument) {
    Code& part = *closure->code;
    if (ignores_argument(part)) {
        release_word(argument);
        const Value lambda = Value::adopt(force(word_of(closure)));
        return word_of(shared(right(lambda)));
    }
    Word frame[most_registers];
    frame[0] = argument;
    const int count = 1 + part.captures;
    open_closure(closure, frame + 1);
    const Word made = remainder_of(part, frame);
    for (int i = 0; i < count; ++i) release_word(frame[i]);
    return made;
}

Node* make_node(Word& place) {
    if (!is_closure(place)) {
        place = word_of(node_in_place_of(place));
        return node_of(place);
    }
    Node* node = node_of_tagged(place);
    if (kind_of_closure(place) == ClosureKind::body) return node;
    retain(node);
    release_word(place);
    place = word_of(node);
    return node;
}

Node* node_in_place_of(Word word) {
    if (is_short(word)) return short_leaf(short_of(word)).take();
    if (is_real(word)) return real_leaf(real_of(word));
    Node* node = shared(node_of_tagged(word));
    release_word(word);
    return node;
}

namespace {

constexpr size_t most_nodes = 5000;  // of an expression that is gone through

}  // namespace

void take_numbers_from_nodes(Node* data, std::vector<Word>& held) {
    std::unordered_set<Node*> seen;
    std::vector<Node*> rest{data};
    while (!rest.empty() && seen.size() < most_nodes) {
        Node* node = rest.back();
        rest.pop_back();
        if (is_leaf(node) || is_zits(node) || form(node) == Form::lambda) continue;
        if (!seen.insert(node).second) continue;
        rest.push_back(left(node));
        Word& child = as_pair(node)->right;
        if (!is_node(child)) continue;
        Word word;
        if (as_plain_word(node_of(child), word)) {
            held.push_back(std::exchange(child, word));
        } else {
            rest.push_back(node_of(child));
        }
    }
}

void give_code_to_lambdas(Node* expression, std::vector<std::unique_ptr<Code>>& owner) {
    std::unordered_set<Node*> seen;
    std::vector<Node*> rest{expression};
    while (!rest.empty() && seen.size() < most_nodes) {
        Node* node = rest.back();
        rest.pop_back();
        if (is_atom(node) || !seen.insert(node).second) continue;
        if (form(node) == Form::lambda && is_closed(node)) {
            if (body_closure(node)) continue;
            owner.push_back(make_lambda_code(node));
            give_code(node, *owner.back());
            continue;
        }
        rest.push_back(left(node));
        rest.push_back(right(node));
    }
}

void take_code_away(Code& part) {
    if (!part.whole || form(part.whole) != Form::lambda) return;
    Word& body = as_pair(part.whole)->right;
    if (!is_closure(body) || closure_of(body)->code != &part) return;
    Node* node = shared(node_of_closure(closure_of(body)));
    release_word(std::exchange(body, word_of(node)));
}

void make_all_nodes(Node* expression) {
    std::unordered_set<Node*> seen;
    std::vector<Node*> rest{expression};
    while (!rest.empty()) {
        Node* node = rest.back();
        rest.pop_back();
        if (count_of(node) > 1 && !seen.insert(node).second) continue;
        if (is_leaf_of(node, '\n')) {
            for (int64_t i = 0; i < span_of(node); ++i) {
                if (Node* element = cray_slot(node, i)) rest.push_back(element);
            }
        }
        if (is_leaf(node)) continue;
        Word& child = as_pair(node)->right;
        if (!is_node(child)) child = word_of(force(child));
        rest.push_back(right(node));
        rest.push_back(left(node));
    }
}

Word make_piece(const Piece& piece, Word* frame) {
    switch (piece.kind) {
        case Piece::Kind::reg: return shared_word(frame[piece.reg]);
        case Piece::Kind::constant: return shared_word(piece.word);
        case Piece::Kind::closure: {
            Closure* closure = new_closure(*piece.part);
            Word* to = closure->captured;
            for (const Piece& captured : piece.captured) *to++ = make_piece(captured, frame);
            return finish_closure(closure);
        }
        case Piece::Kind::copy: {
            Word words[most_registers];
            const size_t count = piece.registers.size();
            for (size_t i = 0; i < count; ++i) words[i] = shared_word(frame[piece.registers[i]]);
            for (size_t i = 0; i < count; ++i) {
                if (piece.layout.nodes & (uint64_t{1} << i)) words[i] = word_of(force(words[i]));
            }
            return word_of(run_template(piece.layout, words));
        }
    }
    fatal_stop(__FILE__, __LINE__);
}

}  // namespace marl
