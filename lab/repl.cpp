// A session is a notebook of definitions. An expression is evaluated in a child process, which
// reads all of them as one program with the expression as its entry; so a constant is evaluated
// anew for each expression that uses it.
//
// A definition is looked at as if the entry used it. What it lacks may come later, and is told as a
// warning.
#include "lab/repl.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "front/scan.h"
#include "lab/across.h"
#include "lab/doc.h"
#include "lab/evaluate.h"
#include "lab/files.h"
#include "lab/lab.h"
#include "lab/message.h"
#include "lab/notebook.h"
#include "lab/notes.h"
#include "lab/pack.h"
#include "lab/prompt.h"
#include "lab/reference.h"
#include "reduce/tables.h"

namespace marl::lab {

namespace {

constexpr const char* help_text =
    "An expression is evaluated and its value shown; name\\body defines a name, also again.\n"
    "[use: list ./tax.marl] takes names from a theme of the library, or from a file.\n"
    ":help NAME    its definition and note, or what the reference says about it\n"
    ":time EXPR    evaluates, and shows the seconds of CPU time that it took\n"
    ":steps EXPR   evaluates, and shows every state of the reduction\n"
    ":forget NAME  drops a definition\n"
    ":load FILE    takes the definitions of a file, with their notes\n"
    ":save FILE    writes the definitions of the session, as a program\n"
    ":quit         ends the session, like the end of the input\n";

Notebook notebook;

// Input.

/// What is typed, as a program with all that the session knows.
struct Typed {
    std::string program;
    size_t first_line = 0;  // of the program, the one before what was typed
    size_t lines = 0;
    bool has_expression = false;
    Bundle bundle = {};  // made of the program
};

/// What is wrong in the files that a program uses. Whether nothing is.
bool show_used(const Bundle& bundle, std::vector<std::vector<Message>> messages) {
    messages.front().clear();
    messages = only_faults(std::move(messages));
    std::cout << shown_messages(bundle, messages);
    return !has_faults(messages);
}

/// Shows the messages about what was typed, or else, when there are faults, about the rest. Whether
/// nothing is in the way.
bool show_messages(Typed& typed) {
    const Files files = files_on_disk();
    typed.bundle = read_bundle(files, "./session", typed.program, Reading::expression);
    const auto messages = check_bundle(files, typed.bundle, Scope::program);
    const Lines lines(typed.program);
    std::string others;
    bool told = false;
    bool good = show_used(typed.bundle, messages);
    for (Message message : messages.front()) {
        constexpr std::array about_program{"entry", "unreached", "doomed", "unused_use"};
        if (std::find(about_program.begin(), about_program.end(), message.kind) !=
            about_program.end()) {
            continue;
        }
        const bool may_come = message.kind == "alive" && !typed.has_expression &&
                              message.range.begin < message.range.end;
        if (may_come) message.severity = Severity::warning;
        const bool is_fault = message.severity == Severity::fault;
        good = good && !is_fault;
        Placed placed(message, lines);
        if (placed.line > typed.first_line && placed.line <= typed.first_line + typed.lines) {
            placed.line -= typed.first_line;
            placed.end_line -= typed.first_line;
            told = told || is_fault;
            std::cout << shown_message("input", placed);
        } else if (is_fault) {
            others += shown_message("session", placed);
        }
    }
    if (!told) std::cout << others;
    return good;
}

/// An entry that uses names; operators are left out.
std::string entry_of(const std::set<std::string>& keys) {
    std::string entry;
    for (const std::string& key : keys) {
        const bool is_word = is_word_byte(static_cast<uint8_t>(key[0]));
        if (is_word) entry += (entry.empty() ? "" : ";") + key;
    }
    return entry.empty() ? "0" : entry;
}

/// Whether a piece is a note of the definition behind it. At the prompt, it could be an expression.
bool is_note_of_next(const Program& program, size_t piece) {
    const auto& pieces = program.pieces;
    const std::string_view written = program.written(pieces[piece].range);
    return pieces[piece].kind == PieceKind::note && written.starts_with('[') &&
           piece + 1 < pieces.size() && is_kept(pieces[piece + 1]);
}

/// What notes in a program say that it uses.
std::vector<std::string> uses_in(const Program& program) {
    std::vector<std::string> uses;
    for (const ToolNote& note : tool_notes(program)) {
        if (note.word != "use") continue;
        for (const NoteWord& word : note_words(program, note.body)) uses.push_back(word.text);
    }
    return uses;
}

void evaluate(const Typed& typed, Show show) {
    const Packed packed = pack_expression(typed.bundle, typed.bundle.program(0));
    std::cout << shown_messages(typed.bundle, packed.messages);
    if (!has_faults(packed.messages)) evaluate(packed.text, show);
}

/// Takes definitions and what they use, and an expression in front of them if there is one.
void take_input(const std::string& input, Show show) {
    // Behind an entry the first piece shows whether it is a definition.
    const Program program = read_program("0,\n" + input);
    std::set<std::string> keys;
    for (const Piece& piece : program.pieces) {
        if (is_kept(piece)) keys.insert(piece.key);
    }
    Typed typed;
    typed.has_expression =
        program.pieces.size() < 2 || !(is_kept(program.pieces[1]) || is_note_of_next(program, 1) ||
                                       is_tool_note(program, program.pieces[1]));
    typed.lines = static_cast<size_t>(std::count(input.begin(), input.end(), '\n')) + 1;
    typed.first_line = typed.has_expression ? 0 : 2;
    const std::string before = typed.has_expression ? "" : entry_of(keys) + "\n,\n";
    typed.program = notebook.program(before + input, keys);
    if (!show_messages(typed)) return;
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        if (is_kept(program.pieces[i])) notebook.define(definition_of(program, i));
    }
    for (const std::string& use : uses_in(program)) notebook.use(use);
    if (typed.has_expression) evaluate(typed, show);
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \n");
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(" \n,") + 1 - first);
}

