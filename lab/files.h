// Files as a whole: read without a surprise, and never half written.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marl::lab {

struct FileText {
    std::optional<std::string> text;
    std::string why;  // a sentence with the file's name, when there is no text
};

/// The bytes of a file, or of standard input, whose name is "-".
FileText read_file(const std::string& path);

/// Puts a text in the place of what a file holds. It is written beside the file and takes its name
/// when all of it is on the disk; so the file never holds a part. What is no plain file is written
/// to. Gives a sentence when that fails; empty when all is well.
std::string write_file(const std::string& path, std::string_view text);

}  // namespace marl::lab
