// A note is recognised by its text alone, whatever the piece parses as: the mistakes are pieces
// that were meant as notes.
#include "lab/notes.h"

#include <algorithm>
#include <array>
#include <optional>

#include "front/scan.h"
#include "lab/walk.h"

namespace marl::lab {

namespace {

constexpr std::array<std::string_view, 4> known_words{"keep", "lab", "test", "use"};

bool is_known(std::string_view word) {
    return std::find(known_words.begin(), known_words.end(), word) != known_words.end();
}

/// The word of a text that begins like a note for tools: small letters between `[` and `:`.
std::optional<std::string_view> word_of_note(std::string_view text) {
    if (!text.starts_with('[')) return std::nullopt;
    size_t end = 1;
    while (end < text.size() && is_word_byte(static_cast<uint8_t>(text[end]))) ++end;
    if (end == 1 || end == text.size() || text[end] != ':') return std::nullopt;
    return text.substr(1, end - 1);
}

/// Whether a piece is one text in brackets, and nothing else.
bool is_whole(std::string_view text) {
    return match_bracket(text, 0) + 1 == static_cast<int64_t>(text.size());
}

std::string without_brackets(std::string_view note) {
    const bool bracketed = note.size() > 1 && note.front() == '[' && note.back() == ']';
    return std::string(bracketed ? note.substr(1, note.size() - 2) : note);
}

Message fault(Range range, std::string say) {
    return {range, Severity::fault, "note", std::move(say)};
}

/// Whether a text that ends a piece says what a note of that word would, so that it is meant as
/// one.
bool speaks_as_note(std::string_view word, std::string_view text) {
    const std::string_view inside = text.substr(word.size() + 2, text.size() - word.size() - 3);
    if (word == "test") return inside.find("->") != inside.npos;
    if (word == "lab") return inside.starts_with(" off ");
    return word == "use" && std::all_of(inside.begin(), inside.end(), [](char c) {
               return is_white(c) || c == '/' || c == '.' || is_word_byte(static_cast<uint8_t>(c));
           });
}

/// A note for tools that a missing comma made a part of the piece in front of it: it begins a line,
/// or stands behind white space at the end of the piece, and says what such a note says.
void find_swallowed(const Program& program, const Piece& piece, std::vector<Message>& faults) {
    for_each_node(piece.value, [&](Node* node) {
        if (!is_leaf_of(node, '[')) return;
        const Range range = program.range_of(node);
        const std::string_view text = program.written(range);
        const auto word = word_of_note(text);
        const char before = range.begin > 0 ? program.text[range.begin - 1] : '\0';
        if (!word || !is_known(*word) || !is_white(before)) return;
        const bool ends_piece = range.end == piece.range.end;
        if (before != '\n' && !(ends_piece && speaks_as_note(*word, text))) return;
        faults.push_back(fault(range, "A comma is missing in front of this note: it is a part of " +
                                          ticked(shown_name(piece)) + " now."));
    });
}

}  // namespace

bool is_tool_note(const Program& program, const Piece& piece) {
    return piece.kind == PieceKind::note && word_of_note(program.written(piece.range)).has_value();
}

std::vector<ToolNote> tool_notes(const Program& program) {
    std::vector<ToolNote> notes;
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        const Piece& piece = program.pieces[i];
        if (piece.damaged || !is_tool_note(program, piece)) continue;
        const std::string_view text = program.written(piece.range);
        const std::string_view word = *word_of_note(text);
        if (!is_known(word) || !is_whole(text)) continue;
        const size_t begin = piece.range.begin + word.size() + 2;
        notes.push_back({std::string(word), i, {begin, piece.range.end - 1}});
    }
    return notes;
}

std::vector<Message> find_note_faults(const Program& program) {
    std::vector<Message> faults;
    for (const Piece& piece : program.pieces) {
        if (piece.damaged) continue;
        if (piece.kind != PieceKind::note) find_swallowed(program, piece, faults);
        const std::string_view text = program.written(piece.range);
        const auto word = word_of_note(text);
        if (piece.kind == PieceKind::definition || !word) continue;
        if (!is_known(*word)) {
            faults.push_back(fault({piece.range.begin + 1, piece.range.begin + 1 + word->size()},
                                   "There are no notes for tools with the word " + ticked(*word) +
                                       "; the words are `keep`, `lab`, `test` and `use`."));
        } else if (!is_whole(text)) {
            const auto end = static_cast<size_t>(match_bracket(text, 0)) + 1;
            faults.push_back(fault({piece.range.begin, piece.range.begin + end},
                                   "A comma is missing behind this note: what follows is a part "
                                   "of it, and defines nothing."));
        }
    }
    return faults;
}

std::vector<NoteWord> note_words(const Program& program, Range range) {
    std::vector<NoteWord> words;
    for (size_t i = range.begin; i < range.end; ++i) {
        if (is_white(program.text[i])) continue;
        size_t end = i;
        while (end < range.end && !is_white(program.text[end])) ++end;
        words.push_back({program.text.substr(i, end - i), {i, end}});
        i = end;
    }
    return words;
}

std::string note_before(const Program& program, const Piece& piece) {
    auto index = static_cast<size_t>(&piece - program.pieces.data());
    while (index > 1 && is_tool_note(program, program.pieces[index - 1])) --index;
    if (index < 2 || program.pieces[index - 1].kind != PieceKind::note) return {};
    const std::string_view note = program.written(program.pieces[index - 1].range);
    // What has a backslash and no brackets is rather a definition that is being typed.
    const bool is_text = note.starts_with('[') || note.find('\\') == note.npos;
    return is_text ? without_brackets(note) : std::string();
}

std::string file_note(const Program& program) {
    const Piece& first = program.pieces.front();
    if (first.kind != PieceKind::note || is_tool_note(program, first)) return {};
    return without_brackets(program.written(first.range));
}

}  // namespace marl::lab
