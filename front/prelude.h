// The prelude: the combinators and operators, which the machine itself doesn't know.
//
// They are ordinary definitions in the language, parsed from one text at each start.
#pragma once

#include <string_view>

#include "reduce/definition_list.h"

namespace marl {

/// Its source.
std::string_view prelude_text();

/// Its definitions as they are parsed.
DefinitionList read_prelude();

/// Empties all tables of the program, binds the built-ins, and enters the prelude's definitions,
/// with a copy of them in `prelude_definitions`. Built-ins have no definition yet. `shares_parts`
/// as in the Module of the program that comes; the intern set is empty then.
void build_prelude(bool shares_parts = false);

/// Gives each built-in a definition of as many lambdas as it has arguments, one for all of the same
/// arity. It makes the name known and gives it its rank; its body never runs.
void define_builtins();

}  // namespace marl
