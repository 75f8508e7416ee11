// debug: a terminal's view of a run that one goes through.
#pragma once

namespace CLI {
class App;
}

namespace marl::lab {

/// Tells the command line about the command.
void add_debug(CLI::App& lab, int& status);

}  // namespace marl::lab
