// The answers are made from the names of the program and the texts around the place; a program that
// is being typed has both.
#include "lab/requests.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <sstream>

#include "front/scan.h"
#include "lab/fixes.h"
#include "lab/reference.h"
#include "lab/surroundings.h"
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
constexpr int item_constant = 21;

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
std::string head_of(const Document& document, const Piece& piece) {
    std::string shown(document.program.written(piece.name));
    if (piece.fresh) shown += "()";
    shown += '\\';
    for (const std::string& parameter : piece.parameters) shown += parameter + "\\";
    return shown;
}

/// The note that stands in front of a piece, without its brackets. What has a backslash and no
/// brackets is rather a definition that is being typed.
std::string note_before(const Document& document, const Piece& piece) {
    const auto& pieces = document.program.pieces;
    const auto index = static_cast<size_t>(&piece - pieces.data());
    if (index == 0 || pieces[index - 1].kind != PieceKind::note) return {};
    const std::string_view note = document.program.written(pieces[index - 1].range);
    const bool bracketed = note.size() > 1 && note.front() == '[' && note.back() == ']';
    if (note.starts_with("[lab:")) return {};
    if (bracketed) return std::string(note.substr(1, note.size() - 2));
    return note.find('\\') == note.npos ? std::string(note) : std::string();
}

/// How a function is called, and its parameters in that text.
struct Signature {
    std::string label;
    std::vector<Range> parameters;
};

Signature signature_of(const std::string& name, const std::vector<std::string>& parameters) {
    Signature signature{name, {}};
    for (const std::string& parameter : parameters) {
        signature.label += signature.parameters.empty() ? "(" : ", ";
        const size_t begin = signature.label.size();
        signature.label += parameter;
        signature.parameters.push_back({begin, signature.label.size()});
    }
    if (!parameters.empty()) signature.label += ")";
    return signature;
}

/// The names of a built-in's arguments: those of the reference, or letters where it has others.
std::vector<std::string> builtin_parameters(const std::string& name, size_t arity) {
    constexpr std::string_view heading = "arguments: ";
    const std::string entry = reference_entry(name);
    std::vector<std::string> parameters;
    if (const size_t begin = entry.find(heading); begin != entry.npos) {
        const size_t end = entry.find('\n', begin);
        std::istringstream list(entry.substr(begin + heading.size(), end - begin - heading.size()));
        for (std::string one; std::getline(list >> std::ws, one, ',');) parameters.push_back(one);
    }
    if (parameters.size() == arity) return parameters;
    parameters.clear();
    for (size_t i = 0; i < arity; ++i) parameters.emplace_back(1, static_cast<char>('a' + i));
    return parameters;
}

/// Of a global; nothing for one that is defined by nobody or by the prelude.
std::optional<Signature> signature_of(const Document& document, const std::string& key) {
    if (const Piece* piece = definition_of(document, key)) {
        return signature_of(key, piece->parameters);
    }
    const auto arity = builtin_arity(key);
    if (!arity) return std::nullopt;
    return signature_of(key, builtin_parameters(key, static_cast<size_t>(*arity)));
}

/// What is known of a global: the note before its definition, or the reference's entry.
std::string documentation_of(const Document& document, const std::string& key) {
    const Piece* piece = definition_of(document, key);
    return piece ? note_before(document, *piece) : reference_entry(key);
}

Json markdown(const std::string& text) { return {{"kind", "markdown"}, {"value", text}}; }

