// Evaluating a program's entry for the prompt, in a process of its own.
//
// Nothing that an evaluation does, an interrupt, a wrong address or `exit`, can harm who asked.
#pragma once

#include <string>

namespace marl::lab {

enum class Show { value, value_and_time, steps };

/// Evaluates and shows on standard output, up to the end or an interrupt.
void evaluate(const std::string& program, Show show);

}  // namespace marl::lab
