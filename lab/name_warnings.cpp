// Names that hide, replace or repeat others, and names that nobody uses.
#include <algorithm>
#include <array>
#include <set>
#include <unordered_set>

#include "front/scan.h"
#include "lab/look.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

bool is_binder(const Name& name) {
    return name.role == Role::parameter || name.role == Role::local;
}

void look_for_hidden_global(const Look& look) {
    for (const Piece* piece : look.sound) {
        std::set<std::string_view> told;
        for (const Name& name : look.program.names_of(*piece)) {
            if (!is_binder(name)) continue;
            const bool defined = look.program.definitions.contains(name.key);
            if (is_letter(name.key) || (!defined && !is_given(name.key))) continue;
            if (!told.insert(name.key).second) continue;
            look.warn(name.range,
                      ticked(name.key) + " is also " +
                          (defined                   ? "a definition of this program"
                           : builtin_arity(name.key) ? "a built-in"
                                                     : "a name that the system defines") +
                          "; in the whole of " + ticked(shown_name(*piece)) +
                          " the name means the local one.");
        }
    }
}

// Parameters. Those of inner functions have their number from whoever calls them, and so only those
// of definitions are looked at.

/// The places of a piece's leading parameters, as indices of the program's names.
std::vector<size_t> leading_parameters(const Program& program, const Piece& piece) {
    std::vector<size_t> found;
    for (size_t i = piece.first_name; i < piece.names_end; ++i) {
        if (found.size() == piece.parameters.size()) break;
        if (program.names[i].role == Role::parameter) found.push_back(i);
    }
    return found;
}

void look_for_repeated_parameter(const Look& look) {
    for (const Piece* piece : look.sound) {
        std::set<std::string_view> before;
        for (const size_t i : leading_parameters(look.program, *piece)) {
            const Name& name = look.program.names[i];
            if (before.insert(name.key).second) continue;
            look.warn(name.range, "Two parameters of " + ticked(shown_name(*piece)) +
                                      " are called " + ticked(name.key) +
                                      "; the body sees the last one.");
        }
    }
}

/// The entry has to take its one parameter, and a function that doesn't use its only one holds its
/// body back. A function whose body is a single name or number picks or drops on purpose.
bool may_ignore_parameters(const Piece& piece) {
    Node* body = piece.expression;
    while (form(body) == Form::lambda) body = lambda_body(body);
    return is_leaf(body) || piece.parameters.size() == 1 || piece.kind == PieceKind::entry;
}

void look_for_unused_parameter(const Look& look) {
    for (const Piece* piece : look.sound) {
        if (may_ignore_parameters(*piece)) continue;
        std::unordered_set<size_t> used;
        for (const Name& name : look.program.names_of(*piece)) {
            if (name.role == Role::use && name.binder) used.insert(*name.binder);
        }
        for (const size_t i : leading_parameters(look.program, *piece)) {
            const Name& name = look.program.names[i];
            const auto same =
                std::count(piece->parameters.begin(), piece->parameters.end(), name.key);
            if (used.contains(i) || same > 1) continue;
            look.warn(name.range, "The parameter " + ticked(name.key) + " of " +
                                      ticked(shown_name(*piece)) + " is not used.");
        }
    }
}

void look_for_redefined(const Look& look) {
    for (const Piece* piece : look.pieces) {
        const bool is_given_name = piece->kind == PieceKind::definition && piece->key != "_" &&
                                   piece->key != "\\" && piece->key != "{" &&
                                   prelude_program().definitions.contains(piece->key);
        if (!is_given_name) continue;
        look.warn(piece->name, ticked(piece->key) +
                                   " gets another meaning, in the whole program and in what the "
                                   "system itself defines with it.");
    }
}

constexpr std::array rows{
    Warning{"hidden_global",
            "A local name hides a definition or a built-in, in the whole definition.\n"
            "A name of two letters or more has one meaning in a definition: where it is a local "
            "name anywhere in it, it is so everywhere. Give the local name another name.",
            look_for_hidden_global},
    Warning{"redefined",
            "A combinator or an operator gets another meaning.\n"
            "It does so everywhere, also in what the system itself defines with it.",
            look_for_redefined},
    Warning{"repeated_parameter",
            "Two parameters of a definition have one name.\n"
            "The body sees the last of them; the others can't be reached.",
            look_for_repeated_parameter},
    Warning{"unused_parameter",
            "A parameter is not used, in a definition of several that does something.\n"
            "Nothing is said of a definition with one parameter, which holds its body back until "
            "it is called, and of one whose body is a single name or number.",
            look_for_unused_parameter},
};

}  // namespace

std::span<const Warning> name_warnings() { return rows; }

}  // namespace marl::lab
