// Lines from whoever types them: with editing, history and completion on a terminal, and as they
// are from anything else.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marl::lab {

/// What can stand where a word begins with some letters.
using Complete = std::function<std::vector<std::string>(std::string_view begin)>;

/// Sets up the terminal. There is one prompt in a process.
void open_prompt(Complete complete);

/// Whether a person types.
bool is_terminal();

/// What is typed up to a line after which `is_whole` holds, with newlines between the lines;
/// nothing at the end. An interrupt drops what has been typed. It goes into the history as one
/// entry, at once.
std::optional<std::string> read_input(bool (*is_whole)(const std::string&));

}  // namespace marl::lab
