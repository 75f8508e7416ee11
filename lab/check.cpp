#include "front/brackets.h"
#include "lab/lab.h"
#include "lab/message.h"

namespace marl::lab {

Json check_source(std::string_view name, std::string_view text) {
    const Lines lines(text);
    Json messages = Json::array();
    Report report;
    int64_t position = 0;
    if (!check_brackets(text, report, position)) {
        const auto at = static_cast<size_t>(position);
        const Message message{{at, at + 1},
                              Severity::fault,
                              std::string(report.kind.view()),
                              std::string(report.say.view())};
        messages.push_back(json_of(message, lines));
    }
    const size_t faults = messages.size();
    return {{"name", std::string(name)},
            {"faults", faults},
            {"warnings", 0},
            {"messages", std::move(messages)}};
}

}  // namespace marl::lab
