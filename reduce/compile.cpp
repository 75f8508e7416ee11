// From a body to code.
//
// Expressions are compiled in the order in which the machine reduces them. A lambda binds its
// operand to a register and goes on with the others, a lazy definition that only arranges its
// operands (`&`, `T`, `K`) arranges them here, a comparison in front of two operands becomes a
// branch, and a variable in front of one or two chooses between code for each operand when it turns
// out to be `K`, `H`, a list cell or a pair. So the untaken operand is never built, and a lambda
// that takes a cell apart is never a lambda.
//
// What nobody takes apart here goes the general way: operands are held back in the context, those
// with work in them as closures, and the head becomes the focus.
//
// The compiler recurses by the depth of expressions, and code for a choice holds that of both ways.
// Where either goes too far, the rest becomes a part of its own, compiled when it is first needed.
#include "reduce/analysis.h"
#include "reduce/changing.h"
#include "reduce/check_code.h"
#include "reduce/compiler.h"
#include "reduce/continuation.h"
#include "reduce/heads.h"
#include "reduce/meanings.h"
#include "reduce/needs.h"
#include "reduce/operators.h"

namespace marl {

namespace {

constexpr int most_depth = 16;
constexpr size_t most_instructions = 800;
constexpr int most_used_registers = 44;
constexpr int most_arranged = 40;  // lazy definitions in a row that are arranged: they may recurse

int letter_of(Node* variable) { return *leaf_text(variable) - 'a'; }
uint32_t letter_bit(Node* variable) { return uint32_t{1} << letter_of(variable); }

class Depth {
  public:
    explicit Depth(int& depth) : depth_(++depth) {}
    ~Depth() { --depth_; }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

