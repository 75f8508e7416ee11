// test: the tests of files and folders.
//
// A file has tests in its notes [test: EXPRESSION -> TEXT], and is a test itself when it is a
// program with files beside it: NAME.in is standard input, NAME.args has the arguments, one a line,
// NAME.out what must be printed, NAME.status the status it must end with. Without .out nothing may
// be printed, and without .status the status is 0. A program runs in its own folder.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace marl::lab {

struct TestOptions {
    std::vector<std::string> paths;  // of a folder, all programs in it and in its folders
    int seconds = 60;                // for each run
};

/// Says what differs, and in a last line how many tests passed. Gives the exit status: 1 when some
/// failed, or there were none; 2 when a path can't be read.
int run_tests(const TestOptions& options, std::ostream& out);

}  // namespace marl::lab
