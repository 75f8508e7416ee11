// What the prompt prints for a result.
#pragma once

#include <string>

#include "driver/report.h"
#include "value/value.h"

namespace marl::lab {

/// The value as `lisp` prints it; a sentence for a cycle, and for the Report that an abort Value
/// carries.
std::string result_text(Node* result);

/// A Report in one line.
std::string result_text(const Report& report);

}  // namespace marl::lab