  private:
    int& depth_;
};

}  // namespace

Compiler::Compiler(Code& code, Continuations* continuations)
    : code_(code),
      continuations_(continuations),
      unsettled_(code.unsettled),
      next_(code.parameters + code.captures) {
    code.frame = next_;
    Scope scope;
    scope.letters = code.letters;
    std::copy(std::begin(code.register_of), std::end(code.register_of), scope.reg.begin());
    for (Node* e = code.whole; e != code.body; e = lambda_body(e)) {
        scope.rebound |= letter_bit(lambda_key(e));
    }
    new_scope(scope);
}

void Compiler::run() {
    const Term body{code_.body, 0};
    emit(Op::enter);
    drop(registers_below(next_) & ~registers_of(body));
    expression(body, {}, last_word, 0);
    place_later_landings();
    code_.instructions.front().d = code_.frame;
    code_.instructions.front().b = static_cast<uint8_t>(code_.parameters + code_.captures);
}

/// Whether the rest had better be compiled on its own.
bool Compiler::is_too_large() const {
    return depth_ > most_depth || next_ > most_used_registers ||
           code_.instructions.size() > most_instructions;
}

/// Compiles an expression as a part of its own, which is entered here.
void Compiler::cut(const Term& head, const Terms& terms, Target target, RegisterSet live) {
    const RegisterSet needed = live | registers_of(terms);
    const int kept = next_;
    const uint8_t made = new_register();
    const bool is_built = terms.empty() && is_construction(head.expression) && !may_hold_work(head);
    close(is_built ? Op::construct : Op::closure, head, made, needed);
    if (is_built) {
        give(use(made, 0), target);
    } else {
        unsettled_ |= set_of(made);
        register_head(made, terms, target, live);
    }
    next_ = kept;
}

void Compiler::expression(Term head, Terms terms, Target target, RegisterSet live) {
    const Depth deeper(depth_);
    // A part may begin with many captures: it has to get somewhere before it is cut itself.
    for (bool may_cut = depth_ > 1;; may_cut = true) {
        if (const int reg = register_of(head); reg >= 0) {
            return register_head(reg, terms, target, live);
        }
        Node* e = head.expression;
        if (terms.empty()) {
            if (const auto known = fixed(head)) return give(*known, target);
        }
        if (is_atom(e)) return leaf_head(head, terms, target, live);
        if (may_cut && is_too_large()) return cut(head, terms, target, live);
        switch (form(e)) {
            case Form::lambda: {
                if (terms.empty()) {
                    const int kept = next_;
                    const int reg = target.last ? new_register() : target.reg;
                    close(Op::closure, head, reg, live);
                    if (target.last) give(use(reg, 0), target);
                    next_ = kept;
                    return;
                }
                const Term value = terms.front();
                terms.erase(terms.begin());
                bind(head, terms, lambda_key(e), lambda_body(e), value, target, live);
                break;
            }
            case Form::let:
                bind(head, terms, let_key(e), let_body(e), {let_value(e), head.scope}, target,
                     live);
                break;
            case Form::other:
                terms.insert(terms.begin(), {right(e), head.scope});
                head.expression = left(e);
                break;
        }
    }
}

/// The value is computed, and the head becomes the body in which the key stands for it.
void Compiler::bind(Term& head, Terms& terms, Node* key, Node* body, const Term& value,
                    Target target, RegisterSet live) {
    const auto letter = static_cast<size_t>(letter_of(key));
    const uint32_t bit = letter_bit(key);
    const bool used = (free_set(body) & bit) != 0;
    Scope scope = scope_of(head);
    scope.letters &= ~bit;
    scope.rebound |= bit;
    const Term rest_of_body{body, new_scope(scope)};
    const RegisterSet needed = live | registers_of(rest_of_body) | registers_of(terms);
    int reg = register_of(value);
    if (!is_settled_register(reg)) {
        // While the value is computed, the lambda waits for it.
        Term lambda = head;
        if (continuations_ && form(head.expression) == Form::let) {
            Value made = marl::apply(leaf("\\"), Value::share(key), Value::share(body));
            lambda.expression = made;
            code_.made_expressions.push_back(std::move(made));
        }
        Rest behind{target.rest};
        behind.later = &terms;
        const std::vector<Operand> none;
        const Rest rest{&behind, &lambda, &none};
        reg = new_register();
        expression(value, {}, {false, reg, &rest}, needed);
    }
    if (!used) drop(set_of(reg) & ~needed);
    scope.letters |= bit;
    scope.reg[letter] = static_cast<uint8_t>(reg);
    head = {body, new_scope(scope)};
}

void Compiler::register_head(int reg, const Terms& terms, Target target, RegisterSet live) {
    const Operand head = use(reg, live | registers_of(terms));
    if (is_settled_register(reg)) {
        if (terms.empty()) return give(head, target);
        if (terms.size() > 2) return apply(reg, terms, target, live);
        choose(reg, terms, target, live, false);
        return;
    }
    if (!terms.empty()) return general(head, terms, target, live);
    if (target.last) {
        emit(Op::return_work, 0, reg);
        return;
    }
    if (head.from == From::share) emit(Op::share, target.reg, reg);
    const int from = head.from == From::share ? target.reg : reg;
    const int kept = kept_registers(live);
    const int32_t place = here();
    emit(Op::evaluate, target.reg, from, kept);
    land_later(place, place + 1, landing(target.reg, kept, live, target.rest));
}

void Compiler::leaf_head(const Term& head, const Terms& terms, Target target, RegisterSet live) {
    Node* name = resolve(head.expression);
    const bool named = is_leaf(name) && is_name_byte(first_byte(name)) && is_name(leaf_bytes(name));
    if (named) return named_head(name, terms, target, live);
    general(constant(name), terms, target, live);
}

void Compiler::named_head(Node* name, const Terms& terms, Target target, RegisterSet live) {
    Symbol& symbol = symbol_of_leaf(name);
    const auto count = static_cast<int>(terms.size());
    if (!symbol.definition) {
        return general(constant(name), terms, target, live);
    }
    if (symbol.builtin) {
        if (count < symbol.builtin->arity) return partial(name, false, terms, target, live);
        const auto op = static_cast<Op>(symbol.operation);
        const bool known = symbol.operation >= 0;
        if (known && is_comparison(op) && count >= 4 && truth_is_plain()) {
            return compare(op, name, terms, target, live);
        }
        if (known && is_arithmetic(op)) return operation(op, name, terms, target, live);
        return call(name, terms, target, live);
    }
    if (rank_of(name) != symbol.parameters) return general(constant(name), terms, target, live);
    if (symbol.parameters == 0) return constant_head(name, terms, target, live);
    if (is_lazy_name(symbol.name)) return lazy_head(name, terms, target, live);
    if (count < symbol.parameters) return partial(name, false, terms, target, live);
    call(name, terms, target, live);
}

/// A constant: its value, then applied to the terms. One that is evaluated anew at each use stands
/// for its expression, which is reduced together with the operands; one that a failed load has left
/// with a letter unbound is refused there when it is called.
void Compiler::constant_head(Node* name, const Terms& terms, Target target, RegisterSet live) {
    Symbol& symbol = symbol_of_leaf(name);
    const bool is_last = target.last && terms.empty();
    if (symbol.unmemoised || is_last || !may_analyse(symbol.definition) ||
        !is_closed(symbol.definition)) {
        return general(constant(name), terms, target, live);
    }
    const int outer = next_;
    const bool direct = !target.last && terms.empty();
    const int reg = direct ? target.reg : new_register();
    const RegisterSet needed = live | registers_of(terms);
    const int32_t place = here();
    const int kept = kept_registers(needed);
    const Operand leaf = constant(name);
    Instruction& made = emit(Op::name, reg, kept);
    made.symbol = &symbol;
    attach(made, {leaf});
    Rest behind{target.rest};
    behind.later = &terms;
    land_later(place, place, landing(reg, kept, needed, &behind));
    if (!direct) register_head(reg, terms, target, live);
    next_ = outer;
}

/// A lazy definition whose body only arranges its parameters and constants is arranged here,
/// when it uses each parameter at most once, so that no work is done twice.
bool Compiler::arrange(Symbol& symbol, const Terms& terms, Target target, RegisterSet live) {
    std::array<int, 26> term_of;
    term_of.fill(-1);
    Node* body = symbol.definition;
    for (int i = 0; i < symbol.parameters; ++i, body = lambda_body(body)) {
        term_of[static_cast<size_t>(letter_of(lambda_key(body)))] = i;
    }
    Terms arranged;
    uint32_t seen = 0;
    // A constant in the body is one node for all calls.
    const auto is_constant = [](Node* node) {
        return is_leaf(node) ? rank_of(node) != rank_variable : is_closed(node) && settled(node);
    };
    const auto translate = [&](Node* leaf, Term& to) {
        if (is_constant(leaf)) {
            to = {leaf, 0};
            return true;
        }
        if (!is_leaf(leaf)) return false;
        if (seen & letter_bit(leaf)) return false;
        seen |= letter_bit(leaf);
        to = terms[static_cast<size_t>(term_of[static_cast<size_t>(letter_of(leaf))])];
        return true;
    };
    Term head;
    for (; !is_leaf(body) && !is_constant(body); body = left(body)) {
        if (form(body) != Form::other || !translate(right(body), head)) return false;
        arranged.insert(arranged.begin(), head);
    }
    if (!translate(body, head)) return false;
    arranged.insert(arranged.end(), terms.begin() + symbol.parameters, terms.end());
    drop(registers_of(terms) & ~(registers_of(head) | registers_of(arranged) | live));
    const Depth deeper(arranged_);
    expression(head, std::move(arranged), target, live);
    return true;
}

void Compiler::lazy_head(Node* name, const Terms& terms, Target target, RegisterSet live) {
    Symbol& symbol = symbol_of_leaf(name);
    if (static_cast<int>(terms.size()) < symbol.parameters) {
        return partial(name, true, terms, target, live);
    }
    const bool may_arrange = arranged_ < most_arranged && may_analyse(symbol.definition);
    if (may_arrange && arrange(symbol, terms, target, live)) return;
    general(constant(name), terms, target, live);
}

/// What a head makes a cell of its two operands, where nobody can tell that it is no node.
static std::optional<ClosureKind> cell_kind(Node* head) {
    if (keeps_identity || !pairs_are_plain()) return {};
    if (is_leaf_text(head, "J")) return ClosureKind::list_cell;
    if (is_leaf_text(head, "V")) return ClosureKind::pair_cell;
    return {};
}

/// A partial application. With as many arguments waiting as a lazy head needs, it fires without a
/// look at its operands; else they are reduced for it.
void Compiler::partial(Node* name, bool lazy, const Terms& terms, Target target, RegisterSet live) {
    const Operand plain = constant(name);
    const bool works =
        std::any_of(terms.begin(), terms.end(), [&](const Term& term) { return is_work(term); });
    int32_t asked = -1;
    if (lazy && target.last && works) {
        asked = here();
        emit(Op::if_held, 0, 0, symbol_of_leaf(name).parameters - static_cast<int>(terms.size()));
    }
    const int kept = next_;
    const Term head{name, 0};
    const std::vector<Operand> operands = values_of(terms, &head, {}, live, target);
    const int made = target.last ? new_register() : target.reg;
    const auto cell = terms.size() == 2 ? cell_kind(name) : std::nullopt;
    Instruction& pairs = emit(cell ? Op::cell : Op::pairs, made);
    pairs.word = plain.word;
    if (cell) pairs.d = static_cast<int32_t>(*cell);
    attach(pairs, operands);
    if (target.last) give(use(made, 0), target);
    next_ = kept;
    if (asked < 0) return;
    jump_to_here(asked);
    general(plain, terms, target, live);
}

void take_parameters(Code& part) {
    part.body = part.whole;
    for (; part.parameters < most_parameters && form(part.body) == Form::lambda;
         part.body = lambda_body(part.body)) {
        const int letter = letter_of(lambda_key(part.body));
        part.letters |= uint32_t{1} << letter;
        part.register_of[letter] = static_cast<uint8_t>(part.parameters++);
    }
    if (part.parameters > 0) part.kind = ClosureKind::lambda;
}

std::unique_ptr<Code> make_code(Node* definition, bool strict) {
    auto code = std::make_unique<Code>();
    Node* e = definition;
    for (; form(e) == Form::lambda; e = lambda_body(e)) {
        MARL_REQUIRE(free_set(lambda_key(e)) != 0 && code->parameters < most_parameters);
        code->letters |= letter_bit(lambda_key(e));
        code->register_of[letter_of(lambda_key(e))] = static_cast<uint8_t>(code->parameters++);
    }
    code->whole = Value::share(e);
    code->body = e;
    if (!strict) code->unsettled = registers_below(code->parameters);
    return code;
}

void compile(Code& code) {
    code.made = true;
    if (may_load) code.continuations = std::make_unique<Continuations>();
    Compiler(code, code.continuations.get()).run();
    for (Instruction& instruction : code.instructions) {
        const InstructionRow& row = row_of(instruction.op);
        if (row.has_operands) instruction.operands = code.operands.data() + instruction.fields.e;
        if (row.shape == Shape::choose) {
            instruction.choice = &code.choices[static_cast<size_t>(instruction.d)];
        }
    }
#if MARL_CHECK_CODE
    check_code(code);
#endif
}

}  // namespace marl
