// Substitution of closed Values for variables: how lambdas and lets take their arguments.
#pragma once

#include "value/value.h"

namespace marl {

/// What stands for the variables of `letters`, a set with bit i for the letter "a" + i. The Values
/// are borrowed, closed and analysed; those of letters outside the set mean nothing.
struct Bindings {
    uint32_t letters = 0;
    Node* values[26];
};

/// Binds the variable `letter`, "a" to "z", else a fatal stop.
void bind(Bindings& bindings, char letter, Node* value);

/// `body` with the bindings in the place of every free occurrence of their variables, in one walk.
/// Parts in which none of them is free are shared with `body`, which is borrowed; gives an owned
/// reference, analysed.
Node* substitute(Node* body, const Bindings& bindings);

}  // namespace marl
