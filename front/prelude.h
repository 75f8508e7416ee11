// The prelude: the combinators and operators, which the machine itself doesn't know.
//
// They are ordinary definitions in the language, parsed from one text at each start.
#pragma once

#include <string_view>

namespace marl {

/// Its source.
std::string_view prelude_text();

/// Empties all tables of the program, binds the built-ins, and enters the prelude's definitions,
/// with a copy of them in `prelude_definitions`. Built-ins have no definition yet.
void build_prelude();

}  // namespace marl
