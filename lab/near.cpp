// Near is what few slips of typing lead to: letters put in, left out, replaced, or exchanged with
// their neighbour. How many may be, depends on the length of the name.
#include "lab/near.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "reduce/tables.h"

namespace marl::lab {

namespace {

/// How many letters have to be put in, taken out, replaced, or exchanged with their neighbour.
size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::vector<size_t>> rows(a.size() + 1, std::vector<size_t>(b.size() + 1));
    std::iota(rows[0].begin(), rows[0].end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        rows[i][0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = rows[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
            }
        }
    }
    return rows[a.size()][b.size()];
}

}  // namespace

std::vector<std::string> near_names(std::string_view name, const std::vector<std::string>& among) {
    constexpr size_t most = 3;
    constexpr size_t short_word = 5;
    const size_t limit = name.size() > short_word ? 2 : 1;
    std::vector<std::pair<size_t, std::string>> found;
    for (const std::string& candidate : among) {
        const size_t shorter = std::min(name.size(), candidate.size());
        if (std::max(name.size(), candidate.size()) - shorter > limit || shorter < 2) continue;
        const size_t far = distance(name, candidate);
        if (far > 0 && far <= limit && far < shorter) found.emplace_back(far, candidate);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    std::vector<std::string> names;
    for (size_t i = 0; i < found.size() && i < most; ++i) {
        if (found[i].first == found[0].first) names.push_back(found[i].second);
    }
    return names;
}

std::vector<std::string> near_names(const Program& program, const Name& name) {
    std::vector<std::string> names;
    for (const auto& [key, piece] : program.definitions) names.push_back(key);
    names.insert(names.end(), program.used_names.begin(), program.used_names.end());
    for (const Name& other : program.names_of(program.pieces[name.piece])) {
        const bool around =
            other.scope.begin <= name.range.begin && name.range.end <= other.scope.end;
        if (around) names.push_back(other.key);
    }
    for (const Builtin& row : builtin_table()) names.emplace_back(row.name);
    return near_names(name.key, names);
}

std::string_view foreign_word(std::string_view name) {
    static const std::map<std::string_view, std::string_view> words = {
        {"and", "and is `a&b`"},
        {"bool", "true is `K` and false `H`"},
        {"cond", "a condition is applied to both branches: `(x<0)(this)(that)`"},
        {"def", "a definition is `name\\parameter\\body`"},
        {"div", "the quotient is `a/b`"},
        {"else", "a condition is applied to both branches: `(x<0)(this)(that)`"},
        {"false", "false is `H`"},
        {"fn", "a function is `parameter\\body`"},
        {"fun", "a function is `parameter\\body`"},
        {"function", "a function is `parameter\\body`"},
        {"head", "the head of a list is `Q list`"},
        {"if", "a condition is applied to both branches: `(x<0)(this)(that)`"},
        {"in", "a local name is bound by `name{value}body`"},
        {"lambda", "a function is `parameter\\body`"},
        {"len", "the length of text, bytes and arrays is `rank`"},
        {"length", "the length of text, bytes and arrays is `rank`"},
        {"let", "a local name is bound by `name{value}body`"},
        {"mod", "the remainder is `a%b`"},
        {"neg", "the negative of x is `~x`"},
        {"nil", "the empty list is `K`"},
        {"not", "not is `!a`"},
        {"null", "failure is `Z`, the empty list `K`, the null address 0"},
        {"or", "or is `a|b`"},
        {"print", "a line is written by `puts(init text)`"},
        {"printf", "a line is written by `puts(init text)`, and `+` joins numbers to texts"},
        {"println", "a line is written by `puts(init text)`"},
        {"return", "a function gives the value of its body"},
        {"size", "the length of text, bytes and arrays is `rank`"},
        {"tail", "the tail of a list is `R list`"},
        {"then", "a condition is applied to both branches: `(x<0)(this)(that)`"},
        {"true", "true is `K`"},
        {"var", "a local name is bound by `name{value}body`"},
        {"where", "a local name is bound by `name{value}body`"},
        {"while", "a loop is a function that calls itself"},
        {"xor", "of truth values a and b it is `a(!b)b`"},
    };
    const auto word = words.find(name);
    return word == words.end() ? std::string_view() : word->second;
}

}  // namespace marl::lab
