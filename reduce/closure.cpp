// A closure stands for the copy of a part of a body. It has one node at most, made when somebody
// asks for it and kept, so that all its holders see the same one.
#include "reduce/closure.h"

#include "reduce/analysis.h"
#include "reduce/build.h"
#include "value/short_hint.h"

namespace marl {

bool identity_matters = false;

Closure* new_closure(Unit& part) {
    if (part.fixed) {
        retain(part.fixed);
        return part.fixed;
    }
    const auto captures = static_cast<uint64_t>(part.captures);
    auto* closure = static_cast<Closure*>(allocate_node(closure_size(captures)));
    const uint64_t code = rank_zero_code + (part.parameters > 0 ? 1 : 0);
    closure->header = (code << top_shift) | (captures << span_shift) | 1;
    closure->unit = &part;
    closure->node = nullptr;
    if (captures == 0) {
        part.fixed = closure;
        retain(closure);
    }
    return closure;
}

void open_closure(Closure* closure, Word* to) {
    const int captures = closure->unit->captures;
    const bool alone = count_of(closure) == 1;
    for (int i = 0; i < captures; ++i) {
        to[i] = alone ? closure->captured[i] : share(closure->captured[i]);
    }
    if (!alone) return release(closure);
    if (closure->node) release(closure->node);
    free_node(closure, closure_size(static_cast<uint64_t>(captures)));
}

Word apply_partly(Closure* closure, Word argument) {
    Unit& part = *closure->unit;
    if (!part.rest) part.rest = make_rest(part);
    Unit& rest = *part.rest;
    Word words[most_registers];
    open_closure(closure, words);
    words[part.captures] = argument;
    RegisterSet unused = (set_of(part.captures) << 1) - 1;
    Closure* made = new_closure(rest);
    for (int i = 0; i < rest.captures; ++i) {
        made->captured[i] = words[rest.taken[i]];
        unused &= ~set_of(rest.taken[i]);
    }
    for (int i = 0; i <= part.captures; ++i) {
        if (unused & set_of(i)) release_word(words[i]);
    }
    return word_of(made);
}

namespace {

Node* make_closure_node(Closure* closure) {
    Unit& part = *closure->unit;
    if (part.captures == 0) return shared(part.whole);
    if (!part.whole_copying) {
        part.whole_copying = std::make_unique<Copying>(make_copying(
            part.whole, part.letters, part.register_of, part.captures, part.unsettled == 0));
    }
    Word words[most_registers];
    for (int i = 0; i < part.captures; ++i) words[i] = share(closure->captured[i]);
    return run_copying(*part.whole_copying, words);
}

}  // namespace

Node* make_node(Word& place) {
    if (is_short(place)) {
        place = word_of(short_leaf(short_of(place)).take());
        return node_of(place);
    }
    Closure* closure = closure_of(place);
    if (!closure->node) closure->node = make_closure_node(closure);
    Node* made = shared(closure->node);
    release_word(place);
    place = word_of(made);
    return made;
}

}  // namespace marl
