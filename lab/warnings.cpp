// The notes that switch warnings off are read last, and take messages away.
#include "lab/warnings.h"

#include <algorithm>
#include <set>

#include "lab/near.h"
#include "lab/notes.h"

namespace marl::lab {

namespace {

/// A note that switches warnings off: their names, and the definitions for which it does, none for
/// all of them.
struct Switch {
    std::set<std::string> names;
    std::set<std::string> definitions;
};

std::vector<Switch> switches_of(const Program& program) {
    std::vector<Switch> switches;
    for (const ToolNote& note : tool_notes(program)) {
        if (note.word != "lab") continue;
        Switch one;
        bool in_definitions = false;
        for (const NoteWord& word : note_words(program, note.body)) {
            if (word.text == "in") {
                in_definitions = true;
            } else if (in_definitions) {
                one.definitions.insert(word.text);
            } else {
                one.names.insert(word.text);
            }
        }
        switches.push_back(std::move(one));
    }
    return switches;
}

bool is_warning(std::string_view name) {
    const auto& table = warning_table();
    return std::any_of(table.begin(), table.end(),
                       [&](const Warning& warning) { return warning.name == name; });
}

std::string no_warning_sentence(const std::string& name) {
    std::vector<std::string> names;
    for (const Warning& warning : warning_table()) names.emplace_back(warning.name);
    const std::vector<std::string> near = near_names(name, names);
    std::string say = "There is no warning " + ticked(name);
    return near.empty() ? say + "; `marl-lab explain` lists them."
                        : say + "; is it " + ticked(near.front()) + "?";
}

/// Whether all calls of the program's definitions are in sight: no file, test or text has others.
bool has_all_calls(const Program& program, const Reach& reach, bool has_faults) {
    if (has_faults || !program.has_entry || reach.loads) return false;
    const std::vector<ToolNote> notes = tool_notes(program);
    return std::all_of(notes.begin(), notes.end(), [&](const ToolNote& note) {
        return note.word == "lab" ||
               (note.word == "use" && program.written(note.body).find('/') == std::string::npos);
    });
}

Sorts sorts_of(const Look& look) {
    std::vector<const Piece*> pieces;
    for (const Piece* piece : look.sound) {
        const auto index = static_cast<size_t>(piece - look.program.pieces.data());
        if (look.program.counts(index)) pieces.push_back(piece);
    }
    return infer_sorts(look.program, pieces,
                       has_all_calls(look.program, look.reach, look.has_faults));
}

std::set<size_t> faulty_pieces(const Program& program, const std::vector<Message>& faults) {
    std::set<size_t> pieces;
    for (const Message& fault : faults) {
        if (const auto piece = program.piece_at(fault.range.begin)) pieces.insert(*piece);
    }
    return pieces;
}

}  // namespace

const std::vector<Warning>& warning_table() {
    static const auto* all = [] {
        auto* rows = new std::vector<Warning>;
        for (const auto& family :
             {call_warnings(), expression_warnings(), flow_warnings(), name_warnings(),
              piece_warnings(), text_warnings(), value_warnings()}) {
            rows->insert(rows->end(), family.begin(), family.end());
        }
        std::sort(rows->begin(), rows->end(),
                  [](const Warning& a, const Warning& b) { return a.name < b.name; });
        return rows;
    }();
    return *all;
}

std::vector<Message> find_warnings(const Program& program, const Reach& reach,
                                   const std::vector<Message>& faults) {
    std::vector<Message> messages;
    const std::set<size_t> faulty = faulty_pieces(program, faults);
    Look look{program, reach, !faulty.empty(), {}, {}, {}, {}, messages};
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        const Piece& piece = program.pieces[i];
        if (piece.damaged) continue;
        look.pieces.push_back(&piece);
        if (piece.kind == PieceKind::note || faulty.contains(i)) continue;
        look.sound.push_back(&piece);
        for_each_node(piece.expression, [&](Node* node) { look.nodes.push_back(node); });
    }
    look.sorts = sorts_of(look);
    for (const Warning& warning : warning_table()) {
        look.name = warning.name;
        if (warning.look) warning.look(look);
    }
    return messages;
}

std::vector<Message> find_switch_faults(const Program& program) {
    std::vector<Message> faults;
    for (const ToolNote& note : tool_notes(program)) {
        if (note.word != "lab") continue;
        const std::vector<NoteWord> words = note_words(program, note.body);
        if (words.empty() || words[0].text != "off") {
            faults.push_back({note.body, Severity::fault, "note",
                              "A note `lab` switches warnings off: `[lab: off NAME...]`."});
            continue;
        }
        for (size_t i = 1; i < words.size() && words[i].text != "in"; ++i) {
            if (is_warning(words[i].text)) continue;
            faults.push_back(
                {words[i].range, Severity::fault, "note", no_warning_sentence(words[i].text)});
        }
    }
    return faults;
}

void drop_switched_off(const Program& program, std::vector<Message>& messages) {
    const std::vector<Switch> switches = switches_of(program);
    std::erase_if(messages, [&](const Message& message) {
        const auto piece = program.piece_at(message.range.begin);
        if (message.severity == Severity::fault || !piece) return false;
        return std::any_of(switches.begin(), switches.end(), [&](const Switch& one) {
            return one.names.contains(message.kind) &&
                   (one.definitions.empty() ||
                    one.definitions.contains(shown_name(program.pieces[*piece])));
        });
    });
}

}  // namespace marl::lab
