// repl: a prompt for expressions and definitions.
#pragma once

#include <string>

namespace marl::lab {

/// Talks to who types until the input ends, with the definitions of a file if one is named. Gives
/// the exit status.
int run_repl(const std::string& path);

}  // namespace marl::lab