/// Whether no bracket is open at the end.
bool is_whole(const std::string& text) {
    std::vector<char> open;
    for (const char c : text) {
        const bool in_bytes = !open.empty() && open.back() == '[';
        if (c == '[' || (!in_bytes && (c == '(' || c == '{'))) open.push_back(c);
        const bool closes = c == ']' || (!in_bytes && (c == ')' || c == '}'));
        if (closes && !open.empty() && open.back() == partner(c)) open.pop_back();
    }
    return open.empty();
}

// Commands.

/// What the session can name of the files that it uses.
std::vector<Offer> used_names() {
    const Files files = files_on_disk();
    const Bundle bundle =
        read_bundle(files, "./session", notebook.program("0"), Reading::expression);
    std::vector<Offer> all = offers(files, bundle);
    std::erase_if(all, [](const Offer& offer) { return offer.use.has_value(); });
    return all;
}

/// Shows what a used file says of a name. Whether one does.
bool show_used_name(const std::string& name) {
    for (const Offer& offer : used_names()) {
        if (offer.name != name) continue;
        if (!offer.note.empty()) std::cout << "[" << offer.note << "]\n";
        std::cout << offer.signature << "  from " << offer.origin << '\n';
        return true;
    }
    return false;
}

void show_help(const std::string& name) {
    const Definition* definition = notebook.find(name);
    const std::string entry = reference_entry(name);
    if (name.empty()) {
        std::cout << help_text;
    } else if (definition) {
        if (!definition->note.empty()) std::cout << definition->note << '\n';
        std::cout << definition->text << '\n';
    } else if (show_used_name(name)) {
        return;
    } else if (!entry.empty()) {
        std::cout << name << '\n' << entry.substr(0, entry.find_last_not_of('\n') + 1) << '\n';
    } else if (const auto shown = shown_name(files_on_disk(), name, PageForm::text)) {
        std::cout << *shown;
    } else if (is_given(name)) {
        std::cout << ticked(name) << " has no entry.\n";
    } else {
        std::cout << "The reference has nothing about " << ticked(name) << ".\n";
    }
}

