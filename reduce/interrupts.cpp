// The two flags. No handler writes anything else.
#include "reduce/interrupts.h"

namespace marl {

volatile sig_atomic_t interrupted = 0;

#ifdef MARL_STEP_LIMIT
int64_t steps_left = step_limit;
#endif

}  // namespace marl
