// The commands that run a program: steps and profile, on the command line.
#pragma once

namespace CLI {
class App;
}

namespace marl::lab {

/// Tell the command line about the command. What the process is to end with goes to `status`: the
/// program's own status, or 1 when it is at fault.
void add_steps(CLI::App& lab, int& status);
void add_profile(CLI::App& lab, int& status);

}  // namespace marl::lab
