// What a command says about a place in a source.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "lab/lab.h"

namespace marl::lab {

enum class Severity { fault, warning };

/// Bytes of a source, from `begin` to before `end`.
struct Range {
    size_t begin = 0;
    size_t end = 0;

    bool operator==(const Range&) const = default;
};

struct Message {
    Range range;
    Severity severity = Severity::fault;
    std::string kind;
    std::string say;
};

/// A piece of a program in a sentence: `text`.
std::string ticked(std::string_view text);
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

/// The message in the form that lab.h describes.
Json json_of(const Message& message, const Lines& lines);

/// Messages in that form as a person reads them: "file:line:column: kind: sentence", the line, and
/// a caret under the place.
std::string shown_messages(std::string_view name, const Json& messages);

}  // namespace marl::lab
