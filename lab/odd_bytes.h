// Bytes that don't look like names, and characters that look like others.
#pragma once

#include <string>
#include <string_view>

#include "lab/message.h"

namespace marl::lab {

/// Whether a name is a byte that no terminal shows as one, or a part of a character.
bool is_odd_byte(std::string_view key);

/// The whole character that a byte of a source is a part of; the byte alone where there is none.
Range character_at(std::string_view text, size_t position);

/// A character that an editor or a web page puts in the place of another one.
struct LookAlike {
    std::string_view character;
    std::string_view written;  // what stands for it here; empty where that isn't all
    std::string_view say;      // what to write
};

/// Null for other characters.
const LookAlike* look_alike(std::string_view character);

/// What is to be said of an odd character where a name is looked for.
std::string odd_character_sentence(std::string_view character);

/// The end of a sentence that names a carriage return or a tab in a text; empty when none is there.
std::string hidden_byte_sentence(std::string_view text);

}  // namespace marl::lab
