// A file together with the files that it uses, and theirs: a bundle.
//
// A note [use: list ./tax.marl] says what a file builds on: themes of the library, and files by
// their path from the file itself. Files may use each other; each is in the bundle once. A name in
// a file means the file's own definition, else that of a file that it uses, else what the system
// gives. It doesn't see what those files use in turn. Combinators and operators are one for the
// whole program, wherever they are defined.
#pragma once

#include <compare>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lab/library.h"
#include "lab/program.h"

namespace marl::lab {

struct Use {
    std::string written;
    Range range;
    std::optional<size_t> source;  // in the bundle; none when it can't be read
};

struct SourceFile {
    std::string path;
    std::string shown;   // what messages call it
    std::string origin;  // what a packed program calls it: a theme, or the path from the first file
    bool is_theme = false;
    Program program;
    std::vector<Use> uses = {};
    std::vector<Message> use_faults = {};  // of the notes that say what it uses
};

struct Bundle {
    std::vector<SourceFile> sources;  // what was asked for is the first

    const Program& program(size_t source) const { return sources[source].program; }
};

/// Reads what a file uses. `text` is the file's, which so needn't be on disk.
Bundle read_bundle(const Files& files, const std::string& path, std::string_view text,
                   Reading reading = Reading::file);

/// A file in a sentence.
std::string called(const SourceFile& source);

/// A definition or an entry of a bundle.
struct Place {
    size_t source;
    size_t piece;

    auto operator<=>(const Place&) const = default;
};

/// The definitions that a word in a source can mean: none for what the system gives and what
/// nothing defines, several when two files that it uses have it and it has not itself.
std::vector<Place> meanings(const Bundle& bundle, size_t source, std::string_view word);

/// Whether a key is a word of two letters or more, which each file has for itself.
bool is_own_word(std::string_view key);

/// The definitions of combinators and operators in the whole bundle, by key.
std::map<std::string, std::vector<Place>, std::less<>> redefinitions(const Bundle& bundle);

struct Reached {
    std::set<Place> places;
    std::set<std::string, std::less<>> given;  // what the system gives of what they name
    bool loads() const { return given.contains("load") || given.contains("road"); }
};

/// What an expression reaches that is written for a source, with what `roots` do. A test of the
/// source is such an expression, and so is its entry.
Reached reach_from(const Bundle& bundle, size_t source, const Program& expression,
                   const std::set<Place>& roots);

/// What notes [keep: NAMES] of the bundle name.
std::set<Place> noted_places(const Bundle& bundle);
/// The same, with the definition `shut`, which an interrupt runs.
std::set<Place> kept_places(const Bundle& bundle);

/// What the first source's entry reaches, or all that it defines when it has none; with what the
/// roots do.
Reached reach_of(const Bundle& bundle, std::set<Place> roots);

/// What is wrong with a source, and what is doubtful, by the rules of uses and of notes for tools.
std::vector<Message> find_use_messages(const Bundle& bundle, size_t source);

}  // namespace marl::lab
