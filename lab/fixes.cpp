// A fix is found from the place of a message, by the same signs that the sentence was: the byte
// that stands there, the two signs around a missing operand, or the name.
#include "lab/fixes.h"

#include <algorithm>
#include <array>
#include <optional>

#include "front/scan.h"
#include "lab/check_bundle.h"
#include "lab/near.h"
#include "lab/odd_bytes.h"
#include "lab/walk.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

// Bytes.

/// Calls `see` with the place of each such byte that is no part of a text.
template <class See>
void for_each_outside_text(const Program& program, char byte, See see) {
    int depth = 0;
    for (size_t i = 0; i < program.text.size(); ++i) {
        const char c = program.text[i];
        if (c == '[') ++depth;
        if (c == ']' && depth > 0) --depth;
        if (c == byte && depth == 0) see(i);
    }
}

Fix blanks_for_tabs(const Program& program) {
    Fix fix{"Write blanks for tabs", {}};
    for_each_outside_text(program, '\t', [&](size_t i) {
        fix.edits.push_back({{i, i + 1}, "  "});
    });
    return fix;
}

/// Within texts, too: a file has one kind of line ends.
Fix newlines_alone(const Program& program) {
    Fix fix{"End all lines with a newline alone", {}};
    const std::string& text = program.text;
    for (size_t i = text.find('\r'); i != text.npos; i = text.find('\r', i + 1)) {
        const bool ends_line = i + 1 < text.size() && text[i + 1] == '\n';
        fix.edits.push_back({{i, i + 1}, ends_line ? "" : "\n"});
    }
    return fix;
}

/// Within texts they may be meant.
std::vector<Fix> fixes_of_look_alike(const Program& program, const LookAlike& look) {
    if (look.written.empty()) return {};
    Fix fix{"Write " + ticked(look.written) + " for " + ticked(look.character), {}};
    for_each_outside_text(program, look.character[0], [&](size_t i) {
        const Range range{i, i + look.character.size()};
        if (program.written(range) != look.character) return;
        fix.edits.push_back({range, std::string(look.written)});
    });
    return {fix};
}

// Operators.

struct Spelling {
    std::string_view signs;
    std::string_view here;  // what is written for them
};

constexpr std::array spellings{
    Spelling{"==", "="}, Spelling{">=", ">"}, Spelling{"<>", "#"},
    Spelling{"&&", "&"}, Spelling{"||", "|"}, Spelling{"**", "^"},
};

bool is_missing(Node* operand) { return is_leaf_text(operand, "}"); }

/// What `a<=b` is here, of the signs between which an operand is missing at a place.
std::optional<Edit> swapped_comparison(const Program& program, const Piece& piece, size_t at) {
    std::optional<Edit> edit;
    for_each_node(piece.expression, [&](Node* node) {
        Infix outer{};
        Infix inner{};
        if (!is_infix(node, "=<", outer)) return;
        // Comparisons fold to the right.
        if (!is_infix(outer.b, "=<", inner) || !is_missing(inner.a)) return;
        if (program.range_of(inner.a).begin != at) return;
        const Range a = program.outer_range_of(outer.a);
        const Range b = program.outer_range_of(inner.b);
        if (a.begin == a.end || b.begin == b.end) return;
        edit = Edit{{a.begin, b.end},
                    std::string(program.written(b)) + ">" + std::string(program.written(a))};
    });
    return edit;
}

std::optional<Fix> fix_of_operand(const Program& program, const Piece& piece, size_t at) {
    const std::string& text = program.text;
    size_t behind = at;
    while (behind < piece.range.end && is_white(text[behind])) ++behind;
    size_t before = at;
    while (before > piece.range.begin && is_white(text[before - 1])) --before;
    if (behind >= piece.range.end) return std::nullopt;
    if (before > piece.range.begin) {
        const std::string signs{text[before - 1], text[behind]};
        for (const Spelling& one : spellings) {
            if (one.signs != signs) continue;
            return Fix{"Write " + ticked(one.here) + " for " + ticked(signs),
                       {{{before - 1, behind + 1}, std::string(one.here)}}};
        }
        if (signs == "<=" || signs == "=<") {
            const auto edit = swapped_comparison(program, piece, at);
            if (edit) return Fix{"Write " + ticked(edit->text), {*edit}};
        }
    }
    if (text[behind] != '-') return std::nullopt;
    size_t operand = behind + 1;
    while (operand < piece.range.end && is_white(text[operand])) ++operand;
    if (operand >= piece.range.end || text[operand] == '0') return std::nullopt;
    const char* sign = is_digit_byte(static_cast<uint8_t>(text[operand])) ? "0" : "~";
    return Fix{"Write " + ticked(sign) + " for `-`", {{{behind, operand}, sign}}};
}

