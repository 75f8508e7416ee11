// doc: what is known of names and files, as text, Markdown or HTML.
//
// A page tells of a file's definitions, each with the note in front of it and the tests that are
// about it; those whose names begin with _ are for the file alone, and left out.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/library.h"
#include "lab/program.h"

namespace marl::lab {

struct Example {
    std::string expression;
    std::string result;
};

struct Entry {
    std::string name;
    std::string signature;  // name and parameters, each with its backslash
    std::string note;       // empty when the author says nothing
    std::vector<Example> examples;
};

struct Page {
    std::string title;
    std::string about;
    std::vector<Entry> entries;
};

/// An arrow, and the result in one line, or beside and below it.
std::string shown_example(const Example& example);

enum class PageForm { text, markdown, html };

/// A definition's name and parameters as they are written in front of its body.
std::string signature_of(const Program& program, const Piece& piece);

Page page_of(std::string_view title, const Program& program);

/// A fragment of a document, whose first heading is of the first level.
std::string shown_page(const Page& page, PageForm form);
std::string shown_entry(const Entry& entry, PageForm form);

/// What the reference says about a name, and the library: the theme of that name, or the definition
/// of that name in a theme. Nothing when neither knows it.
std::optional<std::string> shown_name(const Files& files, const std::string& name, PageForm form);

}  // namespace marl::lab
