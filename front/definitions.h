// From source text to definitions.
//
// A program is one text: the entry expression, then pieces behind commas. A piece of the form n\e
// defines n as e; n()\e defines a constant that is evaluated anew at each use. Any other piece is a
// note and defines nothing.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "text/string.h"
#include "value/value.h"

namespace marl {

/// Whether a text as written in the source can name a definition: a word, a single capital, control
/// byte or byte from 127 up, or an operator in square brackets.
bool is_definable(std::string_view text);

/// The key of a definable text: the operator of a bracketed one, else the text itself. Any other
/// text is a fatal stop.
String definition_key(std::string_view text);
/// The same as a part of a text that is known to be definable.
std::string_view key_in(std::string_view text);

/// What a parsed piece defines: the name as written, borrowed, and whether in the form n()\e. The
/// piece is a note unless the name is definable.
struct DefinedName {
    std::string_view text;
    bool unmemoised = false;
};
DefinedName defined_name(Node* piece);

/// The size of the name in a normalised piece of the form n\e, as written; 0 for any other piece,
/// which may still be one that `defined_name` knows.
size_t defined_key_size(std::string_view piece);

/// Where the piece of a normalised text ends that begins at a place. The first one, the entry,
/// begins at 0, and each other one behind the comma that ends the one before it.
size_t end_of_piece(std::string_view normalised, size_t begin);

/// The lines, counted from 1, of the backquotes in a raw source whose brackets balance, in order.
/// Those in byte text don't count.
std::vector<int64_t> backquote_lines(std::string_view source);

/// Gives each backquote Leaf of an expression, left before right, the next line from `next` on in
/// its span.
void stamp_lines(Node* expression, const std::vector<int64_t>& lines, size_t& next);

/// Whether the key is one of \ and {, which the machine treats itself.
bool is_binder_key(std::string_view key);

}  // namespace marl
