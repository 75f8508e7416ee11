// One walk from the beginning of the definition, with a stack of the brackets that are open.
#include "lab/surroundings.h"

#include <vector>

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

/// Where the definition that a place is in may begin.
size_t definition_begin(std::string_view source, size_t at) {
    for (size_t i = at; i > 0; --i) {
        if (source[i - 1] == '\n' && begins_definition(source, i)) return i;
    }
    return 0;
}

struct Open {
    size_t place;
    char bracket;
    size_t commas;
};

}  // namespace

Surroundings surroundings_of(std::string_view source, size_t at) {
    std::vector<Open> open;
    for (size_t i = definition_begin(source, at); i < at; ++i) {
        const char c = source[i];
        const bool in_text = !open.empty() && open.back().bracket == '[';
        if (c == '[' || (!in_text && (c == '(' || c == '{'))) {
            open.push_back({i, c, 0});
        } else if (open.empty()) {
            continue;
        } else if (in_text ? c == ']' : c == ')' || c == '}') {
            open.pop_back();
        } else if (c == ',') {
            ++open.back().commas;
        }
    }
    Surroundings around;
    around.in_text = !open.empty() && open.back().bracket == '[';
    while (!open.empty() && open.back().bracket != '(') open.pop_back();
    if (open.empty()) return around;
    around.parenthesis = open.back().place;
    around.commas = open.back().commas;
    return around;
}

}  // namespace marl::lab
