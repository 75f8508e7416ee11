// Calls of built-ins from code.
//
// While a built-in or a run in it is under way, `machine` has the state: `stack.top`, and as
// `registers.top` the place behind the registers that the frame keeps. Both stacks may have moved
// when it comes back.
#pragma once

#include "reduce/tables.h"
#include "value/word.h"

namespace marl {

/// Calls a built-in on words in place, which are consumed; gives an owned Word.
Word call_row(const Builtin& row, Word* arguments);

/// Whether the result of a built-in can go straight into a register.
bool is_done(Word result);

/// Makes a result the focus. An abort drops the context.
Word focus_of(Word result);

}  // namespace marl
