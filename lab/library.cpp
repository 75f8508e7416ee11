// A file has one identity, the path without links and dots; by that it is known, whoever names it.
#include "lab/library.h"

#include <algorithm>
#include <filesystem>

#include "lab/files.h"

namespace marl::lab {

namespace {

namespace fs = std::filesystem;

bool is_folder(const fs::path& path) {
    std::error_code none;
    return fs::is_directory(path, none);
}

std::string find_library() {
    const fs::path binary = folder_of_binary();
    for (const fs::path& folder : {binary / "../share/marl", binary / "lib"}) {
        if (is_folder(folder)) return folder.lexically_normal().string();
    }
    return {};
}

}  // namespace

Files files_on_disk() { return {{}, find_library()}; }

std::string folder_of_binary() {
    std::error_code none;
    return fs::read_symlink("/proc/self/exe", none).parent_path().string();
}

std::optional<std::string> file_text(const Files& files, const std::string& path) {
    const auto open = files.open.find(identity_of(path));
    return open == files.open.end() ? read_file(path).text : open->second;
}

std::string identity_of(const std::string& path) {
    std::error_code none;
    const fs::path identity = fs::weakly_canonical(fs::absolute(path, none), none);
    return identity.empty() ? path : identity.string();
}

std::string path_of_theme(const Files& files, const std::string& theme) {
    return (fs::path(files.library) / (theme + ".marl")).string();
}

std::vector<std::string> themes_of(const Files& files) {
    std::vector<std::string> themes;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(files.library, none)) {
        if (entry.path().extension() == ".marl") themes.push_back(entry.path().stem().string());
    }
    std::sort(themes.begin(), themes.end());
    return themes;
}

}  // namespace marl::lab
