// Backquotes on expressions with local variables.
//
// The language makes such a one, `x, the value U with the line that it stands in, the definition's
// name, the text of the expression, and the expression. Whoever moves the definition elsewhere
// writes that out, so that it still tells where it came from.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/program.h"

namespace marl::lab {

/// The changes that write out the open backquotes of each piece, by piece. `place` stands behind
/// the definition's name. The source has no fault.
std::vector<std::vector<Edit>> written_out_backquotes(const Program& program,
                                                      std::string_view place);

/// A part of a source with changes made, which don't overlap. Those that begin at one place are
/// made in the order in which they stand.
std::string changed(const Program& program, Range range, std::vector<Edit> changes);

}  // namespace marl::lab
