// No handler writes anything but `interrupted`.
#include "reduce/interrupts.h"

namespace marl {

volatile sig_atomic_t interrupted = 0;

int64_t steps_left = step_limit;

}  // namespace marl
