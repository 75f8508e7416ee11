// What somebody may have meant by a name that doesn't exist.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/program.h"

namespace marl::lab {

/// Those of the candidates that differ from the name by a slip of typing or two, the nearest first,
/// at most three.
std::vector<std::string> near_names(std::string_view name, const std::vector<std::string>& among);

/// The same among all names that can stand where an undefined one does.
std::vector<std::string> near_names(const Program& program, const Name& name);

/// What a word that other languages have is here, as the end of a sentence; empty for other words.
std::string_view foreign_word(std::string_view name);

}  // namespace marl::lab
