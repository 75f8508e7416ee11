// One walk backward, which jumps over what is closed.
#include "lab/surroundings.h"

#include "front/scan.h"

namespace marl::lab {

namespace {

/// Whether a line that begins at i looks like a definition's first one.
bool begins_definition(std::string_view source, size_t i) {
    size_t behind = i;
    while (behind < source.size() && is_word_byte(static_cast<uint8_t>(source[behind]))) ++behind;
    if (behind < i + 2) return false;
    if (source.substr(behind, 2) == "()") behind += 2;
    return behind < source.size() && source[behind] == '\\';
}

/// The opening bracket of a text that is closed before `end`; `end` when there is none.
size_t text_begin(std::string_view source, size_t end) {
    size_t depth = 0;
    for (size_t i = end; i > 0; --i) {
        if (source[i - 1] == ']') ++depth;
        if (source[i - 1] == '[' && --depth == 0) return i - 1;
    }
    return end;
}

}  // namespace

Surroundings surroundings_of(std::string_view source, size_t at) {
    Surroundings around;
    size_t depth = 0;
    size_t commas = 0;
    for (size_t i = at; i > 0; --i) {
        const char c = source[i - 1];
        if (c == '\n' && begins_definition(source, i)) break;
        if (c == '[') {
            around.in_text = true;
            break;
        }
        if (c == ']') {
            const size_t begin = text_begin(source, i);
            if (begin < i) i = begin + 1;
        } else if (c == ')' || c == '}') {
            ++depth;
        } else if ((c == '(' || c == '{') && depth > 0) {
            --depth;
        } else if (c == '(' && around.parenthesis == source.npos) {
            around.parenthesis = i - 1;
            around.commas = commas;
        } else if (c == ',' && depth == 0) {
            ++commas;
        }
    }
    return around;
}

}  // namespace marl::lab
