// The text of the expression is printed as the check of the language prints it: with pair patterns
// taken apart and long local names as letters. The k-th backquote of the definition that has gone
// through this is the k-th of the source, as neither stage changes their order.
#include "lab/backquotes.h"

#include <algorithm>

#include "front/definitions.h"
#include "front/patterns.h"
#include "front/places.h"
#include "lab/walk.h"

namespace marl::lab {

namespace {

/// The applications of a backquote in an expression, in the order of their Leaves.
std::vector<Node*> backquoted_in(Node* expression) {
    std::vector<Node*> found;
    for_each_node(expression, [&](Node* node) {
        if (!is_leaf(node) && is_leaf_of(left(node), '`')) found.push_back(node);
    });
    return found;
}

/// Whether a name within an expression is bound outside of it.
bool has_outer_name(const Program& program, const Piece& piece, Range range) {
    const auto is_inside = [&](const Name& name) {
        return range.begin <= name.range.begin && name.range.end <= range.end;
    };
    const auto names = program.names_of(piece);
    return std::any_of(names.begin(), names.end(), [&](const Name& name) {
        return name.binder && is_inside(name) && !is_inside(program.names[*name.binder]);
    });
}

struct Writing {
    const Program& program;
    const std::vector<int64_t> lines;
    const std::string_view place;
    size_t next_line = 0;  // the index of the next backquote's

    /// The backquotes of a definition as they are printed, in their order.
    static std::vector<std::string> printed(const Piece& piece) {
        Value definition = expand_pair_patterns(piece.expression);
        assign_places(definition, local_names(definition));
        std::vector<std::string> texts;
        for (Node* node : backquoted_in(definition)) {
            texts.emplace_back(print_value(right(node)).view());
        }
        return texts;
    }

    std::vector<Edit> of_piece(const Piece& piece) {
        const std::vector<Node*> all = backquoted_in(piece.value);
        const size_t first = next_line;
        next_line += all.size();
        if (all.empty() || piece.kind == PieceKind::note) return {};
        const std::vector<std::string> texts = printed(piece);
        const std::string name = piece.key + std::string(place);
        std::vector<Edit> openings;
        std::vector<Edit> closings;
        for (size_t i = 0; i < all.size(); ++i) {
            const Range operand = program.range_of(right(all[i]));
            const Range whole = program.range_of(all[i]);
            const bool open =
                has_outer_name(program, piece, operand) || is_leaf_text(right(all[i]), "U");
            if (!open) continue;
            openings.push_back(
                {{whole.begin, operand.begin},
                 "(U(" + std::to_string(lines[first + i]) + ",[" + name + "],[" + texts[i] + "],"});
            closings.push_back({{operand.end, whole.end}, "))"});
        }
        // What ends at a place comes before what begins there, and inner ones end first.
        std::vector<Edit> changes(closings.rbegin(), closings.rend());
        changes.insert(changes.end(), openings.begin(), openings.end());
        return changes;
    }
};

}  // namespace

std::vector<std::vector<Edit>> written_out_backquotes(const Program& program,
                                                      std::string_view place) {
    Writing writing{program, backquote_lines(program.text), place};
    std::vector<std::vector<Edit>> changes;
    for (const Piece& piece : program.pieces) changes.push_back(writing.of_piece(piece));
    return changes;
}

std::string changed(const Program& program, Range range, std::vector<Edit> changes) {
    std::stable_sort(changes.begin(), changes.end(),
                     [](const Edit& a, const Edit& b) { return a.range.begin < b.range.begin; });
    std::string text;
    size_t at = range.begin;
    for (const Edit& change : changes) {
        text.append(program.written({at, change.range.begin}));
        text += change.text;
        at = change.range.end;
    }
    return text.append(program.written({at, range.end}));
}

}  // namespace marl::lab
