// What the machines make of a program, side by side.
#pragma once

#include <string>

namespace marl {

/// The program run by the plain machine and by the fast one: all that each prints, up to the end of
/// its shutdown, and its result or Report. Empty when they do the same. Standard output must be a
/// file that is read and written by nobody else.
std::string machines_difference(const std::string& source);

/// The program run by the rules themselves and by the machine, up to its result: by the plain
/// machine, and when it doesn't name `todo`, by the fast one, too. Empty when they do the same, and
/// when the check fails or the rules take too many steps.
std::string rules_difference(const std::string& source);

}  // namespace marl
