// The commands of the laboratory for a page: JSON in, JSON out.
//
// A request is an object with "command", "text", and what else the command takes. The answer is
// what lab/json.h makes of the command's, with what it tells as it comes gathered in it. A program
// that is watched may end the process; then what was told so far is the answer, which so outlives
// it.
#include <string>
#include <utility>
#include <vector>

#include "lab/json.h"
#include "lab/lab.h"
#include "lab/observe.h"

namespace marl::lab {

namespace {

Json& answer = *new Json;

using Arguments = std::vector<std::string>;

void steps(const std::string& text, const Arguments& arguments, const Json& request) {
    StepsOptions options;
    options.from = request.value("from", int64_t{0});
    options.count = request.value("count", int64_t{100});
    options.trees = true;
    answer["steps"] = Json::array();
    const auto gather = [](const Step& step) { answer["steps"].push_back(json_of(step)); };
    answer.update(json_of(run_steps(text, arguments, options, gather)));
}

/// Goes through a run without telling its states.
class Walk : public Watcher {
  public:
    Walk(int64_t from, int64_t limit, std::string name)
        : from_(from), limit_(limit), name_(std::move(name)) {}

  private:
    bool at(State& state, Value&) override {
        answer["last"] = state.number;
        const bool wanted = state.symbol && state.symbol->name.view() == name_;
        if (wanted && state.number >= from_) {
            answer["call"] = call_text(state, Room{});
            return false;
        }
        return state.number < limit_;
    }

    const int64_t from_;
    const int64_t limit_;
    const std::string name_;
};

/// "last" is the number of the last state, or of the one that the walk was left at: the state
/// numbered "limit", or the first one behind "from" that calls "name"; "call" tells that call.
void walk(const std::string& text, const Arguments& arguments, const Json& request) {
    Walk walk(request.value("from", int64_t{0}), request.value("limit", INT64_MAX),
              request.value("name", std::string()));
    answer.update(json_of(ending_of(run_watched(text, arguments, walk), walk)));
}

void answer_to(const Json& request) {
    const auto command = request.value("command", std::string());
    const auto text = request.value("text", std::string());
    const auto arguments = request.value("arguments", Arguments());
    // What stands when the program ends the process.
    answer = {{"started", true}, {"ended", true}, {"report", ""}};
    if (command == "check") answer = json_of("program", text, check_source(text));
    if (command == "format") answer = json_of(text, format_source(text));
    if (command == "pack") answer = json_of(text, pack_source(text));
    if (command == "steps") steps(text, arguments, request);
    if (command == "walk") walk(text, arguments, request);
    if (command == "why_z") answer.update(json_of(why_z(text, arguments)));
    if (command == "profile") {
        profile(text, arguments, [](const Profiled& told) { answer = json_of(told); });
    }
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
