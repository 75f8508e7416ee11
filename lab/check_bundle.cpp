// Each source goes through the rules for one program, with the names that its uses give it taken
// for defined, and what the whole bundle reaches in it taken for alive. What only several files
// together can have wrong comes from uses.cpp.
#include "lab/check_bundle.h"

#include <algorithm>
#include <map>
#include <set>

#include "lab/faults.h"
#include "lab/reach.h"
#include "lab/test_notes.h"
#include "lab/warnings.h"

namespace marl::lab {

namespace {

bool is_fault(const Message& message) { return message.severity == Severity::fault; }

void append(std::vector<Message>& messages, std::vector<Message> more) {
    messages.insert(messages.end(), more.begin(), more.end());
}

/// What the bundle reaches in one source, with the entry when it is the first.
Reach reach_in(const Bundle& bundle, const Reached& reached, size_t source) {
    const Program& program = bundle.program(source);
    std::vector<std::string> roots;
    if (source == 0 && program.has_entry) roots.emplace_back();
    for (const Place& place : reached.places) {
        if (place.source == source) roots.push_back(program.pieces[place.piece].key);
    }
    Reach reach = find_reach(program, roots);
    reach.loads = reached.loads();
    return reach;
}

/// What is wrong with the expressions of a source's tests.
std::vector<Message> find_test_faults(const Program& program) {
    std::vector<Message> faults;
    for (const TestNote& test : test_notes(program)) {
        Program expression = read_expression(program, test.expression);
        if (expression.pieces.size() > 1) {
            faults.push_back({test.expression, Severity::fault, "test",
                              "A test is one expression; a comma stands only in a call list."});
        }
        expression.used_names = program.used_names;
        for (const auto& [key, piece] : program.definitions) expression.used_names.insert(key);
        std::vector<Message> found = find_faults(expression, find_reach(expression));
        std::erase_if(found, [](const Message& message) { return !is_fault(message); });
        append(faults, std::move(found));
    }
    return faults;
}

/// What stands behind a note for tools that is no whole piece is no fault of its own.
void drop_swallowed(const Program& program, std::vector<Message>& messages) {
    std::set<size_t> pieces;
    for (const Message& message : messages) {
        const auto piece = program.piece_at(message.range.begin);
        if (message.kind == "note" && piece) pieces.insert(*piece);
    }
    std::erase_if(messages, [&](const Message& message) {
        const auto piece = program.piece_at(message.range.begin);
        return message.kind != "note" && piece && pieces.contains(*piece);
    });
}

// Sentences that tell more.

/// The theme of the library that has a name; empty when none has.
std::string theme_with(const Files& files, std::string_view name) {
    for (const std::string& theme : themes_of(files)) {
        const auto text = file_text(files, path_of_theme(files, theme));
        if (text && read_program(*text).definitions.contains(name)) return theme;
    }
    return {};
}

void tell_themes(const Files& files, const SourceFile& source, std::vector<Message>& messages) {
    std::map<std::string, std::string> themes;
    for (Message& message : messages) {
        const bool is_open =
            message.say.ends_with(" is not defined.") || message.say.ends_with('?');
        if (message.kind != "alive" || !is_open) continue;
        const std::string name(source.program.written(message.range));
        if (!is_own_word(name)) continue;
        const auto known = themes.find(name);
        const std::string theme =
            known != themes.end() ? known->second : themes[name] = theme_with(files, name);
        if (!theme.empty()) message.say += " " + ticked("[use: " + theme + "]") + " gives one.";
    }
}

void tell_missing_entry(const Program& program, std::vector<Message>& messages) {
    if (program.has_entry) return;
    for (Message& message : messages) {
        if (message.kind != "lower") continue;
        message.say +=
            " The first piece of this file is a note or empty, so it is a file of definitions "
            "and has no entry.";
        return;
    }
}

// Redefinitions.

/// Whether the system's own definition of `given` relies on a name.
bool given_relies_on(const std::string& given, const std::string& key) {
    return find_reach(prelude_program(), {given}).alive.contains(key);
}

bool relies_on(const Program& program, size_t piece, const std::string& key) {
    for (const Name& name : program.names_of(program.pieces[piece])) {
        if (name.role != Role::use || name.binder || is_own_word(name.key)) continue;
        if (name.key == key || given_relies_on(name.key, key)) return true;
    }
    return false;
}

bool uses(const SourceFile& source, size_t used) {
    return std::any_of(source.uses.begin(), source.uses.end(),
                       [&](const Use& use) { return use.source == used; });
}

/// Tells who gives a combinator or an operator another meaning what else that changes.
std::vector<Message> find_far_redefinitions(const Bundle& bundle, const Reached& reached,
                                            size_t source) {
    std::vector<Message> messages;
    for (const auto& [key, places] : redefinitions(bundle)) {
        if (places.front().source != source) continue;
        for (const Place& place : reached.places) {
            const SourceFile& other = bundle.sources[place.source];
            if (place.source == source || uses(other, source)) continue;
            if (!relies_on(other.program, place.piece, key)) continue;
            const Program& program = bundle.program(source);
            messages.push_back({program.pieces[places.front().piece].name, Severity::warning,
                                "redefined_elsewhere",
                                ticked(key) + " gets another meaning also in " + called(other) +
                                    ", where " + ticked(other.program.pieces[place.piece].key) +
                                    " relies on it."});
            break;
        }
    }
    return messages;
}

bool tells_of_carriage_return(const Message& message) {
    return message.kind != "carriage_return" &&
           message.say.find("carriage return") != std::string::npos;
}

/// What a fault may be the reason of is left out, and what another message tells as well.
void drop_consequences(const Program& program, std::vector<Message>& messages) {
    if (std::any_of(messages.begin(), messages.end(), tells_of_carriage_return)) {
        std::erase_if(messages,
                      [](const Message& message) { return message.kind == "carriage_return"; });
    }
    drop_swallowed(program, messages);
    const bool faulty = has_faults(messages);
    std::erase_if(messages,
                  [&](const Message& message) { return faulty && message.kind == "unused_use"; });
}

/// What a run reaches: what is wrong there is a fault.
struct Reaches {
    Reached run;
    Reached run_and_shut;  // an interrupt runs `shut`, which is dropped in silence if it can't work
};

std::vector<Message> check_source_of(const Files& files, const Bundle& bundle,
                                     const Reaches& reaches, size_t index, Scope scope) {
    const SourceFile& source = bundle.sources[index];
    Reach reach = reach_in(bundle, reaches.run, index);
    std::vector<Message> messages = find_faults(source.program, reach);
    if (index == 0 && scope == Scope::program_and_tests) {
        append(messages, find_test_faults(source.program));
    }
    tell_themes(files, source, messages);
    tell_missing_entry(source.program, messages);
    append(messages, find_use_messages(bundle, index));
    append(messages, find_switch_faults(source.program));
    for (const Place& place : reaches.run_and_shut.places) {
        if (place.source == index) reach.alive.insert(source.program.pieces[place.piece].key);
    }
    if (index == 0) append(messages, find_warnings(source.program, reach, messages));
    if (index > 0) {
        std::erase_if(messages, [](const Message& message) { return !is_fault(message); });
    }
    append(messages, find_far_redefinitions(bundle, reaches.run_and_shut, index));
    drop_consequences(source.program, messages);
    drop_switched_off(source.program, messages);
    for (Message& message : messages) message.say = one_line(message.say);
    std::stable_sort(messages.begin(), messages.end(), [](const Message& a, const Message& b) {
        return a.range.begin < b.range.begin;
    });
    return messages;
}

}  // namespace

std::vector<std::vector<Message>> check_bundle(const Files& files, const Bundle& bundle,
                                               Scope scope) {
    const Reaches reaches{reach_of(bundle, noted_places(bundle)),
                          reach_of(bundle, kept_places(bundle))};
    std::vector<std::vector<Message>> all;
    for (size_t i = 0; i < bundle.sources.size(); ++i) {
        all.push_back(check_source_of(files, bundle, reaches, i, scope));
    }
    return all;
}

bool has_faults(const std::vector<Message>& messages) {
    return std::any_of(messages.begin(), messages.end(), is_fault);
}

bool has_faults(const std::vector<std::vector<Message>>& messages) {
    return std::any_of(messages.begin(), messages.end(),
                       [](const std::vector<Message>& one) { return has_faults(one); });
}

std::vector<std::vector<Message>> only_faults(std::vector<std::vector<Message>> messages) {
    for (std::vector<Message>& one : messages) {
        std::erase_if(one, [](const Message& message) { return !is_fault(message); });
    }
    return messages;
}

std::string shown_messages(const Bundle& bundle, const std::vector<std::vector<Message>>& messages,
                           bool colours) {
    std::string shown;
    for (size_t i = 0; i < messages.size(); ++i) {
        const SourceFile& source = bundle.sources[i];
        shown += shown_messages(source.shown, source.program.text, messages[i], colours);
    }
    return shown;
}

}  // namespace marl::lab
