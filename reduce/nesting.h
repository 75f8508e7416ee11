// How deep runs of the machine may nest.
#pragma once

namespace marl {

/// Ends the process, with a line that says so, when the run that begins now stands so deep in
/// others that the process's own stack could end.
void guard_nesting();

}  // namespace marl