// Names.

std::vector<Fix> fixes_of_name(const Program& program, Range range) {
    const Name* name = program.name_at(range.begin);
    if (!name || name->range != range) return {};
    std::vector<Fix> fixes;
    for (const std::string& near : near_names(program, *name)) {
        fixes.push_back({"Write " + ticked(near), {{range, near}}});
    }
    return fixes;
}

std::vector<Fix> fixes_of_undefined(const Program& program, const Message& message) {
    const size_t at = message.range.begin;
    const auto piece = program.piece_at(at);
    if (!piece) return {};
    if (message.range.begin == message.range.end) {
        const auto fix = fix_of_operand(program, program.pieces[*piece], at);
        return fix ? std::vector{*fix} : std::vector<Fix>();
    }
    const LookAlike* look = look_alike(program.written(message.range));
    if (look) return fixes_of_look_alike(program, *look);
    if (program.text[at] == '\t') return {blanks_for_tabs(program)};
    if (program.text[at] == '\r') return {newlines_alone(program)};
    return fixes_of_name(program, message.range);
}

/// The name of a definition behind a missing comma is all that the message is about; any other key
/// begins where an expression does.
std::vector<Fix> fix_of_missing_comma(const Program& program, const Message& message) {
    if (!message.say.starts_with("A comma is missing")) return {};
    size_t at = message.range.begin;
    while (at > 0 && is_white(program.text[at - 1])) --at;
    const std::string word = ticked(program.written(message.range));
    return {{"Put a comma before " + word, {{{at, at}, ","}}}};
}

}  // namespace

std::vector<Fix> fixes_of(const Program& program, const Message& message) {
    if (message.range.begin == 0 && program.text.starts_with(byte_order_mark)) {
        return {{"Take out the byte order mark", {{{0, byte_order_mark.size()}, ""}}}};
    }
    if (message.kind == "alive" || message.kind == "doomed") {
        return fixes_of_undefined(program, message);
    }
    if (message.kind == "funky") return fix_of_missing_comma(program, message);
    if (message.kind == "carriage_return") return {newlines_alone(program)};
    if (message.kind == "not_equal") return {{"Write `#` for `!=`", {{message.range, "#"}}}};
    return {};
}

std::string edited(std::string_view text, std::vector<Edit> edits) {
    std::stable_sort(edits.begin(), edits.end(),
                     [](const Edit& a, const Edit& b) { return a.range.begin < b.range.begin; });
    std::string result;
    size_t at = 0;
    for (const Edit& edit : edits) {
        if (edit.range.begin < at) continue;
        result += text.substr(at, edit.range.begin - at);
        result += edit.text;
        at = edit.range.end;
    }
    return result.append(text.substr(at));
}

Mend mend_source(std::string_view text, const std::string& path) {
    constexpr int most_rounds = 20;
    Mend mend{std::string(text), {}};
    // What is mended can show what was hidden.
    for (int round = 0; round < most_rounds; ++round) {
        const Files files = files_on_disk();
        const Bundle bundle = read_bundle(files, path, mend.text);
        const Program& program = bundle.program(0);
        const auto messages = check_bundle(files, bundle, Scope::program_and_tests);
        std::vector<Edit> edits;
        for (const Message& message : messages.front()) {
            std::vector<Fix> fixes = fixes_of(program, message);
            if (fixes.size() != 1) continue;
            const auto& found = fixes[0].edits;
            const bool known = std::find_if(edits.begin(), edits.end(), [&](const Edit& edit) {
                                   return edit.range == found[0].range;
                               }) != edits.end();
            if (known) continue;
            edits.insert(edits.end(), found.begin(), found.end());
            mend.titles.push_back(fixes[0].title);
        }
        if (edits.empty()) break;
        mend.text = edited(mend.text, std::move(edits));
    }
    return mend;
}

}  // namespace marl::lab
