// A document is read anew for each question about it: programs are short, and reading one takes
// about a millisecond for a thousand lines.
//
// The protocol counts columns in UTF-16 units, everything here in bytes; `Document` translates.
#include "lab/serve.h"

#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "front/scan.h"
#include "lab/message.h"
#include "lab/program.h"
#include "lab/reference.h"
#include "reduce/tables.h"

namespace marl::lab {

namespace {

// Numbers of the protocol.
constexpr int severity_error = 1;
constexpr int severity_warning = 2;
constexpr int symbol_function = 12;
constexpr int symbol_constant = 14;
constexpr int item_function = 3;
constexpr int item_variable = 6;
constexpr int method_not_found = -32601;
constexpr int invalid_request = -32600;
constexpr int request_failed = -32803;
constexpr int full_sync = 1;

struct Document {
    std::string uri;
    std::string text;
    Lines lines;
    Program program;

    Document(std::string its_uri, std::string its_text)
        : uri(std::move(its_uri)),
          text(std::move(its_text)),
          lines(text),
          program(read_program(text)) {}

    /// How many UTF-16 units the bytes from one position to another have.
    static size_t units(std::string_view bytes) {
        size_t count = 0;
        for (const char c : bytes) {
            const auto byte = static_cast<unsigned char>(c);
            if ((byte & 0xC0) != 0x80) count += byte >= 0xF0 ? 2 : 1;
        }
        return count;
    }

    Json position(size_t at) const {
        const size_t line = lines.line_of(at);
        const size_t begin = lines.begin_of(line);
        return {{"line", line},
                {"character", units(std::string_view(text).substr(begin, at - begin))}};
    }
    Json range(Range bytes) const {
        return {{"start", position(bytes.begin)}, {"end", position(bytes.end)}};
    }
    Json location(Range bytes) const { return {{"uri", uri}, {"range", range(bytes)}}; }

