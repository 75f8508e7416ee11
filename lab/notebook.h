// What a prompt has been told: definitions, as they were written, each with the note that stood
// before it, and what they use. With an entry in front they are a program.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lab/program.h"

namespace marl::lab {

struct Definition {
    std::string key;
    std::string text;
    std::string note;  // with its brackets; empty without one
};

struct Notebook {
    std::vector<Definition> definitions;
    std::vector<std::string> uses;  // themes, and paths from the folder of the process

    const Definition* find(std::string_view key) const;
    /// In the place of an earlier one of that key, whose note stays unless there is a new one.
    void define(Definition definition);
    /// Whether there was one.
    bool forget(std::string_view key);

    /// Once each.
    void use(const std::string& word);

    /// The definitions behind an entry, but for those of some keys, and what they use with paths
    /// from a folder. The comma that ends the entry stands on a line of its own, which nobody sees
    /// in a message about the entry.
    std::string program(std::string entry, const std::set<std::string>& without = {},
                        const std::string& folder = ".") const;
};

/// Whether a piece defines something that a notebook keeps.
bool is_kept(const Piece& piece);

/// A piece that `is_kept`, with its note.
Definition definition_of(const Program& program, size_t piece);

}  // namespace marl::lab
