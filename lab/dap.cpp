// One request after the other: each gets its response, and then the events that it has caused. A
// program is started by `launch`, and goes on when the client has told its breakpoints. A
// breakpoint stands at a definition: one in a line of it stops at each of its calls.
#include "lab/dap.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lab/debug.h"
#include "lab/files.h"
#include "lab/frames.h"
#include "lab/json.h"
#include "lab/message.h"
#include "lab/packed_file.h"

namespace marl::lab {

namespace {

constexpr int width = 120;  // of the text of a moment

class Adapter {
  public:
    Adapter(int input, int output) : reader_(input), output_(output) {}

    int run() {
        while (!ends_) {
            const Frame frame = reader_.next();
            if (frame.kind == Frame::Kind::end) break;
            if (frame.kind != Frame::Kind::message) continue;
            const Json request = Json::parse(frame.text, nullptr, false);
            if (!request.is_object() || request.value("type", "") != "request") continue;
            try {
                answer(request);
            } catch (const Json::exception&) {
                refuse(request, "The request can't be understood.");
            }
        }
        return 0;
    }

  private:
    using Handler = void (Adapter::*)(const Json& arguments);

    void answer(const Json& request) {
        static const std::map<std::string, Handler> handlers = {
            {"initialize", &Adapter::initialize},
            {"launch", &Adapter::launch},
            {"setBreakpoints", &Adapter::set_breakpoints},
            {"configurationDone", &Adapter::begin},
            {"threads", &Adapter::threads},
            {"stackTrace", &Adapter::stack},
            {"scopes", &Adapter::scopes},
            {"variables", &Adapter::variables},
            {"evaluate", &Adapter::evaluate},
            {"continue", &Adapter::go_on},
            {"next", &Adapter::step_over},
            {"stepIn", &Adapter::step_in},
            {"stepOut", &Adapter::step_out},
            {"stepBack", &Adapter::step_back},
            {"reverseContinue", &Adapter::go_back},
            {"terminate", &Adapter::disconnect},
            {"disconnect", &Adapter::disconnect},
        };
        const auto handler = handlers.find(request.at("command").get<std::string>());
        if (handler == handlers.end()) return refuse(request, "There is no such request.");
        body_ = Json::object();
        trouble_.clear();
        events_.clear();
        (this->*handler->second)(request.value("arguments", Json::object()));
        if (!trouble_.empty()) return refuse(request, trouble_);
        respond(request, true, {{"body", body_}});
        for (const auto& [name, body] : events_) {
            send({{"type", "event"}, {"event", name}, {"body", body}});
        }
    }

    void refuse(const Json& request, const std::string& why) {
        respond(request, false, {{"message", why}});
    }

    void respond(const Json& request, bool success, const Json& more) {
        Json response = {{"type", "response"},
                         {"request_seq", request.value("seq", 0)},
                         {"command", request.value("command", "")},
                         {"success", success}};
        response.update(more);
        send(std::move(response));
    }

    void send(Json message) {
        message["seq"] = ++sent_;
        if (!write_frame(output_, text_of(message))) ends_ = true;
    }

    void event(const std::string& name, Json body = Json::object()) {
        events_.emplace_back(name, std::move(body));
    }

    // The program.

    void initialize(const Json&) {
        body_ = {{"supportsConfigurationDoneRequest", true},
                 {"supportsStepBack", true},
                 {"supportsTerminateRequest", true},
                 {"supportsEvaluateForHovers", true}};
    }

    void launch(const Json& arguments) {
        const std::string path = arguments.at("program");
        packed_ = packed_file(path);
        if (!packed_.text) {
            trouble_ = "The program is at fault; `marl-lab check` tells more.";
            return;
        }
        stops_at_entry_ = arguments.value("stopOnEntry", false);
        arguments_ = arguments.value("args", std::vector<std::string>());
        debugger_ = std::make_unique<Debugger>(*packed_.text, arguments_, packed_.sources,
                                               arguments.value("input", std::string()), width);
        event("initialized");
    }

    /// The definition that a line of a file belongs to, and the line where it begins.
    std::optional<std::pair<std::string, size_t>> definition_at(const std::string& path,
                                                                size_t line) const {
        for (const auto& [key, place] : packed_.sources.definitions) {
            const SourceFile& source = packed_.sources.bundle.sources[place.source];
            if (identity_of(source.path) != identity_of(path)) continue;
            const Piece& piece = source.program.pieces[place.piece];
            const Lines lines(source.program.text);
            const size_t begin = lines.line_of(piece.range.begin) + 1;
            const size_t end = lines.line_of(piece.range.end) + 1;
            if (begin <= line && line <= end && !key.empty()) return std::pair{key, begin};
        }
        return std::nullopt;
    }

    void set_breakpoints(const Json& arguments) {
        const std::string path = arguments.at("source").at("path");
        std::set<std::string>& names = breakpoints_[path];
        names.clear();
        body_["breakpoints"] = Json::array();
        for (const Json& wanted : arguments.value("breakpoints", Json::array())) {
            const auto found = definition_at(path, wanted.at("line"));
            Json told = {{"verified", found.has_value()}};
            if (found) {
                names.insert(found->first);
                told["line"] = found->second;
            } else {
                told["message"] = "No definition that the program reaches stands here.";
            }
            body_["breakpoints"].push_back(told);
        }
    }

