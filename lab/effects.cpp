// Built-ins come in families, most of which are of one sort as a whole.
#include "lab/effects.h"

#include <algorithm>
#include <set>

#include "library/families.h"

namespace marl::lab {

namespace {

using Family = std::span<const Builtin> (*)();

constexpr Family acting[] = {file_rows, directory_rows, socket_rows, process_rows};
constexpr Family reaching[] = {memory_rows, string_rows};
constexpr std::string_view others[] = {
    "copy", "frexp", "modf", "post", "refh", "refi", "refj", "refk", "refl", "refm", "refn", "refo",
};
constexpr std::string_view defiant[] = {"bond", "leak", "load", "road"};

using Names = std::set<std::string_view>;

void add(Names& names, std::span<const Family> families) {
    for (const Family rows : families) {
        for (const Builtin& row : rows()) names.insert(row.name);
    }
}

const Names& acting_names() {
    static const Names* names = [] {
        auto* made = new Names;
        add(*made, acting);
        return made;
    }();
    return *names;
}

const Names& reaching_names() {
    static const Names* names = [] {
        auto* made = new Names(acting_names());
        add(*made, reaching);
        made->insert(std::begin(others), std::end(others));
        return made;
    }();
    return *names;
}

}  // namespace

bool reaches_outside(std::string_view builtin) { return reaching_names().contains(builtin); }

bool acts_outside(std::string_view builtin) { return acting_names().contains(builtin); }

bool defies_replay(std::string_view builtin) {
    return std::find(std::begin(defiant), std::end(defiant), builtin) != std::end(defiant);
}

}  // namespace marl::lab
