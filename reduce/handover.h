// From the fast machine to the plain one, in the middle of a run.
#pragma once

#include "value/word.h"

namespace marl {

/// Whether a run that has become exact has something left that the plain machine can do: work in
/// the focus, or entries above the topmost code that waits.
bool can_hand_over(Word focus);

/// Takes the focus, and the entries above the topmost code that waits, to the plain machine, and
/// gives what it makes of them, a settled Word. An abort drops the run's whole context.
Word hand_over(Word focus);

}  // namespace marl
