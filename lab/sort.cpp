// The tables of the reference, kind by kind.
#include "lab/sort.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace marl::lab {

namespace {

constexpr std::array kinds{sort::number, sort::address, sort::numb, sort::real,
                           sort::zits,   sort::post,    sort::cray};

/// Of two kinds of numbers the wider one; a sum with an address may be one.
Sort wider(Sort a, Sort b) { return std::max(a, b); }

Sort sum(Sort a, Sort b) {
    if (a == sort::cray || b == sort::cray) return a == b ? sort::cray : sort::none;
    if (a == sort::post || b == sort::post) return sort::post;
    if (a == sort::zits || b == sort::zits) return sort::zits;
    return wider(a, b);
}

bool is_numeric(Sort a) { return (a & sort::numeric) != 0; }
bool is_hint(Sort a) { return (a & sort::hint) != 0; }

Sort difference(Sort a, Sort b) {
    if (is_numeric(a) && is_numeric(b)) return wider(a, b);
    if (a == sort::zits && b == sort::zits) return sort::zits;
    return !is_numeric(a) && is_hint(b) ? a : sort::none;
}

/// A product or a power of an address is none any more.
Sort plain(Sort a) { return is_hint(a) ? sort::number : a; }

Sort product(Sort a, Sort b) {
    if (is_numeric(a) && is_numeric(b)) return plain(wider(a, b));
    if (is_hint(a)) return b;
    return is_hint(b) ? a : sort::none;
}

Sort quotient(Sort a, Sort b) {
    if (a == sort::cray) return sort::cray;
    if (!is_numeric(a) || !is_numeric(b) || (a == b && a == sort::numb)) return sort::none;
    return is_hint(a) && is_hint(b) ? sort::number : sort::real;
}

Sort remainder(Sort a, Sort b) {
    if (b == sort::cray) return sort::cray;
    return is_numeric(a) && is_numeric(b) ? plain(wider(a, b)) : sort::none;
}

Sort power(Sort a, Sort b) {
    if (a == sort::cray) return sort::cray;
    if (!is_numeric(a) || !is_numeric(b) || (a == b && a == sort::numb)) return sort::none;
    if (is_hint(b)) return plain(a);
    return sort::real;
}

Sort of_kinds(char operation, Sort a, Sort b) {
    switch (operation) {
        case '+': return sum(a, b);
        case '-': return difference(a, b);
        case '*': return product(a, b);
        case '/': return quotient(a, b);
        case '%': return remainder(a, b);
        default: return power(a, b);
    }
}

}  // namespace

Sort sort_of_infix(char operation, Sort a, Sort b) {
    if (a == sort::none || b == sort::none) return sort::none;
    constexpr std::string_view comparisons = "=#<>";
    if (comparisons.find(operation) != comparisons.npos) return sort::truth | sort::failure;
    Sort result = sort::failure;
    for (const Sort x : kinds) {
        for (const Sort y : kinds) {
            if ((a & x) != 0 && (b & y) != 0) result |= of_kinds(operation, x, y);
        }
    }
    return result;
}

Sort sort_of_prefix(char operation, Sort a) {
    if (a == sort::none) return sort::none;
    if (operation == '~') return (a & (sort::data & ~sort::cray)) | sort::failure;
    Sort result = sort::failure;
    if ((a & sort::numeric) != 0) result |= sort::truth;
    if ((a & (sort::zits | sort::post)) != 0) result |= sort::zits;
    return result;
}

std::string sort_name(Sort one) {
    constexpr std::array<std::pair<Sort, std::string_view>, 11> names{{
        {sort::hint, "an integer"},
        {sort::numb, "a binary number"},
        {sort::real, "a `real`"},
        {sort::numeric, "a number"},
        {sort::zits, "a text"},
        {sort::post, "bytes"},
        {sort::cray, "an array"},
        {sort::truth | sort::half, "a truth value"},
        {sort::data, "data"},
        {sort::unit, "`I`, the function that gives back its argument"},
        {sort::function, "a function"},
    }};
    for (const auto& [set, name] : names) {
        if (is_surely(one, set)) return std::string(name);
    }
    return "no data";
}

}  // namespace marl::lab
