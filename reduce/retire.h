// The end of code, or of its instructions: when its definition gets another one, when a text brings
// in `todo`, and when the program is forgotten.
#pragma once

#include "reduce/code.h"

namespace marl {

/// Drops the instructions and what they hold. What closures need of it stays.
void retire(Code& code);

/// Has the code made anew at its next call. No frame may wait in it.
void make_anew(Code& code);

}  // namespace marl
