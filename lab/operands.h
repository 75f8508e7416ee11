// What to say where an operand is missing.
#pragma once

#include <string>

#include "lab/program.h"

namespace marl::lab {

/// The sentence for a missing operand of a piece, which stands at `position` of the source.
std::string missing_operand_sentence(const Program& program, const Piece& piece, size_t position);

}  // namespace marl::lab