    std::set<std::string> names() const {
        std::set<std::string> all;
        for (const auto& [path, names] : breakpoints_) all.insert(names.begin(), names.end());
        return all;
    }

    // Going.

    void begin(const Json&) {
        if (!is_started()) return;
        after(debugger_->forward(1), "entry");
        if (!stops_at_entry_ && !debugger_->now().is_end) {
            events_.clear();
            after(debugger_->next_call(names()), "breakpoint");
        }
    }

    void go_on(const Json&) {
        if (!is_started()) return;
        body_ = {{"allThreadsContinued", true}};
        after(debugger_->next_call(names()), "breakpoint");
    }
    void go_back(const Json&) {
        if (is_started()) after(debugger_->last_call(names()), "breakpoint");
    }
    void step_over(const Json&) {
        if (is_started()) after(debugger_->over(), "step");
    }
    void step_in(const Json&) {
        if (is_started()) after(debugger_->forward(1), "step");
    }
    void step_out(const Json&) {
        if (is_started()) after(debugger_->out(), "step");
    }
    void step_back(const Json&) {
        if (is_started()) after(debugger_->back(1), "step");
    }

    bool is_started() {
        if (!debugger_) trouble_ = "Nothing has been launched.";
        return debugger_ != nullptr;
    }

    /// Tells what has come of going on.
    void after(const std::string& why, const std::string& reason) {
        const Moment& now = debugger_->now();
        if (now.written > shown_) {
            event("output",
                  {{"category", "stdout"}, {"output", debugger_->output(shown_, now.written)}});
            shown_ = now.written;
        }
        if (!why.empty()) {
            event("output", {{"category", "console"}, {"output", why + "\n"}});
            event("stopped", {{"reason", "pause"},
                              {"threadId", 1},
                              {"description", why},
                              {"allThreadsStopped", true}});
        } else if (now.is_end) {
            if (!now.report.empty()) {
                event("output", {{"category", "stderr"}, {"output", now.report}});
            }
            event("exited", {{"exitCode", now.status & 0xFF}});
            event("terminated");
        } else {
            event("stopped", {{"reason", reason},
                              {"threadId", 1},
                              {"text", now.text},
                              {"allThreadsStopped", true}});
        }
    }

    void disconnect(const Json&) {
        debugger_.reset();
        ends_ = true;
        event("terminated");
    }

    // Looking.

    void threads(const Json&) { body_["threads"] = Json::array({{{"id", 1}, {"name", "marl"}}}); }

    std::string path_of(const std::string& shown) const {
        for (const SourceFile& source : packed_.sources.bundle.sources) {
            if (source.shown == shown) return std::filesystem::absolute(source.path).string();
        }
        return shown;
    }

    void stack(const Json&) {
        if (!is_started()) return;
        Json frames = Json::array();
        for (const DebugFrame& frame : debugger_->now().frames) {
            Json told = {{"id", frames.size() + 1},
                         {"name", frame.name},
                         {"line", frame.place.line},
                         {"column", frame.place.column}};
            if (frame.place.line > 0) {
                const std::string path = path_of(frame.place.file);
                told["source"] = {{"name", std::filesystem::path(path).filename().string()},
                                  {"path", path}};
            }
            if (frame.end.line > 0) {
                told["endLine"] = frame.end.line;
                told["endColumn"] = frame.end.column;
            }
            frames.push_back(told);
        }
        body_ = {{"stackFrames", frames}, {"totalFrames", frames.size()}};
    }

    void scopes(const Json& arguments) {
        body_["scopes"] = Json::array({{{"name", "Parameters"},
                                        {"variablesReference", arguments.at("frameId")},
                                        {"expensive", false}}});
    }

    const DebugFrame* frame_of(size_t id) const {
        const auto& frames = debugger_->now().frames;
        return id >= 1 && id <= frames.size() ? &frames[id - 1] : nullptr;
    }

    void variables(const Json& arguments) {
        if (!is_started()) return;
        body_["variables"] = Json::array();
        const DebugFrame* frame = frame_of(arguments.at("variablesReference"));
        if (!frame) return;
        for (const auto& [name, value] : frame->values) {
            body_["variables"].push_back(
                {{"name", name}, {"value", value}, {"variablesReference", 0}});
        }
    }

    /// The value of a parameter.
    void evaluate(const Json& arguments) {
        if (!is_started()) return;
        const std::string wanted = arguments.at("expression");
        trouble_ = "Only the parameters of a call have values here.";
        const DebugFrame* frame = frame_of(arguments.value("frameId", size_t{1}));
        if (!frame) return;
        for (const auto& [name, value] : frame->values) {
            if (name != wanted) continue;
            trouble_.clear();
            body_ = {{"result", value}, {"variablesReference", 0}};
        }
    }

    FrameReader reader_;
    const int output_;
    int64_t sent_ = 0;
    bool ends_ = false;
    Json body_;
    std::string trouble_;
    std::vector<std::pair<std::string, Json>> events_;
    PackedFile packed_;
    std::vector<std::string> arguments_;
    bool stops_at_entry_ = false;
    std::map<std::string, std::set<std::string>> breakpoints_;
    std::unique_ptr<Debugger> debugger_;
    int64_t shown_ = 0;
};

}  // namespace

int serve_debugger(int input, int output) { return Adapter(input, output).run(); }

}  // namespace marl::lab
