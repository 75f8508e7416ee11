// The reference's entry of a built-in has a line for its arguments and one for its result. A class
// is the first word of an argument; what is written in words there is any value, and the results
// that are written in words stand in a table here.
#include "lab/signatures.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "lab/reference.h"
#include "reduce/tables.h"

namespace marl::lab {

namespace {

/// What is told of a built-in behind a label; empty when nothing is.
std::string told(std::string_view entry, std::string_view label) {
    while (!entry.empty()) {
        const std::string_view line = entry.substr(0, entry.find('\n'));
        if (line.starts_with(label)) return std::string(line.substr(label.size()));
        entry.remove_prefix(std::min(line.size() + 1, entry.size()));
    }
    return {};
}

char class_of(std::string_view argument) {
    if (argument.starts_with("`zits`")) return 'z';
    if (argument.starts_with("`post`")) return 'p';
    const bool is_letter = argument.size() == 1 || (argument.size() > 1 && argument[1] == ' ');
    constexpr std::string_view classes = "INMR";
    return is_letter && classes.find(argument[0]) != classes.npos ? argument[0] : 'x';
}

std::string classes_of(std::string_view arguments, int arity) {
    std::string classes;
    while (!arguments.empty()) {
        const std::string_view one = arguments.substr(0, arguments.find(','));
        classes += class_of(one.substr(one.starts_with(' ') ? 1 : 0));
        arguments.remove_prefix(std::min(one.size() + 1, arguments.size()));
    }
    classes.resize(static_cast<size_t>(arity), 'x');
    return classes;
}

constexpr Sort text_or_bytes = sort::zits | sort::post;

/// Those that the tables tell in words, and integers that are surely no address.
constexpr std::array<std::pair<std::string_view, Sort>, 30> results{{
    {"abort", sort::none},
    {"abs", sort::number},
    {"atoi", sort::number},
    {"atol", sort::number},
    {"cape", text_or_bytes},
    {"cmpr", sort::number},
    {"cork", sort::data},
    {"cray", sort::cray},
    {"exit", sort::none},
    {"getchar", sort::number},
    {"init", sort::post},
    {"labs", sort::number},
    {"lisp", sort::zits},
    {"lits", sort::hint | sort::numb},
    {"post", sort::post},
    {"putchar", sort::number},
    {"puts", sort::number},
    {"rand", sort::number},
    {"rank", sort::number},
    {"real", sort::real},
    {"strcasecmp", sort::number},
    {"strcmp", sort::number},
    {"strlen", sort::number},
    {"strncmp", sort::number},
    {"strnlen", sort::number},
    {"system", sort::number},
    {"tolower", sort::number},
    {"toupper", sort::number},
    {"trim", text_or_bytes | sort::cray},
    {"type", sort::zits},
}};

Sort result_of(std::string_view name, const std::string& result, int arity) {
    for (const auto& [row, one] : results) {
        if (row == name) return one;
    }
    if (name == "zits" || result.starts_with("the new `zits`") ||
        result.starts_with("the `zits`")) {
        return sort::zits;
    }
    if (result.starts_with("the new `post`") || result.starts_with("the `post`")) return sort::post;
    if (result.empty()) return arity == 0 ? sort::hint : sort::any;
    const bool is_letter = result.size() == 1 || result[1] == ' ' || result[1] == ';';
    if (!is_letter) return arity == 0 ? sort::hint : sort::any;
    switch (result[0]) {
        case 'S':
        case 'U': return sort::hint;
        case 'D': return sort::real;
        case 'T': return sort::truth;
        case 'V': return sort::unit;
        default: return sort::any;
    }
}

/// Whether a built-in only computes with its arguments. Of a family that reads memory it may be
/// that something else changes it.
bool only_computes(std::string_view name, const std::string& classes) {
    constexpr std::array<std::string_view, 28> pure{
        "real", "zits", "cape", "init", "lits", "lots", "lisp", "type", "plus", "dash",
        "mult", "over", "cent", "powa", "wave", "buck", "less", "gteq", "same", "diff",
        "look", "cork", "trim", "rank", "cray", "left", "rght", "cmpr"};
    if (std::find(pure.begin(), pure.end(), name) != pure.end()) return true;
    return !classes.empty() && classes.find_first_not_of('R') == classes.npos;
}

std::map<std::string, Signature, std::less<>>* read_signatures() {
    auto* all = new std::map<std::string, Signature, std::less<>>;
    for (const Builtin& row : builtin_table()) {
        const std::string entry = reference_entry(row.name);
        std::string classes = classes_of(told(entry, "arguments: "), row.arity);
        const Sort result = result_of(row.name, told(entry, "result: "), row.arity);
        const bool acts = !only_computes(row.name, classes);
        all->emplace(row.name, Signature{std::move(classes), result, acts});
    }
    return all;
}

}  // namespace

const Signature* signature_of(std::string_view builtin) {
    static const auto* all = read_signatures();
    const auto row = all->find(builtin);
    return row == all->end() ? nullptr : &row->second;
}

Sort accepted_by(char letter) {
    switch (letter) {
        case 'I':
        case 'N': return sort::hint | sort::truth | sort::cells;
        case 'M': return sort::hint | sort::truth | sort::cells | text_or_bytes;
        case 'R': return sort::real | sort::cells;
        case 'z': return sort::zits;
        case 'p': return sort::post;
        default: return sort::any;
    }
}

}  // namespace marl::lab
