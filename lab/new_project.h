// new: a folder to begin a program in.
#pragma once

#include <string>
#include <vector>

namespace marl::lab {

/// Lays out a project: a program of two files, what it must print, tests, and a page that says how
/// to go on. Its tests pass. Gives the files that it has made. When it can't, `why` is a sentence
/// that says what is in the way, and nothing that was there has changed.
std::vector<std::string> lay_out_project(const std::string& folder, std::string& why);

}  // namespace marl::lab
