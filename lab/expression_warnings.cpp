// Expressions that mean something else than they look like.
#include <algorithm>
#include <array>

#include "front/scan.h"
#include "lab/look.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

constexpr std::string_view applications = ":?;'";
constexpr std::string_view reversed_applications = ".@";
constexpr std::string_view comparisons = "=#<>";

/// Whether an operator of `operators` stands between its operands, with no parentheses around.
bool is_bare_infix(const Program& program, Node* node, std::string_view operators, Infix& infix) {
    const bool is_parenthesised = program.range_of(node) != program.outer_range_of(node);
    if (is_parenthesised || !is_infix(node, operators, infix)) return false;
    const size_t at = program.range_of(infix.leaf).begin;
    return program.range_of(infix.a).begin < at && at < program.range_of(infix.b).begin;
}

// Blanks.

/// Whether a Pair was written as two expressions with a blank between them.
bool is_blank_application(const Program& program, Node* node) {
    const Range f = program.outer_range_of(left(node));
    const Range x = program.outer_range_of(right(node));
    if (f.end >= x.begin || is_spacing_operator(static_cast<uint8_t>(program.text[f.end - 1]))) {
        return false;
    }
    const std::string_view between = program.written({f.end, x.begin});
    return std::all_of(between.begin(), between.end(), is_white);
}

void look_for_loose_blank(const Look& look) {
    const Program& program = look.program;
    for (Node* node : look.nodes) {
        if (is_leaf(node) || !is_blank_application(program, node)) continue;
        Infix infix{};
        const Range gap{program.outer_range_of(left(node)).end,
                        program.outer_range_of(right(node)).begin};
        const std::string f = brief(look, left(node));
        const std::string x = brief(look, right(node));
        if (is_bare_infix(program, left(node), arithmetic, infix)) {
            look.warn(gap, "A blank binds looser than " + ticked(infix.operation) + ": this is `(" +
                               f + ") " + x + "`. A call list binds tighter: `" +
                               brief(look, infix.b) + "(" + x + ")`.");
        } else if (is_bare_infix(program, right(node), arithmetic, infix)) {
            look.warn(gap, "A blank binds looser than " + ticked(infix.operation) + ": this is `" +
                               f + "(" + x + ")`; write it like this, or `" + f + "(" +
                               brief(look, infix.a) + ")` for the other.");
        }
    }
}

// Numbers.

/// Warns of a point between digits.
bool warn_of_point(const Look& look, Range point) {
    const std::string& source = look.program.text;
    // The text ends in a NUL.
    const auto is_digit_at = [&](size_t i) {
        return is_digit_byte(static_cast<uint8_t>(source[i]));
    };
    Range range = point;
    while (range.begin > 0 && is_digit_at(range.begin - 1)) --range.begin;
    while (is_digit_at(range.end)) ++range.end;
    if (range.begin == point.begin || range.end == point.end) return false;
    const std::string_view text = look.program.written(range);
    look.warn(range, ticked(text) + " is " + ticked(text.substr(text.find('.') + 1)) +
                         " applied to " + ticked(text.substr(0, text.find('.'))) +
                         "; a number with a point is `real[" + std::string(text) + "]`.");
    return true;
}

void look_for_applied_number(const Look& look) {
    for (Node* node : look.nodes) {
        if (is_leaf(node)) continue;
        Infix infix{};
        Node* number = nullptr;
        if (is_digits(left(node))) number = left(node);
        if (is_infix(node, applications, infix) && is_digits(infix.a)) number = infix.a;
        if (is_infix(node, reversed_applications, infix) && is_digits(infix.b)) number = infix.b;
        const bool is_point = infix.leaf && infix.operation == '.';
        if (is_point && warn_of_point(look, look.program.range_of(infix.leaf))) continue;
        if (!number) continue;
        look.warn(look.program.range_of(number),
                  "The number " + ticked(written(look, number)) +
                      " is applied here like a function, which gives the pair of its first bit and "
                      "the rest.");
    }
}

// Comparisons.

/// Whether an expression is a list, a pair or a function by the look of it.
bool is_void(Node* node) {
    if (form(node) == Form::lambda) return true;
    int arguments = 0;
    for (; !is_leaf(node); node = left(node)) ++arguments;
    const std::string_view head = leaf_bytes(node);
    if (head == "K" || head == "H" || head == "Z") return arguments == 0;
    return (head == "J" || head == "V") && arguments == 2;
}

/// The same, or by what is known of it.
bool is_surely_void(const Look& look, Node* node) {
    constexpr Sort other = sort::unit | sort::function;
    return is_void(node) || (is_surely(look.sorts.of(node), other) && !is_partial(look, node));
}

void look_for_compared_list(const Look& look) {
    for (Node* node : look.nodes) {
        Infix infix{};
        if (!is_infix(node, comparisons, infix)) continue;
        Node* odd = is_surely_void(look, infix.a)   ? infix.a
                    : is_surely_void(look, infix.b) ? infix.b
                                                    : nullptr;
        if (!odd) continue;
        std::string say = ticked(infix.operation) + " compares data, and " +
                          ticked(brief(look, odd)) + " is none: mostly the answer is `Z`.";
        if (is_leaf_text(odd, "K")) say += " Whether list l is empty says `L l`.";
        if (is_leaf_text(odd, "Z")) say += " Whether x has failed says `type x=[void]`.";
        look.warn(look.program.range_of(infix.leaf), std::move(say));
    }
}

void look_for_not_equal(const Look& look) {
    for (Node* node : look.nodes) {
        Infix infix{};
        if (!is_infix(node, "=", infix) || is_leaf(infix.a)) continue;
        const Range equal = look.program.range_of(infix.leaf);
        const bool adjacent = equal.begin > 0 && look.program.text[equal.begin - 1] == '!';
        if (!adjacent) continue;
        look.warn({equal.begin - 1, equal.end},
                  "This is `(" + brief(look, infix.a) + ")=" + brief(look, infix.b) +
                      "`: the `!` belongs to what is before it. \"Different\" is `#`.");
    }
}

constexpr std::array rows{
    Warning{"applied_number",
            "A number stands where a function is applied, as in `2(3+4)` or `1.5`.\n"
            "A number is a list of bits, and applied to something it gives the pair of its first "
            "bit and the rest, whatever that something is. A product is `2*(3+4)`, and a number "
            "with a point is `real[1.5]`.",
            look_for_applied_number},
    Warning{"compared_list",
            "A list, a pair or a function is compared, as in `l=K`.\n"
            "A comparison is about numbers, texts, bytes and arrays, and answers `Z` for all "
            "others. Whether list l is empty says `L l`, and whether x has failed "
            "`type x=[void]`.",
            look_for_compared_list},
    Warning{"loose_blank",
            "A blank beside an arithmetic operator binds looser than it looks, as in `f x+1`.\n"
            "That is `f (x+1)`, and `[]+f x` is `([]+f) x`. A call list binds tighter than every "
            "operator: `f(x)+1`, `[]+f(x)`.",
            look_for_loose_blank},
    Warning{"not_equal",
            "`a!=b` is `(!a)=b`.\n"
            "The `!` belongs to what is before it. \"Different\" is written `a#b`.",
            look_for_not_equal},
};

}  // namespace

std::span<const Warning> expression_warnings() { return rows; }

}  // namespace marl::lab
