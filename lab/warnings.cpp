// Each warning is a function over the pieces, or over the nodes of their expressions as they were
// written. The notes that switch warnings off are read last, and take messages away.
#include "lab/warnings.h"

#include <algorithm>
#include <array>
#include <set>
#include <sstream>

#include "front/scan.h"
#include "lab/walk.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

constexpr std::array table{
    Warning{"applied_number", "a number stands where a function is applied"},
    Warning{"compared_list", "a comparison with a list, a pair or a function"},
    Warning{"defined_twice", "a later definition replaces this one"},
    Warning{"doomed", "a definition that nothing reaches is dropped, as it can't work"},
    Warning{"entry", "the entry is no function, but is applied to the arguments"},
    Warning{"hidden_global", "a local name hides a global one in the whole definition"},
    Warning{"loose_blank", "a blank beside an arithmetic operator binds looser than it looks"},
    Warning{"not_equal", "`a!=b` is `(!a)=b`"},
    Warning{"redefined", "a combinator or an operator gets another meaning"},
    Warning{"repeated_parameter", "two parameters have one name"},
    Warning{"skipped_definition", "a piece looks like a definition, and is skipped"},
    Warning{"unreached", "nothing reaches a definition"},
    Warning{"unused_parameter", "a parameter is not used"},
};

bool is_word_text(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return is_word_byte(static_cast<uint8_t>(c));
    });
}

constexpr std::string_view arithmetic = "+-*/%^";
constexpr std::string_view applications = ":?;'";
constexpr std::string_view reversed_applications = ".@";
constexpr std::string_view comparisons = "=#<>";

struct Finding {
    const Program& program;
    const Reach& reach;
    std::set<size_t> faulty;  // the pieces with a fault
    std::vector<Message> messages = {};

    void warn(Range range, std::string_view name, std::string say) {
        messages.push_back({range, Severity::warning, std::string(name), std::move(say)});
    }

    std::string written(Node* node) const {
        std::string text(program.written(program.outer_range_of(node)));
        std::replace(text.begin(), text.end(), '\n', ' ');
        return text;
    }
    /// The same, if it is short enough to be shown in a sentence; else three dots.
    std::string brief(Node* node) const {
        const Range range = program.outer_range_of(node);
        return range.end - range.begin <= 30 ? written(node) : "...";
    }

    bool is_parenthesised(Node* node) const {
        return program.range_of(node) != program.outer_range_of(node);
    }

    /// Whether an operator of `operators` stands between its operands, with no parentheses around.
    bool is_bare_infix(Node* node, std::string_view operators, Infix& infix) const {
        if (is_parenthesised(node) || !is_infix(node, operators, infix)) return false;
        const size_t at = program.range_of(infix.leaf).begin;
        return program.range_of(infix.a).begin < at && at < program.range_of(infix.b).begin;
    }

    // Expressions.

    /// Whether a Pair was written as two expressions with a blank between them.
    bool is_blank_application(Node* node) const {
        const Range f = program.outer_range_of(left(node));
        const Range x = program.outer_range_of(right(node));
        if (f.end >= x.begin ||
            is_spacing_operator(static_cast<uint8_t>(program.text[f.end - 1]))) {
            return false;
        }
        const std::string_view between = program.written({f.end, x.begin});
        return std::all_of(between.begin(), between.end(), is_white);
    }

    void check_blank(Node* node) {
        if (is_leaf(node) || !is_blank_application(node)) return;
        Infix infix{};
        const Range gap{program.outer_range_of(left(node)).end,
                        program.outer_range_of(right(node)).begin};
        if (is_bare_infix(left(node), arithmetic, infix)) {
            warn(gap, "loose_blank",
                 "A blank binds looser than " + ticked(infix.operation) + ": this is `(" +
                     brief(left(node)) + ") " + brief(right(node)) +
                     "`. A call list binds tighter: `" + brief(infix.b) + "(" + brief(right(node)) +
                     ")`.");
        } else if (is_bare_infix(right(node), arithmetic, infix)) {
            warn(gap, "loose_blank",
                 "A blank binds looser than " + ticked(infix.operation) + ": this is `" +
                     brief(left(node)) + "(" + brief(right(node)) + ")`; write it like this, or `" +
                     brief(left(node)) + "(" + brief(infix.a) + ")` for the other.");
        }
    }

