// Columns count bytes, a terminal counts characters: what stands before the caret is as wide as
// what stands before the place, and of a long line only the part around it is shown.
#include "lab/message.h"

#include <algorithm>
#include <utility>

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
std::string carets(const Placed& placed) {
    const std::string_view line = placed.source;
    const size_t from = placed.source_column - 1;
    const bool one_line = placed.line == placed.end_line;
    const size_t length = one_line ? placed.end_column - placed.column : line.size();
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

std::string one_line(std::string_view say) {
    std::string line;
    bool behind_break = false;
    for (const char c : say) {
        const bool is_break = c == '\n' || c == '\r' || c == '\t';
        if (is_break && !line.empty() && line.back() != ' ') line += ' ';
        behind_break = is_break || (behind_break && c == ' ');
        const auto byte = static_cast<unsigned char>(c);
        if (!behind_break) line += byte < 32 || byte == 127 ? '?' : c;
    }
    return line;
}

Lines::Lines(std::string_view text) : text_(text), begins_{0} {
    for (size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 1)) {
        begins_.push_back(at + 1);
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

Placed::Placed(const Message& its_message, const Lines& lines) : message(its_message) {
    const size_t first = lines.line_of(message.range.begin);
    const size_t last = lines.line_of(message.range.end);
    line = first + 1;
    column = message.range.begin - lines.begin_of(first) + 1;
    end_line = last + 1;
    end_column = message.range.end - lines.begin_of(last) + 1;
    Shown shown = shown_line(lines.text_of(first), column - 1);
    source = std::move(shown.text);
    if (source.ends_with('\r')) source.pop_back();
    std::replace(source.begin(), source.end(), '\r', ' ');
    source_column = shown.column + 1;
}

std::string shown_message(std::string_view name, const Placed& placed, bool colours) {
    const bool is_fault = placed.message.severity == Severity::fault;
    const auto in = [&](const char* colour, const std::string& text) {
        return colours ? "\x1B[" + std::string(colour) + "m" + text + "\x1B[m" : text;
    };
    const char* colour = is_fault ? "1;31" : "1;35";
    const std::string place =
        std::string(name) + ':' + std::to_string(placed.line) + ':' + std::to_string(placed.column);
    const std::string kind = (is_fault ? "" : "warning: ") + placed.message.kind;
    return in("1", place + ':') + ' ' + in(colour, kind + ':') + ' ' + placed.message.say + "\n  " +
           placed.source + "\n  " + in(colour, carets(placed)) + "\n";
}

std::string shown_messages(std::string_view name, std::string_view text,
                           const std::vector<Message>& messages, bool colours) {
    const Lines lines(text);
    std::string shown;
    for (const Message& message : messages) {
        shown += shown_message(name, Placed(message, lines), colours);
    }
    return shown;
}

}  // namespace marl::lab
