// zits: bracket text, which is a binary tree written down.
//
// A zits is a Leaf "[body]" with balanced brackets, or a Pair of two zits. The only leaf of the
// tree is "[]"; every other zits has two parts. A Pair's are its children. A Leaf's are the text
// without its last element, and that element: a nested text as it stands, a plain byte as its
// bracket code, the text of nothing but brackets that the char table gives to the byte.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "text/string.h"
#include "value/value.h"

namespace marl {

/// The bracket code of a number from 0 to 676; a fatal stop beyond.
String bracket_code(int64_t n);
/// The bracket code of a byte. The two brackets, which can't stand for themselves, have none:
/// empty.
std::string_view code_of_byte(uint8_t byte);
/// The byte whose bracket code the text is.
std::optional<uint8_t> byte_of_code(std::string_view text);

/// The element that stands in a text for a byte which a body can't hold: "[p]" for a newline, "[q]"
/// and "[r]" for the brackets. Empty for every other byte.
std::string_view escape_of_byte(char byte);

/// Whether the brackets of a body balance.
bool is_balanced(std::string_view body);
/// Whether what is left of a balanced body without these bytes of one end is balanced.
bool balances_without(std::string_view end);

/// The Leaf "[body]". The caller answers for the balance.
Value zits_make(std::string_view body);
/// The Leaf of a body of n bytes that are not set; the caller fills them from `leaf_text` + 1 on.
Value zits_with_size(int64_t n);
/// The body of a zits Leaf, borrowed.
std::string_view zits_body(Node* leaf);

/// A zits Leaf with its body made n bytes long; further bytes are not set. Consumes the Leaf, which
/// nobody else may hold. The caller answers for the balance.
Value zits_resized(Value leaf, int64_t n);

/// Whether x is the Leaf "[]".
bool zits_is_empty(Node* x);
/// The two parts. "[]" has none: a fatal stop. A Leaf that nobody else holds becomes its own left
/// part.
Value zits_left(Value x);
Value zits_right(Node* x);

/// One Leaf of the whole text. A Leaf stays the node that it is.
Value zits_flatten(Value x);
/// The body of the flattened text.
String zits_text(Node* x);
/// The length of the flattened text, outer brackets included. No text is built for a Leaf.
int64_t zits_size(Node* x);

/// The tree in J cells: K for "[]", else J of the trees of the two parts.
Value zits_tree(Node* x);
/// The zits Leaf of such a tree; `Z` for what is none.
Value zits_of_tree(Node* tree);
/// The tree t of a Value V (X J) t, borrowed; null for a Value of any other shape.
Node* tree_in_form(Node* x);

/// The text with every run of nested texts at an end taken apart into Pairs, down to "[]" and to
/// texts that end in a plain byte.
Value zits_expand(Node* x);

}  // namespace marl