    /// Warns of a point between digits.
    bool check_point(Range point) {
        const auto is_digit_at = [&](size_t i) {
            return i < program.text.size() && is_digit_byte(static_cast<uint8_t>(program.text[i]));
        };
        Range range = point;
        while (range.begin > 0 && is_digit_at(range.begin - 1)) --range.begin;
        while (is_digit_at(range.end)) ++range.end;
        if (range.begin == point.begin || range.end == point.end) return false;
        const std::string_view text = program.written(range);
        warn(range, "applied_number",
             ticked(text) + " is " + ticked(text.substr(text.find('.') + 1)) + " applied to " +
                 ticked(text.substr(0, text.find('.'))) + "; a number with a point is `real[" +
                 std::string(text) + "]`.");
        return true;
    }

    void check_number(Node* node) {
        if (is_leaf(node)) return;
        Infix infix{};
        Node* number = nullptr;
        if (is_digits(left(node))) number = left(node);
        if (is_infix(node, applications, infix) && is_digits(infix.a)) number = infix.a;
        if (is_infix(node, reversed_applications, infix) && is_digits(infix.b)) {
            number = infix.b;
        }
        if (infix.leaf && infix.operation == '.' && check_point(program.range_of(infix.leaf)))
            return;
        if (!number) return;
        warn(program.range_of(number), "applied_number",
             "The number " + ticked(written(number)) +
                 " is applied here like a function, which gives the pair of its first bit and the "
                 "rest.");
    }

    /// Whether an expression is a list, a pair or a function by the look of it.
    bool is_void(Node* node) const {
        if (form(node) == Form::lambda) return true;
        int arguments = 0;
        for (; !is_leaf(node); node = left(node)) ++arguments;
        const std::string_view head = leaf_bytes(node);
        if (head == "K" || head == "H" || head == "Z") return arguments == 0;
        return (head == "J" || head == "V") && arguments == 2;
    }

    void check_comparison(Node* node) {
        Infix infix{};
        if (!is_infix(node, comparisons, infix)) return;
        Node* odd = is_void(infix.a) ? infix.a : is_void(infix.b) ? infix.b : nullptr;
        if (!odd) return;
        const std::string sign(1, infix.operation);
        std::string say = ticked(sign) + " compares data, and " + ticked(brief(odd)) +
                          " is none: mostly the answer is `Z`.";
        if (is_leaf_text(odd, "K")) say += " Whether list l is empty says `L l`.";
        if (is_leaf_text(odd, "Z")) say += " Whether x has failed says `type x=[void]`.";
        warn(program.range_of(infix.leaf), "compared_list", std::move(say));
    }

    void check_not_equal(Node* node) {
        Infix infix{};
        if (!is_infix(node, "=", infix) || is_leaf(infix.a)) return;
        const Range equal = program.range_of(infix.leaf);
        const bool adjacent = equal.begin > 0 && program.text[equal.begin - 1] == '!';
        if (!adjacent) return;
        warn({equal.begin - 1, equal.end}, "not_equal",
             "This is `(" + brief(infix.a) + ")" + "=" + brief(infix.b) +
                 "`: the `!` belongs to what is before it. \"Different\" is `#`.");
    }

    void check_expressions(const Piece& piece) {
        for_each_node(piece.expression, [&](Node* node) {
            check_blank(node);
            check_number(node);
            check_comparison(node);
            check_not_equal(node);
        });
    }

    // Names.

    void check_hiding(const Piece& piece) {
        std::set<std::string_view> told;
        for (const Name& name : program.names_of(piece)) {
            if (name.role != Role::parameter && name.role != Role::local) continue;
            const bool defined = program.definitions.contains(name.key);
            if (is_letter(name.key) || (!defined && !is_given(name.key))) continue;
            if (!told.insert(name.key).second) continue;
            warn(name.range, "hidden_global",
                 ticked(name.key) + " is also " +
                     (defined                   ? "a definition of this program"
                      : builtin_arity(name.key) ? "a built-in"
                                                : "a name that the system defines") +
                     "; in the whole of " + ticked(shown_name(piece)) +
                     " the name means the local one.");
        }
    }

