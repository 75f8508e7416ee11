// The commands of marl-lab as functions: text in, structures out.
//
// Whoever shows a program to a person can call them: the command line, the language server, a page
// in a browser. They need no terminal, no file and no command-line library; main.cpp, which does,
// stands apart from the library that these are in. They run one at a time, as often as one likes.
// What goes over a wire is made of the structures by json.h, and by nothing else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marl::lab {

/// Bytes of a source, from `begin` to before `end`.
struct Range {
    size_t begin = 0;
    size_t end = 0;

    bool operator==(const Range&) const = default;
};

enum class Severity { fault, warning };

/// What a command says about a place in a source.
struct Message {
    Range range;
    Severity severity = Severity::fault;
    std::string kind;  // a Report's kind, or the name of a warning
    std::string say;   // a sentence
};

/// What takes the place of a part of a source.
struct Edit {
    Range range;
    std::string text;
};

struct Checked {
    std::vector<Message> messages;  // in the order of their places, at most a thousand
    size_t faults = 0;              // of all, those that are not listed included
    size_t warnings = 0;
};

/// What is wrong with a program, and what is doubtful in it, without running any part of it.
Checked check_source(std::string_view text);

struct Formatted {
    std::optional<std::string> text;
    std::vector<Message> messages;  // why there is no text
};

/// The source in canonical layout. None has a source whose brackets don't balance, or in which
/// carriage returns stand outside of texts.
Formatted format_source(std::string_view text);

/// The edits that lay out the definitions which a range touches, and nothing else. None where there
/// is nothing to do, or no layout.
std::vector<Edit> format_range(std::string_view text, Range range);

/// The code that the machine makes of a definition at its first call.
struct CodeOf {
    std::string name;   // "(entry)" is the entry expression
    int registers = 0;  // of its frame
    std::string text;  // a line an instruction; empty for a constant, which is reduced as it stands
};

struct Listed {
    std::vector<CodeOf> definitions;
    std::string report;  // what `marl` would show when the program is at fault
};

/// The code of the definitions that the program reaches, or of one that is named, which may be the
/// prelude's, and its native code, if that is asked for. Runs nothing but the backquotes.
Listed list_code(std::string_view text, std::string_view only, bool with_native = false);

/// A place for a person, both counted from 1, the column in bytes. Line 0 is none.
struct Spot {
    std::string file;
    size_t line = 0;
    size_t column = 0;

    bool operator==(const Spot&) const = default;
};

// The following run the program, with all of its effects, on `arguments`, as `marl` would but on
// the plain machine, one rule a step. Long values are shortened; what is left out stands there as
// <1234 nodes>.

/// How a run went.
struct Ending {
    bool started = true;  // false when the program is at fault: `check_source` says where
    bool ended = true;    // false when the run was left before its end
    uint32_t status = 0;  // the integer that the program gave back
    std::string report;   // what `marl` would show on standard error; empty when all is well
};

struct Sources;  // lab/written.h: what a text was made of

struct StepsOptions {
    int64_t from = 0;    // the number of the first state that is told
    int64_t count = -1;  // how many are told before the run is left; -1 for all
    std::string until;   // the run is left where this name is called first; empty for its end
    bool full = false;   // nothing is shortened
    bool trees = false;  // states come with trees; not together with `full`
    const Sources* sources = nullptr;  // of the text: states come with their places there
};

/// An expression as a tree. A node that the trees of its state have shown already is there `again`:
/// it is shared.
struct Tree {
    int id = 0;
    bool again = false;
    std::string leaf;      // of a Leaf, its text
    std::vector<Tree> of;  // of a Pair, the function and its argument
};

/// A state of the reduction, and what its step does.
struct Step {
    int64_t number = 0;
    int nesting = 0;        // one more in each run within a run
    const char* rule = "";  // "fire", "hold back", "reduce argument", "reduce value", "pop", "end"
    std::string name;       // with "fire", what fires
    std::string line;       // the context, " . ", the focus
    Range redex;            // the part of the line that is rewritten,
    int frames_taken = 0;   // and the frames on top of the context that are in it
    std::vector<std::string> left_out;  // of a line in full: what a shortened one leaves out
    std::optional<Tree> context;        // when trees are asked for
    std::optional<Tree> focus;
    Spot place = {};    // where what it rewrites is written, if that is known and asked for,
    size_t length = 0;  // and its bytes there
};

/// Tells the states of the reduction as they come, from number 0 on.
Ending run_steps(std::string_view text, const std::vector<std::string>& arguments,
                 const StepsOptions& options, const std::function<void(const Step&)>& tell);

/// Where a call begins or has its answer.
struct CallLine {
    int64_t number = 0;
    size_t depth = 0;  // how many calls of that name are going on
    bool is_answer = false;
    std::string text;
};

/// Tells the calls of one definition or built-in. A tail call of itself takes the place of the call
/// that makes it.
Ending run_calls(std::string_view text, const std::vector<std::string>& arguments,
                 std::string_view name, bool full,
                 const std::function<void(const CallLine&)>& tell);

/// A call that answered Z, or a Z that the program writes, with the call that it is written in.
struct Link {
    int64_t number = 0;
    /// "built-in", "data", "definition" or "literal"; "empty list" for the Z that `Q` or `R` of one
    /// gives, "no list" when it was of something else; "backquote" for one in what a backquote has
    /// left.
    const char* kind = "";
    std::string call;
    std::vector<std::string> within;  // the definitions' calls that were going on, innermost first
    Spot place = {};                  // where it is written, if that is known
};

struct Why : Ending {
    std::string result;
    /// The first call of a built-in that acts outside, or shows a value, on a Z or what holds one.
    std::string effect;
    Spot effect_place;
    /// The first call whose answer was the Z in the effect, or else in the result, then those that
    /// answered Z because of it; empty when there is none, or one that the program writes itself.
    std::vector<Link> chain;
    size_t more = 0;  // links of the chain behind these
};

/// Runs the program to its end and tells where the first Z comes from that reaches an effect or the
/// result.
Why why_z(std::string_view text, const std::vector<std::string>& arguments, const Sources& sources);
/// The same for a text that is its own source, as "program".
Why why_z(std::string_view text, const std::vector<std::string>& arguments);

/// What a name costs. Steps, nodes and `self` are without what the name calls. A prelude combinator
/// has its own step only; what it hands on belongs to its user.
struct ProfileRow {
    std::string name;  // "(entry)" is the entry expression
    int64_t calls = 0;
    int64_t steps = 0;  // of the plain machine
    int64_t nodes = 0;  // allocated
    double self = 0;    // seconds
    double below = 0;   // seconds in what the name calls
};

struct Profiled : Ending {
    std::vector<ProfileRow> rows;  // one for each name called
    std::string folded;  // a line for each stack of calls: names with ";" between, a blank, steps
};

/// Runs the program by the rules and counts: for pages, where no clock tells what marl itself
/// spends. All that goes to `tell`, once, at the end of the run or, when the program ends the
/// process, at that end.
void profile(std::string_view text, const std::vector<std::string>& arguments,
             const std::function<void(const Profiled&)>& tell);

}  // namespace marl::lab
