// Values that stand where another kind of value is wanted: as operands, as steps, at the end.
#include <algorithm>
#include <array>
#include <set>

#include "lab/look.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

constexpr std::string_view comparisons = "=#<>";
constexpr Sort no_data = sort::truth | sort::half | sort::unit | sort::function;

/// Whether an operator stands between two operands and means what it means in the system.
bool is_operation(const Look& look, Node* node, std::string_view operators, Infix& infix) {
    return is_infix(node, operators, infix) &&
           means_given(look.program, std::string_view(&infix.operation, 1));
}

// Steps.

/// Whether nothing needs a value that is handed to a definition: it ignores that parameter.
bool ignores(const Look& look, const Call& call, size_t argument) {
    const Piece* own = definition_of(look.program, leaf_bytes(call.name));
    if (!own || call.arity < 1 || argument >= own->parameters.size()) return false;
    const auto names = look.program.names_of(*own);
    return std::none_of(names.begin(), names.end(), [&](const Name& name) {
        return name.role == Role::use && name.key == own->parameters[argument];
    });
}

bool is_used(Node* let) {
    std::set<std::string_view> names;
    for (Node* name : bound_names(let)) names.insert(leaf_bytes(name));
    return any_node(let_body(let),
                    [&](Node* node) { return is_leaf(node) && names.contains(leaf_bytes(node)); });
}

/// The expressions whose value is dropped: it is enough that they are evaluated.
std::set<Node*> dropped_nodes(const Look& look) {
    std::set<Node*> dropped;
    for (Node* node : look.nodes) {
        Infix step{};
        if (form(node) == Form::let) {
            if (!is_used(node)) dropped.insert(let_value(node));
            if (dropped.contains(node)) dropped.insert(let_body(node));
        } else if (is_operation(look, node, ";", step)) {
            if (dropped.contains(node)) dropped.insert(step.b);
        } else {
            const Call call = call_of(look, node);
            for (size_t i = 0; i < call.arguments.size(); ++i) {
                if (ignores(look, call, i)) dropped.insert(call.arguments[i]);
            }
        }
    }
    return dropped;
}

std::string shown_call(const Look& look, Node* node) {
    const Call call = call_of(look, node);
    if (call.arity >= 0) return ticked(leaf_bytes(call.name));
    return ticked(brief(look, node));
}

void look_for_applied_result(const Look& look) {
    constexpr Sort opened = sort::numeric | sort::post;
    const std::set<Node*> dropped = dropped_nodes(look);
    for (Node* node : look.nodes) {
        Infix step{};
        if (dropped.contains(node)) continue;
        if (!is_operation(look, node, ";", step) || is_digits(step.a)) continue;
        const Sort sort = look.sorts.of(step.a);
        const bool is_text = is_surely(sort, sort::zits) &&
                             (look.sorts.of(step.b) & (sort::zits | sort::function)) == 0;
        if (!is_surely(sort, opened) && !is_text) continue;
        look.warn(look.program.range_of(step.leaf),
                  shown_call(look, step.a) + " gives " + sort_name(sort) +
                      ", and `;` applies that to what follows. A step whose value nobody wants is "
                      "`done{...}rest`.");
    }
}

// Operands.

void warn_of_half(const Look& look, Node* node) {
    look.warn(place_of(look, node),
              "This condition has one branch. It is applied to both, `(x<0)(this)(that)`, and with "
              "one of them it is a function that waits for the other.");
}

/// Whether an operation is applied by a blank behind it, which is told already.
bool is_told_of_blank(const Look& look, Node* operation) {
    const size_t end = look.program.outer_range_of(operation).end;
    return std::any_of(look.messages.begin(), look.messages.end(), [&](const Message& message) {
        return message.kind == "loose_blank" && message.range.begin == end;
    });
}

void look_for_void_operand(const Look& look) {
    for (Node* node : look.nodes) {
        Infix infix{};
        if (!is_operation(look, node, arithmetic, infix) || is_told_of_blank(look, node)) continue;
        const Sort a = look.sorts.of(infix.a);
        for (Node* operand : {infix.a, infix.b}) {
            const Sort sort = look.sorts.of(operand);
            if (!is_surely(sort, no_data) || is_surely(sort, sort::half)) continue;
            if (is_partial(look, operand)) continue;
            std::string say = ticked(infix.operation) + " answers `Z` for " + sort_name(sort) + ".";
            const bool appends = is_surely(a, sort::cray) && operand == infix.b;
            if (appends) say += " `cork` puts any value into a slot of an array.";
            look.warn(place_of(look, operand), std::move(say));
        }
    }
}

/// The data that is one kind to a comparison.
Sort kinds_of(Sort one) { return (one & sort::hint) != 0 ? one | sort::hint : one; }

void look_for_compared_kinds(const Look& look) {
    for (Node* node : look.nodes) {
        Infix infix{};
        if (!is_operation(look, node, comparisons, infix)) continue;
        const Sort a = look.sorts.of(infix.a);
        const Sort b = look.sorts.of(infix.b);
        if (!is_surely(a, sort::data) || !is_surely(b, sort::data)) continue;
        if ((kinds_of(a) & kinds_of(b) & sort::data) != 0) continue;
        look.warn(look.program.range_of(infix.leaf),
                  "This compares " + sort_name(a) + " with " + sort_name(b) +
                      ", and nothing is converted: of two kinds, the answer is always the same.");
    }
}

