// The run sequence: from the source text to the exit status.
#pragma once

#include <cstdint>

#include "text/string.h"

namespace marl {

/// The status of a process whose program could not be read or checked, or failed as a whole.
constexpr uint32_t failed_status = 0x80000000;

/// Checks and runs a program on the address of its arguments. Gives the exit status: the low 32
/// bits of the integer that the program returned, or `failed_status` after a picture on standard
/// error.
uint32_t run_source(String source, int64_t arguments);

}  // namespace marl