    size_t uses_of(const Piece& piece, size_t binder) const {
        const auto names = program.names_of(piece);
        return static_cast<size_t>(std::count_if(names.begin(), names.end(), [&](const Name& name) {
            return name.role == Role::use && name.binder == binder;
        }));
    }

    /// The parameters of a definition. Those of inner functions have their number from whoever
    /// calls them, and the entry its one; a function that doesn't use its only one holds its body
    /// back. A function whose body is a single name or number picks or drops on purpose.
    void check_parameters(const Piece& piece) {
        Node* body = piece.expression;
        while (form(body) == Form::lambda) body = lambda_body(body);
        const bool picks =
            is_leaf(body) || piece.parameters.size() == 1 || piece.kind == PieceKind::entry;
        std::set<std::string_view> before;
        size_t rank = 0;
        for (size_t i = piece.first_name; i < piece.names_end && rank < piece.parameters.size();
             ++i) {
            const Name& name = program.names[i];
            if (name.role != Role::parameter) continue;
            ++rank;
            if (!before.insert(name.key).second) {
                warn(name.range, "repeated_parameter",
                     "Two parameters of " + ticked(shown_name(piece)) + " are called " +
                         ticked(name.key) + "; the body sees the last one.");
            } else if (!picks && uses_of(piece, i) == 0 && !is_repeated(piece, i)) {
                warn(name.range, "unused_parameter",
                     "The parameter " + ticked(name.key) + " of " + ticked(shown_name(piece)) +
                         " is not used.");
            }
        }
    }

    bool is_repeated(const Piece& piece, size_t index) const {
        const std::string& key = program.names[index].key;
        return std::count(piece.parameters.begin(), piece.parameters.end(), key) > 1;
    }

    // Pieces.

    void check_reach(size_t index) {
        const Piece& piece = program.pieces[index];
        if (piece.kind != PieceKind::definition) return;
        if (piece.key == "_") {
            warn(piece.name, "defined_twice",
                 "The system defines `_`, the record layouts, and so this definition is replaced.");
        } else if (!program.counts(index)) {
            warn(piece.name, "defined_twice",
                 ticked(piece.key) + " is defined again below, and this definition is replaced.");
        } else if (faulty.empty() && !reach.alive.contains(piece.key) && piece.key != "shut" &&
                   !reach.loads && !reach.doomed.contains(piece.key) &&
                   !is_reached_by_shut(piece.key)) {
            warn(piece.name, "unreached", "Nothing reaches " + ticked(piece.key) + ".");
        }
    }

    bool is_reached_by_shut(const std::string& key) const {
        return program.definitions.contains("shut") && reached_by_shut.contains(key);
    }

    void check_redefinition(const Piece& piece) {
        if (piece.kind != PieceKind::definition || piece.key == "_") return;
        if (!prelude_program().definitions.contains(piece.key)) return;
        if (piece.key == "\\" || piece.key == "{") return;
        warn(piece.name, "redefined",
             ticked(piece.key) +
                 " gets another meaning, in the whole program and in what the "
                 "system itself defines with it.");
    }

    std::string_view first_word(std::string_view text) const {
        size_t end = 0;
        while (end < text.size() && is_word_byte(static_cast<uint8_t>(text[end]))) ++end;
        return text.substr(0, end);
    }

    void check_skipped(const Piece& piece) {
        if (piece.kind != PieceKind::note) return;
        const std::string_view text = program.written(piece.range);
        const std::string_view word = first_word(text);
        Node* value = piece.value;
        Infix infix{};
        std::string say;
        if (form(value) == Form::lambda) {
            const std::string name(program.written(program.range_of(lambda_key(value))));
            say = ticked(name) + " can't be the name of a definition, so this piece is skipped. ";
            say += name.find('=') != name.npos ? "A definition is `name\\body`, without an `=`."
                   : std::any_of(name.begin(), name.end(), is_white)
                       ? "Each parameter has a backslash of its own."
                       : "A name is small letters and `_`, or one capital letter.";
        } else if (form(value) == Form::let && !word.empty()) {
            say = "A definition is `name\\body`; this piece is skipped.";
        } else if (is_infix(value, "=", infix) && !word.empty() && is_head(infix.a)) {
            say = "A definition is `" + std::string(word) +
                  "\\body`, with a backslash and no `=`; this piece is skipped.";
        }
        if (!say.empty()) warn(piece.range, "skipped_definition", std::move(say));
    }

