// From source text to definitions.
//
// A program is one text: the entry expression, then pieces behind commas. A piece of the form n\e
// defines n as e; n()\e defines a constant that is evaluated anew at each use. Any other piece is a
// note and defines nothing.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "driver/report.h"
#include "text/string.h"
#include "value/value.h"

namespace marl {

/// Whether a text as written in the source can name a definition: a word, a single capital, control
/// byte or byte from 127 up, or an operator in square brackets.
bool is_definable(std::string_view text);

/// The key of a definable text: the operator of a bracketed one, else the text itself. Any other
/// text is a fatal stop.
String definition_key(std::string_view text);

/// What a parsed piece defines: the name as written, borrowed, and whether in the form n()\e. The
/// piece is a note unless the name is definable.
struct DefinedName {
    std::string_view text;
    bool unmemoised = false;
};
DefinedName defined_name(Node* piece);

struct Definition {
    int64_t position;  // of the piece, in the normalised text
    String key;
    Value expression;
    bool unmemoised;
};

struct Pieces {
    Value entry;
    std::vector<Definition> definitions;  // in source order; a key may come more than once
};

/// The lines, counted from 1, of the backquotes in a raw source whose brackets balance, in order.
/// Those in byte text don't count.
std::vector<int64_t> backquote_lines(std::string_view source);

/// Cuts a normalised text and parses its pieces. Each backquote Leaf takes its line of `lines` into
/// its span; there must be one for each. No check of the names is made. Drops what defines nothing,
/// so the caller sees to it that no todo is armed.
Pieces parse_pieces(std::string_view normalised, const std::vector<int64_t>& lines);

/// Whether the key is one lower-case letter, which only a local name can be.
bool is_local_key(const String& key);
/// Whether the key is one of \ and {, which the machine treats itself.
bool is_binder_key(const String& key);
/// The Report on a definition whose key is one lower-case letter.
Report local_key_fault(const Definition& definition);

/// Enters the built-ins and the program's definitions, the entry under the empty name. Nothing has
/// changed when the brackets are at fault. The prelude stands.
Report parse_program(const String& source);

}  // namespace marl
