// Calls, operators, and the general way.
//
// The operands of a call are computed into registers in a row, which is where the frame of what is
// called begins. A frame that ends with a call computes them where its own registers are no longer
// needed, and hands its place over.
#include "reduce/analysis.h"
#include "reduce/compiler.h"
#include "reduce/operators.h"

namespace marl {

/// The values of terms in a row of registers, which is given by its first.
int Compiler::values_in_row(const Terms& terms, const Term& head, const Terms& later, Target target,
                            RegisterSet live) {
    const int base = next_;
    std::vector<Operand> done;
    Rest behind{target.rest};
    behind.later = &later;
    for (size_t i = 0; i < terms.size(); ++i) {
        const RegisterSet row = registers_below(next_) & ~registers_below(base);
        const Rest rest{&behind, &head, &done, &terms, i + 1};
        const int reg = new_register();
        expression(terms[i], {}, {false, reg, &rest}, live | row | registers_of(terms, i + 1));
        done.push_back({From::take, static_cast<uint8_t>(reg)});
        next_ = reg + 1;
    }
    return base;
}

/// The values of terms in the first registers of a frame that holds nothing else any more. What is
/// computed while its register is still in use takes another one, and moves at the end.
void Compiler::values_in_front(const Terms& terms, const Term& head) {
    const auto count = static_cast<int>(terms.size());
    std::vector<Operand> done;
    const int kept = next_;
    next_ = std::max(next_, count);
    code_.frame = std::max(code_.frame, next_);
    RegisterSet taken = 0;
    for (int i = 0; i < count; ++i) {
        const Term& term = terms[static_cast<size_t>(i)];
        const RegisterSet later = taken | registers_of(terms, static_cast<size_t>(i) + 1);
        const RegisterSet used = registers_of(term);
        const bool is_free = ((later | used) & set_of(i)) == 0 ||
                             ((later & set_of(i)) == 0 && is_one_instruction(term));
        const int reg = is_free ? i : new_register();
        const int above = next_;
        const Rest rest{nullptr, &head, &done, &terms, static_cast<size_t>(i) + 1};
        if (is_free) unsettled_ &= ~set_of(i);
        expression(term, {}, {false, reg, &rest}, later);
        done.push_back({From::take, static_cast<uint8_t>(reg)});
        taken |= set_of(reg);
        next_ = above;
    }
    for (int i = 0; i < count; ++i) {
        const int reg = done[static_cast<size_t>(i)].reg;
        if (reg != i) emit(Op::move, i, reg);
    }
    next_ = kept;
}

/// Whether a term becomes one instruction, which reads its operands before it writes.
bool Compiler::is_one_instruction(const Term& term) {
    if (is_simple(term)) return true;
    Node* e = term.expression;
    if (term.reg >= 0 || is_leaf(e) || is_leaf(left(e))) return false;
    Node* head = left(left(e));
    if (!is_leaf(head)) return false;
    Node* name = resolve(head);
    if (!is_name_byte(first_byte(name)) || !is_name(leaf_bytes(name))) return false;
    if (rank_of(name) == rank_variable) return false;
    const int operation = symbol_of_leaf(name).operation;
    if (operation < 0 || !is_arithmetic(static_cast<Op>(operation))) return false;
    const Term x{right(left(e)), term.scope};
    const Term y{right(e), term.scope};
    if (!is_settled_register(register_of(x))) return false;
    if (is_settled_register(register_of(y))) return true;
    const auto known = fixed(y);
    return known && is_short(known->word);
}

/// Calls what stands in the row; its value comes to the landing's register.
void Compiler::call_here(Symbol& symbol, int base, const Landing& landed) {
    const int32_t place = here();
    if (symbol.builtin) {
        const Op op = symbol.builtin->is_nested ? Op::builtin_nested : Op::builtin;
        emit(op, landed.reg, base, symbol.builtin->arity).builtin = symbol.builtin;
        land_later(place, place + 1, landed);
    } else {
        emit(Op::call, 0, base, symbol.parameters).symbol = &symbol;
        land(landed);
    }
}

/// A built-in or a strict definition with all its operands, and perhaps more.
void Compiler::call(Node* name, const Terms& terms, Target target, RegisterSet live) {
    Symbol& symbol = symbol_of_leaf(name);
    const int arity = symbol.builtin ? symbol.builtin->arity : symbol.parameters;
    const Terms own(terms.begin(), terms.begin() + arity);
    const Terms rest(terms.begin() + arity, terms.end());
    if (rest.empty() && target.last) return call_last(name, own);
    const int kept = next_;
    const RegisterSet held = live | registers_of(rest);
    const int base = values_in_row(own, {name, 0}, rest, target, held);
    if (rest.empty()) {
        call_here(symbol, base, landing(target.reg, base, live, target.rest));
    } else if (rest.size() <= 2) {
        next_ = kept;
        call_and_choose(symbol, base, rest, target, live);
    } else {
        call_held(symbol, base, rest, target, live);
    }
    next_ = kept;
}

/// What a call gives is applied to one or two terms more. They wait in the frame: what it gives is
/// nearly always a value that takes one of them or both apart here.
void Compiler::call_and_choose(Symbol& symbol, int base, const Terms& rest, Target target,
                               RegisterSet live) {
    const RegisterSet held = live | registers_of(rest);
    Rest behind{target.rest};
    behind.later = &rest;
    const int reg = new_register();
    const Landing landed = landing(reg, base, held, &behind, true);
    call_here(symbol, base, landed);
    const int32_t place = here();
    const auto index = static_cast<size_t>(choose(reg, rest, target, live, true));
    landed.map->choice = static_cast<int32_t>(index);
    Choice& choice = code_.choices[index];
    choice.first = static_cast<uint32_t>(code_.pieces.size());
    choice.count = static_cast<uint8_t>(rest.size());
    choice.ends = registers_of(rest) & ~live;
    for (const Term& term : rest) {
        Piece piece = piece_of(term);
        code_.pieces.push_back(std::move(piece));
    }
    if (target.last) return;
    const int left = kept_registers(live);
    land_later(place, here(), landing(target.reg, left, live, target.rest));
}

/// What a call gives is applied to many terms more, which are held back in the context.
void Compiler::call_held(Symbol& symbol, int base, const Terms& rest, Target target,
                         RegisterSet live) {
    const int arity = symbol.builtin ? symbol.builtin->arity : symbol.parameters;
    const RegisterSet row = registers_below(base + arity) & ~registers_below(base);
    const int32_t wait = here();
    if (!target.last) emit(Op::wait);
    hold(rest, live | row);
    if (symbol.builtin) {
        Instruction& made = emit(Op::builtin_held, 0, base, arity);
        made.builtin = symbol.builtin;
        if (!target.last) made.d = base;
    } else if (target.last) {
        for (int i = 0; i < arity; ++i) emit(Op::move, i, base + i);
        emit(Op::call_last, 0, 0, arity).symbol = &symbol;
    } else {
        emit(Op::call_held, 0, base, arity).symbol = &symbol;
    }
    if (target.last) return;
    jump_to_here(wait);
    land(landing(target.reg, base, live, target.rest));
}

void Compiler::call_last(Node* name, const Terms& own) {
    Symbol& symbol = symbol_of_leaf(name);
    if (!symbol.builtin) {
        values_in_front(own, {name, 0});
        emit(Op::call_last, 0, 0, symbol.parameters).symbol = &symbol;
        return;
    }
    const int kept = next_;
    const int base = values_in_row(own, {name, 0}, {}, last_word, 0);
    emit(Op::builtin_last, 0, base, symbol.builtin->arity).builtin = symbol.builtin;
    next_ = kept;
}

/// Terms become arguments in the context, the first one on top.
void Compiler::hold(const Terms& terms, RegisterSet live) {
    for (size_t i = terms.size(); i-- > 0;) {
        RegisterSet later = live;
        for (size_t j = 0; j < i; ++j) later |= registers_of(terms[j]);
        const int kept = next_;
        const Operand operand = as_it_is(terms[i], later);
        attach(emit(Op::push_argument), {operand});
        next_ = kept;
    }
}

/// The general way: operands are held back, and the head becomes the focus.
void Compiler::general(const Operand& head, const Terms& terms, Target target, RegisterSet live) {
    const RegisterSet head_registers = registers_in(head);
    const int kept = target.last ? 0 : kept_registers(live);
    const int32_t wait = here();
    if (!target.last) emit(Op::wait);
    hold(terms, live | head_registers);
    attach(emit(Op::go, 0, kept), {head_registers ? use(head.reg, live) : head});
    if (target.last) return;
    jump_to_here(wait);
    land(landing(target.reg, kept, live, target.rest));
}

/// An unknown function on its operands. One that is strict and takes them all has them computed
/// here, in order, and any other one gets them as they are.
void Compiler::apply(int reg, const Terms& terms, Target target, RegisterSet live) {
    const Operand function = use(reg, live | registers_of(terms));
    if (terms.size() > most_parameters) return general(function, terms, target, live);
    const int kept = next_;
    const bool is_asked = !are_idle(terms);
    const int32_t question = here();
    if (is_asked) emit(Op::if_strict, 0, reg, static_cast<int>(terms.size()));
    const Operand head = use(reg, live);
    const int base = values_in_row(terms, {nullptr, -1, reg}, {}, target, live | set_of(reg));
    next_ = kept;
    Instruction& made =
        emit(target.last ? Op::apply_last : Op::apply, reg, base, static_cast<int>(terms.size()));
    mark_taken(made, head, take_a);
    if (!target.last) land(landing(target.reg, base, live, target.rest));
    if (!is_asked) return;
    const int32_t end = here();
    if (!target.last) emit(Op::jump);
    jump_to_here(question);
    general(function, terms, target, live);
    if (!target.last) jump_to_here(end);
}

/// The instruction of an operator on the values of its two operands. Gives its place.
int32_t Compiler::operate(Op op, Node* name, const Terms& terms, Target target, RegisterSet live,
                          int to) {
    const Term head{name, 0};
    const Terms own(terms.begin(), terms.begin() + 2);
    const Terms rest(terms.begin() + 2, terms.end());
    std::vector<Operand> operands = values_of(own, &head, rest, live, target);
    for (size_t i = 0; i < 2; ++i) {
        if (operands[i].from != From::constant) continue;
        if (i == 1 && is_short(operands[i].word)) continue;
        const uint8_t made = new_register();
        give(operands[i], {false, made});
        operands[i] = use(made, 0);
    }
    const bool number = operands[1].from == From::constant;
    const int32_t place = here();
    Instruction& made = emit(number ? number_op(op) : op, to, operands[0].reg);
    mark_taken(made, operands[0], take_b);
    if (number) {
        made.word = operands[1].word;
    } else {
        made.c = operands[1].reg;
        mark_taken(made, operands[1], take_c);
    }
    return place;
}

void Compiler::operation(Op op, Node* name, const Terms& terms, Target target, RegisterSet live) {
    const bool direct = !target.last && terms.size() == 2;
    const Terms rest(terms.begin() + 2, terms.end());
    const int kept = next_;
    const int reg = direct ? target.reg : new_register();
    operate(op, name, terms, target, live | registers_of(rest), reg);
    if (!direct) register_head(reg, rest, target, live);
    next_ = kept;
}

}  // namespace marl
