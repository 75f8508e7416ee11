// The commands of marl-lab as functions: text in, JSON out.
//
// Whoever shows a program to a person can call them: the command line, the language server, a page
// in a browser. They need no terminal, no file and no command-line library; main.cpp, which does,
// stands apart from the library that these are in. They run one at a time, as often as one likes.
//
// A place in a source is a pair of line and column, both counted from 1, the column in bytes.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace marl::lab {

using Json = nlohmann::json;

/// What is wrong with a program, and what is doubtful in it, without running any part of it:
///
///   {"name": NAME, "faults": COUNT, "warnings": COUNT, "messages": [MESSAGE...]}
///
/// NAME is `name`, what the source is called. The messages, at most a thousand, stand in the order
/// of their places:
///
///   {"line": L, "column": C, "end_line": L, "end_column": C,     the end is exclusive
///    "severity": "fault" or "warning",
///    "kind": WORD,             a Report's kind, or the name of the warning
///    "say": SENTENCE,
///    "source": TEXT,           the line of the place, or what is near it of a very long line
///    "source_column": C}       where the place begins in that text
Json check_source(std::string_view name, std::string_view text);

/// The source in canonical layout, {"text": TEXT}; or {"messages": [MESSAGE...]}, as above, for one
/// whose brackets don't balance and which so has no layout.
Json format_source(std::string_view text);

}  // namespace marl::lab