    /// Whether a node is a word, or one applied to small letters, as the left side of an equation
    /// is.
    bool is_head(Node* node) const {
        for (; !is_leaf(node); node = left(node)) {
            if (!is_letter(leaf_bytes(right(node)))) return false;
        }
        return is_word_text(leaf_bytes(node));
    }

    /// The run applies the entry to the address of the arguments.
    void check_entry() {
        const Piece& entry = program.pieces.front();
        Node* head = entry.expression;
        int arguments = 0;
        for (; !is_leaf(head); head = left(head)) ++arguments;
        const std::string_view name = leaf_bytes(head);
        if (name == "}" || name == "\\" || name == "{" || is_digits(head)) {
            if (!is_leaf(entry.expression) || !is_digits(head)) return;
        }
        int taken = 0;
        const auto own = program.definitions.find(name);
        if (own != program.definitions.end()) {
            taken = static_cast<int>(program.pieces[own->second].parameters.size());
        } else if (const auto arity = builtin_arity(name)) {
            taken = *arity;
        } else if (arithmetic.find(name) != arithmetic.npos) {
            taken = 2;
        } else if (!is_digits(head) && first_byte(head) != '[') {
            return;
        }
        const bool constant = own != program.definitions.end() && taken == 0;
        if (constant || arguments < taken) return;
        warn(entry.range, "entry",
             "The run applies the entry to the address of the arguments, so it is a function: "
             "`a\\" +
                 brief(entry.expression) + "`.");
    }

    std::set<std::string, std::less<>> reached_by_shut = {};

    void find_reached_by_shut() {
        std::vector<std::string> rest{"shut"};
        while (!rest.empty()) {
            const std::string key = std::move(rest.back());
            rest.pop_back();
            const auto piece = program.definitions.find(key);
            if (piece == program.definitions.end() || !reached_by_shut.insert(key).second) continue;
            for (const Name& name : program.names_of(program.pieces[piece->second])) {
                if (name.role == Role::use && !name.binder) rest.push_back(name.key);
            }
        }
    }

    void run() {
        find_reached_by_shut();
        for (size_t i = 0; i < program.pieces.size(); ++i) {
            const Piece& piece = program.pieces[i];
            if (piece.damaged) continue;
            check_reach(i);
            check_redefinition(piece);
            check_skipped(piece);
            if (piece.kind == PieceKind::note) continue;
            check_parameters(piece);
            if (faulty.contains(i)) continue;
            check_expressions(piece);
            check_hiding(piece);
        }
        if (!program.pieces.front().damaged) check_entry();
    }
};

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
        std::istringstream words(
            std::string(text.substr(opening.size(), text.size() - opening.size() - 1)));
        Switch one;
        std::set<std::string>* into = &one.names;
        for (std::string word; words >> word;) {
            if (word == "in") {
                into = &one.definitions;
            } else {
                into->insert(word);
            }
        }
        switches.push_back(std::move(one));
    }
    return switches;
}

std::set<size_t> faulty_pieces(const Program& program, const std::vector<Message>& faults) {
    std::set<size_t> pieces;
    for (const Message& fault : faults) {
        if (const auto piece = program.piece_at(fault.range.begin)) pieces.insert(*piece);
    }
    return pieces;
}

}  // namespace

std::span<const Warning> warning_table() { return table; }

std::vector<Message> find_warnings(const Program& program, const Reach& reach,
                                   const std::vector<Message>& faults) {
    Finding finding{program, reach, faulty_pieces(program, faults)};
    finding.run();
    return std::move(finding.messages);
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
