// The program check.
//
// A source becomes a module, all of which goes through a row of stages: they remove what is left of
// syntactic sugar, prove that all names that the program can reach are defined, give local names
// their letters, evaluate what stands behind backquotes, and share and analyse what remains. The
// first fault ends it. Up to the backquotes the program's tables hold the prelude alone.
#pragma once

#include "driver/report.h"
#include "front/stages.h"
#include "text/string.h"

namespace marl {

/// Makes the module of a source whose brackets are sound. Gives kind "check", or the first fault.
/// The prelude stands, sharing its parts if the module does.
Report parse_program(String source, Module& module);

/// Takes the module through the other stages and lets it go: the tables hold the program then.
/// Gives kind "check", or the first fault; the definitions stay as far as they got. No todo action
/// runs but in what a backquote evaluates.
Report check_program(Module&& parsed);

}  // namespace marl