std::string described_global(const Document& document, const std::string& key) {
    std::string shown = key;
    if (const Piece* piece = definition_of(document, key)) {
        shown = head_of(document, *piece);
    } else if (const auto signature = signature_of(document, key)) {
        shown = signature->label;
    }
    return "```marl\n" + shown + "\n```\n\n" + documentation_of(document, key);
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
    return {{"contents", markdown(described(document, *name))},
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
    const auto context = parameters.find("context");
    const bool with_declaration =
        context == parameters.end() || context->value("includeDeclaration", true);
    for (const Name* place : places_of(document, *name)) {
        if (with_declaration || place->role == Role::use) {
            found.push_back(document.location(place->range));
        }
    }
    return found;
}

// Completion.

Json completion_item(const std::string& key, int kind, const std::string& detail,
                     const std::string& about) {
    Json item = {{"label", key}, {"kind", kind}, {"detail", detail}};
    if (!about.empty()) item["documentation"] = markdown(about);
    return item;
}

/// Of a definition or a built-in.
Json global_item(const Document& document, const std::string& key) {
    const auto signature = signature_of(document, key);
    const bool is_function = signature && !signature->parameters.empty();
    return completion_item(key, is_function ? item_function : item_constant,
                           signature ? signature->label : key, documentation_of(document, key));
}

/// Whether words at a place are no names: in a text, or in a note.
bool is_prose(const Document& document, size_t at) {
    const Surroundings around = surroundings_of(document.text(), at);
    if (around.in_text) return true;
    if (around.parenthesis != std::string_view::npos) return false;
    const auto piece = document.program.piece_at(at);
    return piece && document.program.pieces[*piece].kind == PieceKind::note;
}

Json completion(const Document& document, const Json& parameters) {
    const size_t at = document.offset(parameters.at("position"));
    Json items = Json::array();
    if (is_prose(document, at)) return items;
    std::set<std::string> listed;
    for (const Name& name : document.program.names) {
        const bool around = is_binder(name) && name.scope.begin <= at && at <= name.scope.end;
        if (around && !is_letter(name.key) && listed.insert(name.key).second) {
            items.push_back(completion_item(name.key, item_variable, "a local name", {}));
        }
    }
    for (const auto& [key, piece] : document.program.definitions) {
        const bool is_word = is_word_byte(static_cast<uint8_t>(key[0]));
        if (is_word && listed.insert(key).second) items.push_back(global_item(document, key));
    }
    for (const Row& row : builtin_table()) {
        if (listed.insert(row.name).second) items.push_back(global_item(document, row.name));
    }
    return items;
}

Json signature_help(const Document& document, const Json& parameters) {
    const size_t at = document.offset(parameters.at("position"));
    const Surroundings around = surroundings_of(document.text(), at);
    if (around.in_text || around.parenthesis == std::string_view::npos) return nullptr;
    const Name* name = document.program.name_at(around.parenthesis);
    const bool is_called = name && name->range.end == around.parenthesis;
    if (!is_called || binder_of(document, *name)) return nullptr;
    const auto signature = signature_of(document, name->key);
    if (!signature) return nullptr;
    Json labels = Json::array();
    for (const Range& range : signature->parameters) {
        labels.push_back({{"label", {range.begin, range.end}}});
    }
    return {{"signatures",
             {{{"label", signature->label},
               {"documentation", markdown(documentation_of(document, name->key))},
               {"parameters", std::move(labels)}}}},
            {"activeSignature", 0},
            {"activeParameter", around.commas}};
}

// Layout.

Json formatting(const Document& document, const Json&) {
    const Formatted formatted = format_source(document.text());
    if (!formatted.text) throw Refused(formatted.messages.front().say);
    if (*formatted.text == document.text()) return Json::array();
    return document.text_edits({{{0, document.text().size()}, *formatted.text}});
}

Json range_formatting(const Document& document, const Json& parameters) {
    const Range range = document.bytes(parameters.at("range"));
    return document.text_edits(format_range(document.text(), range));
}

// Messages.

Json diagnostic_of(const Document& document, const Message& message) {
    const bool fault = message.severity == Severity::fault;
    return {{"range", document.range(message.range)},
            {"severity", fault ? severity_error : severity_warning},
            {"code", message.kind},
            {"source", "marl"},
            {"message", message.say}};
}

Json code_action(const Document& document, const Json& parameters) {
    const Range range = document.bytes(parameters.at("range"));
    Json actions = Json::array();
    for (const Message& message : check_source(document.text()).messages) {
        if (message.range.end < range.begin || range.end < message.range.begin) continue;
        const std::vector<Fix> fixes = fixes_of(document.program, message);
        for (const Fix& fix : fixes) {
            actions.push_back({{"title", fix.title},
                               {"kind", "quickfix"},
                               {"diagnostics", {diagnostic_of(document, message)}},
                               {"isPreferred", fixes.size() == 1},
                               {"edit", document.edit(fix.edits)}});
        }
    }
    return actions;
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
             {"detail", is_entry ? "" : head_of(document, piece)},
             {"range", document.range(piece.range)},
             {"selectionRange", document.range(is_entry ? piece.range : piece.name)}});
    }
    return symbols;
}

