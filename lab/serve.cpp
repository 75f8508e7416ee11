// A document is read anew for each question about it: programs are short, and reading one takes
// about a millisecond for a thousand lines.
#include "lab/serve.h"

#include <csignal>
#include <optional>
#include <stdexcept>

#include "lab/across.h"
#include "lab/document.h"
#include "lab/fixes.h"
#include "lab/frames.h"
#include "lab/requests.h"

namespace marl::lab {

namespace {

// Numbers of the protocol.
constexpr int parse_error = -32700;
constexpr int invalid_request = -32600;
constexpr int method_not_found = -32601;
constexpr int invalid_parameters = -32602;
constexpr int internal_error = -32603;
constexpr int not_initialized = -32002;
constexpr int request_failed = -32803;

Json error_of(const Json& id, int code, const std::string& why) {
    return {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", why}}}};
}

// Reading a message.

/// Whether brackets stand in each other deeper than any message of the protocol needs: copying and
/// writing JSON take the stack.
bool is_too_deep(std::string_view json) {
    constexpr int most = 200;
    int depth = 0;
    bool in_text = false;
    for (size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (c == '"') in_text = !in_text;
        if (in_text && c == '\\') ++i;
        if (in_text) continue;
        if (c == '[' || c == '{') ++depth;
        if (c == ']' || c == '}') --depth;
        if (depth > most) return true;
    }
    return false;
}

/// The unit that an escape at a place writes; nothing when no such escape stands there.
std::optional<unsigned> escaped_unit(std::string_view json, size_t at) {
    const std::string_view digits = json.substr(std::min(at + 2, json.size()), 4);
    if (json.substr(at, 2) != "\\u" || digits.size() < 4) return std::nullopt;
    unsigned unit = 0;
    for (const char c : digits) {
        const std::string_view all = "0123456789abcdef0123456789ABCDEF";
        const size_t digit = all.find(c);
        if (digit == all.npos) return std::nullopt;
        unit = unit * 16 + static_cast<unsigned>(digit % 16);
    }
    return unit;
}

/// The JSON with half surrogate pairs, which an editor can have in its text, replaced by the
/// character that stands for them.
std::string with_whole_pairs(std::string_view json) {
    constexpr size_t size = 6;  // of an escape
    const auto is_in = [](std::optional<unsigned> unit, unsigned from) {
        return unit && *unit >= from && *unit < from + 0x400;
    };
    std::string whole;
    for (size_t i = 0; i < json.size();) {
        const auto unit = escaped_unit(json, i);
        const bool is_pair = is_in(unit, 0xD800) && is_in(escaped_unit(json, i + size), 0xDC00);
        const size_t taken = is_pair ? 2 * size : unit ? size : json[i] == '\\' ? 2 : 1;
        const bool is_half = !is_pair && unit && *unit >= 0xD800 && *unit < 0xE000;
        whole += is_half ? "\\uFFFD" : json.substr(i, taken);
        i += taken;
    }
    return whole;
}

std::optional<Json> parsed(std::string_view text) {
    if (is_too_deep(text)) return std::nullopt;
    Json message = Json::parse(text, nullptr, false);
    if (message.is_discarded()) message = Json::parse(with_whole_pairs(text), nullptr, false);
    if (message.is_discarded()) return std::nullopt;
    return message;
}

// Requests.

/// The folders that a client works in: those of the workspace, or the root.
std::vector<std::string> folders_in(const Json& parameters) {
    std::vector<std::string> folders;
    const auto add = [&](const Json& uri) {
        if (uri.is_string()) folders.push_back(path_of_uri(uri.get<std::string>()));
    };
    if (!parameters.is_object()) return folders;
    const Json several = parameters.value("workspaceFolders", Json());
    for (const Json& one : several.is_array() ? several : Json::array()) {
        if (one.is_object()) add(one.value("uri", Json()));
    }
    if (folders.empty()) add(parameters.value("rootUri", Json()));
    return folders;
}

Workspace workspace_of(const Server& server) {
    Workspace workspace{files_on_disk(), {}, server.folders};
    for (const auto& [uri, open] : server.texts) {
        const std::string identity = identity_of(path_of_uri(uri));
        workspace.files.open[identity] = open.text;
        workspace.uris[identity] = uri;
    }
    return workspace;
}

Json initialize(Server& server, const Json& parameters) {
    server.phase = Server::Phase::running;
    server.folders = folders_in(parameters);
    return {{"capabilities", capabilities()},
            {"serverInfo", {{"name", "marl-lab"}, {"version", MARL_VERSION}}}};
}

Json answer_about_document(const Server& server, const Json& id, Handler handler,
                           const Json& parameters) {
    const auto uri = parameters.at("textDocument").at("uri").get<std::string>();
    const auto open = server.texts.find(uri);
    if (open == server.texts.end()) return error_of(id, request_failed, "The document isn't open.");
    const Workspace workspace = workspace_of(server);
    const Document document(workspace, uri, open->second.text);
    return {{"jsonrpc", "2.0"}, {"id", id}, {"result", handler(document, parameters)}};
}

Json answer_request(Server& server, const Json& id, const std::string& method,
                    const Json& parameters) {
    using Phase = Server::Phase;
    if (server.phase == Phase::shut_down) {
        return error_of(id, invalid_request, "The server is shut down.");
    }
    if ((method == "initialize") != (server.phase == Phase::fresh)) {
        return server.phase == Phase::fresh
                   ? error_of(id, not_initialized, "A session begins with initialize.")
                   : error_of(id, invalid_request, "The session has begun already.");
    }
    if (method == "initialize") {
        return {{"jsonrpc", "2.0"}, {"id", id}, {"result", initialize(server, parameters)}};
    }
    if (method == "shutdown") {
        server.phase = Phase::shut_down;
        return {{"jsonrpc", "2.0"}, {"id", id}, {"result", nullptr}};
    }
    const Handler handler = handler_of(method);
    if (!handler) return error_of(id, method_not_found, "There is no method " + method + ".");
    return answer_about_document(server, id, handler, parameters);
}

/// What goes wrong in a request is told the client.
Json answer_safely(Server& server, const Json& id, const std::string& method,
                   const Json& parameters) {
    try {
        return answer_request(server, id, method, parameters);
    } catch (const Refused& refused) {
        return error_of(id, request_failed, refused.what());
    } catch (const Json::exception& fault) {
        return error_of(id, invalid_parameters, fault.what());
    } catch (const std::invalid_argument& fault) {
        return error_of(id, invalid_parameters, fault.what());
    } catch (const std::exception& fault) {
        return error_of(id, internal_error, fault.what());
    }
}

// Notifications.

Json notice(const std::string& uri, const Json& version, Json diagnostics) {
    Json parameters = {{"uri", uri}, {"diagnostics", std::move(diagnostics)}};
    if (version.is_number_integer()) parameters["version"] = version;
    return {{"jsonrpc", "2.0"},
            {"method", "textDocument/publishDiagnostics"},
            {"params", std::move(parameters)}};
}

void change(OpenText& open, const Json& changes) {
    for (const Json& one : changes) {
        auto text = one.at("text").get<std::string>();
        if (!one.contains("range")) {
            open.text = std::move(text);
            continue;
        }
        const Range range = Source(open.text).bytes(one.at("range"));
        open.text.replace(range.begin, range.end - range.begin, text);
    }
}

std::vector<Json> take_notification(Server& server, const std::string& method,
                                    const Json& parameters) {
    if (method == "exit") server.done = true;
    if (server.phase != Server::Phase::running) return {};
    const bool is_opened = method == "textDocument/didOpen";
    const bool is_changed = method == "textDocument/didChange";
    const bool is_closed = method == "textDocument/didClose";
    if (!is_opened && !is_changed && !is_closed) return {};
    const Json& document = parameters.at("textDocument");
    const auto uri = document.at("uri").get<std::string>();
    if (is_closed) {
        server.changed.erase(uri);
        if (server.texts.erase(uri) == 0) return {};
        return {notice(uri, nullptr, Json::array())};
    }
    if (is_opened) server.texts[uri] = {document.at("text").get<std::string>(), nullptr};
    const auto open = server.texts.find(uri);
    if (open == server.texts.end()) return {};
    server.changed.insert(uri);
    open->second.version = document.value("version", Json());
    if (is_changed) change(open->second, parameters.at("contentChanges"));
    return {};
}

std::vector<Json> answer_parsed(Server& server, const Json& message) {
    if (!message.is_object())
        return {error_of(nullptr, invalid_request, "No message is like this.")};
    static const Json nothing;
    const auto method = message.find("method");
    const auto found = message.find("params");
    const Json& parameters = found == message.end() ? nothing : *found;
    const auto given = message.find("id");
    const bool has_id = given != message.end();
    const Json id = has_id && (given->is_string() || given->is_number()) ? *given : Json();
    if (method == message.end() && (message.contains("result") || message.contains("error"))) {
        return {};  // the answer to a request that was never made
    }
    const bool is_understood = method != message.end() && method->is_string() &&
                               (!has_id || !id.is_null() || given->is_null());
    if (!is_understood) return {error_of(id, invalid_request, "No message is like this.")};
    const auto name = method->get<std::string>();
    if (has_id) return {answer_safely(server, id, name, parameters)};
    return take_notification(server, name, parameters);
}

}  // namespace

std::vector<Json> answer(Server& server, std::string_view message) {
    try {
        const auto json = parsed(message);
        if (!json) return {error_of(nullptr, parse_error, "The message is no JSON.")};
        return answer_parsed(server, *json);
    } catch (const std::exception&) {
        return {};  // a notification that can't be understood has no answer
    }
}

std::vector<Json> due_diagnostics(Server& server) {
    std::vector<Json> notices;
    if (server.changed.empty()) return notices;
    const Workspace workspace = workspace_of(server);
    for (const auto& [uri, open] : server.texts) {
        // A document that uses others can be wrong for what is written there.
        const bool may_use = open.text.find("[use:") != open.text.npos;
        if (!may_use && !server.changed.contains(uri)) continue;
        const Document document(workspace, uri, open.text);
        notices.push_back(notice(uri, open.version, diagnostics_of(document)));
    }
    server.changed.clear();
    return notices;
}

int serve_client(int input, int output) {
    std::signal(SIGPIPE, SIG_IGN);
    Server server;
    FrameReader reader(input);
    const auto send = [&](const std::vector<Json>& messages) {
        for (const Json& message : messages) {
            if (!write_frame(output, text_of(message))) server.done = true;
        }
    };
    while (!server.done) {
        if (!reader.has_more()) send(due_diagnostics(server));
        const Frame frame = reader.next();
        if (frame.kind == Frame::Kind::end) break;
        if (frame.kind == Frame::Kind::fault) {
            send({error_of(nullptr, parse_error, frame.text)});
        } else {
            send(answer(server, frame.text));
        }
    }
    return server.done && server.phase == Server::Phase::shut_down ? 0 : 1;
}

}  // namespace marl::lab
