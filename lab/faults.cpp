// Each rule that can refuse a program looks at the whole of it, where the language stops at the
// first fault: undefined names and missing operands by definition, then keys, names and parameters.
// What a fault makes of its surroundings is not told: a piece that is damaged is left alone.
#include "lab/faults.h"

#include <algorithm>
#include <array>
#include <set>

#include "front/definitions.h"
#include "front/scan.h"
#include "lab/near.h"
#include "lab/operands.h"
#include "lab/walk.h"
#include "reduce/analysis.h"
#include "reduce/tables.h"

namespace marl::lab {

namespace {

constexpr size_t most_parameters = 10;
constexpr size_t most_locals = 26;

bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_word(char c) { return is_word_byte(static_cast<uint8_t>(c)); }

/// The letters, capitals and digits around a place that stand together.
std::string_view run_around(std::string_view text, Range range) {
    const auto belongs = [](char c) { return is_word(c) || is_upper(c) || is_digit(c); };
    while (range.begin > 0 && belongs(text[range.begin - 1])) --range.begin;
    while (range.end < text.size() && belongs(text[range.end])) ++range.end;
    return text.substr(range.begin, range.end - range.begin);
}

/// Why letters that stand together are more than one name; empty when they are one.
std::string split_sentence(std::string_view run) {
    if (std::any_of(run.begin(), run.end(), is_upper)) {
        return ticked(run) + " is no name: each capital letter is one of its own.";
    }
    if (std::any_of(run.begin(), run.end(), is_digit)) {
        return ticked(run) + " is no name: a name has no digits.";
    }
    return {};
}

// Bytes that don't look like names.

std::string hexadecimal(uint8_t byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {digits[byte >> 4], digits[byte & 0xF]};
}

bool is_odd_byte(std::string_view key) {
    if (key.size() != 1) return false;
    const auto byte = static_cast<uint8_t>(key[0]);
    return byte < 32 || byte >= 127;
}

std::string odd_byte_sentence(uint8_t byte) {
    switch (byte) {
        case '\t': return "A tab is no white space here, but a name, which nothing defines.";
        case '\r':
            return "A carriage return is no white space here, but a name, which nothing defines; "
                   "end the lines with a newline alone.";
        case '\n': return "A byte of value 0 stands here.";
        default: break;
    }
    if (byte >= 128) {
        return "A character that is not ASCII stands here; each byte of it is a name, which "
               "nothing defines. In text it may stand: `[...]`.";
    }
    return "The invisible byte " + hexadecimal(byte) + " is a name, which nothing defines.";
}

struct Finding {
    const Program& program;
    const Reach& reach;
    std::vector<Message> messages = {};
    std::map<std::pair<size_t, std::string_view>, const Name*> binders = {};    // by piece and key
    std::map<std::pair<size_t, std::string_view>, std::string> sentences = {};  // likewise

    const Piece& piece_of(const Name& name) const { return program.pieces[name.piece]; }

    bool counts(size_t index) const {
        return program.counts(index) && !program.pieces[index].damaged;
    }
    bool is_alive(size_t index) const { return reach.alive.contains(program.pieces[index].key); }
    bool is_doomed(size_t index) const { return reach.doomed.contains(program.pieces[index].key); }

    void fault(Range range, const char* kind, std::string say) {
        messages.push_back({range, Severity::fault, kind, std::move(say)});
    }

    /// Something undefined in a piece: a fault when the piece is alive, and what dooms it if not.
    void undefined(size_t piece, Range range, std::string say) {
        if (is_alive(piece)) return fault(range, "alive", std::move(say));
        say += " Nothing reaches " + ticked(program.pieces[piece].key) +
               ", so it is dropped in silence.";
        messages.push_back({range, Severity::warning, "doomed", std::move(say)});
    }

    // Names of definitions.

    void check_definition_name(const Piece& piece) {
        if (is_letter(piece.key)) {
            fault(piece.name, "lower",
                  "A definition's name has two letters or more: " + ticked(piece.key) +
                      " can only be a local name.");
        } else if (piece.key == "\\" || piece.key == "{" || builtin_arity(piece.key)) {
            fault(piece.name, "built",
                  ticked(piece.key) + " is built in and can't be defined again.");
        }
    }

    // Keys.

