// Notes for tools: pieces of a program like [use: list ./tax.marl] and [test: 1+1 -> 2].
//
// Such a note begins with a word of small letters and a colon. The words are `keep`, `lab`, `test`
// and `use`; any other one is a fault, and so is a note that is not a whole piece.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/program.h"

namespace marl::lab {

struct ToolNote {
    std::string word;
    size_t piece;
    Range body;  // what stands behind the colon, up to the closing bracket
};

/// Those that are whole pieces and have a word that is known, in the order of the source.
std::vector<ToolNote> tool_notes(const Program& program);

/// Whether a piece begins like a note for tools.
bool is_tool_note(const Program& program, const Piece& piece);

/// What is wrong with the notes themselves, whatever they say.
std::vector<Message> find_note_faults(const Program& program);

struct NoteWord {
    std::string text;
    Range range;
};

/// The words in a part of a source: what blanks and newlines stand between.
std::vector<NoteWord> note_words(const Program& program, Range range);

/// What the author says about a definition: the note in front of it, without its brackets. Notes
/// for tools may stand between; the first piece of a file of definitions is about the file.
std::string note_before(const Program& program, const Piece& piece);

/// What a file of definitions says about itself in its first piece.
std::string file_note(const Program& program);

}  // namespace marl::lab
