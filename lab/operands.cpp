// What is missing shows in what stands around the place: the byte before and the two behind. Two
// signs together often are one that another language has; a table tells what is written for it
// here.
#include "lab/operands.h"

#include <array>
#include <string_view>

#include "front/scan.h"

namespace marl::lab {

namespace {

struct Advice {
    std::string_view signs;
    std::string_view text;
};

/// What two signs that stand together mean elsewhere.
constexpr std::array advices{
    Advice{"<=", " \"Less or equal\" is `b>a`: `>` means greater or equal."},
    Advice{"=<", " \"Less or equal\" is `b>a`: `>` means greater or equal."},
    Advice{">=", " `>` by itself means greater or equal."},
    Advice{"==", " Equality is one `=`."},
    Advice{"<>", " \"Different\" is `#`."},
    Advice{"&&", " \"And\" is one `&`."},
    Advice{"||", " \"Or\" is one `|`."},
    Advice{"**", " A power is `a^b`."},
    Advice{"//", " A note is a piece between commas: `,[a note],`."},
    Advice{"/*", " A note is a piece between commas: `,[a note],`."},
    Advice{"*/", " A note is a piece between commas: `,[a note],`."},
    Advice{"--", " A note is a piece between commas: `,[a note],`."},
    Advice{"++", " Texts are joined by one `+`; nothing is counted up in its place."},
    Advice{"+=", " Nothing changes its value; `x{value}rest` names a value in the rest."},
    Advice{"-=", " Nothing changes its value; `x{value}rest` names a value in the rest."},
    Advice{":=", " `x{value}rest` names a value in the rest, `name\\value` defines one."},
    Advice{"->", " A function is `parameter\\body`."},
    Advice{"=>", " A function is `parameter\\body`."},
    Advice{"<-", " `x{value}rest` names a value in the rest."},
    Advice{"::", ""},
};

/// The bytes around a position, white space left out; 0 where the piece ends.
struct Around {
    char before = 0;
    char behind = 0;
    char second = 0;  // the one after `behind`
};

Around look_around(const Program& program, const Piece& piece, size_t position) {
    const std::string& text = program.text;
    Around around;
    size_t i = position;
    while (i > piece.range.begin && is_white(text[i - 1])) --i;
    if (i > piece.range.begin) around.before = text[i - 1];
    for (i = position; i < piece.range.end; ++i) {
        if (is_white(text[i])) continue;
        if (around.behind != 0) {
            around.second = text[i];
            break;
        }
        around.behind = text[i];
    }
    return around;
}

std::string advice(const Around& around) {
    const std::string signs{around.before, around.behind};
    for (const Advice& one : advices) {
        if (one.signs == signs) return std::string(one.text);
    }
    if (around.behind == '-') {
        return is_digit(around.second) ? " A negative number has a leading 0: `05`, or `~5`."
                                       : " The negative of x is `~x`.";
    }
    if (around.before == ';') return " What stands behind the last one is the value: `0`, say.";
    if (around.before == '\'' || around.behind == '\'') return " Text stands in brackets: `[a]`.";
    if (around.behind == '#') return " A note is a piece between commas: `,[a note],`.";
    return {};
}

std::string entry_sentence(const Program& program) {
    const bool empty = program.pieces.size() == 1;
    return std::string(empty ? "The program is empty" : "Nothing stands before the first comma") +
           ": a program begins with its entry, as in `a\\main a,main\\...`.";
}

}  // namespace

std::string missing_operand_sentence(const Program& program, const Piece& piece, size_t position) {
    if (piece.range.begin == piece.range.end) return entry_sentence(program);
    const Around around = look_around(program, piece, position);
    const char before = around.before;
    const char behind = around.behind;
    if (before == '(' && behind == ')') {
        return "The parenthesis is empty. Nothing is called without an argument: a constant is "
               "used "
               "by its name alone.";
    }
    if (before == '{' && behind == '}') return "Nothing stands between the wings.";
    if (before == ',' || (behind == ',' && before == '(')) {
        return "An element of the list is missing here.";
    }
    if (before == '\\' && behind == 0 && piece.kind == PieceKind::definition) {
        return "The definition of `" + piece.key + "` has no body.";
    }
    if (before == 0 || before == '(' || before == '{') {
        return "Nothing stands before " + ticked(behind) + "." + advice(around);
    }
    if (behind == 0 || behind == ')' || behind == '}' || behind == ',') {
        return "Nothing stands behind " + ticked(before) + "." + advice(around);
    }
    return "Nothing stands between " + ticked(before) + " and " + ticked(behind) + "." +
           advice(around);
}

}  // namespace marl::lab
