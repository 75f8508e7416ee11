// A program as its author sees it: pieces, and the names in them with their places.
//
// The stages of the front end forget the text as they go, and stop at the first fault. Here a
// source is read once, to the end, and nothing is forgotten: each piece keeps its parsed expression
// with the places of its nodes, and each name knows which binder it belongs to. Nothing is
// evaluated, and what a running program has in its tables is neither read nor changed.
//
// A source whose brackets don't balance is mended first: the brackets at fault become blanks, and
// the pieces between them count as damaged. Of a damaged piece nothing is to be trusted but its
// name. All places are those of the source as it was given.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "front/grammar.h"
#include "lab/message.h"
#include "value/value.h"

namespace marl::lab {

enum class PieceKind { entry, definition, note };

struct Piece {
    PieceKind kind;
    Range range;       // without the white space around it
    Value value;       // the whole piece, with its name
    Node* expression;  // what the name is defined as; of other pieces, the whole
    std::string key;   // of a definition, else empty
    Range name;        // of a definition, its name as written
    bool fresh;        // n()\e: evaluated anew at each use
    bool damaged;
    std::vector<std::string> parameters;  // the keys of the lambdas that the expression begins with
    size_t first_name = 0;                // its names, in Program::names
    size_t names_end = 0;
};

enum class Role { definition, parameter, local, use };

/// One place where a name stands. A parameter is bound by a lambda, a local by wings.
struct Name {
    Range range;
    std::string key;
    Role role;
    size_t piece;                  // the index of its piece
    std::optional<size_t> binder;  // of a use, the parameter or local that it means; none: a global
    Range scope;                   // of a parameter or local, where it can be used
};

struct Program {
    std::string text;       // with blanks in the place of a first line that begins with #!
    bool has_entry = true;  // a file of definitions has none: its first piece is empty or a note
    std::vector<Message> bracket_faults;
    std::vector<Message> comma_faults;
    std::vector<Piece> pieces;  // the entry, if there is one, is the first
    Origins origins;            // places in `text`
    std::vector<Name> names;    // piece by piece; within one, as a walk meets them
    std::map<std::string, size_t, std::less<>> definitions;  // the piece that counts: the last one
    std::set<std::string, std::less<>> used_names;           // what the files that it uses define

    std::string_view written(Range range) const {
        return std::string_view(text).substr(range.begin, range.end - range.begin);
    }
    std::span<const Name> names_of(const Piece& piece) const {
        return std::span(names).subspan(piece.first_name, piece.names_end - piece.first_name);
    }
    Range range_of(const Node* node) const;
    /// The same with the parentheses around it.
    Range outer_range_of(const Node* node) const;
    /// Whether a piece is the entry or a definition that no other replaces.
    bool counts(size_t piece) const;
    /// The piece that covers a position or ends at it.
    std::optional<size_t> piece_at(size_t position) const;
    /// The name that covers a position or ends at it; null when there is none.
    const Name* name_at(size_t position) const;
};

/// What a text is: a file, or an expression with definitions behind it, whose first piece is always
/// the entry.
enum class Reading { file, expression };

Program read_program(std::string_view text, Reading reading = Reading::file);

/// The Leaves of the names that a lambda or let binds, borrowed. Of a key that is no name all words
/// are, so that nobody looks for them elsewhere.
std::vector<Node*> bound_names(Node* binder);

/// The prelude's definitions, read in the same way.
const Program& prelude_program();

/// The arity of a built-in; nothing for another name.
std::optional<int> builtin_arity(std::string_view key);

/// Whether every program has the name: from the prelude, the built-ins or the system.
bool is_given(std::string_view key);

/// The name of a definition as messages give it: TOP for the entry.
std::string shown_name(const Piece& piece);

}  // namespace marl::lab
