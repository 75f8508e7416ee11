// The answers are made from the names of the program and the texts around the place; a program that
// is being typed has both.
#include "lab/requests.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

#include "front/scan.h"
#include "lab/across.h"
#include "lab/check_bundle.h"
#include "lab/doc.h"
#include "lab/fixes.h"
#include "lab/notes.h"
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
constexpr int item_module = 9;
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

/// A definition, in the document or in a file that it uses.
struct Meant {
    Place place;
    const SourceFile& source;
    const Piece& piece;
};

/// What a global means, when a file defines it.
std::optional<Meant> meant_by(const Document& document, std::string_view key) {
    const Bundle& bundle = document.bundle;
    std::vector<Place> places = meanings(bundle, 0, key);
    if (places.empty()) {
        const auto own = document.program.definitions.find(key);
        if (own == document.program.definitions.end()) return std::nullopt;
        places.push_back({0, own->second});
    }
    const SourceFile& source = bundle.sources[places[0].source];
    return Meant{places[0], source, source.program.pieces[places[0].piece]};
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
    if (const auto meant = meant_by(document, key)) {
        return signature_of(key, meant->piece.parameters);
    }
    const auto arity = builtin_arity(key);
    if (!arity) return std::nullopt;
    return signature_of(key, builtin_parameters(key, static_cast<size_t>(*arity)));
}

/// What is known of a global: the note before its definition, or the reference's entry.
std::string documentation_of(const Document& document, const std::string& key) {
    const auto meant = meant_by(document, key);
    if (!meant) return reference_entry(key);
    std::string note = note_before(meant->source.program, meant->piece);
    if (meant->place.source == 0) return note;
    return note + (note.empty() ? "" : "\n\n") + "From " + called(meant->source) + ".";
}

Json markdown(const std::string& text) { return {{"kind", "markdown"}, {"value", text}}; }

