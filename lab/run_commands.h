// The commands about a run, on the command line: steps, profile, and the code that runs.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace marl::lab {

/// Tells the command line about --color.
void add_colour(CLI::App* command, std::string& when);

/// Tell the command line about the command. What the process is to end with goes to `status`: the
/// program's own status, 1 when it is at fault, or 2 when it can't be read.
void add_steps(CLI::App& lab, int& status);
void add_profile(CLI::App& lab, int& status);
void add_code(CLI::App& lab, int& status);

}  // namespace marl::lab
