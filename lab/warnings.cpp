// The notes that switch warnings off are read last, and take messages away.
#include "lab/warnings.h"

#include <algorithm>
#include <set>

#include "lab/notes.h"

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
    constexpr std::string_view opening = "[lab: off ";
    std::vector<Switch> switches;
    for (const Piece& piece : program.pieces) {
        const std::string_view text = program.written(piece.range);
        if (piece.kind != PieceKind::note || !text.starts_with(opening)) continue;
        Switch one;
        std::set<std::string>* into = &one.names;
        const Range body{piece.range.begin + opening.size(), piece.range.end - 1};
        for (const Word& word : words_of(program, body)) {
            if (word.text == "in") {
                into = &one.definitions;
            } else {
                into->insert(word.text);
            }
        }
        switches.push_back(std::move(one));
    }
    return switches;
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
