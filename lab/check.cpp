// check: what is wrong with a program, and what is doubtful.
//
// The program is read, never run: a backquoted expression is looked at like any other, and what it
// would give stays unknown, like what a text gives that the program loads.
#include <algorithm>

#include "lab/faults.h"
#include "lab/lab.h"
#include "lab/program.h"
#include "lab/reach.h"
#include "lab/warnings.h"

namespace marl::lab {

namespace {

// More are told by their number only: each carries its line, and both can be long.
constexpr size_t most_messages = 1000;

}  // namespace

Checked check_source(std::string_view text) {
    const Program program = read_program(text);
    const Reach reach = find_reach(program);
    Checked checked;
    std::vector<Message>& messages = checked.messages;
    messages = find_faults(program, reach);
    const std::vector<Message> warnings = find_warnings(program, reach, messages);
    messages.insert(messages.end(), warnings.begin(), warnings.end());
    drop_switched_off(program, messages);
    std::stable_sort(messages.begin(), messages.end(), [](const Message& a, const Message& b) {
        return a.range.begin < b.range.begin;
    });
    checked.faults = static_cast<size_t>(
        std::count_if(messages.begin(), messages.end(),
                      [](const Message& message) { return message.severity == Severity::fault; }));
    checked.warnings = messages.size() - checked.faults;
    if (messages.size() > most_messages) messages.resize(most_messages);
    return checked;
}

}  // namespace marl::lab
