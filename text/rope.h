// Rope: text that is built by appending and flattened once at the end.
//
// One growing block of bytes; an append costs its own length, amortised.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "text/string.h"

namespace marl {

struct Rope {
    std::string bytes;
};

inline void rope_append(Rope& rope, std::string_view text) { rope.bytes.append(text); }
inline void rope_append(Rope& rope, const char* text) { rope.bytes.append(text); }
inline void rope_append(Rope& rope, const String& text) { rope.bytes.append(text.view()); }
inline void rope_push(Rope& rope, char byte) { rope.bytes.push_back(byte); }
inline int64_t rope_length(const Rope& rope) { return static_cast<int64_t>(rope.bytes.size()); }
/// The whole text as one String. The Rope keeps its text.
inline String rope_flatten(const Rope& rope) { return String(std::string_view(rope.bytes)); }

/// All parts in a row as one String.
inline String joined(std::initializer_list<std::string_view> parts) {
    size_t size = 0;
    for (const std::string_view part : parts) size += part.size();
    Rope rope;
    rope.bytes.reserve(size);
    for (const std::string_view part : parts) rope_append(rope, part);
    return rope_flatten(rope);
}

}  // namespace marl
