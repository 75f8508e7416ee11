// A bundle is read breadth first, so that files stand in the order in which they are first named.
#include "lab/uses.h"

#include <algorithm>
#include <filesystem>

#include "front/scan.h"
#include "lab/near.h"
#include "lab/notes.h"
#include "lab/test_notes.h"

namespace marl::lab {

namespace {

namespace fs = std::filesystem;

bool is_theme_name(std::string_view word) {
    return std::all_of(word.begin(), word.end(),
                       [](char c) { return is_word_byte(static_cast<uint8_t>(c)); });
}

Message fault(Range range, std::string say) {
    return {range, Severity::fault, "use", std::move(say)};
}

struct Reader {
    const Files& files;
    std::map<std::string, size_t> known = {};  // sources by identity
    Bundle bundle = {};

    void add(const std::string& path, std::string_view text, Reading reading = Reading::file) {
        const std::string identity = identity_of(path);
        const std::string folder = identity_of(files.library);
        SourceFile source;
        source.path = source.shown = path;
        source.is_theme = !files.library.empty() && fs::path(identity).parent_path() == folder;
        source.origin = source.is_theme ? fs::path(identity).stem().string() : origin_of(identity);
        source.program = read_program(text, reading);
        known[identity] = bundle.sources.size();
        bundle.sources.push_back(std::move(source));
    }

    /// It will stand in texts, in which brackets balance.
    std::string origin_of(const std::string& identity) const {
        fs::path origin = fs::path(identity).filename();
        if (!bundle.sources.empty()) {
            const fs::path folder = fs::path(identity_of(bundle.sources[0].path)).parent_path();
            origin = fs::path(identity).lexically_relative(folder);
        }
        std::string text = origin.string();
        std::replace(text.begin(), text.end(), '[', '(');
        std::replace(text.begin(), text.end(), ']', ')');
        return text;
    }

    /// The source at a path, which is read when it is new; none when it can't be read.
    std::optional<size_t> find(const std::string& path) {
        const auto old = known.find(identity_of(path));
        if (old != known.end()) return old->second;
        const auto text = file_text(files, path);
        if (!text) return std::nullopt;
        add(path, *text);
        return bundle.sources.size() - 1;
    }

    /// Why a word of a note names no file that can be read.
    std::string refusal(const std::string& word) const {
        if (word.find_first_of("[]") != word.npos) return "A path has no brackets.";
        if (word.find('/') != word.npos) return "There is no file " + ticked(word) + " to read.";
        if (!is_theme_name(word)) {
            return ticked(word) +
                   " is no theme of the library, and no path: a path begins with `./` or another "
                   "folder, and has no blank in it.";
        }
        const std::vector<std::string> near = near_names(word, themes_of(files));
        return "The library has no theme " + ticked(word) +
               (near.empty() ? "." : "; is it " + ticked(near.front()) + "?");
    }

    void read_use(size_t source, const NoteWord& word) {
        const bool is_path = word.text.find('/') != std::string::npos;
        std::optional<size_t> used;
        if (word.text.find_first_of("[]") == std::string::npos &&
            (is_path || is_theme_name(word.text))) {
            const fs::path folder = fs::path(bundle.sources[source].path).parent_path();
            used = find(is_path ? (folder / word.text).lexically_normal().string()
                                : path_of_theme(files, word.text));
        }
        SourceFile& from = bundle.sources[source];
        if (!used) from.use_faults.push_back(fault(word.range, refusal(word.text)));
        from.uses.push_back({word.text, word.range, used});
    }

    void read_uses(size_t source) {
        const std::vector<ToolNote> notes = tool_notes(bundle.program(source));
        for (const ToolNote& note : notes) {
            if (note.word != "use") continue;
            const std::vector<NoteWord> words = note_words(bundle.program(source), note.body);
            for (const NoteWord& word : words) read_use(source, word);
            if (!words.empty()) continue;
            bundle.sources[source].use_faults.push_back(
                fault(bundle.program(source).pieces[note.piece].range, "This note names nothing."));
        }
    }

    void list_used_names(size_t source) {
        std::set<std::string, std::less<>> names;
        for (const Use& use : bundle.sources[source].uses) {
            if (!use.source) continue;
            for (const auto& [key, piece] : bundle.program(*use.source).definitions) {
                if (is_own_word(key)) names.insert(key);
            }
        }
        bundle.sources[source].program.used_names = std::move(names);
    }
};

/// Goes from names to what they mean.
struct Walk {
    const Bundle& bundle;
    std::map<std::string, std::vector<Place>, std::less<>> redefined;
    Reached reached = {};
    std::vector<Place> rest = {};

