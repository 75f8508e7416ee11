// The rules of the machine once more, over terms that know nothing of its nodes: each rule as it
// reads, each handle a counted one, and nothing done for speed.
#pragma once

#include <string>

namespace marl {

/// Runs the program in the tables, whose check has passed: the entry applied to 0. Built-ins other
/// than `todo` and `raws` are the library's own, on copies of their arguments. Gives the printed
/// result and drops it; empty when the run takes too many steps.
std::string result_by_the_rules();

}  // namespace marl
