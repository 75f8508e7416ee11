// What several warnings ask about a piece: how it is written, and what kind of text it is.
#include "lab/look.h"

#include <algorithm>

#include "front/scan.h"

namespace marl::lab {

void Look::warn(Range range, std::string say) const {
    messages.push_back({range, Severity::warning, std::string(name), std::move(say)});
}

std::string written(const Look& look, Node* node) {
    std::string text(look.program.written(look.program.outer_range_of(node)));
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string brief(const Look& look, Node* node) {
    const Range range = look.program.outer_range_of(node);
    return range.end - range.begin <= 30 ? written(look, node) : "...";
}

bool is_word_text(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return is_word_byte(static_cast<uint8_t>(c));
    });
}

}  // namespace marl::lab
