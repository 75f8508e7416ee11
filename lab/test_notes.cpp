// The arrow is looked for by counting brackets, not by parsing: the text behind it needn't be an
// expression.
#include "lab/test_notes.h"

#include <algorithm>
#include <optional>

#include "front/scan.h"
#include "lab/notes.h"

namespace marl::lab {

namespace {

Range trimmed(const std::string& text, Range range) {
    while (range.begin < range.end && is_white(text[range.begin])) ++range.begin;
    while (range.begin < range.end && is_white(text[range.end - 1])) --range.end;
    return range;
}

/// Where the arrow of a test stands: the first one outside of brackets.
std::optional<size_t> find_arrow(const std::string& text, Range body) {
    int depth = 0;
    int text_depth = 0;  // of square brackets, in which no other ones count
    for (size_t i = body.begin; i + 1 < body.end; ++i) {
        const char c = text[i];
        if (c == '[') ++text_depth;
        if (c == ']') --text_depth;
        if (text_depth > 0) continue;
        if (c == '(' || c == '{') ++depth;
        if (c == ')' || c == '}') --depth;
        if (depth <= 0 && c == '-' && text[i + 1] == '>') return i;
    }
    return std::nullopt;
}

}  // namespace

std::vector<TestNote> test_notes(const Program& program) {
    std::vector<TestNote> tests;
    for (const ToolNote& note : tool_notes(program)) {
        if (note.word != "test") continue;
        const auto arrow = find_arrow(program.text, note.body);
        if (!arrow) continue;
        const Range expression = trimmed(program.text, {note.body.begin, *arrow});
        const Range expected = trimmed(program.text, {*arrow + 2, note.body.end});
        if (expression.begin == expression.end) continue;
        tests.push_back({note.piece, expression, std::string(program.written(expected))});
    }
    return tests;
}

std::vector<Message> find_test_note_faults(const Program& program) {
    std::vector<Message> faults;
    const std::vector<TestNote> tests = test_notes(program);
    for (const ToolNote& note : tool_notes(program)) {
        const bool is_good = std::any_of(tests.begin(), tests.end(), [&](const TestNote& test) {
            return test.piece == note.piece;
        });
        if (note.word != "test" || is_good) continue;
        faults.push_back({program.pieces[note.piece].range, Severity::fault, "test",
                          "A test is `[test: expression -> what the prompt prints]`."});
    }
    return faults;
}

Program read_expression(const Program& program, Range range) {
    std::string text = program.text.substr(0, range.end);
    std::replace_if(
        text.begin(), text.begin() + static_cast<std::ptrdiff_t>(range.begin),
        [](char c) { return c != '\n'; }, ' ');
    return read_program(text, Reading::expression);
}

}  // namespace marl::lab
