// The program check, and the run that it opens.
//
// A source becomes a module, all of which goes through a row of stages: they remove what is left of
// syntactic sugar, prove that all names that the program can reach are defined, give local names
// their letters, evaluate what stands behind backquotes, and share and analyse what remains. The
// first fault ends it. Up to the backquotes the program's tables hold the prelude alone.
#pragma once

#include <cstdint>

#include "driver/report.h"
#include "front/stages.h"
#include "text/string.h"
#include "value/value.h"

namespace marl {

/// Makes the module of a source whose brackets are sound. Gives kind "check", or the first fault.
/// The prelude stands.
Report parse_program(String source, Module& module);

/// Takes the module through the other stages and lets it go: the tables hold the program then.
/// Gives kind "check", or the first fault; the definitions stay as far as they got. No todo action
/// runs but in what a backquote evaluates.
Report check_program(Module&& parsed);

/// The prelude, and both: for whoever runs what the tables hold in a way of their own.
Report set_up_program(String source);

/// Reduces the entry expression of a program that has passed the check, applied to `arguments`, the
/// address of the argument array. From here on todo actions are armed.
Value run_entry(int64_t arguments);

/// What a result of a run says of it: kind "check" for an integer; else the Report of a cycle, the
/// one that an abort Value carries, or kind "range".
Report report_on(Node* result);

/// Checks the program and reduces its entry expression applied to `arguments`, the address of the
/// argument array. With kind "check" the result, an integer, stands under the empty name. From the
/// start of the run proper on, todo actions are armed.
Report run_program(Module&& parsed, int64_t arguments);

}  // namespace marl
