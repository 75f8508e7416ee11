#include "lab/keys.h"

#include <algorithm>

#include "front/definitions.h"
#include "front/scan.h"
#include "front/scopes.h"
#include "lab/odd_bytes.h"
#include "lab/walk.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }

/// How many names a key is, behind each other with blanks between them; 0 for other keys.
int names_in_row(Node* key) {
    Infix infix{};
    if (is_infix(key, "+-*/%^=<>#&|?:.@';", infix)) return 0;
    int names = 0;
    const bool only_names = walk(key, [&](Node* node) {
        if (!is_leaf(node)) return Go::in;
        ++names;
        return is_definable(leaf_bytes(node)) ? Go::in : Go::out;
    });
    return only_names ? names : 0;
}

std::string row_sentence(std::string shown, bool is_lambda) {
    if (!is_lambda) {
        return "Wings take a pair apart in two, `x y{pair}rest`; what is more than two is taken "
               "apart once more.";
    }
    std::replace(shown.begin(), shown.end(), ' ', '\\');
    return "Each parameter has a backslash of its own: `" + shown + "\\`.";
}

}  // namespace

std::string split_sentence(std::string_view run) {
    if (std::any_of(run.begin(), run.end(), is_upper)) {
        return ticked(run) + " is no name: each capital letter is one of its own.";
    }
    if (std::any_of(run.begin(), run.end(), is_digit)) {
        return ticked(run) + " is no name: a name has no digits.";
    }
    return {};
}

std::string_view run_around(std::string_view text, Range range) {
    const auto belongs = [](char c) { return is_word(c) || is_upper(c) || is_digit(c); };
    while (range.begin > 0 && belongs(text[range.begin - 1])) --range.begin;
    while (range.end < text.size() && belongs(text[range.end])) ++range.end;
    return text.substr(range.begin, range.end - range.begin);
}

std::string key_sentence(const Program& program, Node* binder) {
    Node* key = binder_key(binder);
    const bool is_lambda = form(binder) == Form::lambda;
    const Range range = program.range_of(key);
    if (is_leaf_text(key, "}")) {
        return std::string("Nothing stands before the ") + (is_lambda ? "backslash" : "wings") +
               " here; a name must.";
    }
    const std::string_view written = program.written(range);
    std::string split = split_sentence(written);
    if (std::all_of(written.begin(), written.end(), is_digit)) {
        return ticked(written) + " is a number; only a name can stand here.";
    }
    if (run_around(program.text, range) == written && !split.empty()) return split;
    const std::string hidden = hidden_byte_sentence(written);
    if (hidden.empty() && names_in_row(key) > 1) {
        return row_sentence(std::string(written), is_lambda);
    }
    if (is_lambda) return "Only a name can stand before a backslash." + hidden;
    return "Only a name can stand before wings, or two names for a pair: `x y{pair}rest`." + hidden;
}

std::optional<Range> name_behind_missing_comma(const Program& program, Node* binder) {
    if (form(binder) != Form::lambda) return std::nullopt;
    const Range key = program.outer_range_of(binder_key(binder));
    std::string_view text = program.written(key);
    if (text.ends_with("()")) text.remove_suffix(2);
    size_t begin = text.size();
    while (begin > 0 && is_word(text[begin - 1])) --begin;
    if (text.size() - begin < 2 || begin == 0) return std::nullopt;
    size_t gap = begin;
    while (gap > 0 && is_white(text[gap - 1])) --gap;
    const bool begins_line = text.substr(gap, begin - gap).find('\n') != text.npos;
    const bool is_row = names_in_row(binder_key(binder)) > 1;
    if (gap == 0 || gap == begin || (is_row && !begins_line)) return std::nullopt;
    return Range{key.begin + begin, key.begin + text.size()};
}

bool begins_definition(const Program& program, const Name& parameter) {
    if (parameter.role != Role::parameter || is_letter(parameter.key)) return false;
    size_t at = parameter.range.begin;
    while (at > 0 && program.text[at - 1] == ' ') --at;
    if (at == 0 || program.text[at - 1] != '\n') return false;
    while (at > 0 && is_white(program.text[at - 1])) --at;
    return at > 0 && program.text[at - 1] != '\\' && program.text[at - 1] != '(';
}

}  // namespace marl::lab
