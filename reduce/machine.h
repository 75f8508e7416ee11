// The reduction machine: rewrites a closed expression until nothing is left to do.
#pragma once

#include <csignal>

#include "value/value.h"

namespace marl {

/// Reduces a closed expression to its final form. Re-entrant: the nested run has a context of its
/// own, and an abort in it ends that run only, with the aborting Value as its result. Todo actions
/// are armed while it runs.
Value reduce(Value expression);

/// Reduces the application of a definition to a settled argument, by its code where it can.
Value reduce_call(Symbol& function, Value argument);

/// Set by the interrupt handler. The loop looks at it between two steps and then calls
/// `run_interrupt`, which does not return (driver/interrupt.cpp).
extern volatile sig_atomic_t interrupted;
[[noreturn]] void run_interrupt();

#ifdef MARL_STEP_LIMIT
/// Builds for fuzzing end a run after so many steps, with the result Z. The count goes on over
/// nested runs; whoever wants another run sets it anew.
constexpr int64_t step_limit = MARL_STEP_LIMIT;
extern int64_t steps_left;
constexpr bool counts_steps = true;
inline bool is_out_of_steps() { return steps_left <= 0 || --steps_left == 0; }
#else
constexpr bool counts_steps = false;
constexpr bool is_out_of_steps() { return false; }
#endif

/// Whether r is an abort: a Pair whose left child is a Leaf with first byte ")" or "]".
bool is_abort(Node* r);

}  // namespace marl
