// Pieces that are replaced, skipped or out of reach, and an entry that takes nothing.
#include <algorithm>
#include <array>

#include "front/scan.h"
#include "lab/look.h"
#include "lab/odd_bytes.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

void look_for_defined_twice(const Look& look) {
    for (const Piece* piece : look.pieces) {
        if (piece->kind != PieceKind::definition) continue;
        const auto index = static_cast<size_t>(piece - look.program.pieces.data());
        if (piece->key == "_") {
            look.warn(piece->name,
                      "The system defines `_`, the record layouts, and so this definition is "
                      "replaced.");
        } else if (!look.program.counts(index)) {
            look.warn(piece->name, ticked(piece->key) +
                                       " is defined again below, and this definition is replaced.");
        }
    }
}

/// Where there are faults, what stands in a faulty piece may be out of reach because of them.
void look_for_unreached(const Look& look) {
    if (look.has_faults || look.reach.loads) return;
    for (const Piece* piece : look.pieces) {
        const std::string& key = piece->key;
        const auto index = static_cast<size_t>(piece - look.program.pieces.data());
        if (piece->kind != PieceKind::definition || !look.program.counts(index)) continue;
        if (look.reach.alive.contains(key) || look.reach.doomed.contains(key)) continue;
        look.warn(piece->name, "Nothing reaches " + ticked(key) + ".");
    }
}

// Skipped pieces.

std::string_view first_word(std::string_view text) {
    size_t end = 0;
    while (end < text.size() && is_word_byte(static_cast<uint8_t>(text[end]))) ++end;
    return text.substr(0, end);
}

/// Whether a node is a word, or one applied to small letters, as the left side of an equation is.
bool is_head(Node* node) {
    for (; !is_leaf(node); node = left(node)) {
        if (!is_letter(leaf_bytes(right(node)))) return false;
    }
    return is_word_text(leaf_bytes(node));
}

std::string skipped_name_sentence(const std::string& name) {
    std::string say =
        ticked(name) + " can't be the name of a definition, so this piece is skipped. ";
    const std::string hidden = hidden_byte_sentence(name);
    if (!hidden.empty()) return say + hidden.substr(1);
    if (name.find('=') != name.npos) return say + "A definition is `name\\body`, without an `=`.";
    if (name.starts_with('[')) return say + "Behind a note stands a comma.";
    if (name.find_first_of(" \n") != name.npos) {
        return say + "Each parameter has a backslash of its own.";
    }
    return say + "A name is small letters and `_`, or one capital letter.";
}

void look_for_skipped_definition(const Look& look) {
    const Program& program = look.program;
    for (const Piece* piece : look.pieces) {
        if (piece->kind != PieceKind::note) continue;
        const std::string_view word = first_word(program.written(piece->range));
        Node* value = piece->value;
        Infix infix{};
        if (form(value) == Form::lambda) {
            const Range key = program.range_of(lambda_key(value));
            look.warn(piece->range, skipped_name_sentence(std::string(program.written(key))));
        } else if (form(value) == Form::let && !word.empty()) {
            look.warn(piece->range, "A definition is `name\\body`; this piece is skipped.");
        } else if (is_infix(value, "=", infix) && !word.empty() && is_head(infix.a)) {
            look.warn(piece->range,
                      "A definition is `" + std::string(word) +
                          "\\body`, with a backslash and no `=`; this piece is skipped.");
        }
    }
}

// The entry.

/// How many arguments a name takes before it does something, if that is known.
std::optional<int> arguments_taken(const Program& program, std::string_view name) {
    const auto own = program.definitions.find(name);
    if (own != program.definitions.end()) {
        return static_cast<int>(program.pieces[own->second].parameters.size());
    }
    if (const auto arity = builtin_arity(name)) return arity;
    if (arithmetic.find(name) != arithmetic.npos) return 2;
    return std::nullopt;
}

/// Whether an entry is no function by the look of it, and so does nothing with the arguments.
bool takes_nothing(const Program& program, Node* entry) {
    Node* head = entry;
    int arguments = 0;
    for (; !is_leaf(head); head = left(head)) ++arguments;
    const std::string_view name = leaf_bytes(head);
    if (name == "}" || name == "\\" || name == "{") return false;
    if (is_digits(head)) return arguments == 0;
    if (first_byte(head) == '[') return true;
    const auto taken = arguments_taken(program, name);
    if (!taken) return false;
    const bool constant = *taken == 0 && program.definitions.contains(name);
    return !constant && arguments >= *taken;
}

void look_for_entry(const Look& look) {
    const Piece& entry = look.program.pieces.front();
    if (!look.program.has_entry || entry.damaged || !takes_nothing(look.program, entry.expression))
        return;
    look.warn(entry.range,
              "The run applies the entry to the address of the arguments, so it is a function: "
              "`a\\" +
                  brief(look, entry.expression) + "`.");
}

constexpr std::array rows{
    Warning{"defined_twice",
            "A later definition of the same name replaces this one.\n"
            "The last one counts, for all uses.",
            look_for_defined_twice},
    Warning{"doomed",
            "A definition that nothing reaches is dropped in silence, as it can't work.\n"
            "It uses a name that nothing defines, or lacks an operand. Were it reached, that would "
            "be a fault.",
            nullptr},
    Warning{"entry",
            "The entry is no function, but is applied to the arguments.\n"
            "A program begins with a function, as in `a\\main a`, which gets the address of the "
            "program's arguments.",
            look_for_entry},
    Warning{"redefined_elsewhere",
            "A combinator or an operator gets another meaning in files that don't ask for it.\n"
            "Combinators and operators have one meaning in the whole program. Code of the library, "
            "or of another file that doesn't use this one, relies on the old one.",
            nullptr},
    Warning{"skipped_definition",
            "A piece looks like a definition and is none, and so is skipped.\n"
            "A definition is `name\\parameter\\body`; its name is small letters and `_`, or one "
            "capital letter or operator. Any other piece between commas is a note.",
            look_for_skipped_definition},
    Warning{"unreached",
            "Nothing reaches a definition from the entry.\n"
            "It isn't said of a program that loads others, which may use what it doesn't itself.",
            look_for_unreached},
    Warning{"unused_use",
            "A note [use: ...] names what nothing in the file needs.\n"
            "Names in tests and in notes [keep: ...] count as well, and so do files that give "
            "combinators or operators another meaning.",
            nullptr},
};

}  // namespace

std::span<const Warning> piece_warnings() { return rows; }

}  // namespace marl::lab
