// The commands of the laboratory for a page: one call, JSON in, JSON out.
//
// A request is an object with "command", "text" and what else the command takes; the answer is what
// lab/lab.h describes. An unknown command answers null.
#include <string>

#include "lab/lab.h"

namespace marl::lab {

namespace {

Json answer(const Json& request) {
    const auto command = request.value("command", std::string());
    const auto text = request.value("text", std::string());
    if (command == "check") return check_source(request.value("name", std::string()), text);
    return nullptr;
}

}  // namespace

}  // namespace marl::lab

/// The answer to a request, NUL-terminated and good until the next call.
extern "C" const char* laboratory(const char* request) {
    using marl::lab::Json;
    static std::string answer;
    answer = marl::lab::answer(Json::parse(request))
                 .dump(-1, ' ', false, Json::error_handler_t::replace);
    return answer.c_str();
}
