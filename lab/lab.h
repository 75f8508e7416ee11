// The commands of marl-lab as functions: text in, JSON out.
//
// Whoever shows a program to a person can call them: the command line, the language server, a page
// in a browser. They need no terminal, no file and no command-line library; main.cpp, which does,
// stands apart from the library that these are in. They run one at a time, as often as one likes.
//
// A place in a source is a pair of line and column, both counted from 1, the column in bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

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

// The following run the program, with all of its effects, on `arguments`, as `marl` would but on
// the plain machine, one rule a step. What they tell as it comes goes to an Emit; and each gives
// how the run went:
//
//   {"started": BOOL,    false when the program is at fault: `check_source` says where
//    "ended": BOOL,      false when the run was left before its end
//    "status": NUMBER,   the integer that the program gave back
//    "report": PICTURE}  what `marl` would show on standard error; empty when all is well
//
// Long values are shortened; what is left out stands there as <1234 nodes>.

using Emit = std::function<void(const Json&)>;

struct StepsOptions {
    int64_t from = 0;    // the number of the first state that is told
    int64_t count = -1;  // how many are told before the run is left; -1 for all
    std::string until;   // the run is left where this name is called first; empty for its end
    bool full = false;   // nothing is shortened
    bool trees = false;  // states come with trees; not together with `full`
};

/// The states of the reduction, from number 0 on:
///
///   {"n": NUMBER,
///    "run": NESTING,        0, and one more in each run within a run
///    "rule": WORDS,         what the step from here does: "hold back" (an argument), "reduce
///                           argument", "reduce value" (of a let), "pop" (a frame), "fire"; "end"
///    "name": TEXT,          with "fire": what fires; a name, or "lambda", "let", "store NAME",
///                           "number" and other kinds of data
///    "line": TEXT,          the context, " . ", the focus
///    "redex": {"start": BYTE, "length": BYTES},       the part of the line that is rewritten
///    "context": TREE, "focus": TREE}                  when they are asked for
///
/// A TREE is {"id": ID, "leaf": TEXT} or {"id": ID, "of": [TREE, TREE]}, a function and its
/// argument. A node that the state's trees have shown already is {"id": ID, "again": true}: it is
/// shared.
Json run_steps(std::string_view text, const std::vector<std::string>& arguments,
               const StepsOptions& options, const Emit& emit);

/// The same with the states in the result, as "steps".
Json trace(std::string_view text, const std::vector<std::string>& arguments,
           const StepsOptions& options);

/// The calls of one definition or built-in: {"n", "depth", "call": TEXT} where one begins and
/// {"n", "depth", "answer": TEXT} where it has its answer, `depth` counting the calls of that name
/// which are going on. A tail call of itself takes the place of the call that makes it.
Json run_calls(std::string_view text, const std::vector<std::string>& arguments,
               std::string_view name, bool full, const Emit& emit);

/// Runs the program to its end and tells where the Z in its result comes from:
///
///   "result": TEXT
///   "chain": [LINK...]     the first call whose answer was that Z, then those that answered Z
///                          because of it; empty when the result holds no Z, or one that the
///                          program writes itself
///
/// A LINK is {"n": NUMBER, "kind": "built-in", "data", "definition" or "literal", "call": TEXT,
/// "within": [TEXT...]}, with the definitions' calls that were going on, the innermost first. A
/// literal is a Z that the program writes, and the call is the one that it is written in.
Json why_z(std::string_view text, const std::vector<std::string>& arguments);

/// Runs the program and counts, in steps of the plain machine:
///
///   "rows": [{"name", "calls", "steps", "nodes", "self", "below"}...]   one for each name called
///   "folded": TEXT         a line for each stack of calls: names with ";" between, a blank, steps
///
/// `steps`, `nodes` (allocated) and `self` (seconds) are without what the name calls, `below` is
/// the seconds in that. A prelude combinator has its own step only; what it hands on belongs to its
/// user. "(entry)" is the entry expression. All that goes to `emit`, once, at the end of the run
/// or, when the program ends the process, at that end.
void profile(std::string_view text, const std::vector<std::string>& arguments, const Emit& emit);

}  // namespace marl::lab
