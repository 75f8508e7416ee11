// Which calls the plain machine may leave to code.
//
// In a program that names `todo` each drop has its place, since a todo Value acts where it is
// dropped. Where neither a definition, with all that it reaches, nor the arguments of a call can
// have one to drop, nobody sees where the call drops what: it is calm, and code does it.
#pragma once

#include "value/node.h"

namespace marl {

struct Symbol;  // reduce/tables.h

/// Whether a node is the name of a definition, and no variable, lambda, let or mark of a constant
/// under way or an abort.
bool names_definition(Node* node);

/// Off where the rules themselves are asked for, one by one.
extern bool calls_are_calm;

/// Whether a program may have calm calls: code takes the combinators for what they are in it, and
/// it neither loads a text nor asks what node a value is, which might reach more than names tell.
bool has_calm_calls();

/// Whether nothing that a definition reaches names `todo`, or can come to what it doesn't name. A
/// constant under way is taken for one that does.
bool is_calm(const Symbol& symbol);

/// Whether a settled value is calm, and small enough to be looked through: small values always are,
/// and for larger ones each step of the plain machine earns a few nodes, so that looking costs less
/// than the steps.
bool is_calm_value(Node* value);
void earn_look();

/// A definition changes: what is known of all of them is found out anew at the next question.
void forget_calm();

}  // namespace marl