    void go_to(const Place& place) {
        if (reached.places.insert(place).second) rest.push_back(place);
    }

    void give(const std::string& key) {
        if (!reached.given.insert(key).second) return;
        const Program& prelude = prelude_program();
        const auto piece = prelude.definitions.find(key);
        if (piece == prelude.definitions.end()) return;
        for (const Name& name : prelude.names_of(prelude.pieces[piece->second])) {
            if (name.role == Role::use && !name.binder) follow_given(name.key);
        }
    }

    void follow_given(const std::string& key) {
        const auto own = redefined.find(key);
        if (own == redefined.end()) return give(key);
        for (const Place& place : own->second) go_to(place);
    }

    void follow_names(size_t source, const Program& program, size_t piece) {
        for (const Name& name : program.names_of(program.pieces[piece])) {
            if (name.role != Role::use || name.binder) continue;
            const std::vector<Place> places = meanings(bundle, source, name.key);
            for (const Place& place : places) go_to(place);
            if (places.empty()) follow_given(name.key);
        }
    }

    void run() {
        while (!rest.empty()) {
            const Place place = rest.back();
            rest.pop_back();
            follow_names(place.source, bundle.program(place.source), place.piece);
        }
    }
};

/// Looks through one source of a bundle.
struct Finding {
    const Bundle& bundle;
    const size_t index;
    const SourceFile& source = bundle.sources[index];
    std::vector<Message> messages = source.use_faults;
    std::set<size_t> needed = {};  // the sources that some name is from

    /// Tells the names of an expression or a definition that can mean two things.
    void look_at(const Program& program, const Piece& piece) {
        std::set<std::string_view> told;
        for (const Name& name : program.names_of(piece)) {
            if (name.role != Role::use || name.binder) continue;
            const std::vector<Place> places = meanings(bundle, index, name.key);
            for (const Place& place : places) needed.insert(place.source);
            if (places.size() < 2 || !told.insert(name.key).second) continue;
            messages.push_back(fault(name.range, ambiguous(name.key, places)));
        }
    }

    std::string ambiguous(std::string_view key, const std::vector<Place>& places) const {
        return ticked(key) + " is defined in " + called(bundle.sources[places[0].source]) +
               " and in " + called(bundle.sources[places[1].source]) +
               ", which are both used here.";
    }

    /// A long local name means the local one in its whole definition, and another file's name is
    /// nothing that one sees beside it.
    void look_at_locals(const Piece& piece) {
        std::set<std::string_view> told;
        for (const Name& name : source.program.names_of(piece)) {
            if (name.role != Role::parameter && name.role != Role::local) continue;
            const std::vector<Place> places = meanings(bundle, index, name.key);
            if (places.empty() || places[0].source == index) continue;
            if (!told.insert(name.key).second) continue;
            messages.push_back(
                fault(name.range, "The local name " + ticked(name.key) + " hides the one of " +
                                      called(bundle.sources[places[0].source]) +
                                      ", which is used here. Give the local one another name."));
        }
    }

    void look_at_tests() {
        for (const TestNote& test : test_notes(source.program)) {
            Program expression = read_expression(source.program, test.expression);
            look_at(expression, expression.pieces.front());
        }
    }

    void look_at_keeps() {
        for (const ToolNote& note : tool_notes(source.program)) {
            if (note.word != "keep") continue;
            const std::vector<NoteWord> words = note_words(source.program, note.body);
            if (words.empty()) {
                messages.push_back(
                    fault(source.program.pieces[note.piece].range, "This note names nothing."));
            }
            for (const NoteWord& word : words) {
                const std::vector<Place> places = meanings(bundle, index, word.text);
                for (const Place& place : places) needed.insert(place.source);
                if (places.size() == 1) continue;
                messages.push_back(fault(
                    word.range, places.empty() ? "No file that is used here defines " +
                                                     ticked(word.text) + ", so it can't be kept."
                                               : ambiguous(word.text, places)));
            }
        }
    }

    void look_at_uses() {
        std::set<size_t> before;
        for (const Use& use : source.uses) {
            if (!use.source) continue;
            const bool again = !before.insert(*use.source).second;
            const auto& definitions = bundle.program(*use.source).definitions;
            const bool has_effect =
                std::any_of(definitions.begin(), definitions.end(),
                            [](const auto& one) { return !is_own_word(one.first); });
            if (!again && (needed.contains(*use.source) || has_effect)) continue;
            messages.push_back({use.range, Severity::warning, "unused_use",
                                again ? ticked(use.written) + " is used already."
                                      : "Nothing here needs " + ticked(use.written) + "."});
        }
    }

