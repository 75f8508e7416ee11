// The commands of the laboratory for a page: JSON in, JSON out.
//
// A request is an object with "command", "text", and what else the command takes. The answer is
// what lab/json.h makes of the command's, with what it tells as it comes gathered in it. A program
// that is watched may end the process; then what was told so far is the answer, which so outlives
// it. What a program builds on comes with the request: "files" has texts by their paths, the
// library's in the folder /library.
#include <string>
#include <utility>
#include <vector>

#include "lab/check_bundle.h"
#include "lab/doc.h"
#include "lab/json.h"
#include "lab/lab.h"
#include "lab/observe.h"
#include "lab/pack.h"
#include "lab/shown.h"
#include "lab/written.h"
#include "reduce/tables.h"

/// Told by the page's side of the module.
extern "C" void marl_progress(double state);

namespace marl::lab {

namespace {

Json& answer = *new Json;

using Arguments = std::vector<std::string>;

const std::string program_path = "/home/marl/program.marl";

Files files_of(const Json& request) {
    Files files{{}, "/library"};
    const Json given = request.value("files", Json::object());
    for (const auto& [path, text] : given.items())
        files.open[identity_of(path)] = text.get<std::string>();
    return files;
}

/// What a request runs: its text with what that builds on in it. A text that builds on nothing, or
/// is at fault, stays as it is.
struct Made {
    std::string text;
    Sources sources;
};

Made made_of(const std::string& text, const Json& request) {
    if (request.value("files", Json::object()).empty()) return {text, sources_of("program", text)};
    const Files files = files_of(request);
    Bundle bundle = read_bundle(files, program_path, text);
    bundle.sources[0].shown = "program";
    Packed packed = pack_to_run(files, bundle);
    if (packed.text.empty()) return {text, sources_of("program", text)};
    return {std::move(packed.text), {std::move(bundle), std::move(packed.definitions)}};
}

void steps(const Made& made, const Arguments& arguments, const Json& request) {
    StepsOptions options;
    options.from = request.value("from", int64_t{0});
    options.count = request.value("count", int64_t{100});
    options.full = request.value("full", false);
    options.trees = !options.full;
    options.sources = &made.sources;
    answer["steps"] = Json::array();
    const auto gather = [](const Step& step) { answer["steps"].push_back(json_of(step)); };
    answer.update(json_of(run_steps(made.text, arguments, options, gather)));
}

/// The state that the run is at.
int64_t current = 0;

/// Tells the page now and then how far the run is.
constexpr int64_t between_tidings = 1 << 16;

void note(const State& state) {
    current = state.number;
    if (state.number % between_tidings == 0) marl_progress(static_cast<double>(state.number));
}

/// Goes through a run without telling its states.
class Walk : public Watcher {
  public:
    Walk(int64_t from, int64_t limit, std::string name)
        : from_(from), limit_(limit), name_(std::move(name)) {}

  private:
    bool at(State& state, Value&) override {
        note(state);
        answer["last"] = state.number;
        const bool wanted = state.symbol && state.symbol->name == name_;
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

/// The calls of one name, or of all that the program defines.
class Calls : public Watcher {
  public:
    Calls(std::string name, size_t limit) : name_(std::move(name)), limit_(limit) {
        answer["calls"] = Json::array();
    }

  private:
    bool at(State& state, Value&) override {
        note(state);
        leave_calls(state);
        if (state.symbol && is_wanted(*state.symbol)) enter_call(state);
        return answer["calls"].size() < limit_;
    }

    bool is_wanted(const Symbol& symbol) const {
        if (!name_.empty()) return symbol.name == name_;
        return !symbol.builtin && !is_plumbing(symbol);
    }

    static void tell(const CallLine& call) { answer["calls"].push_back(json_of(call)); }

    void on_entered(const State& state) override {
        tell({state.number, calls.size() - 1, false, call_text(state, Room{})});
    }

    void on_left(const State& state, const Call&, Node* result) override {
        if (result) tell({state.number, calls.size(), true, shown(result, Room{})});
    }

    const std::string name_;
    const size_t limit_;
};

/// "calls" are told as run_calls tells them, at most "limit" of their beginnings and ends; without
/// "name", those of all definitions.
void calls(const std::string& text, const Arguments& arguments, const Json& request) {
    Calls calls(request.value("name", std::string()), request.value("limit", size_t{2000}));
    answer.update(json_of(ending_of(run_watched(text, arguments, calls), calls)));
}

/// "text" is one program made of the text and what it uses; empty when that is at fault.
void pack(const std::string& text, const Json& request) {
    const Files files = files_of(request);
    answer = {{"text", pack_to_run(files, read_bundle(files, program_path, text)).text}};
}

/// "about" is the note of the file, and "entries" are its definitions with their notes and tests.
void doc(const std::string& text) {
    const Page page = page_of({}, read_program(text));
    answer = {{"about", page.about}, {"entries", Json::array()}};
    for (const Entry& entry : page.entries) {
        Json tests = Json::array();
        for (const Example& example : entry.examples) tests.push_back(shown_example(example));
        answer["entries"].push_back({{"name", entry.name},
                                     {"signature", entry.signature},
                                     {"note", entry.note},
                                     {"tests", tests}});
    }
}

/// The commands that run a program, on "arguments".
void watch(const std::string& command, const Made& made, const Json& request) {
    const auto arguments = request.value("arguments", Arguments());
    if (command == "steps") steps(made, arguments, request);
    if (command == "walk") walk(made.text, arguments, request);
    if (command == "calls") calls(made.text, arguments, request);
    if (command == "why_z") answer.update(json_of(why_z(made.text, arguments, made.sources)));
    if (command == "profile") {
        profile(made.text, arguments, [](const Profiled& told) { answer = json_of(told); });
    }
}

void answer_to(const Json& request) {
    const auto command = request.value("command", std::string());
    const auto text = request.value("text", std::string());
    // What stands when the program ends the process.
    answer = {{"started", true}, {"ended", true}, {"report", ""}};
    if (command == "check")
        answer = json_of("program", text, check_file(files_of(request), program_path, text));
    if (command == "pack") pack(text, request);
    if (command == "doc") doc(text);
    if (command == "format") answer = json_of(text, format_source(text));
    if (request.contains("arguments")) watch(command, made_of(text, request), request);
}

}  // namespace

}  // namespace marl::lab

extern "C" void laboratory(const char* request) {
    marl::lab::answer_to(marl::lab::Json::parse(request));
}

/// The state that a walk or a tree of calls is at while the program runs.
extern "C" double laboratory_state() { return static_cast<double>(marl::lab::current); }

/// The answer, NUL-terminated and good until the next call.
extern "C" const char* laboratory_answer() {
    using marl::lab::Json;
    static std::string text;
    text = marl::lab::answer.dump(-1, ' ', false, Json::error_handler_t::replace);
    return text.c_str();
}
