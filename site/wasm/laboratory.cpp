// The commands of the laboratory for a page: JSON in, JSON out. "commands" tells which there are.
//
// A request is an object with "command", "text", and what else the command takes. The answer is
// what lab/lab.h describes; what a command tells as it comes is gathered. It is kept apart from the
// call, for a program that is watched may end the process, and then there still is what was told so
// far.
#include <string>

#include "lab/lab.h"

namespace marl::lab {

namespace {

Json answer;

void answer_to(const Json& request) {
    const auto command = request.value("command", std::string());
    const auto text = request.value("text", std::string());
    answer = nullptr;
    if (command == "commands") answer = Json::array({"check"});
    if (command == "check") answer = check_source("program", text);
}

}  // namespace

}  // namespace marl::lab

extern "C" void laboratory(const char* request) {
    marl::lab::answer_to(marl::lab::Json::parse(request));
}

/// The answer, NUL-terminated and good until the next call.
extern "C" const char* laboratory_answer() {
    using marl::lab::Json;
    static std::string text;
    text = marl::lab::answer.dump(-1, ' ', false, Json::error_handler_t::replace);
    return text.c_str();
}
