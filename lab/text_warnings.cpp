// Code that is no part of the program, and bytes that don't show.
#include <algorithm>
#include <array>

#include "front/scan.h"
#include "lab/look.h"
#include "lab/notes.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

bool is_known(const Program& program, std::string_view name) {
    return is_given(name) || program.definitions.contains(name) ||
           program.used_names.contains(std::string(name));
}

/// Whether a comma begins the piece behind an expression that binds a name.
bool is_local_before(const Program& program, size_t piece, std::string_view name) {
    const auto names = program.names_of(program.pieces[piece - 1]);
    return std::any_of(names.begin(), names.end(), [&](const Name& one) {
        return one.key == name && one.role != Role::use && one.role != Role::definition;
    });
}

/// Whether a text is numbers and what is done with them.
bool is_calculation(std::string_view text) {
    return text.find_first_of("0123456789") != text.npos &&
           text.find_first_not_of("0123456789+-*/%^<>() \n") == text.npos;
}

/// Whether a piece that defines nothing is code by the look of it: all of its words are names of
/// the program, and something is applied by a bracket or an operator. Or it has no words.
bool is_code(const Program& program, size_t index) {
    const Piece& piece = program.pieces[index];
    const std::string_view text = program.written(piece.range);
    if (text.empty() || text.starts_with('[') || piece.damaged) return false;
    if (is_calculation(text)) return true;
    const bool has_marks = text.find_first_of("([{;\\") != text.npos;
    bool all_known = true;
    bool has_name = false;
    for_each_node(piece.value, [&](Node* node) {
        if (!is_leaf(node) || first_byte(node) == '[' || is_digits(node)) return;
        const std::string_view name = leaf_bytes(node);
        if (!is_word_text(name) || is_letter(name)) return;
        if (is_known(program, name) || is_local_before(program, index, name)) {
            has_name = true;
        } else {
            all_known = false;
        }
    });
    return has_marks && has_name && all_known;
}

void look_for_dropped_piece(const Look& look) {
    for (const Piece* piece : look.pieces) {
        const auto index = static_cast<size_t>(piece - look.program.pieces.data());
        if (index == 0 || piece->kind != PieceKind::note || form(piece->value) != Form::other) {
            continue;
        }
        Infix infix{};
        if (is_infix(piece->value, "=", infix) || !is_code(look.program, index)) continue;
        look.warn(piece->range,
                  "This piece defines nothing, so it is no part of the program. Steps are "
                  "separated by `;`, a comma begins the next definition.");
    }
}

void look_for_carriage_return(const Look& look) {
    const std::string& text = look.program.text;
    const size_t at = text.find('\r');
    if (at == text.npos) return;
    look.warn({at, at + 1},
              "A carriage return stands here. It is no white space, but a name, and in a text a "
              "byte of it; end the lines with a newline alone.");
}

constexpr std::array rows{
    Warning{"carriage_return",
            "A carriage return stands in the source.\n"
            "It is no white space, but a name, and in a text a byte of it. `check --fix` ends all "
            "lines with a newline alone.",
            look_for_carriage_return},
    Warning{"dropped_piece",
            "A piece between commas is code that is no part of the program.\n"
            "A piece that defines nothing is a note, whatever stands in it. Steps are separated by "
            "`;`: with a comma there, all behind it is dropped in silence.",
            look_for_dropped_piece},
};

}  // namespace

std::span<const Warning> text_warnings() { return rows; }

}  // namespace marl::lab
