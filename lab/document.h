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
#include "lab/uses.h"

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

/// What an editor has open, and the folders that it works in.
struct Workspace {
    Files files;
    std::map<std::string, std::string> uris;  // of the open documents, by identity
    std::vector<std::string> folders;
};

/// A source in an editor, as a program with the files that it uses.
struct Document : Source {
    /// The workspace outlives it.
    Document(const Workspace& its_workspace, std::string its_uri, std::string its_text);

    Json location(Range bytes) const;
    /// A "WorkspaceEdit" of this document.
    Json edit(const std::vector<Edit>& edits) const;
    Json text_edits(const std::vector<Edit>& edits) const;

    const Workspace& workspace;
    const std::string uri;
    const Bundle bundle;
    const Program& program;  // the bundle's first
};

}  // namespace marl::lab