    /// Combinators and operators are one for all files.
    void look_at_redefinitions() {
        for (const auto& [key, places] : redefinitions(bundle)) {
            for (size_t i = 1; i < places.size(); ++i) {
                if (places[i].source != index) continue;
                messages.push_back(fault(source.program.pieces[places[i].piece].name,
                                         ticked(key) + " is also defined in " +
                                             ticked(bundle.sources[places[0].source].shown) +
                                             ", and has one meaning in the whole program."));
            }
        }
    }

    void run() {
        const std::vector<Message> notes = find_note_faults(source.program);
        messages.insert(messages.end(), notes.begin(), notes.end());
        const std::vector<Message> tests = find_test_note_faults(source.program);
        messages.insert(messages.end(), tests.begin(), tests.end());
        for (const Piece& piece : source.program.pieces) {
            if (piece.kind == PieceKind::note || piece.damaged) continue;
            look_at(source.program, piece);
            look_at_locals(piece);
        }
        look_at_tests();
        look_at_keeps();
        if (index == 0) {
            for (const Place& place : meanings(bundle, 0, "shut")) needed.insert(place.source);
        }
        look_at_uses();
        look_at_redefinitions();
    }
};

}  // namespace

Bundle read_bundle(const Files& files, const std::string& path, std::string_view text,
                   Reading reading) {
    Reader reader{files};
    reader.add(path, text, reading);
    for (size_t i = 0; i < reader.bundle.sources.size(); ++i) reader.read_uses(i);
    for (size_t i = 0; i < reader.bundle.sources.size(); ++i) reader.list_used_names(i);
    return std::move(reader.bundle);
}

bool is_own_word(std::string_view key) {
    return key.size() > 1 && is_word_byte(static_cast<uint8_t>(key[0])) && !builtin_arity(key);
}

std::string called(const SourceFile& source) {
    return source.is_theme ? "the library's " + ticked(source.origin) : ticked(source.shown);
}

std::vector<Place> meanings(const Bundle& bundle, size_t source, std::string_view word) {
    if (!is_own_word(word)) return {};
    const auto& own = bundle.program(source).definitions;
    if (const auto piece = own.find(word); piece != own.end()) return {{source, piece->second}};
    std::vector<Place> places;
    for (const Use& use : bundle.sources[source].uses) {
        if (!use.source) continue;
        const auto& definitions = bundle.program(*use.source).definitions;
        const auto piece = definitions.find(word);
        if (piece == definitions.end()) continue;
        const Place place{*use.source, piece->second};
        if (std::find(places.begin(), places.end(), place) == places.end()) places.push_back(place);
    }
    return places;
}

std::map<std::string, std::vector<Place>, std::less<>> redefinitions(const Bundle& bundle) {
    std::map<std::string, std::vector<Place>, std::less<>> found;
    for (size_t i = 0; i < bundle.sources.size(); ++i) {
        for (const auto& [key, piece] : bundle.program(i).definitions) {
            const bool is_word = is_word_byte(static_cast<uint8_t>(key[0]));
            if (!is_word) found[key].push_back({i, piece});
        }
    }
    return found;
}

std::set<Place> noted_places(const Bundle& bundle) {
    std::set<Place> noted;
    for (size_t i = 0; i < bundle.sources.size(); ++i) {
        for (const ToolNote& note : tool_notes(bundle.program(i))) {
            if (note.word != "keep") continue;
            for (const NoteWord& word : note_words(bundle.program(i), note.body)) {
                const std::vector<Place> places = meanings(bundle, i, word.text);
                noted.insert(places.begin(), places.end());
            }
        }
    }
    return noted;
}

std::set<Place> kept_places(const Bundle& bundle) {
    std::set<Place> kept = noted_places(bundle);
    const std::vector<Place> shut = meanings(bundle, 0, "shut");
    kept.insert(shut.begin(), shut.end());
    return kept;
}

Reached reach_from(const Bundle& bundle, size_t source, const Program& expression,
                   const std::set<Place>& roots) {
    Walk walk{bundle, redefinitions(bundle)};
    for (const Place& root : roots) walk.go_to(root);
    walk.follow_names(source, expression, 0);
    walk.run();
    return std::move(walk.reached);
}

Reached reach_of(const Bundle& bundle, std::set<Place> roots) {
    const Program& first = bundle.program(0);
    for (const auto& [key, piece] : first.definitions) {
        if (!first.has_entry) roots.insert({0, piece});
    }
    return reach_from(bundle, 0, first, roots);
}

std::vector<Message> find_use_messages(const Bundle& bundle, size_t source) {
    Finding finding{bundle, source};
    finding.run();
    return std::move(finding.messages);
}

}  // namespace marl::lab
