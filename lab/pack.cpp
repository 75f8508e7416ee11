// Everything is decided on places, definitions by source and piece, and only at the end is text
// made: each piece as it is written, with new names and written-out backquotes put into it. So
// nothing of what a definition means can change but what was meant to.
#include "lab/pack.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>

#include "front/scan.h"
#include "lab/backquotes.h"
#include "lab/lab.h"
#include "lab/reach.h"
#include "lab/walk.h"

namespace marl::lab {

namespace {

/// A word made of what a file is called, for new names.
std::string word_for(const SourceFile& source) {
    std::string word = std::filesystem::path(source.origin).stem().string();
    std::erase_if(word, [](char c) { return !is_word_byte(static_cast<uint8_t>(c)); });
    return word.empty() ? "file" : word;
}

std::vector<std::string> words_in(std::string_view text) {
    std::vector<std::string> words(1);
    for (const char c : text) {
        if (is_word_byte(static_cast<uint8_t>(c))) {
            words.back() += c;
        } else if (!words.back().empty()) {
            words.emplace_back();
        }
    }
    return words;
}

/// The combinators that some file defines, but for those that the language drops as they can't
/// work. Nobody needs to name them: built-ins answer with some.
std::set<Place> combinators(const Bundle& bundle) {
    std::set<Place> places;
    for (const auto& [key, defined] : redefinitions(bundle)) {
        const bool is_combinator = key[0] >= 'A' && key[0] <= 'Z';
        for (const Place& place : defined) {
            const bool works = !find_reach(bundle.program(place.source)).doomed.contains(key);
            if (is_combinator && works) places.insert(place);
        }
    }
    return places;
}

struct Packing {
    const Bundle& bundle;
    const Program& expression;  // its first piece is the entry
    Reached reached = {};
    std::map<std::string, std::vector<Place>, std::less<>> by_key = {};
    std::map<Place, std::string> new_names = {};
    std::set<std::string, std::less<>> taken = {};  // names that mean something already
    Packed packed = {};

    const Piece& piece_of(const Place& place) const {
        return bundle.program(place.source).pieces[place.piece];
    }

    void reach() {
        std::set<Place> roots = kept_places(bundle);
        roots.merge(combinators(bundle));
        for (size_t before = SIZE_MAX; before != roots.size();) {
            before = roots.size();
            reached = reach_from(bundle, 0, expression, roots);
            if (reached.loads()) add_named_in_texts(roots);
        }
        for (const Place& place : reached.places) by_key[piece_of(place).key].push_back(place);
    }

    /// What the texts of a program name that loads texts.
    void add_named_in_texts(std::set<Place>& roots) const {
        const auto add = [&](size_t source, Node* node) {
            if (!is_leaf_of(node, '[')) return;
            for (const std::string& word : words_in(leaf_bytes(node))) {
                const std::vector<Place> places = meanings(bundle, source, word);
                roots.insert(places.begin(), places.end());
            }
        };
        for_each_node(expression.pieces.front().value, [&](Node* node) { add(0, node); });
        for (const Place& place : reached.places) {
            for_each_node(piece_of(place).expression, [&](Node* node) { add(place.source, node); });
        }
    }

    // New names.

    /// A local name hides a new one as well, so no file may have it for anything.
    void list_taken() {
        for (const Name& name : expression.names) taken.insert(name.key);
        for (const SourceFile& source : bundle.sources) {
            for (const Name& name : source.program.names) taken.insert(name.key);
        }
    }

    std::string new_name(const Place& place) {
        // What is for its file alone begins with _ and goes on doing so.
        const std::string& key = piece_of(place).key;
        const std::string word = word_for(bundle.sources[place.source]);
        std::string name = key[0] == '_' ? "_" + word + key : word + "_" + key;
        while (is_given(name) || !taken.insert(name).second) name += '_';
        return name;
    }

    void tell_clash(const Place& place, const Place& other) {
        packed.messages[place.source].push_back(
            {piece_of(place).name, Severity::fault, "use",
             ticked(piece_of(place).key) + " is also defined in " +
                 called(bundle.sources[other.source]) +
                 ", and nothing is renamed in a program that loads texts."});
    }

