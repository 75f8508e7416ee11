#include "lab/notebook.h"

#include <algorithm>
#include <utility>

namespace marl::lab {

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

std::string Notebook::program(std::string entry, const std::set<std::string>& without) const {
    const char* comma = "\n,\n";
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
    if (index == 0 || program.pieces[index - 1].kind != PieceKind::note) return definition;
    const std::string_view note = program.written(program.pieces[index - 1].range);
    if (note.starts_with('[') && note.ends_with(']')) definition.note = note;
    return definition;
}

}  // namespace marl::lab
