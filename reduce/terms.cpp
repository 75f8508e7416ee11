// What is known of a term before it is compiled, and where its value comes from.
#include <algorithm>

#include "reduce/analysis.h"
#include "reduce/changing.h"
#include "reduce/compiler.h"
#include "reduce/operators.h"

namespace marl {

namespace {

constexpr int most_aliases = 8;  // names in a row that are followed
constexpr int most_small_nodes = 24;

int letter_of(Node* variable) { return *leaf_text(variable) - 'a'; }

}  // namespace

int Compiler::new_scope(const Scope& scope) {
    scopes_.push_back(scope);
    return static_cast<int>(scopes_.size() - 1);
}

/// The register of a part that was built where the closure was made, or -1.
int Compiler::hoisted_register(Node* node, uint32_t rebound) const {
    for (const Hoisted& hoisted : code_.hoisted) {
        if (hoisted.node == node && (free_set(node) & rebound) == 0) return hoisted.reg;
    }
    return -1;
}

/// The register that a term is, or -1.
int Compiler::register_of(const Term& term) {
    if (term.reg >= 0) return term.reg;
    Node* e = term.expression;
    if (!is_leaf(e)) {
        return code_.hoisted.empty() ? -1 : hoisted_register(e, scope_of(term).rebound);
    }
    if (rank_of(e) != rank_variable) return -1;
    return scope_of(term).reg[static_cast<size_t>(letter_of(e))];
}

/// The registers that an expression uses.
RegisterSet Compiler::registers_in(Node* expression, const Scope& scope) {
    RegisterSet set = 0;
    const auto add_letters = [&](uint32_t letters) {
        for (letters &= scope.letters; letters; letters &= letters - 1) {
            set |= set_of(scope.reg[static_cast<size_t>(__builtin_ctz(letters))]);
        }
    };
    if (code_.hoisted.empty()) {
        add_letters(free_set(expression));
        return set;
    }
    // What was hoisted stands for its variables.
    struct Place {
        Node* node;
        uint32_t bound;
    };
    std::vector<Place> rest{{expression, 0}};
    while (!rest.empty()) {
        const auto [node, bound] = rest.back();
        rest.pop_back();
        if (is_closed(node)) continue;
        if (is_leaf(node)) {
            add_letters(free_set(node) & ~bound);
            continue;
        }
        if (const int reg = hoisted_register(node, scope.rebound | bound); reg >= 0) {
            set |= set_of(reg);
            continue;
        }
        const Form shape = form(node);
        if (shape == Form::lambda) {
            rest.push_back({lambda_body(node), bound | free_set(lambda_key(node))});
        } else if (shape == Form::let) {
            rest.push_back({let_value(node), bound});
            rest.push_back({let_body(node), bound | free_set(let_key(node))});
        } else {
            rest.push_back({left(node), bound});
            rest.push_back({right(node), bound});
        }
    }
    return set;
}

RegisterSet Compiler::registers_of(const Term& term) {
    if (term.reg >= 0) return set_of(term.reg);
    return term.scope < 0 ? 0 : registers_in(term.expression, scope_of(term));
}

RegisterSet Compiler::registers_of(const Terms& terms, size_t from) {
    RegisterSet set = 0;
    for (size_t i = from; i < terms.size(); ++i) set |= registers_of(terms[i]);
    return set;
}

/// The Leaf that a name stands for when its definition, or the definition of the name that this is,
/// and so on, is a settled Leaf: most operators are such names of built-ins. Any other name is
/// itself, since what it is defined as may be work.
Node* Compiler::resolve(Node* name) {
    Node* meant = name;
    for (int i = 0; i < most_aliases && is_leaf(meant) && !settled(meant); ++i) {
        const Symbol& symbol = symbol_of_leaf(meant);
        Node* definition = symbol.definition;
        if (symbol.builtin || !definition || symbol.unmemoised) break;
        if (is_leaf_of(definition, ')')) break;  // it is being reduced
        if (is_leaf(definition) && !may_analyse(definition)) break;
        meant = definition;
    }
    return is_leaf(meant) && settled(meant) ? meant : name;
}

/// The constant that stands for a term without variables and without work: the node of the body
/// itself, which every call shares. A lambda has code, so a closure is made of it.
std::optional<Operand> Compiler::fixed(const Term& term) {
    if (term.reg >= 0 || !is_closed(term.expression)) return {};
    Node* value = resolve(term.expression);
    if (!settled(value) || form(value) == Form::lambda) return {};
    return constant(value);
}

/// The constant that is a term as it stands: a name is not what it stands for, since whoever gets
/// it with its work can show it.
std::optional<Operand> Compiler::unreduced(const Term& term) {
    Node* e = term.expression;
    if (term.reg >= 0 || !is_closed(e)) return {};
    if (!is_leaf(e) && (!settled(e) || form(e) == Form::lambda)) return {};
    return constant(e);
}

/// Whether the value of a term is at hand.
bool Compiler::is_simple(const Term& term) {
    return is_settled_register(register_of(term)) || fixed(term).has_value();
}

/// Whether a term may have work in it.
bool Compiler::is_work(const Term& term) {
    return !is_simple(term) && (term.reg >= 0 || form(term.expression) != Form::lambda);
}

/// Whether a term is the same with its work and without, so that it goes to a lazy function as to a
/// strict one. A name is not what it stands for.
bool Compiler::is_idle(const Term& term) {
    if (const int reg = register_of(term); reg >= 0) return is_settled_register(reg);
    return form(term.expression) == Form::lambda ||
           (is_closed(term.expression) && settled(term.expression));
}

bool Compiler::are_idle(const Terms& terms) {
    return std::all_of(terms.begin(), terms.end(), [&](const Term& term) { return is_idle(term); });
}

/// Whether a term is so small that it may be compiled twice.
bool Compiler::is_small(const Term& term) const {
    if (term.reg >= 0) return true;
    std::vector<Node*> rest{term.expression};
    for (int nodes = 0; !rest.empty(); ++nodes) {
        if (nodes == most_small_nodes) return false;
        Node* node = rest.back();
        rest.pop_back();
        if (is_leaf(node) || (is_closed(node) && settled(node))) continue;
        rest.push_back(left(node));
        rest.push_back(right(node));
    }
    return true;
}

bool Compiler::are_small(const Terms& terms) const {
    return std::all_of(terms.begin(), terms.end(),
                       [&](const Term& term) { return is_small(term); });
}

/// A use of a register behind which `later` is still needed.
Operand Compiler::use(int reg, RegisterSet later) {
    const From from = later & set_of(reg) ? From::share : From::take;
    return {from, static_cast<uint8_t>(reg)};
}

RegisterSet Compiler::registers_in(const Operand& operand) {
    return operand.from == From::constant ? 0 : set_of(operand.reg);
}

/// Of several uses of a register the last one takes it, unless it is live.
void Compiler::take_last_uses(std::vector<Operand>& operands, RegisterSet live) {
    for (size_t i = operands.size(); i-- > 0;) {
        if (registers_in(operands[i]) == 0) continue;
        operands[i] = use(operands[i].reg, live);
        live |= set_of(operands[i].reg);
    }
}

/// Where the value of a term is, which is computed when it has work. A register is not yet said to
/// be taken.
Operand Compiler::value_of(const Term& term, RegisterSet live, const Rest& rest) {
    const int reg = register_of(term);
    if (is_settled_register(reg)) return use(reg, ~RegisterSet{0});
    if (const auto known = fixed(term)) return *known;
    const uint8_t made = new_register();
    expression(term, {}, {false, made, &rest}, live);
    return use(made, ~RegisterSet{0});
}

/// The values of terms, computed in order, for a head that is applied to them and then to `later`;
/// each register's last use behind which it is not live takes it.
std::vector<Operand> Compiler::values_of(const Terms& terms, const Term* head, const Terms& later,
                                         RegisterSet live, Target target) {
    std::vector<Operand> operands;
    RegisterSet held = 0;
    Rest behind{target.rest};
    behind.later = &later;
    for (size_t i = 0; i < terms.size(); ++i) {
        const Rest rest{&behind, head, &operands, &terms, i + 1};
        const RegisterSet needed = live | held | registers_of(terms, i + 1);
        operands.push_back(value_of(terms[i], needed, rest));
        held |= registers_in(operands.back());
    }
    take_last_uses(operands, live);
    return operands;
}

}  // namespace marl