    size_t offset(const Json& position) const {
        const auto line = position.at("line").get<size_t>();
        if (line >= lines.count()) return text.size();
        const std::string_view bytes = lines.text_of(line);
        const auto wanted = position.at("character").get<size_t>();
        size_t at = 0;
        while (at < bytes.size() && units(bytes.substr(0, at + 1)) <= wanted) ++at;
        while (at < bytes.size() && (static_cast<unsigned char>(bytes[at]) & 0xC0) == 0x80) ++at;
        return lines.begin_of(line) + at;
    }
};

// Names.

bool is_binder(const Name& name) {
    return name.role == Role::parameter || name.role == Role::local;
}

/// The index of what binds a name in its definition; none for a global.
std::optional<size_t> binder_of(const Document& document, const Name& name) {
    if (is_binder(name)) return static_cast<size_t>(&name - document.program.names.data());
    return name.binder;
}

/// All places of the variable or global that a name stands for. A pair pattern binds at two places,
/// each its own.
std::vector<const Name*> places_of(const Document& document, const Name& name) {
    const auto& names = document.program.names;
    const auto binder = binder_of(document, name);
    std::vector<const Name*> places;
    for (size_t i = 0; i < names.size(); ++i) {
        const Name& other = names[i];
        const bool same = binder ? i == *binder || other.binder == binder
                                 : !is_binder(other) && !other.binder && other.key == name.key;
        if (same) places.push_back(&other);
    }
    std::sort(places.begin(), places.end(),
              [](const Name* a, const Name* b) { return a->range.begin < b->range.begin; });
    return places;
}

/// The piece that defines a global of the program; null for others.
const Piece* definition_of(const Document& document, std::string_view key) {
    const auto piece = document.program.definitions.find(key);
    return piece == document.program.definitions.end() ? nullptr
                                                       : &document.program.pieces[piece->second];
}

/// A definition's parameters as they are written in front of its body.
std::string signature(const Document& document, const Piece& piece) {
    std::string shown(document.program.written(piece.name));
    if (piece.fresh) shown += "()";
    shown += '\\';
    for (const std::string& parameter : piece.parameters) shown += parameter + "\\";
    return shown;
}

/// The note that stands in front of a piece, without its brackets.
std::string note_before(const Document& document, const Piece& piece) {
    const auto& pieces = document.program.pieces;
    const auto index = static_cast<size_t>(&piece - pieces.data());
    if (index == 0 || pieces[index - 1].kind != PieceKind::note) return {};
    const std::string_view note = document.program.written(pieces[index - 1].range);
    const bool bracketed = note.size() > 1 && note.front() == '[' && note.back() == ']';
    if (note.starts_with("[lab:")) return {};
    return std::string(bracketed ? note.substr(1, note.size() - 2) : note);
}

std::string described_global(const Document& document, const std::string& key) {
    if (const Piece* piece = definition_of(document, key)) {
        return "```marl\n" + signature(document, *piece) + "\n```\n\n" +
               note_before(document, *piece);
    }
    std::string shown = key;
    if (const auto arity = builtin_arity(key)) {
        for (int i = 0; i < *arity; ++i) shown += std::string(" ") + static_cast<char>('a' + i);
    }
    return "```marl\n" + shown + "\n```\n\n" + reference_entry(key);
}

std::string described(const Document& document, const Name& name) {
    const auto binder = binder_of(document, name);
    if (!binder) return described_global(document, name.key);
    const Name& bound = document.program.names[*binder];
    const Piece& piece = document.program.pieces[bound.piece];
    return "`" + bound.key +
           "`: " + (bound.role == Role::parameter ? "a parameter" : "a local name") + " in `" +
           shown_name(piece) + "`";
}

// Requests. Each gives the result.

const Name* name_asked_for(const Document& document, const Json& parameters) {
    return document.program.name_at(document.offset(parameters.at("position")));
}

/// The name under the cursor; an operator where no name stands, as a name of its own.
Json hover(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    if (!name) return nullptr;
    return {{"contents", {{"kind", "markdown"}, {"value", described(document, *name)}}},
            {"range", document.range(name->range)}};
}

Json definition(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    if (!name) return nullptr;
    if (const auto binder = binder_of(document, *name)) {
        return document.location(document.program.names[*binder].range);
    }
    const Piece* piece = definition_of(document, name->key);
    return piece ? document.location(piece->name) : Json(nullptr);
}

Json references(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    Json found = Json::array();
    if (!name) return found;
    const bool with_declaration =
        parameters.value("context", Json::object()).value("includeDeclaration", true);
    for (const Name* place : places_of(document, *name)) {
        if (with_declaration || place->role == Role::use) {
            found.push_back(document.location(place->range));
        }
    }
    return found;
}

Json completion_item(const std::string& key, int kind, const std::string& detail) {
    return {{"label", key}, {"kind", kind}, {"detail", detail}};
}

Json completion(const Document& document, const Json& parameters) {
    const size_t at = document.offset(parameters.at("position"));
    Json items = Json::array();
    std::set<std::string> listed;
    for (const Name& name : document.program.names) {
        const bool around = is_binder(name) && name.scope.begin <= at && at <= name.scope.end;
        if (around && !is_letter(name.key) && listed.insert(name.key).second) {
            items.push_back(completion_item(name.key, item_variable, "a local name"));
        }
    }
    for (const auto& [key, piece] : document.program.definitions) {
        if (!is_word_byte(static_cast<uint8_t>(key[0])) || !listed.insert(key).second) continue;
        items.push_back(completion_item(key, item_function,
                                        signature(document, document.program.pieces[piece])));
    }
    for (const Builtin& row : builtin_table()) {
        if (!listed.insert(row.name).second) continue;
        items.push_back(completion_item(row.name, item_function,
                                        "built-in, " + std::to_string(row.arity) + " arguments"));
    }
    return {{"isIncomplete", false}, {"items", std::move(items)}};
}

Json document_symbols(const Document& document, const Json&) {
    Json symbols = Json::array();
    for (const Piece& piece : document.program.pieces) {
        if (piece.kind == PieceKind::note || piece.range.begin == piece.range.end) continue;
        const bool is_entry = piece.kind == PieceKind::entry;
        const bool is_function = is_entry || !piece.parameters.empty();
        symbols.push_back(
            {{"name", shown_name(piece)},
             {"kind", is_function ? symbol_function : symbol_constant},
             {"detail", is_entry ? "" : signature(document, piece)},
             {"range", document.range(piece.range)},
             {"selectionRange", document.range(is_entry ? piece.range : piece.name)}});
    }
    return symbols;
}

Json formatting(const Document& document, const Json&) {
    Json result = format_source(document.text);
    if (!result.contains("text")) return nullptr;
    if (result["text"] == document.text) return Json::array();
    return Json::array({{{"range", document.range({0, document.text.size()})},
                         {"newText", std::move(result["text"])}}});
}

/// Why a name can't be changed, or can't become the new one; empty when it can.
std::string refusal(const Document& document, const Name& name, const std::string& fresh) {
    const bool is_word = !fresh.empty() && std::all_of(fresh.begin(), fresh.end(), [](char c) {
        return is_word_byte(static_cast<uint8_t>(c));
    });
    const auto binder = binder_of(document, name);
    if (!is_word) return "A name is a word of small letters and _.";
    if (fresh == name.key) return {};
    if (!binder) {
        if (!definition_of(document, name.key))
            return "Only what the program defines has a new name.";
        if (is_letter(fresh)) return "A definition's name has two letters or more.";
        if (is_given(fresh) || definition_of(document, fresh))
            return fresh + " is defined already.";
    }
    // A long local name means the local one in its whole definition; a short one in its scope.
    for (const Name* place : places_of(document, name)) {
        for (const Name& other : document.program.names_of(document.program.pieces[place->piece])) {
            if (other.key == fresh) return fresh + " has a meaning in that definition already.";
        }
    }
    return {};
}

Json edits_of(const Document& document, const Name& name, const std::string& fresh) {
    Json edits = Json::array();
    for (const Name* place : places_of(document, name)) {
        edits.push_back({{"range", document.range(place->range)}, {"newText", fresh}});
    }
    return {{"changes", {{document.uri, std::move(edits)}}}};
}

Json prepare_rename(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    if (!name) return nullptr;
    if (!binder_of(document, *name) && !definition_of(document, name->key)) return nullptr;
    return document.range(name->range);
}

// A request's handler; rename, which can be refused, stands apart.
using Handler = Json (*)(const Document&, const Json&);
const std::map<std::string, Handler, std::less<>> handlers{
    {"textDocument/hover", hover},
    {"textDocument/definition", definition},
    {"textDocument/references", references},
    {"textDocument/completion", completion},
    {"textDocument/documentSymbol", document_symbols},
    {"textDocument/formatting", formatting},
    {"textDocument/prepareRename", prepare_rename},
};

Json capabilities() {
    return {{"capabilities",
             {{"textDocumentSync", {{"openClose", true}, {"change", full_sync}}},
              {"hoverProvider", true},
              {"definitionProvider", true},
              {"referencesProvider", true},
              {"completionProvider", Json::object()},
              {"documentSymbolProvider", true},
              {"documentFormattingProvider", true},
              {"renameProvider", {{"prepareProvider", true}}}}},
            {"serverInfo", {{"name", "marl-lab"}}}};
}

Json diagnostics(const std::string& uri, const std::string& text) {
    Json list = Json::array();
    const Lines lines(text);
    const auto place = [&](const Json& message, const char* line, const char* column) -> Json {
        const size_t row = message[line].get<size_t>() - 1;
        const size_t bytes = message[column].get<size_t>() - 1;
        return {{"line", row}, {"character", Document::units(lines.text_of(row).substr(0, bytes))}};
    };
    const Json result = check_source(uri, text);
    for (const Json& message : result["messages"]) {
        const bool fault = message["severity"] == "fault";
        list.push_back({{"range",
                         {{"start", place(message, "line", "column")},
                          {"end", place(message, "end_line", "end_column")}}},
                        {"severity", fault ? severity_error : severity_warning},
                        {"code", message["kind"]},
                        {"source", "marl"},
                        {"message", message["say"]}});
    }
    return {{"jsonrpc", "2.0"},
            {"method", "textDocument/publishDiagnostics"},
            {"params", {{"uri", uri}, {"diagnostics", std::move(list)}}}};
}

Json result_of(const Json& message, Json result) {
    return {{"jsonrpc", "2.0"}, {"id", message["id"]}, {"result", std::move(result)}};
}

Json error_of(const Json& message, int code, const std::string& why) {
    return {
        {"jsonrpc", "2.0"}, {"id", message["id"]}, {"error", {{"code", code}, {"message", why}}}};
}

Json answer_rename(const Document& document, const Json& message) {
    const Json& parameters = message["params"];
    const Name* name = name_asked_for(document, parameters);
    if (!name) return error_of(message, request_failed, "No name stands there.");
    const auto fresh = parameters.at("newName").get<std::string>();
    const std::string why = refusal(document, *name, fresh);
    if (!why.empty()) return error_of(message, request_failed, why);
    return result_of(message, edits_of(document, *name, fresh));
}

Json answer_request(Server& server, const Json& message, const std::string& method) {
    if (server.shut_down) return error_of(message, invalid_request, "The server is shut down.");
    if (method == "initialize") return result_of(message, capabilities());
    if (method == "shutdown") {
        server.shut_down = true;
        return result_of(message, nullptr);
    }
    const auto handler = handlers.find(method);
    const bool is_rename = method == "textDocument/rename";
    if (handler == handlers.end() && !is_rename) {
        return error_of(message, method_not_found, "There is no method " + method + ".");
    }
    const Json& parameters = message.at("params");
    const auto uri = parameters.at("textDocument").at("uri").get<std::string>();
    const auto text = server.texts.find(uri);
    if (text == server.texts.end()) {
        return error_of(message, request_failed, "The document is not open.");
    }
    const Document document(uri, text->second);
    if (is_rename) return answer_rename(document, message);
    return result_of(message, handler->second(document, parameters));
}

std::vector<Json> take_notification(Server& server, const Json& message,
                                    const std::string& method) {
    if (method == "exit") server.done = true;
    if (!method.starts_with("textDocument/did")) return {};
    const Json& document = message.at("params").at("textDocument");
    const auto uri = document.at("uri").get<std::string>();
    if (method == "textDocument/didOpen") {
        server.texts[uri] = document.at("text").get<std::string>();
    } else if (method == "textDocument/didChange") {
        server.texts[uri] = message["params"]["contentChanges"].back().at("text");
    } else if (method == "textDocument/didClose") {
        server.texts.erase(uri);
        return {diagnostics(uri, "a\\0")};  // none
    } else {
        return {};
    }
    return {diagnostics(uri, server.texts[uri])};
}

/// The next message; nothing at the end of the stream or when no message can be made out.
std::optional<Json> read_message(std::istream& in) {
    size_t size = 0;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) break;
        constexpr std::string_view length = "Content-Length: ";
        if (line.starts_with(length))
            size = std::strtoul(line.c_str() + length.size(), nullptr, 10);
    }
    std::string body(size, '\0');
    if (size == 0 || !in.read(body.data(), static_cast<std::streamsize>(size))) return std::nullopt;
    Json message = Json::parse(body, nullptr, false);
    if (message.is_discarded()) return std::nullopt;
    return message;
}

void write_message(std::ostream& out, const Json& message) {
    const std::string body = message.dump(-1, ' ', false, Json::error_handler_t::replace);
    out << "Content-Length: " << body.size() << "\r\n\r\n" << body << std::flush;
}

}  // namespace

std::vector<Json> answer(Server& server, const Json& message) {
    const auto method = message.value("method", std::string());
    try {
        if (!message.contains("id")) return take_notification(server, message, method);
        if (method.empty()) return {};  // the answer to a request that was never made
        return {answer_request(server, message, method)};
    } catch (const Json::exception& fault) {
        if (!message.contains("id")) return {};
        return {error_of(message, invalid_request, fault.what())};
    }
}

int serve_streams(std::istream& in, std::ostream& out) {
    Server server;
    while (!server.done) {
        const auto message = read_message(in);
        if (!message) break;
        for (const Json& one : answer(server, *message)) write_message(out, one);
    }
    return server.done && server.shut_down ? 0 : 1;
}

}  // namespace marl::lab
