// Code as text.
#pragma once

#include <string>

#include "reduce/code.h"

namespace marl {

/// The instructions of a compiled Code, a line each, and behind them those of its parts that are
/// compiled.
std::string listing(const Code& code);

}  // namespace marl