    void rename() {
        list_taken();
        for (const auto& [key, places] : by_key) {
            if (!is_own_word(key)) continue;
            for (size_t i = 1; i < places.size(); ++i) {
                if (reached.loads()) {
                    tell_clash(places[i], places[0]);
                } else {
                    new_names[places[i]] = new_name(places[i]);
                }
            }
        }
    }

    // The text.

    void rename_uses(size_t source, const Program& program, const Piece& piece,
                     std::vector<Edit>& changes) const {
        for (const Name& name : program.names_of(piece)) {
            if (name.role != Role::use || name.binder) continue;
            const std::vector<Place> places = meanings(bundle, source, name.key);
            const auto fresh = places.empty() ? new_names.end() : new_names.find(places.front());
            if (fresh != new_names.end()) changes.push_back({name.range, fresh->second});
        }
    }

    std::string entry() const {
        std::vector<Edit> changes = written_out_backquotes(expression, "").front();
        const Piece& piece = expression.pieces.front();
        rename_uses(0, expression, piece, changes);
        return changed(expression, piece.range, std::move(changes));
    }

    /// The definitions of one source, each behind a comma.
    std::string part(size_t source) {
        const Program& program = bundle.program(source);
        const std::string place = source == 0 ? "" : " " + bundle.sources[source].origin;
        const auto backquotes = written_out_backquotes(program, place);
        std::string text;
        for (auto at = reached.places.lower_bound({source, 0});
             at != reached.places.end() && at->source == source; ++at) {
            const Piece& piece = piece_of(*at);
            std::vector<Edit> changes = backquotes[at->piece];
            const auto fresh = new_names.find(*at);
            packed.definitions[fresh == new_names.end() ? piece.key : fresh->second] = *at;
            if (fresh != new_names.end()) {
                const Range name{piece.name.begin, piece.name.begin + piece.key.size()};
                changes.push_back({name, fresh->second});
            }
            rename_uses(source, program, piece, changes);
            text += ",\n\n" + changed(program, piece.range, std::move(changes));
        }
        return text;
    }

    static std::string note(const SourceFile& source) {
        return source.is_theme ? "[From " + source.origin + ", a theme of the library.]"
                               : "[From " + source.origin + ".]";
    }

    void write() {
        packed.text = entry();
        packed.definitions[""] = {0, 0};
        for (size_t i = 0; i < bundle.sources.size(); ++i) {
            const std::string text = part(i);
            if (!text.empty()) packed.text += ",\n\n" + note(bundle.sources[i]) + text;
        }
        packed.text += '\n';
    }

    void run() {
        packed.messages.resize(bundle.sources.size());
        reach();
        rename();
        if (!has_faults(packed.messages)) write();
    }
};

Message no_entry() {
    return {{0, 0},
            Severity::fault,
            "use",
            "The first piece of this file is a note or empty, so it is a file of definitions, and "
            "has no entry to run."};
}

}  // namespace

Packed pack_expression(const Bundle& bundle, const Program& expression) {
    Packing packing{bundle, expression};
    packing.run();
    return std::move(packing.packed);
}

Packed pack_to_run(const Files& files, const Bundle& bundle) {
    Packed checked{{}, check_bundle(files, bundle, Scope::program)};
    if (!bundle.program(0).has_entry) {
        checked.messages[0].insert(checked.messages[0].begin(), no_entry());
    }
    if (has_faults(checked.messages)) return checked;
    Packed packed = pack_expression(bundle, bundle.program(0));
    for (size_t i = 0; i < checked.messages.size(); ++i) {
        std::vector<Message>& messages = packed.messages[i];
        messages.insert(messages.begin(), checked.messages[i].begin(), checked.messages[i].end());
    }
    return packed;
}

Packed pack(const Files& files, const Bundle& bundle) {
    Packed packed = pack_to_run(files, bundle);
    if (has_faults(packed.messages)) return packed;
    packed.text = format_source(packed.text).text.value_or(packed.text);
    return packed;
}

}  // namespace marl::lab
