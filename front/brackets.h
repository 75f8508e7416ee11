// The bracket check: the first look at a source text, before anything is cut or moved.
//
// All later stages take balanced brackets for granted. This one proves them, and proves that every
// comma inside a parenthesis stands in a call list; it alone has words for such faults. Positions
// are those of the raw source.
#pragma once

#include <cstdint>
#include <string_view>

#include "driver/report.h"

namespace marl {

/// Whether the brackets balance and every comma has its place. On a fault, `report` holds it and
/// `position` is the byte it names first; otherwise both stay as they are.
bool check_brackets(std::string_view source, Report& report, int64_t& position);

}  // namespace marl
