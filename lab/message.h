// Messages as a person reads them, and the lines of the source that they are about.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "lab/lab.h"

namespace marl::lab {

/// A piece of a program in a sentence: `text`.
std::string ticked(std::string_view text);
/// A sentence as it can stand on one line: white space of any kind as one blank, other bytes that
/// don't show as question marks.
std::string one_line(std::string_view say);

inline std::string ticked(char c) { return ticked(std::string_view(&c, 1)); }

/// A source, and where its lines begin.
class Lines {
  public:
    explicit Lines(std::string_view text);

    /// From 0; the newline belongs to the line that it ends.
    size_t line_of(size_t position) const;
    size_t begin_of(size_t line) const { return begins_[line]; }
    size_t count() const { return begins_.size(); }
    /// The line without its newline.
    std::string_view text_of(size_t line) const;

  private:
    std::string_view text_;
    std::vector<size_t> begins_;
};

/// A message with its place in lines and columns, both counted from 1, the column in bytes.
struct Placed {
    Placed(const Message& message, const Lines& lines);

    const Message& message;
    size_t line;
    size_t column;
    size_t end_line;  // the end is exclusive
    size_t end_column;
    std::string source;    // the line of the place, or what is near it of a very long line
    size_t source_column;  // where the place begins in that text
};

/// Messages about a source called `name`: "name:line:column: kind: sentence", the line, and a caret
/// under the place. Colours are those of a terminal.
std::string shown_messages(std::string_view name, std::string_view text,
                           const std::vector<Message>& messages, bool colours = false);
/// One of them.
std::string shown_message(std::string_view name, const Placed& placed, bool colours = false);

}  // namespace marl::lab
