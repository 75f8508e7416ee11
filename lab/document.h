// A source as the language server protocol looks at it: by lines, and columns in UTF-16 units.
//
// Everything else here counts bytes. How many units stand before every few thousandth byte is kept,
// so that a place is found in a long line as fast as in a short one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/json.h"
#include "lab/message.h"
#include "lab/program.h"

namespace marl::lab {

class Source {
  public:
    explicit Source(std::string text);
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    const std::string& text() const { return text_; }

    Json position(size_t at) const;
    Json range(Range bytes) const;

    /// The byte of a position; that of the end of the line or text which it is behind. Throws a
    /// std::exception when it is no position.
    size_t offset(const Json& position) const;
    /// Never ends before it begins.
    Range bytes(const Json& range) const;

  private:
    size_t units_before(size_t at) const;

    const std::string text_;
    const Lines lines_;
    std::vector<size_t> units_;  // before every so many bytes
};

/// A source that is open in an editor, as a program.
struct Document : Source {
    Document(std::string its_uri, std::string its_text);

    Json location(Range bytes) const;
    /// A "WorkspaceEdit" of this document.
    Json edit(const std::vector<Edit>& edits) const;
    Json text_edits(const std::vector<Edit>& edits) const;

    const std::string uri;
    const Program program;
};

}  // namespace marl::lab
