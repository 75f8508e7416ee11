// Choices: a comparison before two terms, and a value that takes terms apart.
//
// Each way through a choice drops at its start what only the others use, and is compiled towards
// the same target. A term stands in several of them: as the one that is chosen, and as an operand
// where the head is a function like any other. There it goes the general way, as a part, unless it
// is small; so code grows with the text, not with the number of ways.
#include "reduce/analysis.h"
#include "reduce/compiler.h"
#include "reduce/meanings.h"
#include "reduce/operators.h"

namespace marl {

/// One way of a choice: what the other ways hold is dropped, then the term is compiled.
template <class Compile>
int32_t Compiler::way(RegisterSet before, RegisterSet needed, Target target,
                      std::vector<int32_t>& ends, const Compile& compile) {
    const int32_t start = here();
    const int kept = next_;
    const RegisterSet unsettled = unsettled_;
    drop(before & ~needed);
    compile();
    if (!target.last) {
        ends.push_back(here());
        emit(Op::jump);
    }
    next_ = kept;
    unsettled_ = unsettled;
    return start;
}

void Compiler::join(const std::vector<int32_t>& ends) {
    for (const int32_t end : ends) jump_to_here(end);
}

/// Whether a term is a truth value, or at least no function that would wait for further operands.
bool Compiler::is_truth(const Term& term) {
    if (is_simple(term)) return true;
    Node* e = term.expression;
    if (term.reg >= 0 || is_leaf(e) || is_leaf(left(e)) || !is_leaf(left(left(e)))) return false;
    Node* name = resolve(left(left(e)));
    if (!is_name_byte(first_byte(name)) || !is_name(leaf_bytes(name))) return false;
    if (rank_of(name) == rank_variable) return false;
    const int operation = symbol_of_leaf(name).operation;
    return operation >= 0 && is_comparison(static_cast<Op>(operation));
}

/// A comparison in front of two terms, or more: a branch.
void Compiler::compare(Op op, Node* name, const Terms& terms, Target target, RegisterSet live) {
    const Term& yes = terms[2];
    const Term& no = terms[3];
    const Terms rest(terms.begin() + 4, terms.end());
    const Terms choices(terms.begin() + 2, terms.end());
    const RegisterSet for_rest = registers_of(rest) | live;
    const int kept = next_;
    if (!are_small(rest) && is_truth(yes) && is_truth(no)) {
        // The rest is compiled once, behind the truth value that comes of both ways.
        Rest behind{target.rest};
        behind.later = &rest;
        const int truth = new_register();
        const Terms first(terms.begin(), terms.begin() + 4);
        compare(op, name, first, {false, truth, &behind}, for_rest);
        register_head(truth, rest, target, live);
        next_ = kept;
        return;
    }
    const RegisterSet all = registers_of(choices) | live;
    const uint8_t odd = new_register();
    const int32_t branch = operate(op, name, terms, target, all, odd);
    std::vector<int32_t> ends;
    way(all, registers_of(yes) | for_rest, target, ends,
        [&] { expression(yes, rest, target, live); });
    const int32_t h = way(all, registers_of(no) | for_rest, target, ends,
                          [&] { expression(no, rest, target, live); });
    const int32_t other =
        way(all, all, target, ends, [&] { general(use(odd, 0), choices, target, live); });
    at(branch).d = h - branch;
    at(branch).fields.e = other - branch;
    join(ends);
    next_ = kept;
}

/// A settled register in front of one or two terms. Gives the index of the Choice; -1 when nothing
/// can be told of it. `is_result`: it is what a call has given, and a Choice must tell what waits.
int32_t Compiler::choose(int reg, const Terms& terms, Target target, RegisterSet live,
                         bool is_result) {
    const bool two = terms.size() == 2;
    const Term& chosen = terms.back();  // what a cell or a pair goes to
    const int function = register_of(chosen);
    const bool is_lambda = function < 0 && form(chosen.expression) == Form::lambda;
    const bool takes_apart =
        pairs_are_plain() && (function >= 0 || is_leaf(chosen.expression) ||
                              (is_lambda && form(lambda_body(chosen.expression)) == Form::lambda));
    const bool picks = truth_is_plain() && (two || (is_result && !is_lambda));
    if (!is_result && !takes_apart && !picks) {
        apply(reg, terms, target, live);
        return -1;
    }
    const RegisterSet all = registers_of(terms) | live;
    const int kept = next_;
    const int32_t place = here();
    const Operand head = use(reg, all);
    const uint8_t odd = new_register();
    Instruction& made = emit(two ? Op::choose_two : Op::choose_one, odd, head.reg);
    mark_taken(made, head, take_b);
    const auto index = static_cast<int32_t>(code_.choices.size());
    made.d = index;
    code_.choices.emplace_back();
    Choice choice;
    std::vector<int32_t> ends;
    const auto pick = [&](const Term& term) {
        return way(all, registers_of(term) | live, target, ends,
                   [&] { expression(term, {}, target, live); }) -
               place;
    };
    if (picks && two) {
        choice.k = pick(terms[0]);
        if (!is_lambda) choice.h = pick(chosen);
    } else if (picks) {
        choice.identity = pick(chosen);
    }
    if (takes_apart) {
        const Term x{nullptr, -1, choice.x = new_register()};
        const Term y{nullptr, -1, choice.y = new_register()};
        choice.pair = way(all, registers_of(chosen) | live, target, ends,
                          [&] {
                              if (function >= 0)
                                  return general(use(function, live), {x, y}, target, live);
                              expression(chosen, {x, y}, target, live);
                          }) -
                      place;
    }
    const bool inlined = are_small(terms) || are_idle(terms) || (!picks && !takes_apart);
    choice.other = way(all, all, target, ends,
                       [&] {
                           if (inlined) return apply(odd, terms, target, live);
                           general(use(odd, 0), terms, target, live);
                       }) -
                   place;
    join(ends);
    code_.choices[static_cast<size_t>(index)] = choice;
    next_ = kept;
    return index;
}

}  // namespace marl
