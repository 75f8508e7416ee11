// A file as the program that is run of it.
#pragma once

#include <optional>
#include <string>

#include "lab/written.h"

namespace marl::lab {

struct PackedFile {
    std::optional<std::string> text;
    int status = 0;  // when there is no text: 1 for a fault, 2 for a file that can't be read
    Sources sources = {};
};

/// Reads a file, "-" being standard input, and packs it with what it uses. What is in the way is
/// told on standard error.
PackedFile packed_file(const std::string& path);

}  // namespace marl::lab
