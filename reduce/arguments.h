// The arguments of an application on their way out of it, and into a built-in.
#pragma once

#include "reduce/tables.h"
#include "value/word.h"

namespace marl {

/// Takes the arguments that `function` has already, `inner` of them, out of it, and drops the rest
/// of it. A Pair that nobody else holds gives its references up, so that an argument held by it
/// alone stays so.
void take_inner_arguments(Node* function, int inner, Word* arguments);

/// Calls a built-in on as many arguments as its row says. Consumes them; the result is analysed.
Value call_builtin(const Builtin& row, Word* arguments);

}  // namespace marl
