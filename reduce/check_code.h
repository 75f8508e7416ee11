// The proof of what code promises: that each register is read only when it is full, and taken or
// dropped once on every way.
#pragma once

#include <string>

#include "reduce/code.h"

namespace marl {

/// What is wrong with a compiled Code, in a line; empty when nothing is.
std::string code_fault(const Code& code);

/// A fatal stop, with that line on standard error, when something is.
void check_code(const Code& code);

}  // namespace marl