std::string described_global(const Document& document, const std::string& key) {
    std::string shown = key;
    if (const auto meant = meant_by(document, key)) {
        shown = signature_of(meant->source.program, meant->piece);
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

/// A place in a source of the bundle.
Json location_in(const Document& document, const SourceFile& source, Range bytes) {
    if (&source == &document.bundle.sources.front()) return document.location(bytes);
    const std::string identity = identity_of(source.path);
    const auto open = document.workspace.uris.find(identity);
    const bool is_open = open != document.workspace.uris.end();
    return {{"uri", is_open ? open->second : uri_of_path(identity)},
            {"range", Source(source.program.text).range(bytes)}};
}

Json definition(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    if (!name) return nullptr;
    if (const auto binder = binder_of(document, *name)) {
        return document.location(document.program.names[*binder].range);
    }
    const auto meant = meant_by(document, name->key);
    return meant ? location_in(document, meant->source, meant->piece.name) : Json(nullptr);
}

// Places in all files.

/// The documents in which a word stands: those of the editor's folders, or of the document's own,
/// and those that are open.
std::vector<std::unique_ptr<Document>> documents_with(const Document& document,
                                                      const std::string& word) {
    const Workspace& workspace = document.workspace;
    std::vector<std::string> paths;
    for (const std::string& folder : workspace.folders) {
        const std::vector<std::string> more = programs_under(folder);
        paths.insert(paths.end(), more.begin(), more.end());
    }
    if (workspace.folders.empty()) paths = programs_in(folder_of(path_of_uri(document.uri)));
    std::map<std::string, std::string> uris = workspace.uris;
    for (const std::string& path : paths) {
        const std::string identity = identity_of(path);
        uris.emplace(identity, uri_of_path(identity));
    }
    std::vector<std::unique_ptr<Document>> found;
    for (const auto& [identity, uri] : uris) {
        auto text = file_text(workspace.files, identity);
        if (!text || text->find(word) == text->npos) continue;
        found.push_back(std::make_unique<Document>(workspace, uri, std::move(*text)));
    }
    return found;
}

Json references(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    Json found = Json::array();
    if (!name) return found;
    const auto context = parameters.find("context");
    const bool with_declaration =
        context == parameters.end() || context->value("includeDeclaration", true);
    const auto meant = place_of(document.bundle, *name);
    if (!meant) {
        for (const Name* place : places_of(document, *name)) {
            if (with_declaration || place->role == Role::use) {
                found.push_back(document.location(place->range));
            }
        }
        return found;
    }
    const Target target = target_of(document.bundle, *meant);
    for (const auto& other : documents_with(document, target.key)) {
        for (const Range& range : places_of(other->bundle, target)) {
            const Name* place = other->program.name_at(range.begin);
            const bool declares = place && place->role == Role::definition;
            if (with_declaration || !declares) found.push_back(other->location(range));
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

/// The themes of the library, in a note that says what the document uses.
Json theme_items(const Document& document, size_t at) {
    Json items = Json::array();
    const auto piece = document.program.piece_at(at);
    const bool is_use =
        piece &&
        document.program.written(document.program.pieces[*piece].range).starts_with("[use:");
    if (!is_use) return items;
    for (const std::string& theme : themes_of(document.workspace.files)) {
        items.push_back(completion_item(theme, item_module, "a theme of the library", {}));
    }
    return items;
}

/// What a file that the document uses defines, or a theme that it could use.
Json offered_item(const Document& document, const Offer& offer) {
    const bool is_function = offer.signature.find('\\') + 1 != offer.signature.size();
    std::string about = offer.note.empty() ? "" : offer.note + "\n\n";
    about += "From " + ticked(offer.origin) + ".";
    Json item = completion_item(offer.name, is_function ? item_function : item_constant,
                                offer.signature, about);
    if (!offer.use) return item;
    item["additionalTextEdits"] = document.text_edits({*offer.use});
    // Behind what needs nothing.
    item["sortText"] = "~" + offer.name;
    return item;
}

Json completion(const Document& document, const Json& parameters) {
    const size_t at = document.offset(parameters.at("position"));
    Json items = theme_items(document, at);
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
    for (const Builtin& row : builtin_table()) {
        if (listed.insert(row.name).second) items.push_back(global_item(document, row.name));
    }
    for (const Offer& offer : offers(document.workspace.files, document.bundle)) {
        if (listed.insert(offer.name).second) items.push_back(offered_item(document, offer));
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

/// The messages about a document; what is wrong in a file that it uses is told at its name.
std::vector<Message> messages_about(const Document& document) {
    const Bundle& bundle = document.bundle;
    const auto all = check_bundle(document.workspace.files, bundle, Scope::program_and_tests);
    std::vector<Message> messages = checked_of(all.front()).messages;
    for (size_t i = 1; i < all.size(); ++i) {
        if (!has_faults(all[i])) continue;
        // A file that is used from afar is told of where the document's uses begin.
        const std::vector<Use>& uses = bundle.sources.front().uses;
        const auto direct =
            std::find_if(uses.begin(), uses.end(), [&](const Use& use) { return use.source == i; });
        const Use& use = direct == uses.end() ? uses.front() : *direct;
        const std::string first = only_faults(all)[i].front().say;
        messages.push_back({use.range, Severity::fault, "use",
                            called(bundle.sources[i]) + " is at fault: " + first});
    }
    return messages;
}

/// The ways to mend what a message is about, and for a name that a theme of the library has, to use
/// that.
std::vector<Fix> all_fixes_of(const Document& document, const Message& message) {
    std::vector<Fix> fixes = fixes_of(document.program, message);
    if (message.kind != "alive") return fixes;
    const std::string_view name = document.program.written(message.range);
    for (const Offer& offer : offers(document.workspace.files, document.bundle)) {
        if (offer.name != name || !offer.use) continue;
        fixes.push_back({"Use " + ticked(offer.origin), {*offer.use}});
    }
    return fixes;
}

Json code_action(const Document& document, const Json& parameters) {
    const Range range = document.bytes(parameters.at("range"));
    Json actions = Json::array();
    for (const Message& message : messages_about(document)) {
        if (message.range.end < range.begin || range.end < message.range.begin) continue;
        const std::vector<Fix> fixes = all_fixes_of(document, message);
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
             {"detail", is_entry ? "" : signature_of(document.program, piece)},
             {"range", document.range(piece.range)},
             {"selectionRange", document.range(is_entry ? piece.range : piece.name)}});
    }
    return symbols;
}

// Renaming.

bool is_word(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return is_word_byte(static_cast<uint8_t>(c));
    });
}

/// Why a local name can't become the new one; empty when it can.
std::string local_refusal(const Document& document, const Name& name, const std::string& fresh) {
    // A long local name means the local one in its whole definition; a short one in its scope.
    if (!meanings(document.bundle, 0, fresh).empty()) return fresh + " is defined already.";
    std::set<size_t> pieces;
    for (const Name* place : places_of(document, name)) pieces.insert(place->piece);
    for (const size_t piece : pieces) {
        for (const Name& other : document.program.names_of(document.program.pieces[piece])) {
            if (other.key == fresh) return fresh + " has a meaning in that definition already.";
        }
    }
    return {};
}

Json rename_local(const Document& document, const Name& name, const std::string& fresh) {
    const std::string why = local_refusal(document, name, fresh);
    if (!why.empty() && fresh != name.key) throw Refused(why);
    std::vector<Edit> edits;
    for (const Name* place : places_of(document, name)) edits.push_back({place->range, fresh});
    return document.edit(edits);
}

/// Whether a definition can have another name at all.
bool is_renamed(const Document& document, const Place& place) {
    return place.source == 0 || !document.bundle.sources[place.source].is_theme;
}

Json rename_global(const Document& document, const Place& place, const std::string& fresh) {
    if (!is_renamed(document, place)) throw Refused("The library's names stay as they are.");
    if (is_letter(fresh)) throw Refused("A definition's name has two letters or more.");
    if (is_given(fresh)) throw Refused(fresh + " is defined already.");
    const Target target = target_of(document.bundle, place);
    Json changes = Json::object();
    for (const auto& other : documents_with(document, target.key)) {
        const std::string why = refusal_of(other->bundle, target, fresh);
        if (!why.empty() && fresh != target.key) throw Refused(why);
        std::vector<Edit> edits;
        for (const Range& range : places_of(other->bundle, target)) edits.push_back({range, fresh});
        if (!edits.empty()) changes[other->uri] = other->text_edits(edits);
    }
    return {{"changes", std::move(changes)}};
}

Json rename(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    if (!name) throw Refused("No name stands there.");
    const auto fresh = parameters.at("newName").get<std::string>();
    if (!is_word(fresh)) throw Refused("A name is a word of small letters and _.");
    if (binder_of(document, *name)) return rename_local(document, *name, fresh);
    const auto place = place_of(document.bundle, *name);
    if (!place) throw Refused("Only what the program defines has a new name.");
    return rename_global(document, *place, fresh);
}

Json prepare_rename(const Document& document, const Json& parameters) {
    const Name* name = name_asked_for(document, parameters);
    if (!name) return nullptr;
    const auto place = place_of(document.bundle, *name);
    const bool can_be = binder_of(document, *name) || (place && is_renamed(document, *place));
    return can_be ? document.range(name->range) : Json(nullptr);
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
    for (const Message& message : messages_about(document)) {
        list.push_back(diagnostic_of(document, message));
    }
    return list;
}

}  // namespace marl::lab
