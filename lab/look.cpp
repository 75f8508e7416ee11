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

Range place_of(const Look& look, Node* node) { return look.program.range_of(node); }

std::string shown(const Look& look, Node* node) {
    const Range range = place_of(look, node);
    return range.end - range.begin <= 30 ? std::string(look.program.written(range)) : "...";
}

Call call_of(const Look& look, Node* node) {
    constexpr size_t most = 12;  // more than any function takes
    Call call{node, -1, {}};
    for (; !is_leaf(call.name); call.name = left(call.name)) {
        if (call.arguments.size() == most) return call;
        call.arguments.push_back(right(call.name));
    }
    std::reverse(call.arguments.begin(), call.arguments.end());
    const bool is_name = first_byte(call.name) != '[' && !look.sorts.bound.contains(call.name);
    const std::string_view name = leaf_bytes(call.name);
    const bool is_own = look.program.definitions.contains(name);
    const bool is_known = !is_own || look.sorts.results.contains(name);
    if (is_name && is_known) call.arity = arity_of(look.program, name);
    return call;
}

bool is_partial(const Look& look, Node* node) {
    const Call call = call_of(look, node);
    const auto given = static_cast<int>(call.arguments.size());
    return given > 0 && given < call.arity;
}

bool is_word_text(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return is_word_byte(static_cast<uint8_t>(c));
    });
}

}  // namespace marl::lab
