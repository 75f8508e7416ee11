// The texts use what is first needed of the library, and pass their own tests.
#include "lab/new_project.h"

#include <filesystem>
#include <fstream>
#include <string_view>
#include <utility>

namespace marl::lab {

namespace {

namespace fs = std::filesystem;

/// The files by name; NAME stands for what the project is called.
constexpr std::pair<std::string_view, std::string_view> files[] = {
    {"main.marl", R"(a\say(greeting(first_of(args_list a)));0,

[NAME greets whom its first argument names, or the world.],
[use: base args ./greeting.marl],

[The first of a list, or the world.],
first_of\l\l[world](h\t\h)
)"},
    {"main.args", "Ada\n"},
    {"main.out", "Hello, Ada!\n"},
    {"greeting.marl", R"([What NAME says.],

[A greeting for whoever has this name.],
[test: greeting[Ada] -> [Hello, Ada!]],
greeting\name\[Hello, ]+name+[!]
)"},
    {"README.md", R"(# NAME

```
marl-lab run main.marl Ada    # runs it
marl-lab test .               # runs its tests: those in notes, and main.marl with main.out
marl-lab check main.marl      # says what is wrong, or doubtful
marl-lab format *.marl        # lays it out
marl-lab pack main.marl -o NAME.marl    # one plain program, which `marl NAME.marl` runs
```

`marl-lab doc greeting.marl` shows the notes and tests of a file, `marl-lab doc list` those of a theme of the
library.
)"}};

std::string with_name(std::string_view text, const std::string& name) {
    std::string filled(text);
    for (size_t at = filled.find("NAME"); at != filled.npos; at = filled.find("NAME", at)) {
        filled.replace(at, 4, name);
        at += name.size();
    }
    return filled;
}

}  // namespace

std::vector<std::string> lay_out_project(const std::string& folder, std::string& why) {
    std::error_code error;
    const fs::path path(folder);
    const fs::path last = path.has_filename() ? path.filename() : path.parent_path().filename();
    const std::string name = last.string();
    if (name.empty()) {
        why = "A folder needs a name.";
        return {};
    }
    if (fs::exists(folder, error)) {
        why = folder + " is there already.";
        return {};
    }
    fs::create_directories(folder, error);
    std::vector<std::string> made;
    for (const auto& [file, text] : files) {
        const std::string made_file = (path / file).string();
        std::ofstream out(made_file, std::ios::binary);
        out << with_name(text, name);
        if (!out.flush()) {
            why = made_file + " can't be written.";
            return {};
        }
        made.push_back(made_file);
    }
    return made;
}

}  // namespace marl::lab
