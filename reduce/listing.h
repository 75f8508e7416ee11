// Code as text.
#pragma once

#include <cstddef>
#include <string>

#include "reduce/code.h"

namespace marl {

/// What stands beside an instruction of a Code.
using Beside = std::string (*)(const Code& code, size_t place);

/// The instructions of a compiled Code, a line each, with what stands `beside` them, if it isn't
/// null, and behind them those of its parts that are compiled.
std::string listing(const Code& code, Beside beside = nullptr);

}  // namespace marl
