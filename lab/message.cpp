// Columns count bytes, a terminal counts characters: what stands before the caret is as wide as
// what stands before the place, and of a long line only the part around it is shown.
#include "lab/message.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace marl::lab {

namespace {

bool is_inside_character(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

/// Blanks as wide as a text on a terminal, tabs kept.
std::string blanks_under(std::string_view text) {
    std::string blanks;
    for (const char c : text) {
        if (!is_inside_character(c)) blanks += c == '\t' ? '\t' : ' ';
    }
    return blanks;
}

/// The carets under a message's place, as far as it reaches on its first line.
std::string carets(const Json& message, std::string_view line) {
    const size_t from = message["source_column"].get<size_t>() - 1;
    const bool one_line = message["line"] == message["end_line"];
    const size_t length =
        one_line ? message["end_column"].get<size_t>() - message["column"].get<size_t>()
                 : line.size();
    const size_t width = blanks_under(line.substr(std::min(from, line.size()), length)).size();
    return blanks_under(line.substr(0, from)) + std::string(std::max<size_t>(width, 1), '^');
}

/// A line, or the part of a long one that is near a column.
struct Shown {
    std::string text;
    size_t column;
};

Shown shown_line(std::string_view line, size_t column) {
    constexpr size_t most = 200;
    constexpr size_t before = 60;
    if (line.size() <= most) return {std::string(line), column};
    const size_t from = column > before ? column - before : 0;
    return {std::string(line.substr(from, most)), column - from};
}

}  // namespace

std::string ticked(std::string_view text) { return "`" + std::string(text) + "`"; }

Lines::Lines(std::string_view text) : text_(text), begins_{0} {
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') begins_.push_back(i + 1);
    }
}

size_t Lines::line_of(size_t position) const {
    const auto behind = std::upper_bound(begins_.begin(), begins_.end(), position);
    return static_cast<size_t>(behind - begins_.begin()) - 1;
}

std::string_view Lines::text_of(size_t line) const {
    const size_t end = line + 1 < begins_.size() ? begins_[line + 1] - 1 : text_.size();
    return text_.substr(begins_[line], end - begins_[line]);
}

Json json_of(const Message& message, const Lines& lines) {
    const size_t first = lines.line_of(message.range.begin);
    const size_t last = lines.line_of(message.range.end);
    const size_t column = message.range.begin - lines.begin_of(first);
    const Shown shown = shown_line(lines.text_of(first), column);
    return {{"line", first + 1},
            {"column", column + 1},
            {"end_line", last + 1},
            {"end_column", message.range.end - lines.begin_of(last) + 1},
            {"severity", message.severity == Severity::fault ? "fault" : "warning"},
            {"kind", message.kind},
            {"say", message.say},
            {"source", shown.text},
            {"source_column", shown.column + 1}};
}

std::string shown_messages(std::string_view name, const Json& messages) {
    std::string shown;
    for (const Json& message : messages) {
        const auto line = message["source"].get<std::string>();
        shown.append(name);
        shown += ':' + message["line"].dump() + ':' + message["column"].dump() + ": ";
        if (message["severity"] == "warning") shown += "warning: ";
        shown += message["kind"].get<std::string>() + ": " + message["say"].get<std::string>();
        shown += "\n  " + line + "\n  " + carets(message, line) + "\n";
    }
    return shown;
}

}  // namespace marl::lab
