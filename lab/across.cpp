// A file knows what it uses but not who uses it. So a question about all places of a definition is
// asked of each file that there is, with a bundle of its own.
#include "lab/across.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "front/scan.h"
#include "lab/doc.h"
#include "lab/notes.h"
#include "lab/test_notes.h"

namespace marl::lab {

namespace {

namespace fs = std::filesystem;

constexpr size_t most_programs = 2000;
constexpr size_t most_entries = 100000;  // of folders that are gone through

bool is_global(const Name& name) {
    return name.role == Role::definition || (name.role == Role::use && !name.binder);
}

struct Finding {
    const Bundle& bundle;
    const Target& target;
    std::vector<Range> places = {};

    bool is_meant(std::string_view key) const {
        if (key != target.key) return false;
        const std::vector<Place> meant = meanings(bundle, 0, key);
        return std::any_of(meant.begin(), meant.end(), [&](const Place& place) {
            return target_of(bundle, place).identity == target.identity;
        });
    }

    void look_at(const Program& program) {
        for (const Name& name : program.names) {
            if (is_global(name) && is_meant(name.key)) places.push_back(name.range);
        }
    }

    void run() {
        const Program& program = bundle.program(0);
        look_at(program);
        for (const TestNote& test : test_notes(program)) {
            look_at(read_expression(program, test.expression));
        }
        for (const ToolNote& note : tool_notes(program)) {
            if (note.word != "keep") continue;
            for (const NoteWord& word : note_words(program, note.body)) {
                if (is_meant(word.text)) places.push_back(word.range);
            }
        }
        std::sort(places.begin(), places.end(), [](Range a, Range b) { return a.begin < b.begin; });
    }
};

/// How a file comes to use a theme: by one word more in its first note of that kind, or by such a
/// note behind its first piece.
Edit use_of(const Program& program, const std::string& theme) {
    for (const ToolNote& note : tool_notes(program)) {
        if (note.word == "use") return {{note.body.end, note.body.end}, " " + theme};
    }
    const size_t end = program.pieces.front().range.end;
    return {{end, end}, ",\n\n[use: " + theme + "]"};
}

void add_offers(const Program& program, const std::string& origin, const std::optional<Edit>& use,
                std::vector<Offer>& offers) {
    for (const auto& [key, index] : program.definitions) {
        if (!is_own_word(key) || key.starts_with('_')) continue;
        const Piece& piece = program.pieces[index];
        offers.push_back(
            {key, signature_of(program, piece), note_before(program, piece), origin, use});
    }
}

bool is_program(const fs::directory_entry& entry) {
    std::error_code none;
    return entry.path().extension() == ".marl" && entry.is_regular_file(none);
}

}  // namespace

std::optional<Place> place_of(const Bundle& bundle, const Name& name) {
    if (!is_global(name)) return std::nullopt;
    const std::vector<Place> places = meanings(bundle, 0, name.key);
    if (places.empty()) return std::nullopt;
    return places.front();
}

Target target_of(const Bundle& bundle, const Place& place) {
    const SourceFile& source = bundle.sources[place.source];
    return {identity_of(source.path), source.program.pieces[place.piece].key};
}

std::vector<Range> places_of(const Bundle& bundle, const Target& target) {
    Finding finding{bundle, target};
    finding.run();
    return std::move(finding.places);
}

std::string refusal_of(const Bundle& bundle, const Target& target, const std::string& fresh) {
    const std::vector<Range> places = places_of(bundle, target);
    if (places.empty()) return {};
    const Program& program = bundle.program(0);
    const std::string in = " in " + ticked(bundle.sources[0].shown);
    if (!meanings(bundle, 0, fresh).empty())
        return ticked(fresh) + " is defined already" + in + ".";
    for (const Range& place : places) {
        const auto piece = program.piece_at(place.begin);
        if (!piece) continue;
        for (const Name& other : program.names_of(program.pieces[*piece])) {
            if (other.key == fresh) return ticked(fresh) + " has a meaning already" + in + ".";
        }
    }
    return {};
}

std::vector<Offer> offers(const Files& files, const Bundle& bundle) {
    std::vector<Offer> offered;
    std::set<std::string> used{identity_of(bundle.sources[0].path)};
    for (const Use& use : bundle.sources[0].uses) {
        if (!use.source) continue;
        const SourceFile& source = bundle.sources[*use.source];
        if (!used.insert(identity_of(source.path)).second) continue;
        add_offers(source.program, source.origin, std::nullopt, offered);
    }
    for (const std::string& theme : themes_of(files)) {
        const std::string path = path_of_theme(files, theme);
        const auto text = used.contains(identity_of(path)) ? std::nullopt : file_text(files, path);
        if (!text) continue;
        add_offers(read_program(*text), theme, use_of(bundle.program(0), theme), offered);
    }
    return offered;
}

std::string folder_of(const std::string& path) {
    return fs::path(identity_of(path)).parent_path().string();
}

std::vector<std::string> programs_in(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder, none)) {
        if (is_program(entry)) paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::vector<std::string> programs_under(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code none;
    size_t entries = 0;
    const auto options = fs::directory_options::skip_permission_denied;
    for (auto at = fs::recursive_directory_iterator(folder, options, none);
         at != fs::recursive_directory_iterator() && paths.size() < most_programs &&
         ++entries < most_entries;
         at.increment(none)) {
        const bool is_hidden = at->path().filename().string().starts_with('.');
        if (is_hidden) at.disable_recursion_pending();
        if (!is_hidden && is_program(*at)) paths.push_back(at->path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string path_of_uri(std::string_view uri) {
    constexpr std::string_view scheme = "file://";
    if (!uri.starts_with(scheme)) return std::string(uri);
    uri.remove_prefix(scheme.size());
    std::string path;
    for (size_t i = 0; i < uri.size(); ++i) {
        unsigned byte = 0;
        const char* digits = uri.data() + i + 1;
        const bool is_escape = uri[i] == '%' && i + 2 < uri.size() &&
                               std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
        path += is_escape ? static_cast<char>(byte) : uri[i];
        if (is_escape) i += 2;
    }
    return path;
}

std::string uri_of_path(const std::string& path) {
    constexpr std::string_view plain = "-._~/";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string uri = "file://";
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) || plain.find(c) != plain.npos) {
            uri += c;
        } else {
            uri += '%';
            uri += digits[byte >> 4];
            uri += digits[byte & 0xF];
        }
    }
    return uri;
}

}  // namespace marl::lab
