// From the fast machine to the plain one, in the middle of runs.
#pragma once

namespace marl {

/// Takes all that waits, in all runs that are under way, over to the plain machine, and all code
/// out of use. `needs_plain_machine` is set from here on. Called while a built-in of a run loads a
/// text, before anything of the text is part of the program.
void hand_over();

}  // namespace marl
