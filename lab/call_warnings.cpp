// Calls with too many or too few arguments, or with some that a built-in takes for a failure.
#include <algorithm>
#include <array>

#include "lab/look.h"
#include "lab/signatures.h"

namespace marl::lab {

namespace {

std::string arguments_text(int count) {
    return std::to_string(count) + (count == 1 ? " argument" : " arguments");
}

/// Whether a comma stands between two arguments, and so both stand in one call list.
bool is_comma_between(const Program& program, Node* a, Node* b) {
    const Range before = program.range_of(a);
    const Range behind = program.range_of(b);
    if (before.end >= behind.begin) return false;
    return program.written({before.end, behind.begin}).find(',') != std::string_view::npos;
}

/// What a call by name gives when it has all its arguments.
Sort result_of(const Look& look, std::string_view name) {
    const auto own = look.sorts.results.find(name);
    if (own != look.sorts.results.end()) return own->second;
    const Signature* builtin = signature_of(name);
    return builtin ? builtin->result : sort::any;
}

void look_for_too_many(const Look& look) {
    for (Node* node : look.nodes) {
        if (is_leaf(node)) continue;
        const Call call = call_of(look, node);
        const auto excess = static_cast<size_t>(call.arity);
        if (call.arity < 1 || call.arguments.size() != excess + 1) continue;
        if (!is_comma_between(look.program, call.arguments[excess - 1], call.arguments[excess])) {
            continue;
        }
        const std::string_view name = leaf_bytes(call.name);
        const Sort result = result_of(look, name);
        if (!is_surely(result, sort::data)) continue;
        look.warn(place_of(look, call.arguments[excess]),
                  ticked(name) + " takes " + arguments_text(call.arity) + ", and gives " +
                      sort_name(result) + ", which is applied to this one.");
    }
}

// Too few.

void warn_of_partial(const Look& look, Node* node) {
    const Call call = call_of(look, node);
    look.warn(place_of(look, node), ticked(leaf_bytes(call.name)) + " takes " +
                                        arguments_text(call.arity) + " and gets " +
                                        std::to_string(call.arguments.size()) +
                                        " here: this is a function that waits for the rest.");
}

bool wants_data(std::string_view builtin, char letter) {
    return letter != 'x' || builtin == "init" || builtin == "lisp" || builtin == "rank";
}

void look_for_too_few(const Look& look) {
    constexpr std::string_view operators = "+-*/%^=#<>";
    for (Node* node : look.nodes) {
        Infix infix{};
        if (is_infix(node, operators, infix)) {
            if (!means_given(look.program, leaf_bytes(infix.leaf))) continue;
            for (Node* operand : {infix.a, infix.b}) {
                if (is_partial(look, operand)) warn_of_partial(look, operand);
            }
            continue;
        }
        const Call call = call_of(look, node);
        const std::string_view name = leaf_bytes(call.name);
        const Signature* builtin = call.arity > 0 ? signature_of(name) : nullptr;
        if (!builtin || call.arguments.size() != builtin->arguments.size()) continue;
        for (size_t i = 0; i < call.arguments.size(); ++i) {
            const bool waits = is_partial(look, call.arguments[i]);
            if (waits && wants_data(name, builtin->arguments[i])) {
                warn_of_partial(look, call.arguments[i]);
            }
        }
    }
}

// Arguments of a kind that a built-in doesn't take.

/// What a built-in takes as an argument that the reference tells in words.
Sort accepted(std::string_view builtin, size_t argument, char letter) {
    const bool is_aggregate = builtin == "rank" || builtin == "look" || builtin == "trim";
    if (is_aggregate && argument == 0) return sort::data;
    if (builtin == "init") {
        return sort::hint | sort::real | sort::zits | sort::cells | sort::truth;
    }
    return accepted_by(letter);
}

std::string wanted(Sort set, char letter) {
    switch (letter) {
        case 'I':
        case 'N': return "an integer";
        case 'M': return "bytes or an address";
        case 'R': return "a `real`";
        default: return sort_name(set);
    }
}

/// Whether bytes go out as they are: to a person, or as the name of a file.
bool shows_bytes(std::string_view builtin) {
    constexpr std::array<std::string_view, 8> names{"fopen", "getenv", "opendir", "perror",
                                                    "puts",  "remove", "rename",  "system"};
    return std::find(names.begin(), names.end(), builtin) != names.end();
}

/// A sentence on what a built-in does with an argument that isn't meant; empty when all is well.
std::string argument_sentence(const Look& look, std::string_view builtin, size_t i, char letter,
                              Node* argument) {
    const Sort sort = look.sorts.of(argument);
    const std::string name = ticked(builtin);
    const Sort set = accepted(builtin, i, letter);
    if (sort != sort::none && is_surely(sort, sort::any & ~set)) {
        std::string say = name + " wants " + wanted(set, letter) + " and gets " + sort_name(sort) +
                          " here: the answer is `Z`.";
        const bool is_text = (sort & (sort::zits | sort::post)) != 0;
        if (letter == 'R' && is_surely(sort, sort::hint | sort::numb)) {
            say += " `real` makes one of a number.";
        }
        if (is_text && letter == 'I') say += " `strdup` gives an address.";
        return say;
    }
    if (letter != 'M') return {};
    if (is_surely(sort, sort::zits) && shows_bytes(builtin)) {
        return name + " gets a text here, whose brackets belong to it; `init(" +
               shown(look, argument) + ")` gives its bytes.";
    }
    if (is_surely(sort, sort::number) && !is_leaf_text(argument, "0")) {
        const std::string number = shown(look, argument);
        const std::string operand = is_leaf(argument) ? number : "(" + number + ")";
        return name + " takes this number for an address. `init([]+" + operand +
               ")` gives the bytes of its digits.";
    }
    return {};
}

void look_for_wrong_argument(const Look& look) {
    for (Node* node : look.nodes) {
        const Call call = call_of(look, node);
        const std::string_view name = leaf_bytes(call.name);
        const Signature* builtin = call.arity > 0 ? signature_of(name) : nullptr;
        if (!builtin || call.arguments.size() != builtin->arguments.size()) continue;
        for (size_t i = 0; i < call.arguments.size(); ++i) {
            Node* argument = call.arguments[i];
            if (is_partial(look, argument)) continue;
            std::string say = argument_sentence(look, name, i, builtin->arguments[i], argument);
            if (!say.empty()) look.warn(place_of(look, argument), std::move(say));
        }
    }
}

constexpr std::array rows{
    Warning{"too_few_arguments",
            "A call that waits for more arguments stands where data is wanted: `1+add(2)`.\n"
            "A function that has got only a part of its arguments is a function of the others. An "
            "operator or a built-in that wants data answers `Z` for it.",
            look_for_too_few},
    Warning{"too_many_arguments",
            "A call list has more arguments than the function takes, as in `double(3,4)`.\n"
            "What the function gives is data, and that is applied to the next argument, which "
            "shows what it is made of. A function that gives a function, a truth value or a pair "
            "can take more.",
            look_for_too_many},
    Warning{"wrong_argument",
            "A built-in gets what it doesn't take, as in `puts[hello]` or `sqrt(2)`.\n"
            "Mostly it answers `Z` then. Where it takes memory, a number counts as an address, and "
            "a text is its bytes with the brackets around it; `init` makes plain bytes of a text, "
            "`[]+n` makes a text of a number, and `real n` a double.",
            look_for_wrong_argument},
};

}  // namespace

std::span<const Warning> call_warnings() { return rows; }

}  // namespace marl::lab
