// The commands of the laboratory for a page: JSON in, JSON out. "commands" tells which there are.
//
// A request is an object with "command", "text", and what else the command takes. The answer is
// what lab/lab.h describes; what a command tells as it comes is gathered. It is kept apart from the
// call, for a program that is watched may end the process, and then there still is what was told so
// far.
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "lab/lab.h"

namespace marl::lab {

namespace {

Json answer;

/// The page hides what its laboratory lacks.
Json commands() {
    Json names = Json::array({"check"});
#if __has_include("lab/format.cpp")
    names.push_back("format");
#endif
#if __has_include("lab/observe.h")
    for (const char* name : {"steps", "calls", "why_z", "profile"}) names.push_back(name);
#endif
    return names;
}

#if __has_include("lab/observe.h")

/// The calls of one name that a page looks through.
constexpr size_t most_calls = 10000;

Json calls(const std::string& text, const std::vector<std::string>& arguments,
           const std::string& name) {
    Json found = Json::array();
    Json result = run_calls(text, arguments, name, false, [&](const Json& call) {
        if (call.contains("call") && found.size() < most_calls) found.push_back(call);
    });
    result["calls"] = std::move(found);
    return result;
}

StepsOptions options_of(const Json& request) {
    StepsOptions options;
    options.from = request.value("from", int64_t{0});
    options.count = request.value("count", int64_t{100});
    options.trees = true;
    return options;
}

/// The commands that run the program.
void watch(const std::string& command, const std::string& text, const Json& request) {
    const auto arguments = request.value("arguments", std::vector<std::string>());
    if (command == "steps") answer = trace(text, arguments, options_of(request));
    if (command == "calls") answer = calls(text, arguments, request.value("name", std::string()));
    if (command == "why_z") answer = why_z(text, arguments);
    if (command == "profile") profile(text, arguments, [](const Json& told) { answer = told; });
}

#endif

void answer_to(const Json& request) {
    const auto command = request.value("command", std::string());
    const auto text = request.value("text", std::string());
    answer = nullptr;
    if (command == "commands") answer = commands();
    if (command == "check") answer = check_source("program", text);
#if __has_include("lab/format.cpp")
    if (command == "format") answer = format_source(text);
#endif
#if __has_include("lab/observe.h")
    watch(command, text, request);
#endif
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
