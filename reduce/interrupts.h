// What ends a run from outside: a signal, and in builds for fuzzing the number of steps. Both
// machines ask between two steps.
#pragma once

#include <csignal>
#include <cstdint>

namespace marl {

/// Set by the interrupt handler. Whoever finds it set calls `run_interrupt`, which does not return
/// (driver/interrupt.cpp).
extern volatile sig_atomic_t interrupted;
[[noreturn]] void run_interrupt();

/// Builds for fuzzing end a run after so many steps, with the result Z. The count goes on over
/// nested runs; whoever wants another run sets it anew. In other builds there is no end to them.
#ifndef MARL_STEP_LIMIT
#define MARL_STEP_LIMIT 0
#endif
constexpr int64_t step_limit = MARL_STEP_LIMIT;
constexpr bool counts_steps = step_limit > 0;
extern int64_t steps_left;
inline bool is_out_of_steps() { return counts_steps && (steps_left <= 0 || --steps_left == 0); }

}  // namespace marl
