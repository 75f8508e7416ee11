// The keyboard's interrupt.
//
// The handler only sets a flag, and the machine's loop looks at the flag between two steps, where
// heap and tables are whole. Then the program's definition `shut` gets its chance to clean up, and
// the process ends with status 1 (`run_interrupt` of reduce/interrupts.h).
#pragma once

namespace marl {

/// From here on an interrupt ends the run in good order. A system call that blocks is cut short by
/// it.
void install_interrupt_handler();

/// Runs `shut` for an interrupt that came while no loop was there to see it.
void heed_interrupt();

}  // namespace marl
