// The program check, and the run that it opens.
//
// The definitions come in as parse results. The check takes all of them through a row of stages: it
// removes what is left of syntactic sugar, proves that all names that the program can reach are
// defined, gives local names their letters, evaluates what stands behind backquotes, and shares and
// analyses what remains. The first fault ends it.
#pragma once

#include <cstdint>

#include "driver/report.h"
#include "value/value.h"

namespace marl {

/// Takes the definitions through all stages. Gives kind "check", or the first fault; the
/// definitions stay as far as they got. No todo action runs but in what a backquote evaluates.
Report check_program();

/// Reduces the entry expression of a program that has passed the check, applied to `arguments`, the
/// address of the argument array. From here on todo actions are armed.
Value run_entry(int64_t arguments);

/// What a result of a run says of it: kind "check" for an integer; else the Report of a cycle, the
/// one that an abort Value carries, or kind "range".
Report report_on(Node* result);

/// Checks the program and reduces its entry expression applied to `arguments`, the address of the
/// argument array. With kind "check" the result, an integer, stands under the empty name. From the
/// start of the run proper on, todo actions are armed.
Report run_program(int64_t arguments);

}  // namespace marl
