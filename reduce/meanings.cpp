// What the machine means by a combinator stands in one table, with who relies on it; whether a
// definition still says so is a question to the definition, the names of its parameters aside.
// Definitions are not yet analysed when it is asked.
#include "reduce/meanings.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "reduce/analysis.h"
#include "reduce/tables.h"

namespace marl {

namespace {

/// Who relies on a meaning, and what becomes of a program that gives the name another one.
enum class Relied : uint8_t {
    context,  // both machines: a held-back argument y is T y. Runs are those of the plain machine.
    truth,    // code that branches: it is made without branches, and choices go the general way.
    pairs,    // code that takes a cell or a pair apart: likewise.
};

/// A definition with so many parameters, whose body is an application of the letters in `body` from
/// the left: "a" the first parameter, "b" the second, a capital that name.
struct Meaning {
    std::string_view name;
    int parameters;
    std::string_view body;
    Relied by;
};
constexpr Meaning meanings[] = {
    {"T", 2, "ba", Relied::context},  //
    {"K", 2, "a", Relied::truth},     //
    {"H", 1, "I", Relied::truth},     //
    {"I", 1, "a", Relied::truth},     //
    {"J", 3, "Vab", Relied::pairs},   //
    {"V", 3, "cab", Relied::pairs},   //
};

bool is_leaf_for(Node* node, char letter, const std::array<Node*, 3>& keys) {
    if (!is_leaf(node)) return false;
    const std::string_view text = letter >= 'a' && letter <= 'z' ? leaf_bytes(keys[letter - 'a'])
                                                                 : std::string_view(&letter, 1);
    return leaf_bytes(node) == text;
}

bool says(Node* definition, const Meaning& meaning) {
    std::array<Node*, 3> keys{};
    for (int i = 0; i < meaning.parameters; ++i, definition = lambda_body(definition)) {
        if (form(definition) != Form::lambda) return false;
        keys[i] = lambda_key(definition);
        const auto is_same = [&](Node* key) { return compare(key, keys[i]) == 0; };
        if (std::any_of(keys.begin(), keys.begin() + i, is_same)) return false;
    }
    for (size_t i = meaning.body.size(); i-- > 1; definition = left(definition)) {
        if (is_leaf(definition)) return false;
        if (!is_leaf_for(right(definition), meaning.body[i], keys)) return false;
    }
    return is_leaf_for(definition, meaning.body[0], keys);
}

bool stand(Relied by) {
    return std::all_of(std::begin(meanings), std::end(meanings), [&](const Meaning& meaning) {
        if (meaning.by != by) return true;
        Node* definition = find_definition(meaning.name);
        return definition && says(definition, meaning);
    });
}

}  // namespace

bool truth_is_plain() { return stand(Relied::truth); }
bool pairs_are_plain() { return stand(Relied::pairs); }

bool keeps_meaning(std::string_view name, Node* definition) {
    // Analysis gives a backquote a rank of 1, whatever its definition says.
    if (name == "`")
        return form(definition) == Form::lambda && form(lambda_body(definition)) != Form::lambda;
    return std::all_of(std::begin(meanings), std::end(meanings), [&](const Meaning& meaning) {
        return meaning.by != Relied::context || meaning.name != name || says(definition, meaning);
    });
}

}  // namespace marl