// Renaming.

/// Why a name can't be changed, or can't become the new one; empty when it can.
std::string refusal(const Document& document, const Name& name, const std::string& fresh) {
    const bool is_word = !fresh.empty() && std::all_of(fresh.begin(), fresh.end(), [](char c) {
        return is_word_byte(static_cast<uint8_t>(c));
    });
    const auto binder = binder_of(document, name);
    if (!is_word) return "A name is a word of small letters and _.";
    if (fresh == name.key) return {};
    if (!binder) {
        if (!definition_of(document, name.key)) {
            return "Only what the program defines has a new name.";
        }
        if (is_letter(fresh)) return "A definition's name has two letters or more.";
        if (is_given(fresh) || definition_of(document, fresh)) {
            return fresh + " is defined already.";
        }
    }
    // A long local name means the local one in its whole definition; a short one in its scope.
    std::set<size_t> pieces;
    for (const Name* place : places_of(document, name)) pieces.insert(place->piece);
    for (const size_t piece : pieces) {
        for (const Name& other : document.program.names_of(document.program.pieces[piece])) {
            if (other.key == fresh) return fresh + " has a meaning in that definition already.";
        }
    }
    return {};
}

Json rename(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    if (!name) throw Refused("No name stands there.");
    const auto fresh = parameters.at("newName").get<std::string>();
    const std::string why = refusal(document, *name, fresh);
    if (!why.empty()) throw Refused(why);
    std::vector<Edit> edits;
    for (const Name* place : places_of(document, *name)) edits.push_back({place->range, fresh});
    return document.edit(edits);
}

Json prepare_rename(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    if (!name) return nullptr;
    if (!binder_of(document, *name) && !definition_of(document, name->key)) return nullptr;
    return document.range(name->range);
}

struct Method {
    std::string_view name;
    Handler handler;
};

constexpr Method methods[] = {
    {"textDocument/codeAction", code_action},
    {"textDocument/completion", completion},
    {"textDocument/definition", definition},
    {"textDocument/documentSymbol", document_symbols},
    {"textDocument/formatting", formatting},
    {"textDocument/hover", hover},
    {"textDocument/prepareRename", prepare_rename},
    {"textDocument/rangeFormatting", range_formatting},
    {"textDocument/references", references},
    {"textDocument/rename", rename},
    {"textDocument/signatureHelp", signature_help},
};

}  // namespace

Handler handler_of(std::string_view method) {
    const auto found = std::find_if(std::begin(methods), std::end(methods),
                                    [&](const Method& one) { return one.name == method; });
    return found == std::end(methods) ? nullptr : found->handler;
}

std::vector<std::string_view> method_names() {
    std::vector<std::string_view> names;
    for (const Method& method : methods) names.push_back(method.name);
    return names;
}

Json capabilities() {
    constexpr int incremental = 2;
    return {{"textDocumentSync", {{"openClose", true}, {"change", incremental}}},
            {"hoverProvider", true},
            {"definitionProvider", true},
            {"referencesProvider", true},
            {"completionProvider", Json::object()},
            {"signatureHelpProvider", {{"triggerCharacters", {"(", ","}}}},
            {"documentSymbolProvider", true},
            {"documentFormattingProvider", true},
            {"documentRangeFormattingProvider", true},
            {"codeActionProvider", {{"codeActionKinds", {"quickfix"}}}},
            {"renameProvider", {{"prepareProvider", true}}}};
}

Json diagnostics_of(const Document& document) {
    Json list = Json::array();
    for (const Message& message : check_source(document.text()).messages) {
        list.push_back(diagnostic_of(document, message));
    }
    return list;
}

}  // namespace marl::lab
