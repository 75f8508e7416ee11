// explain: what there is to know of a word that the laboratory uses.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marl::lab {

/// What a warning or a kind of fault is about, or what the reference says of a built-in, a
/// combinator or an operator; nothing for another word.
std::optional<std::string> explanation_of(std::string_view name);

/// The words that have one, but for those of the reference: a line each, with a sentence.
std::string explained_words();

}  // namespace marl::lab
