// The commands for programs of several files: pack, run, test, doc and new, on the command line.
#pragma once

namespace CLI {
class App;
}

namespace marl::lab {

/// Tell the command line about the command. What the process is to end with goes to `status`.
void add_pack(CLI::App& lab, int& status);
void add_run(CLI::App& lab, int& status);
void add_test(CLI::App& lab, int& status);
void add_doc(CLI::App& lab, int& status);
void add_new(CLI::App& lab, int& status);

/// Whether a command line is one of `run`. What stands behind the file belongs to the program, so
/// nobody else may read such a line.
bool is_run_line(int argument_count, char** arguments);

/// Does what it says; the arguments end in a null pointer. Gives the exit status, or doesn't come
/// back.
int run_line(int argument_count, char** arguments);

}  // namespace marl::lab
