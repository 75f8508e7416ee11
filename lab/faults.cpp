// The rules of the front end have found what is wrong; here it gets its place in the source, and a
// sentence that looks around for what may have been meant. What a fault makes of its surroundings
// is not told: a piece that is damaged is left alone.
#include "lab/faults.h"

#include <algorithm>
#include <array>

#include "front/definitions.h"
#include "front/scan.h"
#include "front/scopes.h"
#include "lab/near.h"
#include "lab/operands.h"
#include "lab/walk.h"
#include "reduce/analysis.h"
#include "reduce/tables.h"

namespace marl::lab {

namespace {

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
    std::vector<Message> messages = {};
    std::map<std::pair<size_t, std::string_view>, const Name*> binders = {};  // by piece and key
    std::map<std::pair<size_t, std::string>, std::string> sentences = {};     // likewise

    const Piece& piece_of(const Name& name) const { return program.pieces[name.piece]; }

    void fault(Range range, const char* kind, std::string say) {
        messages.push_back({range, Severity::fault, kind, std::move(say)});
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
        while (before > 0 && is_white(text[before - 1])) --before;
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

    void undefined(Fault::Kind kind, const Name& name, std::string say) {
        if (kind == Fault::undefined) return fault(name.range, "alive", std::move(say));
        say += " Nothing reaches " + ticked(piece_of(name).key) + ", so it is dropped in silence.";
        messages.push_back({name.range, Severity::warning, "doomed", std::move(say)});
    }

    void tell_undefined(Fault::Kind kind, const Name& name) {
        if (name.key == "}") {
            undefined(kind, name,
                      missing_operand_sentence(program, piece_of(name), name.range.begin));
        } else if (is_odd_byte(name.key)) {
            add_odd_byte(kind, name);
        } else if (!may_be_swallowed(name.key)) {
            // One for all places in a piece: looking for near names takes its time.
            std::string& say = sentences[{name.piece, name.key}];
            if (say.empty()) say = undefined_sentence(name);
            undefined(kind, name, say);
        }
    }

    // Odd bytes come in crowds, so each value is told once a piece.

    struct Crowd {
        Fault::Kind kind;
        Name first;
        size_t count;
    };
    std::map<std::pair<size_t, int>, Crowd> crowds = {};

    void add_odd_byte(Fault::Kind kind, const Name& name) {
        const int byte = static_cast<uint8_t>(name.key[0]);
        Crowd& crowd = crowds.try_emplace({name.piece, std::min(byte, 128)}, Crowd{kind, name, 0})
                           .first->second;
        if (name.range.begin < crowd.first.range.begin) crowd.first = name;
        ++crowd.count;
    }

    void tell_odd_bytes() {
        for (const auto& [key, crowd] : crowds) {
            std::string say = odd_byte_sentence(static_cast<uint8_t>(crowd.first.key[0]));
            if (crowd.count > 1) say += " (" + std::to_string(crowd.count) + " such bytes.)";
            undefined(crowd.kind, crowd.first, std::move(say));
        }
    }

    /// The name that takes pair patterns apart stands nowhere in the source.
    void tell_local(const Fault& found, const Piece& piece) {
        const std::string name = ticked(found.name.view());
        const bool is_written = program.origins.contains(found.node);
        const Range range = is_written                       ? program.range_of(found.node)
                            : piece.kind == PieceKind::entry ? piece.range
                                                             : piece.name;
        fault(range, "local",
              (is_written ? "" : "A pair before wings is taken apart by " + name + ". ") + name +
                  " is also a local name of " + ticked(shown_name(piece)) +
                  ", and so it means that one here, too, where it has no value. Give the local "
                  "name another name.");
    }

    void tell(const Fault& found, size_t index) {
        const Piece& piece = program.pieces[index];
        const std::string shown = ticked(shown_name(piece));
        if (found.kind == Fault::lower) {
            return fault(piece.name, "lower",
                         "A definition's name has two letters or more: " + shown +
                             " can only be a local name.");
        }
        if (found.kind == Fault::built) {
            return fault(piece.name, "built", shown + " is built in and can't be defined again.");
        }
        if (piece.damaged) return;
        if (found.kind == Fault::local) return tell_local(found, piece);
        if (found.kind == Fault::funky) {
            Node* key = binder_key(found.node);
            return fault(program.outer_range_of(key), "funky", key_sentence(key));
        }
        if (!found.node) return;  // an entry that nobody runs
        const Range range = program.range_of(found.node);
        if (found.kind == Fault::place) {
            fault(range, "place",
                  "This is the 27th local name of " + shown +
                      "; a definition has room for 26. Cut it up, or use a name again.");
        } else if (found.kind == Fault::arity) {
            fault(range, "arity",
                  "This is the eleventh parameter of " + shown +
                      "; ten are possible. Hand some over as a pair, a list or an array.");
        } else {
            const std::string key(found.name.view());
            tell_undefined(found.kind, {range, key, Role::use, index, std::nullopt, {}});
        }
    }

    /// The piece that a fault is in; none for what the prelude defines.
    std::optional<size_t> index_of(const Fault& found) const {
        const bool has_place = found.kind == Fault::lower || found.kind == Fault::built;
        if (has_place) return static_cast<size_t>(found.position);
        if (found.definition.empty()) return 0;
        const auto definition = program.definitions.find(found.definition.view());
        if (definition == program.definitions.end()) return std::nullopt;
        return definition->second;
    }

    void run(const std::vector<Fault>& faults) {
        messages = program.bracket_faults;
        messages.insert(messages.end(), program.comma_faults.begin(), program.comma_faults.end());
        collect_binders();
        for (const Fault& found : faults) {
            if (const auto piece = index_of(found)) tell(found, *piece);
        }
        tell_odd_bytes();
    }
};

}  // namespace

std::vector<Message> find_faults(const Program& program, const Reach& reach) {
    Finding finding{program};
    finding.run(reach.module.faults);
    return std::move(finding.messages);
}

}  // namespace marl::lab