    std::string key_sentence(Node* key) const {
        const Range range = program.range_of(key);
        if (is_leaf_text(key, "}")) {
            return "Nothing stands before the backslash or wings here; a name must.";
        }
        const std::string_view written = program.written(range);
        std::string split = split_sentence(written);
        if (std::all_of(written.begin(), written.end(), is_digit)) {
            return ticked(written) + " is a number; only a name can stand here.";
        }
        if (run_around(program.text, range) == written && !split.empty()) return split;
        if (is_row_of_names(key)) {
            std::string shown(written);
            std::replace(shown.begin(), shown.end(), ' ', '\\');
            return "Each parameter has a backslash of its own: `" + shown + "\\`.";
        }
        return "Only a name can stand here, and before wings a pair of two names.";
    }

    /// Whether a key is names behind each other, with blanks between them.
    bool is_row_of_names(Node* key) const {
        Infix infix{};
        if (is_infix(key, "+-*/%^=<>#&|?:.@'", infix)) return false;
        bool names = true;
        for_each_node(key, [&](Node* node) {
            if (is_leaf(node) && !is_definable(leaf_bytes(node))) names = false;
        });
        return names;
    }

    void check_keys() {
        for (const BadKey& bad : program.bad_keys) {
            if (!counts(bad.piece)) continue;
            fault(program.outer_range_of(bad.key), "funky", key_sentence(bad.key));
        }
    }

    // Counts.

    void check_counts(size_t index) {
        const Piece& piece = program.pieces[index];
        if (is_doomed(index)) return;
        std::set<std::string_view> locals;
        size_t parameters = 0;
        for (const Name& name : program.names_of(piece)) {
            if (name.role != Role::parameter && name.role != Role::local) continue;
            if (locals.insert(name.key).second && locals.size() == most_locals + 1) {
                fault(name.range, "place",
                      "This is the 27th local name of " + ticked(shown_name(piece)) +
                          "; a definition has room for 26. Cut it up, or use a name again.");
            }
            const bool leads = parameters < piece.parameters.size();
            if (leads && ++parameters == most_parameters + 1) {
                fault(name.range, "arity",
                      "This is the eleventh parameter of " + ticked(shown_name(piece)) +
                          "; ten are possible. Hand some over as a pair, a list or an array.");
            }
        }
    }

    // Undefined names.

    /// The parameter or local of the name's key that stands elsewhere in its definition.
    const Name* binder_elsewhere(const Name& name) const {
        const auto binder = binders.find({name.piece, name.key});
        return binder == binders.end() ? nullptr : binder->second;
    }

    void collect_binders() {
        for (const Name& name : program.names) {
            const bool binds = name.role == Role::parameter || name.role == Role::local;
            if (binds) binders.try_emplace({name.piece, name.key}, &name);
        }
    }

    /// A piece that defines nothing but begins with the name.
    bool is_skipped_piece(const Name& name) const {
        for (const Piece& piece : program.pieces) {
            if (piece.kind != PieceKind::note) continue;
            const std::string_view text = program.written(piece.range);
            const bool begins = text.starts_with(name.key) && text.size() > name.key.size() &&
                                !is_word(text[name.key.size()]);
            if (begins && text.find_first_of("\\={") != text.npos) return true;
        }
        return false;
    }

    /// Whether the name begins an expression, and an equal sign stands behind it.
    bool is_assigned(const Name& name) const {
        const std::string& text = program.text;
        size_t before = name.range.begin;
        while (before > 0 && (text[before - 1] == ' ' || text[before - 1] == '\n')) --before;
        size_t behind = name.range.end;
        while (behind < text.size() && text[behind] == ' ') ++behind;
        const bool begins = before == 0 || text[before - 1] == '\\' || text[before - 1] == ';';
        return begins && behind < text.size() && text[behind] == '=';
    }

