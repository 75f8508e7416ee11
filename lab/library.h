// Where the commands find the files that a program is made of, and the library.
//
// The library is a folder of files, one a theme: `../share/marl` beside the binary where marl is
// installed, else the folder `lib` beside it, which a build tree has.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace marl::lab {

struct Files {
    std::map<std::string, std::string> open = {};  // texts that stand for files, by identity
    std::string library = {};                      // the folder; empty when there is none
};

/// Those on disk.
Files files_on_disk();

/// The folder of the running binary.
std::string folder_of_binary();

/// A file's bytes, or nothing when it can't be read.
std::optional<std::string> file_text(const Files& files, const std::string& path);

/// One name for all paths of a file.
std::string identity_of(const std::string& path);

/// The path of a theme's file, whether there is one or not.
std::string path_of_theme(const Files& files, const std::string& theme);

/// The themes that there are, in the order of their names.
std::vector<std::string> themes_of(const Files& files);

}  // namespace marl::lab
