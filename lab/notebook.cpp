// Definitions keep the order in which they came; one that comes again takes its old place.
#include "lab/notebook.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "front/scan.h"
#include "lab/library.h"
#include "lab/notes.h"

namespace marl::lab {

namespace {

/// The note that says what is used, with paths from a folder.
std::string use_note(const std::vector<std::string>& uses, const std::string& folder) {
    namespace fs = std::filesystem;
    std::string note = "[use:";
    for (const std::string& use : uses) {
        std::string word = use;
        if (use.find('/') != use.npos) {
            word = fs::path(identity_of(use)).lexically_relative(identity_of(folder)).string();
            if (!word.starts_with("../")) word.insert(0, "./");
        }
        note += " " + word;
    }
    return note + "]";
}

}  // namespace

const Definition* Notebook::find(std::string_view key) const {
    const auto found = std::find_if(definitions.begin(), definitions.end(),
                                    [&](const Definition& one) { return one.key == key; });
    return found == definitions.end() ? nullptr : &*found;
}

void Notebook::define(Definition definition) {
    const auto old = std::find_if(definitions.begin(), definitions.end(),
                                  [&](const Definition& one) { return one.key == definition.key; });
    if (old == definitions.end()) {
        definitions.push_back(std::move(definition));
        return;
    }
    if (definition.note.empty()) definition.note = std::move(old->note);
    *old = std::move(definition);
}

bool Notebook::forget(std::string_view key) {
    return std::erase_if(definitions, [&](const Definition& one) { return one.key == key; }) > 0;
}

void Notebook::use(const std::string& word) {
    if (std::find(uses.begin(), uses.end(), word) == uses.end()) uses.push_back(word);
}

std::string Notebook::program(std::string entry, const std::set<std::string>& without,
                              const std::string& folder) const {
    const char* comma = "\n,\n";
    if (!uses.empty()) entry += std::exchange(comma, ",\n") + use_note(uses, folder);
    for (const Definition& one : definitions) {
        if (without.contains(one.key)) continue;
        entry += std::exchange(comma, ",\n");
        if (!one.note.empty()) entry += one.note + ",\n";
        entry += one.text;
    }
    return entry;
}

bool is_kept(const Piece& piece) {
    return piece.kind == PieceKind::definition && !piece.damaged && !is_letter(piece.key);
}

Definition definition_of(const Program& program, size_t index) {
    const Piece& piece = program.pieces[index];
    Definition definition{piece.key, std::string(program.written(piece.range)), {}};
    const std::string note = note_before(program, piece);
    if (!note.empty()) definition.note = "[" + note + "]";
    return definition;
}

}  // namespace marl::lab
