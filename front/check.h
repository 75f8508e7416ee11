// The program check, and the run that it opens.
//
// The definitions come in as parse results. The check takes all of them through a row of stages: it
// removes what is left of syntactic sugar, proves that all names that the program can reach are
// defined, gives local names their letters, evaluates what stands behind backquotes, and shares and
// analyses what remains. The first fault ends it.
#pragma once

#include <cstdint>

#include "driver/report.h"

namespace marl {

/// Takes the definitions through all stages. Gives kind "check", or the first fault; the
/// definitions stay as far as they got. No todo action runs but in what a backquote evaluates.
Report check_program();

/// Checks the program and reduces its entry expression applied to `arguments`, the address of the
/// argument array. With kind "check" the result, an integer, stands under the empty name. From the
/// start of the run proper on, todo actions are armed.
Report run_program(int64_t arguments);

}  // namespace marl