/// Names and texts as an argument of a command.
void need(const std::string& command, const std::string& what) {
    std::cout << command << " needs " << what << ".\n";
}

void forget(const std::string& names) {
    if (names.empty()) return need(":forget", "the name of a definition");
    std::istringstream words(names);
    for (std::string name; words >> name;) {
        if (!notebook.forget(name)) std::cout << "Nothing defines " << ticked(name) << ".\n";
    }
}

void load_file(const std::string& path) {
    if (path.empty()) return need(":load", "the name of a file");
    const FileText file = read_file(path);
    if (!file.text) {
        std::cout << file.why << '\n';
        return;
    }
    const Files files = files_on_disk();
    const Bundle bundle = read_bundle(files, path, *file.text);
    const auto messages = check_bundle(files, bundle, Scope::program);
    if (has_faults(messages)) {
        std::cout << shown_messages(bundle, messages);
        return;
    }
    const Program& program = bundle.program(0);
    for (const Use& use : bundle.sources.front().uses) {
        const SourceFile& used = bundle.sources[*use.source];
        const bool has_folder = used.path.find('/') != std::string::npos;
        notebook.use(used.is_theme ? used.origin : has_folder ? used.path : "./" + used.path);
    }
    size_t count = 0;
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        if (!is_kept(program.pieces[i]) || !program.counts(i)) continue;
        notebook.define(definition_of(program, i));
        ++count;
    }
    std::cout << count << (count == 1 ? " definition\n" : " definitions\n");
}

void save_file(const std::string& path) {
    if (path.empty()) return need(":save", "the name of a file");
    const std::string folder = std::filesystem::path(path).parent_path().string();
    const std::string program = notebook.program("a\\0", {}, folder.empty() ? "." : folder) + '\n';
    const Formatted formatted = format_source(program);
    const std::string why = write_file(path, formatted.text.value_or(program));
    const size_t count = notebook.definitions.size();
    if (!why.empty()) {
        std::cout << why << '\n';
    } else {
        std::cout << count << (count == 1 ? " definition\n" : " definitions\n");
    }
}

/// Whether the session goes on.
bool take_command(const std::string& line) {
    const size_t blank = std::min(line.find(' '), line.size());
    const std::string command = line.substr(0, blank);
    const std::string rest = trimmed(line.substr(blank));
    if (command == ":quit") return false;
    if (command == ":help") {
        show_help(rest);
    } else if (command == ":time" || command == ":steps") {
        if (rest.empty()) need(command, "an expression");
        if (!rest.empty())
            take_input(rest, command == ":time" ? Show::value_and_time : Show::steps);
    } else if (command == ":forget") {
        forget(rest);
    } else if (command == ":load") {
        load_file(rest);
    } else if (command == ":save") {
        save_file(rest);
    } else {
        std::cout << "There is no command " << command << "; :help shows them.\n";
    }
    return true;
}

std::vector<std::string> completions(std::string_view begin) {
    std::vector<std::string> names;
    for (const Definition& one : notebook.definitions) names.push_back(one.key);
    for (const Offer& offer : used_names()) names.push_back(offer.name);
    for (const Builtin& row : builtin_table()) names.emplace_back(row.name);
    std::erase_if(names, [&](const std::string& name) { return !name.starts_with(begin); });
    return names;
}

}  // namespace

int run_repl(const std::string& path) {
    open_prompt(completions);
    if (is_terminal()) std::cout << "marl. :help shows what can be typed.\n" << std::flush;
    if (!path.empty()) load_file(path);
    bool goes_on = true;
    while (goes_on) {
        std::cout << std::flush;
        const auto input = read_input(is_whole);
        if (!input) break;
        const std::string whole = trimmed(*input);
        if (whole.starts_with(':')) {
            goes_on = take_command(whole);
        } else if (!whole.empty()) {
            take_input(whole, Show::value);
        }
    }
    if (is_terminal()) std::cout << '\n';
    return 0;
}

}  // namespace marl::lab
