// format: the canonical layout.
//
// White space means something only where the normaliser leaves a blank, so a layout is the
// normalised text with line ends put in: in the place of a blank, or where white space means
// nothing. A text that is too long for its line is cut at the loosest level of operators that it
// has outside of brackets, and what is still too long at the next one; a run of atoms, which has
// none, behind an opening bracket.
//
// What the entry and a definition do step by step, `a;` and `x{value}`, stands a step a line as
// soon as there are two. Byte text and notes stay as they are.
#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "front/scan.h"
#include "lab/brackets.h"
#include "lab/fixes.h"
#include "lab/lab.h"
#include "lab/message.h"
#include "lab/program.h"

namespace marl::lab {

namespace {

constexpr size_t most_columns = 100;
constexpr int most_depth = 100;  // deeper brackets stay in one line: nobody wrote them

/// The operators of each level that a line can end behind, loosest first. A blank is replaced.
constexpr std::array<std::string_view, 9> levels{",",  ";\\{", "?",    "&|", "=<>#",
                                                 "@ ", "+-:.", "*/%'", "^"};

size_t match(std::string_view text, size_t at) {
    return static_cast<size_t>(match_bracket(text, static_cast<int64_t>(at)));
}

/// Places a text on lines of limited length.
struct Layout {
    std::string out;
    size_t column = 0;
    int depth = 0;  // of the brackets that are broken open

    void put(std::string_view text) {
        out += text;
        const size_t newline = text.rfind('\n');
        column = newline == text.npos ? column + text.size() : text.size() - newline - 1;
    }

    void begin_line(size_t indent) {
        if (!out.empty() && out.back() == ' ') out.pop_back();
        out += '\n' + std::string(indent, ' ');
        column = indent;
    }

    /// Whether a text fits behind what stands on the line, with `behind` more bytes after it. Byte
    /// text may have line ends of its own.
    bool fits(std::string_view text, size_t behind) const {
        size_t at = column;
        size_t begin = 0;
        for (size_t end = text.find('\n'); end != text.npos; end = text.find('\n', begin)) {
            if (at + end - begin > most_columns) return false;
            begin = end + 1;
            at = 0;
        }
        return at + text.size() - begin + behind <= most_columns;
    }

    // Where a text is cut: each part goes up to a position, with the operator that ends it.

    static std::vector<size_t> cuts_at(std::string_view text, std::string_view operators) {
        std::vector<size_t> cuts;
        for (const int64_t at : find_operators(text, operators)) {
            const auto position = static_cast<size_t>(at);
            cuts.push_back((text[position] == '{' ? match(text, position) : position) + 1);
        }
        if (!cuts.empty() && cuts.back() == text.size()) cuts.pop_back();
        return cuts;
    }

    /// The cuts at the loosest level that the text has. Of that of lambdas only the steps are cut,
    /// and without them behind the last parameter in front.
    static std::vector<size_t> loosest_cuts(std::string_view text, size_t& level) {
        for (level = 0; level < levels.size(); ++level) {
            std::vector<size_t> cuts = cuts_at(text, levels[level]);
            if (cuts.empty()) continue;
            if (level != 1) return cuts;
            const std::vector<size_t> all = cuts;
            std::erase_if(cuts, [&](size_t cut) { return text[cut - 1] == '\\'; });
            if (!cuts.empty()) return cuts;
            return {all.back()};
        }
        return {};
    }

    /// `behind` is what must fit on the last line after the text; `indent` is that of the line on
    /// which it begins, to which the last of several branches comes back.
    void lay(std::string_view text, size_t indent, size_t behind) {
        if (fits(text, behind)) return put(text);
        if (text.ends_with('}')) return lay_run(text, indent, behind);
        size_t level = 0;
        const std::vector<size_t> cuts = loosest_cuts(text, level);
        if (cuts.empty()) return lay_run(text, indent, behind);
        const bool a_step_a_line = level == 1;
        size_t begin = 0;
        for (size_t i = 0; i <= cuts.size(); ++i) {
            const size_t end = i < cuts.size() ? cuts[i] : text.size();
            const std::string_view part = text.substr(begin, end - begin);
            const size_t after = i < cuts.size() ? 0 : behind;
            if (begin > 0 && (a_step_a_line || !fits(without_blank(part), after))) {
                begin_line(indent);
            }
            lay_part(part, indent, after);
            begin = end;
        }
    }

    static std::string_view without_blank(std::string_view part) {
        return part.ends_with(' ') ? part.substr(0, part.size() - 1) : part;
    }

    /// A part with the operator that ends it.
    void lay_part(std::string_view part, size_t indent, size_t behind) {
        if (fits(without_blank(part), behind)) return put(part);
        const size_t size = part.size() - ends_in_operator(part);
        size_t level = 0;
        const bool is_run = loosest_cuts(part.substr(0, size), level).empty();
        lay(part.substr(0, size), is_run ? indent : indent + 2, behind + part.size() - size);
        put(part.substr(size));
    }

    /// The length of the operator at the end; 0 behind wings, which lay_run breaks.
    static size_t ends_in_operator(std::string_view part) {
        const char last = part.back();
        const bool closes = last == ')' || last == ']' || last == '}';
        return !closes && is_spacing_operator(static_cast<uint8_t>(last)) ? 1 : 0;
    }

