// The program check, and the run that it opens.
//
// The definitions come in as parse results. The check takes all of them through a row of stages: it
// removes what is left of syntactic sugar, proves that all names that the program can reach are
// defined, gives local names their letters, evaluates what stands behind backquotes, and shares and
// analyses what remains. The first fault ends it.
#pragma once

#include <cstdint>

#include "driver/report.h"
#include "text/string.h"
#include "value/value.h"

namespace marl {

/// Takes the definitions through all stages. Gives kind "check", or the first fault; the
/// definitions stay as far as they got. No todo action runs but in what a backquote evaluates.
Report check_program();

/// Checks the program and reduces its entry expression applied to `arguments`, the address of the
/// argument array. With kind "check" the result, an integer, stands under the empty name. From the
/// start of the run proper on, todo actions are armed.
Report run_program(int64_t arguments);

// What the loading of text at run time has in common with the check.

/// The Reports on a fault in the definition `name`, empty for the entry expression.
Report funky_report(const String& name, Node* offender);
Report place_report(const String& name);
Report arity_report(const String& name);
Report local_report(const String& name, uint32_t free_letters);

/// Whether a definition has more parameters than the ten that a rank can count.
bool has_excess_parameters(Node* definition);

}  // namespace marl
