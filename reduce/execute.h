// Running code.
//
// Each function gives the next focus: a Word that code could not go on with by itself, settled or
// not. What is to become of it stands in the context.
#pragma once

#include "reduce/code.h"

namespace marl {

/// Calls a Unit. What it captures and its arguments stand behind the last frame, at
/// `registers.top`.
Word run_unit(Unit& unit);

/// Goes on with the code that waits on top of the context, for a settled value. Consumes it.
Word resume(Word value);

/// The Unit of a definition with parameters, made at its first call.
Unit& unit_of(Symbol& symbol);

}  // namespace marl
