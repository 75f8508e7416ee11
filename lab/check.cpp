// check: what is wrong with a program, and what is doubtful.
//
// The program is read, never run: a backquoted expression is looked at like any other, and what it
// would give stays unknown, like what a text gives that the program loads.
#include <algorithm>
#include <nlohmann/json.hpp>

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

Json check_source(std::string_view name, std::string_view text) {
    const Program program = read_program(text);
    const Reach reach = find_reach(program);
    std::vector<Message> messages = find_faults(program, reach);
    const std::vector<Message> warnings = find_warnings(program, reach, messages);
    messages.insert(messages.end(), warnings.begin(), warnings.end());
    drop_switched_off(program, messages);
    std::stable_sort(messages.begin(), messages.end(), [](const Message& a, const Message& b) {
        return a.range.begin < b.range.begin;
    });

    const Lines lines(text);
    Json listed = Json::array();
    for (const Message& message : messages) {
        if (listed.size() < most_messages) listed.push_back(json_of(message, lines));
    }
    const auto faults = static_cast<size_t>(
        std::count_if(messages.begin(), messages.end(),
                      [](const Message& message) { return message.severity == Severity::fault; }));
    return {{"name", std::string(name)},
            {"faults", faults},
            {"warnings", messages.size() - faults},
            {"messages", std::move(listed)}};
}

}  // namespace marl::lab
