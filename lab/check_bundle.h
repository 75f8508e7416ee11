// What is wrong with a program of several files, and what is doubtful, file by file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/uses.h"

namespace marl::lab {

/// What is looked at: whoever runs a program doesn't ask for its tests.
enum class Scope { program, program_and_tests };

/// The messages about each source of a bundle, in the order of their places. Of the files that the
/// first one uses only faults are told, and of what they leave undefined only what it reaches; but
/// who gives a combinator or an operator another meaning is told what else that changes.
std::vector<std::vector<Message>> check_bundle(const Files& files, const Bundle& bundle,
                                               Scope scope);

/// The messages about one source in the form of `check_source`.
Checked checked_of(std::vector<Message> messages);

/// The same for the text of a file, which needn't be on disk, with what it uses.
Checked check_file(const Files& files, const std::string& path, std::string_view text);

bool has_faults(const std::vector<Message>& messages);
bool has_faults(const std::vector<std::vector<Message>>& messages);
std::vector<std::vector<Message>> only_faults(std::vector<std::vector<Message>> messages);

/// The messages as a person reads them, each with the name of its file. Colours are those of a
/// terminal.
std::string shown_messages(const Bundle& bundle, const std::vector<std::vector<Message>>& messages,
                           bool colours = false);

}  // namespace marl::lab
