// repl: a prompt for expressions and definitions.
#pragma once

namespace marl::lab {

/// Talks to the terminal until the input ends. Gives the exit status.
int run_repl();

}  // namespace marl::lab
