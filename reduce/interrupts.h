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

}  // namespace marl
