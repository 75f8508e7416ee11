// The needs are flags, set by names and never taken back while a program is there.
#include "reduce/needs.h"

#include <algorithm>
#include <span>

#include "reduce/analysis.h"
#include "reduce/heads.h"
#include "reduce/meanings.h"
#include "value/worklist.h"

namespace marl {

bool needs_plain_machine = false;
bool meanings_change = false;
bool may_load = false;
bool repeats_operands = false;

namespace {

constexpr std::string_view todo_name = "todo";
constexpr std::string_view names_that_load[] = {"load", "road"};
constexpr std::string_view names_that_ask[] = {"raws", "leak", "bond", "copy",
                                               "tern", "load", "road"};

bool is_in(std::span<const std::string_view> names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// The bit of a Leaf that is a letter, of others none.
uint32_t letter_bit(Node* leaf) {
    const char* text = leaf_text(leaf);
    const bool is_letter = *text >= 'a' && *text <= 'z' && text[1] == 0;
    return is_letter ? uint32_t{1} << (*text - 'a') : 0;
}

/// Whether some of the letters stands in two places of an expression, or in a lambda. The
/// expression need not be analysed yet.
bool is_repeated(uint32_t letters, Node* expression) {
    struct Place {
        Node* node;
        bool in_lambda;
    };
    uint32_t seen = 0;
    Worklist<Place> rest;
    rest.push({expression, false});
    while (!rest.empty()) {
        const auto [node, in_lambda] = rest.pop();
        if (!is_leaf(node)) {
            const bool inner = in_lambda || form(node) == Form::lambda;
            rest.push({left(node), inner});
            rest.push({right(node), inner});
        } else if (const uint32_t letter = letter_bit(node) & letters) {
            if (in_lambda || (seen & letter)) return true;
            seen |= letter;
        }
    }
    return false;
}

/// By now all parameters are letters.
bool repeats_parameter(Node* definition) {
    uint32_t parameters = 0;
    for (; form(definition) == Form::lambda; definition = lambda_body(definition)) {
        parameters |= letter_bit(lambda_key(definition));
    }
    return is_repeated(parameters, definition);
}

}  // namespace

bool is_noted_name(std::string_view name) {
    if (name.size() != 4) return false;  // none of them has another length
    return name == todo_name || is_in(names_that_ask, name);
}

void note_name(std::string_view name) {
    if (name == todo_name) needs_plain_machine = true;
    if (is_in(names_that_load, name)) may_load = true;
    if (is_in(names_that_ask, name)) keeps_identity = true;
}

void note_definition(std::string_view name, Node* definition) {
    if (name.size() != 1) return;  // combinators and operators
    if (!keeps_meaning(name, definition)) needs_plain_machine = meanings_change = true;
    if (is_lazy_name(name) && repeats_parameter(definition)) repeats_operands = true;
}

void clear_needs() {
    needs_plain_machine = false;
    meanings_change = false;
    keeps_identity = false;
    may_load = false;
    repeats_operands = false;
}

}  // namespace marl
