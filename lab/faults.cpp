// The rules of the front end have found what is wrong; here it gets its place in the source, and a
// sentence that looks around for what may have been meant. What a fault makes of its surroundings
// is not told: a piece that is damaged is left alone.
#include "lab/faults.h"

#include <algorithm>
#include <set>

#include "front/patterns.h"
#include "front/scan.h"
#include "front/scopes.h"
#include "lab/keys.h"
#include "lab/near.h"
#include "lab/odd_bytes.h"
#include "lab/operands.h"
#include "lab/walk.h"
#include "reduce/analysis.h"
#include "reduce/tables.h"

namespace marl::lab {

namespace {

struct Finding {
    const Program& program;
    std::vector<Message> messages = {};
    std::map<std::pair<size_t, std::string_view>, const Name*> binders = {};  // by piece and key
    std::map<std::pair<size_t, std::string>, std::string> sentences = {};     // likewise
    std::set<std::string, std::less<>> behind_missing_commas = {};

    const Piece& piece_of(const Name& name) const { return program.pieces[name.piece]; }

    void fault(Range range, const char* kind, std::string say) {
        messages.push_back({range, Severity::fault, kind, std::move(say)});
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

    bool is_quoted(const Name& name) const {
        if (name.range.begin == 0) return false;
        const size_t before = name.range.begin - 1;
        if (program.text[before] == '"') return true;
        const Range range = character_at(program.text, before);
        const LookAlike* one = look_alike(program.written(range));
        return one && one->say.starts_with("text stands in brackets");
    }

    /// A parameter of the name's key that looks like a definition without a comma before it.
    const Name* swallowed_definition(const std::string& key) const {
        for (const Name& name : program.names) {
            if (name.key == key && begins_definition(program, name)) return &name;
        }
        return nullptr;
    }

    std::string undefined_sentence(const Name& name) const {
        const std::string shown = ticked(name.key);
        if (is_quoted(name)) {
            return shown + " is not defined. Text stands in brackets, not in quotes: `[text]`.";
        }
        std::string split = split_sentence(run_around(program.text, name.range));
        if (!split.empty()) return shown + " is not defined. " + split;
        if (const Name* definition = swallowed_definition(name.key)) {
            const Lines lines(program.text);
            const size_t line = lines.line_of(definition->range.begin);
            return shown + " is not defined: a comma is missing before its definition in line " +
                   std::to_string(line + 1) + ".";
        }
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
        if (behind_missing_commas.contains(key)) return true;
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

    // Odd bytes come in crowds, so each is told once a piece, and what nobody can tell more of than
    // that it isn't ASCII, all together.

    struct Crowd {
        Fault::Kind kind;
        Name first;
        std::set<size_t> places;
    };
    std::map<std::pair<size_t, std::string>, Crowd> crowds = {};

    void add_odd_byte(Fault::Kind kind, Name name) {
        name.range = character_at(program.text, name.range.begin);
        const std::string_view character = program.written(name.range);
        const bool is_foreign = !look_alike(character) && static_cast<uint8_t>(character[0]) >= 128;
        const std::string key(is_foreign ? std::string_view() : character);
        Crowd& crowd = crowds.try_emplace({name.piece, key}, Crowd{kind, name, {}}).first->second;
        if (name.range.begin < crowd.first.range.begin) crowd.first = name;
        crowd.places.insert(name.range.begin);
    }

    void tell_odd_bytes() {
        for (const auto& [key, crowd] : crowds) {
            const std::string_view character = program.written(crowd.first.range);
            std::string say = odd_character_sentence(character);
            const size_t count = crowd.places.size();
            const char* what = character.size() > 1 ? " such characters.)" : " such bytes.)";
            if (count > 1) say += " (" + std::to_string(count) + what;
            undefined(crowd.kind, crowd.first, std::move(say));
        }
    }

    /// The wings of a pair outside of the scope of a name that takes them apart.
    Range pair_outside(const Piece& piece, std::string_view name) const {
        std::vector<Range> scopes;
        for (const Name& binder : program.names_of(piece)) {
            if (binder.role != Role::use && binder.key == name) scopes.push_back(binder.scope);
        }
        Range found = piece.kind == PieceKind::entry ? piece.range : piece.name;
        walk(piece.expression, [&](Node* node) {
            if (!has_pair_pattern(node)) return Go::in;
            const Range key = program.outer_range_of(let_key(node));
            const bool is_inside = std::any_of(scopes.begin(), scopes.end(), [&](Range scope) {
                return scope.begin <= key.begin && key.end <= scope.end;
            });
            if (is_inside) return Go::in;
            found = key;
            return Go::out;
        });
        return found;
    }

    /// The name that takes pair patterns apart stands nowhere in the source.
    void tell_local(const Fault& found, const Piece& piece) {
        const std::string name = ticked(found.name.view());
        const bool is_written = program.origins.contains(found.node);
        const Range range =
            is_written ? program.range_of(found.node) : pair_outside(piece, found.name.view());
        fault(range, "local",
              (is_written ? "" : "A pair before wings is taken apart by " + name + ". ") + name +
                  " is also a local name of " + ticked(shown_name(piece)) +
                  ", and so it means that one here, too, where it has no value. Give the local "
                  "name another name.");
    }

    void tell_funky(Node* binder) {
        const auto name = name_behind_missing_comma(program, binder);
        if (!name) {
            return fault(program.outer_range_of(binder_key(binder)), "funky",
                         key_sentence(program, binder));
        }
        fault(
            *name, "funky",
            "A comma is missing before the definition of " + ticked(program.written(*name)) + ".");
    }

    /// Whose names are not to be missed behind.
    void collect_missing_commas(const std::vector<Fault>& faults) {
        for (const Fault& found : faults) {
            if (found.kind != Fault::funky || !program.origins.contains(found.node)) continue;
            const auto name = name_behind_missing_comma(program, found.node);
            if (name) behind_missing_commas.emplace(program.written(*name));
        }
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
        if (found.kind == Fault::funky) return tell_funky(found.node);
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
        collect_missing_commas(faults);
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
