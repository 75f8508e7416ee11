// Running a packed program on the machine that marl has.
//
// The machine of this process is one that can be watched, so another program, marl-lab-run, does
// it. It stands beside this one, or in `../libexec/marl`.
#pragma once

#include <string>
#include <vector>

namespace marl::lab {

enum class Mode { run, value };

/// Gives this process over to a program: it reads and writes what this process would, gets its
/// signals, and ends it. `arguments` are the file's name and what stands behind it, and end in a
/// null pointer. Comes back only when that can't be done, with a sentence that says why.
std::string become(Mode mode, const std::string& text, char** arguments);

struct Ran {
    std::string output;
    int status = 0;       // 128 and the number of the signal that has ended it, as a shell has it
    bool in_time = true;  // false when it was ended as its time was up
    std::string trouble;  // why it could not be run; mostly empty
};

/// Runs a program in a process of its own and waits for its end, but not for longer than so many
/// seconds. Standard input is `input`, standard error this process's. `folder` is where it runs;
/// empty for here.
struct Run {
    Mode mode = Mode::run;
    std::string text;
    std::vector<std::string> arguments;  // the file's name first
    std::string input = {};
    std::string folder = {};
    int seconds = 60;
};
Ran run_apart(const Run& run);

}  // namespace marl::lab
