// The faults of a program: all for which the language would refuse it.
#pragma once

#include <vector>

#include "lab/program.h"
#include "lab/reach.h"

namespace marl::lab {

/// In no particular order. A definition that nothing reaches and that can't work is none: the
/// language drops it. What is wrong with it comes as warnings of the kind "doomed".
std::vector<Message> find_faults(const Program& program, const Reach& reach);

}  // namespace marl::lab
