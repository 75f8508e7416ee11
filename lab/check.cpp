// check: what is wrong with a program, and what is doubtful.
//
// The program is read, never run: a backquoted expression is looked at like any other, and what it
// would give stays unknown, like what a text gives that the program loads.
#include <algorithm>

#include "lab/check_bundle.h"
#include "lab/lab.h"

namespace marl::lab {

namespace {

// More are told by their number only: each carries its line, and both can be long.
constexpr size_t most_messages = 1000;

}  // namespace

Checked checked_of(std::vector<Message> messages) {
    Checked checked;
    checked.faults = static_cast<size_t>(
        std::count_if(messages.begin(), messages.end(),
                      [](const Message& message) { return message.severity == Severity::fault; }));
    checked.warnings = messages.size() - checked.faults;
    if (messages.size() > most_messages) messages.resize(most_messages);
    checked.messages = std::move(messages);
    return checked;
}

Checked check_file(const Files& files, const std::string& path, std::string_view text) {
    const Bundle bundle = read_bundle(files, path, text);
    return checked_of(check_bundle(files, bundle, Scope::program_and_tests).front());
}

Checked check_source(std::string_view text) { return check_file(files_on_disk(), "program", text); }

}  // namespace marl::lab
