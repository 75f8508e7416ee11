// Closures: a part of a body together with what it captures.
#pragma once

#include "reduce/analysis.h"
#include "reduce/code.h"

namespace marl {

/// Whether nothing is left to do in a Word: a node that is settled, a number, or a lambda.
inline bool is_settled(Word word) {
    if (is_short(word)) return true;
    if (is_closure(word)) return is_lambda(closure_of(word));
    return settled(node_of(word));
}

/// The closure of a part, its Words not set but where it captures none.
Closure* new_closure(Unit& part);

/// Takes what a closure captures into `to`, in order, and gives the closure up.
void open_closure(Closure* closure, Word* to);

/// A closure of several parameters applied to one settled argument. Consumes both.
Word apply_partly(Closure* closure, Word argument);

}  // namespace marl