    /// Atoms, wings among them, without an operator outside of brackets.
    void lay_run(std::string_view text, size_t indent, size_t behind) {
        size_t begin = 0;
        while (begin < text.size()) {
            const size_t open = text.find_first_of("([{", begin);
            if (open == text.npos) return put(text.substr(begin));
            const size_t close = match(text, open);
            const bool last = close + 1 == text.size();
            const std::string_view group = text.substr(begin, close + 1 - begin);
            if (text[open] == '[' || depth > most_depth || fits(group, last ? behind : 0)) {
                put(group);
            } else {
                put(text.substr(begin, open + 1 - begin));
                // The last branch of several goes on where the first one began.
                const std::string_view content = text.substr(open + 1, close - open - 1);
                const bool is_branch = last && find_operators(content, ",").empty();
                const size_t inside = is_branch ? indent : indent + 2;
                ++depth;
                begin_line(inside);
                lay(content, inside, 1 + (last ? behind : 0));
                put(text.substr(close, 1));
                --depth;
            }
            begin = close + 1;
        }
    }
};

/// How long the parameters in front are, the name of a definition included.
size_t header_size(std::string_view text) {
    size_t size = 0;
    for (const int64_t at : find_operators(text, ";\\{")) {
        if (text[static_cast<size_t>(at)] != '\\') break;
        size = static_cast<size_t>(at) + 1;
    }
    return size;
}

/// The entry or a definition, with the comma behind it if there is one.
std::string laid_out(std::string_view text, size_t comma) {
    const size_t header = header_size(text);
    const std::string_view body = text.substr(header);
    const size_t steps = find_operators(body, ";{").size();
    Layout layout;
    if (steps < 2 && layout.fits(text, comma)) {
        layout.put(text);
        return layout.out;
    }
    layout.put(text.substr(0, header));
    const size_t indent = header > 0 ? 2 : 0;
    if (header > 0) layout.begin_line(indent);
    if (steps < 2) {
        layout.lay(body, indent, comma);
        return layout.out;
    }
    size_t level = 0;
    std::vector<size_t> cuts = Layout::loosest_cuts(body, level);
    cuts.push_back(body.size());
    size_t begin = 0;
    for (const size_t end : cuts) {
        if (begin > 0) layout.begin_line(indent);
        const std::string_view part = body.substr(begin, end - begin);
        layout.lay_part(part, indent, end == body.size() ? comma : 0);
        begin = end;
    }
    return layout.out;
}

/// Whether an empty line stands in front of a piece.
bool begins_paragraph(const Program& program, const Piece& piece) {
    size_t newlines = 0;
    for (size_t i = piece.range.begin; i > 0; --i) {
        const char c = program.text[i - 1];
        if (!is_white(c)) break;
        if (c == '\n') ++newlines;
    }
    return newlines > 1;
}

std::string laid_out(const Program& program) {
    std::string out;
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        const Piece& piece = program.pieces[i];
        const bool last = i + 1 == program.pieces.size();
        const bool behind_note = i > 0 && program.pieces[i - 1].kind == PieceKind::note;
        if (i > 0) {
            const bool close = behind_note && !begins_paragraph(program, piece);
            out += close ? "\n" : "\n\n";
        }
        const std::string_view text = program.written(piece.range);
        out += piece.kind == PieceKind::note ? std::string(text)
                                             : laid_out(normalise(text).view(), last ? 0 : 1);
        if (!last) out += ',';
    }
    while (out.ends_with('\n')) out.pop_back();
    return out.empty() ? out : out + '\n';
}

/// Whether two sources define the same.
bool same_program(const Program& a, const Program& b) {
    return std::equal(a.pieces.begin(), a.pieces.end(), b.pieces.begin(), b.pieces.end(),
                      [](const Piece& x, const Piece& y) {
                          return x.kind == y.kind && compare(x.value, y.value) == 0;
                      });
}

/// Why a source has no layout, if it has none.
std::optional<Message> refusal(const Program& program) {
    if (!program.bracket_faults.empty()) return program.bracket_faults.front();
    // A carriage return is a name. Taken for one, it would stay where line ends go.
    for (size_t i = 0; i < program.text.size(); ++i) {
        if (program.text[i] == '[') i = match(program.text, i);
        if (program.text[i] != '\r') continue;
        return Message{{i, i + 1},
                       Severity::fault,
                       "layout",
                       "A carriage return is a name here and no line end, so the source has no "
                       "layout; `check --fix` takes it out."};
    }
    return std::nullopt;
}

}  // namespace

Formatted format_source(std::string_view text) {
    const Program program = read_program(text);
    if (const auto why = refusal(program)) return {{}, {*why}};
    // The line that tells a system which program runs the file stays the first one.
    const size_t line = text.starts_with("#!") ? std::min(text.find('\n'), text.size()) : 0;
    std::string out(text.substr(0, line));
    if (line > 0) out += '\n';
    out += laid_out(program);
    if (same_program(program, read_program(out))) return {std::move(out), {}};
    return {{}, {{{0, 0}, Severity::fault, "layout", "The layout would change this program."}}};
}

std::vector<Edit> format_range(std::string_view text, Range range) {
    const Program program = read_program(text);
    if (refusal(program)) return {};
    std::vector<Edit> edits;
    for (size_t i = 0; i < program.pieces.size(); ++i) {
        const Piece& piece = program.pieces[i];
        const bool touched = piece.range.begin <= range.end && range.begin <= piece.range.end;
        if (!touched || piece.kind == PieceKind::note) continue;
        const std::string_view written = program.written(piece.range);
        const size_t comma = i + 1 < program.pieces.size() ? 1 : 0;
        std::string out = laid_out(normalise(written).view(), comma);
        if (out != written) edits.push_back({piece.range, std::move(out)});
    }
    if (!same_program(program, read_program(edited(text, edits)))) return {};
    return edits;
}

}  // namespace marl::lab