    std::string undefined_sentence(const Name& name) const {
        const std::string shown = ticked(name.key);
        if (name.range.begin > 0 && program.text[name.range.begin - 1] == '"') {
            return shown + " is not defined. Text stands in brackets, not in quotes: `[text]`.";
        }
        std::string split = split_sentence(run_around(program.text, name.range));
        if (!split.empty()) return shown + " is not defined. " + split;
        if (const Name* binder = binder_elsewhere(name)) {
            return shown + " is not defined here: this is outside of the " +
                   (binder->role == Role::parameter ? "function" : "expression") +
                   " in which it is a local name.";
        }
        if (is_assigned(name)) {
            return shown + " is not defined. Nothing is assigned: `" + name.key +
                   "{value}rest` names a value in the rest.";
        }
        if (is_letter(name.key)) {
            return shown +
                   " is not defined: one small letter is a local name, and nothing binds "
                   "this one.";
        }
        if (is_skipped_piece(name)) {
            return shown +
                   " is not defined: the piece that begins with it is skipped, as it is no "
                   "definition.";
        }
        const std::string_view foreign = foreign_word(name.key);
        if (!foreign.empty()) return shown + " is not defined; " + std::string(foreign) + ".";
        const std::vector<std::string> near = near_names(program, name);
        if (near.empty()) return shown + " is not defined.";
        std::string say = shown + " is not defined; is it ";
        for (size_t i = 0; i < near.size(); ++i) {
            if (i > 0) say += i + 1 < near.size() ? ", " : " or ";
            say += ticked(near[i]);
        }
        return say + "?";
    }

    /// Whether the source holds the beginning of a definition of the name that a bracket swallowed.
    bool may_be_swallowed(const std::string& key) const {
        if (program.bracket_faults.empty()) return false;
        return program.text.find(key + "\\") != std::string::npos ||
               program.text.find(key + "()\\") != std::string::npos;
    }

    void check_use(const Name& name) {
        if (name.role != Role::use || name.binder || !counts(name.piece)) return;
        if (is_defined(program, name.key)) return check_scope(name);
        if (is_odd_byte(name.key)) return;
        if (!may_be_swallowed(name.key)) {
            // One for all places in a piece: looking for near names takes its time.
            std::string& say = sentences[{name.piece, name.key}];
            if (say.empty()) say = undefined_sentence(name);
            undefined(name.piece, name.range, say);
        }
    }

    /// A global whose name is a local one elsewhere in the definition is taken for that one.
    void check_scope(const Name& name) {
        if (is_doomed(name.piece)) return;
        const Name* binder = binder_elsewhere(name);
        if (!binder) return;
        fault(name.range, "local",
              ticked(name.key) + " is also a local name of " + ticked(shown_name(piece_of(name))) +
                  ", and so it means that one here, too, where it has no value. Give the local "
                  "name another name.");
    }

    /// Odd bytes come in crowds, so each value is told once a piece.
    void check_odd_bytes() {
        struct Crowd {
            const Name* first;
            size_t count;
        };
        std::map<std::pair<size_t, int>, Crowd> crowds;
        for (const Name& name : program.names) {
            if (name.role != Role::use || name.binder || !is_odd_byte(name.key)) continue;
            if (!counts(name.piece) || is_defined(program, name.key)) continue;
            const int byte = static_cast<uint8_t>(name.key[0]);
            const int kind = byte >= 128 ? 128 : byte;
            Crowd& crowd = crowds.try_emplace({name.piece, kind}, Crowd{&name, 0}).first->second;
            if (name.range.begin < crowd.first->range.begin) crowd.first = &name;
            ++crowd.count;
        }
        for (const auto& [key, crowd] : crowds) {
            std::string say = odd_byte_sentence(static_cast<uint8_t>(crowd.first->key[0]));
            if (crowd.count > 1) say += " (" + std::to_string(crowd.count) + " such bytes.)";
            undefined(key.first, crowd.first->range, std::move(say));
        }
    }

    void check_operands(size_t index) {
        if (program.definitions.contains("}")) return;
        for (Node* node : missing_operands(program, index)) {
            const Range range = program.range_of(node);
            undefined(index, range,
                      missing_operand_sentence(program, program.pieces[index], range.begin));
        }
    }

    void run() {
        for (const auto* faults : {&program.bracket_faults, &program.comma_faults}) {
            messages.insert(messages.end(), faults->begin(), faults->end());
        }
        for (size_t i = 0; i < program.pieces.size(); ++i) {
            const Piece& piece = program.pieces[i];
            if (piece.kind == PieceKind::definition) check_definition_name(piece);
            if (!counts(i)) continue;
            check_counts(i);
            check_operands(i);
        }
        check_keys();
        collect_binders();
        for (const Name& name : program.names) check_use(name);
        check_odd_bytes();
    }
};

}  // namespace

std::vector<Message> find_faults(const Program& program, const Reach& reach) {
    Finding finding{program, reach};
    finding.run();
    return std::move(finding.messages);
}

}  // namespace marl::lab
