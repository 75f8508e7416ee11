// The reduction machine: rewrites a closed expression until nothing is left to do.
#pragma once

#include "value/value.h"

namespace marl {

struct Symbol;  // reduce/tables.h

/// Reduces a closed expression to its final form. Re-entrant: the nested run has a context of its
/// own, and an abort in it ends that run only, with the aborting Value as its result. Todo actions
/// are armed while it runs.
Value reduce(Value expression);

/// Whether code is at work in a call that the plain machine has left to it.
extern bool in_calm_call;

/// Reduces the application of a definition to a settled argument, by its code where it can.
Value reduce_call(Symbol& function, Value argument);

}  // namespace marl
