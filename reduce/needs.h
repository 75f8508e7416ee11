// What a program can see of the machine beyond results, and so what the machine must keep to.
//
// Each need is known from names: those that the definitions of a program have in them, whether they
// are used or not, and those of a text that it loads. It is known before the first code is made and
// before the first number is computed, so nothing is converted afterwards but for one case: a
// loaded text that brings in `todo` (reduce/handover.h). Forgetting all definitions clears the
// needs.
#pragma once

#include <string_view>

#include "value/identity.h"
#include "value/node.h"

namespace marl {

/// Each drop of a Value must come where the rules have it. So it is when `todo` is named, whose
/// Values act when they are dropped, and when `T`, of which the context is made, or the backquote
/// has been given another meaning. Every run is then one of the plain machine (reduce/plain.h).
extern bool needs_plain_machine;

/// `T`, the backquote or another combinator has been given another meaning than code takes it to
/// have: the plain machine then leaves nothing to code (reduce/calm.h).
extern bool meanings_change;

/// The program can load a text: `load` or `road` is named.
extern bool may_load;

/// A lazy definition uses an argument more than once, so that an operand with work in it may be
/// reduced more than once. No definition of the prelude does.
extern bool repeats_operands;

/// Whether a need comes of a name.
bool is_noted_name(std::string_view name);

/// Takes note of a name that a program or text has in it.
void note_name(std::string_view name);

/// Takes note of a definition that is set.
void note_definition(std::string_view name, Node* definition);

/// A program is forgotten, and another one may come.
void clear_needs();

}  // namespace marl