void look_for_compared_truth(const Look& look) {
    for (Node* node : look.nodes) {
        Infix outer{};
        Infix inner{};
        if (!is_operation(look, node, comparisons, outer)) continue;
        const bool is_chain =
            is_infix(outer.b, comparisons, inner) &&
            look.program.range_of(outer.b) == look.program.outer_range_of(outer.b);
        for (Node* operand : {outer.a, outer.b}) {
            const bool is_literal = is_leaf_text(operand, "K") || is_leaf_text(operand, "H");
            if (is_literal || !is_surely(look.sorts.of(operand), sort::truth)) continue;
            std::string say = ticked(outer.operation) +
                              " compares data, and a truth value is none: mostly the answer is "
                              "`Z`.";
            if (is_chain) {
                say += " `" + brief(look, outer.a) + outer.operation + brief(look, inner.a) + "&(" +
                       brief(look, outer.b) + ")` asks for both.";
            }
            look.warn(look.program.range_of(outer.leaf), std::move(say));
            break;
        }
    }
}

// The end.

/// What stands last in an expression that goes step by step.
Node* last_step(const Look& look, Node* node) {
    for (Infix step{};;) {
        if (form(node) == Form::let) {
            node = let_body(node);
        } else if (is_operation(look, node, ";", step)) {
            node = step.b;
        } else {
            return node;
        }
    }
}

/// What the entry ends with, when it is a function of one parameter; null for others.
Node* end_of_program(const Look& look) {
    if (look.sound.empty() || look.sound.front()->kind != PieceKind::entry) return nullptr;
    const Piece& entry = *look.sound.front();
    const bool is_function = form(entry.expression) == Form::lambda && entry.parameters.size() == 1;
    return is_function ? last_step(look, lambda_body(entry.expression)) : nullptr;
}

/// What the program can give back.
Sort sort_of_program(const Look& look) {
    const auto found = look.sorts.results.find("");
    return found == look.sorts.results.end() ? sort::any : found->second;
}

void look_for_no_status(const Look& look) {
    const Sort sort = sort_of_program(look);
    Node* last = end_of_program(look);
    // What an applied result opens is told at its `;`, what lacks a branch at the condition.
    constexpr Sort told = sort::cells | sort::half;
    if (!last || !is_surely(sort, sort::any & ~sort::hint & ~told)) return;
    look.warn(place_of(look, last),
              "The program ends with " + sort_name(sort) +
                  ", and has to end with an integer, which is its exit status: `...;0`.");
}

// Conditions.

void look_for_one_branch(const Look& look) {
    const auto warn_of = [&](Node* node) {
        if (is_surely(look.sorts.of(node), sort::half)) warn_of_half(look, node);
    };
    Node* last = end_of_program(look);
    if (last && is_surely(sort_of_program(look), sort::half)) warn_of_half(look, last);
    for (Node* node : look.nodes) {
        Infix infix{};
        if (is_operation(look, node, "+-*/%^=#<>", infix)) {
            warn_of(infix.a);
            warn_of(infix.b);
        } else if (form(node) == Form::let) {
            if (is_surely(look.sorts.of(let_value(node)), sort::half) && !is_used(node)) {
                warn_of(let_value(node));
            }
        } else if (const Call call = call_of(look, node);
                   call.arity > 0 && builtin_arity(leaf_bytes(call.name)) &&
                   call.arguments.size() == static_cast<size_t>(call.arity)) {
            for (Node* argument : call.arguments) warn_of(argument);
        }
    }
}

constexpr std::array rows{
    Warning{"applied_result",
            "A step gives data, which is applied to the rest, as in `puts(x);0`.\n"
            "`a;b` is a applied to b. Where a gives `I`, that is b; a number gives the pair of its "
            "first bit and the others. `done{puts(x)}0` goes on with 0 whatever `puts` gives, and "
            "`show\\x\\done(puts(init(lisp x))),done\\x\\I` is a step that shows x.",
            look_for_applied_result},
    Warning{"compared_kinds",
            "Values of different kinds are compared, as in `5=[5]`.\n"
            "A comparison never converts: they differ, and the smaller one is that of the smaller "
            "kind. `lisp n` makes a text of a number, `real n` a double.",
            look_for_compared_kinds},
    Warning{"compared_truth",
            "A truth value is compared, as in `1<x<5` or `(a<b)=(c<d)`.\n"
            "A comparison is about data. That both hold is `1<x&(x<5)`, and whether truth values a "
            "and b are the same says `a(b)(!b)`.",
            look_for_compared_truth},
    Warning{"no_status",
            "The program's last step can be no integer.\n"
            "A program ends with an integer, which is its exit status; `0` behind the last `;`, "
            "say.",
            look_for_no_status},
    Warning{"one_branch",
            "A condition has one branch where its value is wanted, as in `1+(x<0)2`.\n"
            "A condition is applied to both branches: `(x<0)(this)(that)`. With one of them it is "
            "a function that waits for the other. What does nothing is `I`.",
            look_for_one_branch},
    Warning{"void_operand",
            "An operand is a truth value, a function or `I`, as in `1+(2<3)` or `cray/K`.\n"
            "Arithmetic is about data, and answers `Z` for all others. An array takes them by "
            "`cork`.",
            look_for_void_operand},
};

}  // namespace

std::span<const Warning> value_warnings() { return rows; }

}  // namespace marl::lab
