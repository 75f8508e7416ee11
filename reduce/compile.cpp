// From a body to code.
//
// Expressions are compiled in the order in which the machine reduces them, each towards a register
// or, as the last thing that the frame does, towards the focus. An application is taken as a head
// and a list of operands, and the list stays symbolic as long as it can: a lambda binds its operand
// to a register and goes on with the others, a lazy definition that only arranges its operands
// (`&`, `T`, `K`) arranges them here, a comparison in front of two operands becomes a branch, and a
// variable in front of one or two chooses between code for each operand when it turns out to be
// `K`, `H`, a list cell or a pair. So the untaken operand is never built, and a lambda that takes a
// cell apart is never a lambda.
//
// What nobody takes apart here goes the general way: operands are held back in the context, those
// with work in them as closures, and the head becomes the focus.
//
// `live` is what registers are needed behind an expression. It decides whether a use takes or
// shares, and what a way through a choice drops at its start.
#include <algorithm>
#include <array>
#include <optional>

#include "reduce/analysis.h"
#include "reduce/code.h"
#include "reduce/lazy.h"
#include "reduce/operators.h"
#include "reduce/stack.h"
#include "reduce/tables.h"
#include "value/short_hint.h"

namespace marl {

namespace {

// Bodies beyond these are copied when they are called: nobody writes them by hand, and the compiler
// recurses by depth.
constexpr int most_depth = 300;
constexpr size_t most_nodes = 20'000;
constexpr size_t most_instructions = 4'000;
constexpr int most_aliases = 8;    // names in a row that are followed
constexpr int most_arranged = 40;  // lazy definitions in a row that are arranged: they may recurse

/// Registers for letters.
struct Scope {
    uint32_t letters = 0;
    std::array<uint8_t, 26> reg{};
};

/// An operand: a register, or an expression in a scope.
struct Operand {
    Node* expression = nullptr;
    int scope = -1;
    int reg = -1;
};
using Operands = std::vector<Operand>;

/// Where a value goes: a register, or to the focus as the frame's last word.
struct Target {
    bool last = true;
    int reg = 0;
};
constexpr Target last_word{};

/// Whether a constant is a number that an instruction can hold, and that number.
bool short_constant(Word word, int64_t& n) {
    if (is_node(word)) return short_hint(node_of(word), n);
    n = short_of(word);
    return true;
}

/// The row of lambdas at the top of an expression.
int count_lambdas(Node* expression) {
    int count = 0;
    for (; count < most_parameters && form(expression) == Form::lambda; ++count) {
        expression = lambda_body(expression);
    }
    return count;
}

int letter_of(Node* variable) { return *leaf_text(variable) - 'a'; }

void finish_part(Unit& part);

class Compiler {
  public:
    explicit Compiler(Unit& unit) : unit_(unit), next_(unit.captures + unit.parameters) {
        frame_ = next_;
        Scope scope;
        scope.letters = unit.letters;
        std::copy(std::begin(unit.register_of), std::end(unit.register_of), scope.reg.begin());
        scopes_.push_back(scope);
    }

    bool run() {
        const Operand body{unit_.body, 0};
        const RegisterSet all = next_ == 0 ? 0 : (set_of(next_ - 1) << 1) - 1;
        drop(all & ~registers_of(body));
        expression(body, {}, last_word, 0);
        unit_.frame = frame_;
        return !failed_;
    }

  private:
    // Emitting.

    Instruction& emit(Op op) {
        if (unit_.code.size() > most_instructions) failed_ = true;
        unit_.code.emplace_back();
        unit_.code.back().op = op;
        return unit_.code.back();
    }
    int32_t here() const { return static_cast<int32_t>(unit_.code.size()); }

    uint8_t new_register() {
        if (next_ >= most_registers - 1) {
            failed_ = true;
            return 0;
        }
        frame_ = std::max(frame_, next_ + 1);
        return static_cast<uint8_t>(next_++);
    }

    void drop(RegisterSet set) {
        if (set) emit(Op::drop).set = set;
    }

    /// A number needs no node, unless the program can ask which node it is.
    uint32_t constant(Word word) {
        int64_t n;
        if (!identity_matters && short_constant(word, n)) word = word_of_short(n);
        const auto known = std::find(unit_.constants.begin(), unit_.constants.end(), word);
        if (known != unit_.constants.end()) {
            return static_cast<uint32_t>(known - unit_.constants.begin());
        }
        retain_word(word);
        unit_.constants.push_back(word);
        return static_cast<uint32_t>(unit_.constants.size() - 1);
    }

    void attach(Instruction& instruction, const std::vector<Source>& sources) {
        instruction.first = static_cast<uint32_t>(unit_.sources.size());
        instruction.count = static_cast<uint32_t>(sources.size());
        unit_.sources.insert(unit_.sources.end(), sources.begin(), sources.end());
    }

    void site(int32_t next, RegisterSet live) { unit_.sites.push_back({next, live, waiting_ > 0}); }

    /// How many registers a frame keeps while called code runs.
    static uint8_t kept_registers(RegisterSet live) {
        return static_cast<uint8_t>(live ? 64 - __builtin_clzll(live) : 0);
    }

    // What is known of an operand.

    Scope& scope_of(const Operand& operand) { return scopes_[static_cast<size_t>(operand.scope)]; }

    RegisterSet registers_of(const Operand& operand) {
        if (operand.reg >= 0) return set_of(operand.reg);
        if (operand.scope < 0) return 0;
        const Scope& scope = scope_of(operand);
        RegisterSet set = 0;
        const uint32_t free = free_set(operand.expression) & scope.letters;
        for (int letter = 0; letter < 26; ++letter) {
            if (free & (uint32_t{1} << letter)) set |= set_of(scope.reg[letter]);
        }
        return set;
    }
    RegisterSet registers_of(const Operands& operands, size_t from = 0) {
        RegisterSet set = 0;
        for (size_t i = from; i < operands.size(); ++i) set |= registers_of(operands[i]);
        return set;
    }

    /// The register that an operand is, or -1.
    int register_of(const Operand& operand) {
        if (operand.reg >= 0) return operand.reg;
        Node* e = operand.expression;
        if (!is_leaf(e) || rank_of(e) != rank_variable) return -1;
        return scope_of(operand).reg[letter_of(e)];
    }
    bool is_settled_register(int reg) const {
        return reg >= 0 && (unit_.unsettled & set_of(reg)) == 0;
    }

    /// What stands for an operand without variables and without work: the node of the body itself,
    /// which every call shares.
    std::optional<uint32_t> fixed(const Operand& operand) {
        if (operand.reg >= 0) return {};
        Node* e = operand.expression;
        if (!is_closed(e)) return {};
        Node* value = resolve(e);
        if (!settled(value)) return {};
        if (form(value) == Form::lambda && value == e) return {};
        return constant(word_of(value));
    }

    /// The Leaf that a name stands for when its definition, or the definition of the name that this
    /// is, and so on, is a settled Leaf: most operators are such names of built-ins. Any other
    /// name is itself, since what it is defined as may be work.
    static Node* resolve(Node* e) {
        Node* meant = e;
        for (int i = 0; i < most_aliases && is_leaf(meant) && !settled(meant); ++i) {
            const Symbol& symbol = symbol_of_leaf(meant);
            Node* definition = symbol.definition;
            if (symbol.builtin || !definition || symbol.unmemoised) break;
            if (is_leaf_of(definition, ')')) break;  // it is being reduced
            meant = definition;
        }
        return is_leaf(meant) && settled(meant) ? meant : e;
    }

    // Operands towards sources.

    /// A use of a register behind which `later` is still needed.
    static Source use(int reg, RegisterSet later) {
        const From from = later & set_of(reg) ? From::share : From::take;
        return {from, static_cast<uint8_t>(reg)};
    }

    /// Where the value of an operand is, which is computed when it has work. A register is not yet
    /// said to be taken.
    Source value_of(const Operand& operand, RegisterSet live) {
        const int reg = register_of(operand);
        if (is_settled_register(reg)) return use(reg, ~RegisterSet{0});
        if (const auto known = fixed(operand)) return {From::constant, 0, *known};
        const uint8_t made = new_register();
        expression(operand, {}, {false, made}, live);
        return use(made, ~RegisterSet{0});
    }

    static RegisterSet registers_in(const Source& source) {
        const bool is_register = source.from == From::take || source.from == From::share;
        return is_register ? set_of(source.reg) : 0;
    }

    /// The values of operands, computed in order; each register's last use behind which it is not
    /// live takes it.
    std::vector<Source> values_of(const Operands& operands, RegisterSet live) {
        std::vector<Source> sources;
        RegisterSet held = 0;
        for (size_t i = 0; i < operands.size(); ++i) {
            sources.push_back(value_of(operands[i], live | held | registers_of(operands, i + 1)));
            held |= registers_in(sources.back());
        }
        take_last_uses(sources, live);
        return sources;
    }
    static void take_last_uses(std::vector<Source>& sources, RegisterSet live) {
        for (size_t i = sources.size(); i-- > 0;) {
            if (registers_in(sources[i]) == 0) continue;
            sources[i] = use(sources[i].reg, live);
            live |= set_of(sources[i].reg);
        }
    }

    /// An operand as it is, its work waiting in a closure.
    Source as_it_is(const Operand& operand, RegisterSet later) {
        if (const int reg = register_of(operand); reg >= 0) return use(reg, later);
        if (const auto known = fixed(operand)) return {From::constant, 0, *known};
        return {From::part, 0, part_of(operand, later)};
    }

    /// The part that an operand is on its own. Its captures stand in `sources` when it is used.
    uint32_t part_of(const Operand& operand, RegisterSet later);

    // Expressions.

    void expression(Operand head, Operands operands, Target target, RegisterSet live);
    void bind(Operand& head, Operands& operands, Node* key, Node* body, const Operand& value,
              RegisterSet live);
    void leaf_head(const Operand& head, const Operands& operands, Target target, RegisterSet live);
    void named_head(const Operand& head, Node* name, const Operands& operands, Target target,
                    RegisterSet live);
    void register_head(int reg, const Operands& operands, Target target, RegisterSet live);

    void give(const Source& source, Target target);
    void lambda(const Operand& operand, Target target, RegisterSet live);
    void constant_name(Node* name, const Operands& operands, Target target, RegisterSet live);
    void lazy_head(const Operand& head, Symbol& symbol, const Operands& operands, Target target,
                   RegisterSet live);
    bool arrange(Symbol& symbol, const Operands& operands, Target target, RegisterSet live);
    void partial(Node* name, bool lazy, const Operands& operands, Target target, RegisterSet live);
    void call(Symbol& symbol, const Operands& operands, Target target, RegisterSet live);
    Instruction& emit_call(Op op, Symbol& symbol, int reg, RegisterSet live,
                           const std::vector<Source>& sources);
    void operation(Op op, const Operands& operands, Target target, RegisterSet live);
    void compare(Op op, const Operands& operands, Target target, RegisterSet live);
    Instruction& operate(Op op, const Operands& operands, RegisterSet live);

    void hold(const Operands& operands, size_t from, RegisterSet live);
    void general(const Source& head, const Operands& operands, Target target, RegisterSet live);
    void apply(int reg, const Operands& operands, Target target, RegisterSet live);
    size_t choose(int reg, const Operands& operands, Target target, RegisterSet live);
    void call_and_choose(Symbol& symbol, const Operands& own, const Operands& rest, Target target,
                         RegisterSet live);

    /// One way of a choice: what the other ways hold is dropped, then the operand is compiled.
    template <class Compile>
    int32_t way(RegisterSet before, RegisterSet needed, Target target, std::vector<int32_t>& ends,
                Compile compile) {
        const int32_t start = here();
        const int kept = next_;
        drop(before & ~needed);
        compile();
        if (!target.last) {
            ends.push_back(here());
            emit(Op::jump);
        }
        next_ = kept;
        return start;
    }
    void join(const std::vector<int32_t>& ends) {
        for (const int32_t end : ends) unit_.code[static_cast<size_t>(end)].d = here();
    }

    Unit& unit_;
    std::vector<Scope> scopes_;
    int next_;  // the first register that is free
    int frame_ = 0;
    int waiting_ = 0;   // how many `wait` instructions are open
    int arranged_ = 0;  // how many lazy definitions are being arranged
    bool failed_ = false;
};

uint32_t Compiler::part_of(const Operand& operand, RegisterSet later) {
    auto part = std::make_unique<Unit>();
    Node* e = operand.expression;
    const Scope& scope = scope_of(operand);
    part->whole = e;
    std::vector<Source> captured;
    const uint32_t free = free_set(e);
    for (int letter = 0; letter < 26; ++letter) {
        if ((free & (uint32_t{1} << letter)) == 0) continue;
        const uint8_t reg = scope.reg[letter];
        part->letters |= uint32_t{1} << letter;
        part->register_of[letter] = static_cast<uint8_t>(part->captures);
        if (unit_.unsettled & set_of(reg)) part->unsettled |= set_of(part->captures);
        ++part->captures;
        captured.push_back(use(reg, ~RegisterSet{0}));
    }
    take_last_uses(captured, later);
    finish_part(*part);
    unit_.captured.push_back(std::move(captured));
    unit_.parts.push_back(std::move(part));
    return static_cast<uint32_t>(unit_.parts.size() - 1);
}

void Compiler::expression(Operand head, Operands operands, Target target, RegisterSet live) {
    for (;;) {
        if (failed_) return;
        if (const int reg = register_of(head); reg >= 0) {
            return register_head(reg, operands, target, live);
        }
        Node* e = head.expression;
        if (operands.empty()) {
            if (const auto known = fixed(head)) {
                return give({From::constant, 0, *known}, target);
            }
        }
        if (is_leaf(e) || is_zits(e)) return leaf_head(head, operands, target, live);
        switch (form(e)) {
            case Form::lambda:
                if (operands.empty()) return lambda(head, target, live);
                {
                    const Operand value = operands.front();
                    operands.erase(operands.begin());
                    bind(head, operands, lambda_key(e), lambda_body(e), value, live);
                }
                break;
            case Form::let:
                bind(head, operands, let_key(e), let_body(e), {let_value(e), head.scope}, live);
                break;
            case Form::other:
                operands.insert(operands.begin(), {right(e), head.scope});
                head.expression = left(e);
                break;
        }
    }
}

/// The value is computed, and the head becomes the body in which the key stands for it.
void Compiler::bind(Operand& head, Operands& operands, Node* key, Node* body, const Operand& value,
                    RegisterSet live) {
    Scope scope = scope_of(head);
    const int letter = letter_of(key);
    const uint32_t bit = uint32_t{1} << letter;
    const bool used = (free_set(body) & bit) != 0;
    scope.letters &= ~bit;
    scopes_.push_back(scope);
    const Operand rest{body, static_cast<int>(scopes_.size() - 1)};
    const RegisterSet needed = live | registers_of(rest) | registers_of(operands);
    int reg = register_of(value);
    if (!is_settled_register(reg)) {
        reg = new_register();
        expression(value, {}, {false, reg}, needed);
    }
    if (!used) drop(set_of(reg) & ~needed);
    scope.letters |= bit;
    scope.reg[letter] = static_cast<uint8_t>(reg);
    scopes_.back() = scope;
    scopes_.push_back(scope);
    head = {body, static_cast<int>(scopes_.size() - 1)};
}

void Compiler::give(const Source& source, Target target) {
    if (target.last) {
        attach(emit(Op::give), {source});
    } else if (source.from == From::constant) {
        Instruction& made = emit(Op::constant);
        made.a = static_cast<uint8_t>(target.reg);
        made.d = static_cast<int32_t>(source.index);
    } else {
        Instruction& made = emit(source.from == From::take ? Op::move : Op::share);
        made.a = static_cast<uint8_t>(target.reg);
        made.b = source.reg;
    }
}

void Compiler::lambda(const Operand& operand, Target target, RegisterSet live) {
    const uint32_t part = part_of(operand, live);
    if (target.last) return attach(emit(Op::give), {{From::part, 0, part}});
    Instruction& made = emit(Op::closure);
    made.a = static_cast<uint8_t>(target.reg);
    made.b = 0;
    attach(made, {{From::part, 0, part}});
}

void Compiler::register_head(int reg, const Operands& operands, Target target, RegisterSet live) {
    const Source head = use(reg, live | registers_of(operands));
    if (!is_settled_register(reg)) {
        if (!operands.empty() || target.last) return general(head, operands, target, live);
        if (head.from == From::share) {
            Instruction& shared = emit(Op::share);
            shared.a = static_cast<uint8_t>(target.reg);
            shared.b = static_cast<uint8_t>(reg);
        }
        const int32_t place = here();
        Instruction& made = emit(Op::evaluate);
        made.a = static_cast<uint8_t>(target.reg);
        made.b = static_cast<uint8_t>(head.from == From::share ? target.reg : reg);
        return site(place + 1, live);
    }
    if (operands.empty()) return give(head, target);
    if (operands.size() > 2) return apply(reg, operands, target, live);
    choose(reg, operands, target, live);
}

/// An unknown function on its operands. One that is strict and takes them all has them computed
/// here, in order.
void Compiler::apply(int reg, const Operands& operands, Target target, RegisterSet live) {
    const int kept = next_;
    const auto question = static_cast<size_t>(here());
    Instruction& asked = emit(Op::if_strict);
    asked.b = static_cast<uint8_t>(reg);
    asked.c = static_cast<uint8_t>(operands.size());
    Operands all{{nullptr, -1, reg}};
    all.insert(all.end(), operands.begin(), operands.end());
    const std::vector<Source> sources = values_of(all, live);
    next_ = kept;
    const int32_t place = here();
    Instruction& made = emit(target.last ? Op::apply_last : Op::apply);
    made.a = static_cast<uint8_t>(target.reg);
    made.b = kept_registers(live);
    made.c = static_cast<uint8_t>(Waiting::resume);
    attach(made, sources);
    int32_t end = -1;
    if (!target.last) {
        site(place + 1, live);
        end = here();
        emit(Op::jump);
    }
    unit_.code[question].d = here();
    general(use(reg, live | registers_of(operands)), operands, target, live);
    if (end >= 0) unit_.code[static_cast<size_t>(end)].d = here();
}

void Compiler::leaf_head(const Operand& head, const Operands& operands, Target target,
                         RegisterSet live) {
    Node* name = resolve(head.expression);
    const bool named = is_leaf(name) && is_name_byte(first_byte(name)) && is_name(leaf_bytes(name));
    if (named) return named_head(head, name, operands, target, live);
    general({From::constant, 0, constant(word_of(name))}, operands, target, live);
}

void Compiler::named_head(const Operand& head, Node* name, const Operands& operands, Target target,
                          RegisterSet live) {
    Symbol& symbol = symbol_of_leaf(name);
    const auto count = static_cast<int>(operands.size());
    const Source plain{From::constant, 0, constant(word_of(name))};
    if (!symbol.definition) return general(plain, operands, target, live);
    if (symbol.builtin) {
        if (count < symbol.builtin->arity) return partial(name, false, operands, target, live);
        const auto op = static_cast<Op>(symbol.operation);
        const bool known = symbol.operation >= 0;
        if (known && is_comparison(op) && count >= 4 && truth_is_plain()) {
            return compare(op, operands, target, live);
        }
        if (known && is_arithmetic(op)) return operation(op, operands, target, live);
        return call(symbol, operands, target, live);
    }
    if (symbol.parameters == 0) return constant_name(name, operands, target, live);
    if (is_lazy_name(symbol.name.view())) return lazy_head(head, symbol, operands, target, live);
    if (count < symbol.parameters) return partial(name, false, operands, target, live);
    call(symbol, operands, target, live);
}

/// Operands from index `from` on become arguments in the context, the first one on top.
void Compiler::hold(const Operands& operands, size_t from, RegisterSet live) {
    for (size_t i = operands.size(); i-- > from;) {
        RegisterSet later = live;
        for (size_t j = from; j < i; ++j) later |= registers_of(operands[j]);
        const Source source = as_it_is(operands[i], later);
        attach(emit(Op::hold), {source});
    }
}

/// The general way: operands are held back, and the head becomes the focus.
void Compiler::general(const Source& head, const Operands& operands, Target target,
                       RegisterSet live) {
    const RegisterSet head_registers = registers_in(head);
    const int32_t wait = here();
    if (!target.last) {
        emit(Op::wait).a = static_cast<uint8_t>(target.reg);
        ++waiting_;
    }
    hold(operands, 0, live | head_registers);
    Source last = head;
    if (head_registers) last = use(head.reg, live);
    attach(emit(target.last ? Op::give : Op::go), {last});
    if (!target.last) {
        --waiting_;
        unit_.code[static_cast<size_t>(wait)].d = here();
        site(here(), live);
    }
}

/// A constant: its value, then applied to the operands. One that is evaluated anew at each use
/// stands for its expression, which is reduced together with the operands; one that a failed load
/// has left with a letter unbound is refused there when it is called.
void Compiler::constant_name(Node* name, const Operands& operands, Target target,
                             RegisterSet live) {
    Symbol& symbol = symbol_of_leaf(name);
    if (symbol.unmemoised || !is_closed(symbol.definition) || (target.last && operands.empty())) {
        return general({From::constant, 0, constant(word_of(name))}, operands, target, live);
    }
    const bool direct = !target.last && operands.empty();
    const int reg = direct ? target.reg : new_register();
    const int32_t place = here();
    Instruction& made = emit(Op::name);
    made.a = static_cast<uint8_t>(reg);
    made.symbol = &symbol;
    made.d = static_cast<int32_t>(constant(word_of(name)));
    site(place + 1, live | registers_of(operands));
    if (!direct) register_head(reg, operands, target, live);
}

/// A lazy definition whose body only arranges its parameters and closed Leaves is arranged here.
/// Each parameter is used at most once, so no work is done twice.
bool Compiler::arrange(Symbol& symbol, const Operands& operands, Target target, RegisterSet live) {
    std::array<int, 26> operand_of;
    operand_of.fill(-1);
    Node* body = symbol.definition;
    for (int i = 0; i < symbol.parameters; ++i, body = lambda_body(body)) {
        operand_of[letter_of(lambda_key(body))] = i;
    }
    Operands arranged;
    uint32_t seen = 0;
    const auto translate = [&](Node* leaf, Operand& to) {
        if (!is_leaf(leaf)) return false;
        if (rank_of(leaf) != rank_variable) {
            to = {leaf, 0};
            return true;
        }
        const int letter = letter_of(leaf);
        if (seen & (uint32_t{1} << letter)) return false;
        seen |= uint32_t{1} << letter;
        to = operands[static_cast<size_t>(operand_of[letter])];
        return true;
    };
    Operand head;
    for (; !is_leaf(body); body = left(body)) {
        if (form(body) != Form::other || !translate(right(body), head)) return false;
        arranged.insert(arranged.begin(), head);
    }
    if (!translate(body, head)) return false;
    arranged.insert(arranged.end(), operands.begin() + symbol.parameters, operands.end());
    RegisterSet unused = registers_of(operands);
    unused &= ~(registers_of(head) | registers_of(arranged) | live);
    drop(unused);
    ++arranged_;
    expression(head, std::move(arranged), target, live);
    --arranged_;
    return true;
}

void Compiler::lazy_head(const Operand& head, Symbol& symbol, const Operands& operands,
                         Target target, RegisterSet live) {
    Node* name = resolve(head.expression);
    if (static_cast<int>(operands.size()) < symbol.parameters) {
        return partial(name, true, operands, target, live);
    }
    if (arranged_ < most_arranged && arrange(symbol, operands, target, live)) return;
    general({From::constant, 0, constant(word_of(name))}, operands, target, live);
}

/// A partial application. With as many arguments waiting as a lazy head needs, it fires without a
/// look at its operands; else they are reduced for it.
void Compiler::partial(Node* name, bool lazy, const Operands& operands, Target target,
                       RegisterSet live) {
    const Source plain{From::constant, 0, constant(word_of(name))};
    int32_t asked = -1;
    const auto is_work = [&](const Operand& operand) {
        return !is_settled_register(register_of(operand)) && !fixed(operand) &&
               (operand.reg >= 0 || form(operand.expression) != Form::lambda);
    };
    const bool works = std::any_of(operands.begin(), operands.end(), is_work);
    if (lazy && target.last && works) {
        asked = here();
        const int missing = symbol_of_leaf(name).parameters - static_cast<int>(operands.size());
        emit(Op::if_held).b = static_cast<uint8_t>(missing);
    }
    const int kept = next_;
    const std::vector<Source> sources = values_of(operands, live);
    const uint8_t made = target.last ? new_register() : static_cast<uint8_t>(target.reg);
    Instruction& pairs = emit(Op::pairs);
    pairs.a = made;
    pairs.d = static_cast<int32_t>(plain.index);
    attach(pairs, sources);
    if (target.last) give(use(made, 0), target);
    next_ = kept;
    if (asked < 0) return;
    unit_.code[static_cast<size_t>(asked)].d = here();
    general(plain, operands, target, live);
}

Instruction& Compiler::emit_call(Op op, Symbol& symbol, int reg, RegisterSet live,
                                 const std::vector<Source>& sources) {
    Instruction& made = emit(op);
    made.a = static_cast<uint8_t>(reg);
    made.b = kept_registers(live);
    made.c = static_cast<uint8_t>(Waiting::resume);
    if (symbol.builtin) {
        made.row = symbol.builtin;
    } else {
        made.symbol = &symbol;
    }
    attach(made, sources);
    return made;
}

/// What a call gives is applied to one or two operands more. They wait in the frame: what it gives
/// is nearly always a value that takes one of them or both apart here.
void Compiler::call_and_choose(Symbol& symbol, const Operands& own, const Operands& rest,
                               Target target, RegisterSet live) {
    const RegisterSet held = live | registers_of(rest);
    const int kept = next_;
    const std::vector<Source> sources = values_of(own, held);
    next_ = kept;
    const uint8_t reg = new_register();
    const Op op = symbol.builtin ? Op::builtin : Op::call;
    emit_call(op, symbol, reg, held, sources).c = static_cast<uint8_t>(Waiting::choice);
    site(here(), held);
    const size_t index = choose(reg, rest, target, live);
    std::vector<Source> operands;
    for (size_t i = rest.size(); i-- > 0;) {
        operands.push_back(as_it_is(rest[i], live | (i > 0 ? registers_of(rest[0]) : 0)));
    }
    Choice& choice = unit_.choices[index];
    choice.first = static_cast<uint32_t>(unit_.sources.size());
    choice.count = static_cast<uint8_t>(operands.size());
    unit_.sources.insert(unit_.sources.end(), operands.begin(), operands.end());
    next_ = kept;
}

/// A built-in or a strict definition with all its operands, and perhaps more.
void Compiler::call(Symbol& symbol, const Operands& operands, Target target, RegisterSet live) {
    const auto arity =
        static_cast<size_t>(symbol.builtin ? symbol.builtin->arity : symbol.parameters);
    const Operands own(operands.begin(), operands.begin() + static_cast<ptrdiff_t>(arity));
    if (operands.size() == arity + 1 || operands.size() == arity + 2) {
        const Operands rest(operands.begin() + static_cast<ptrdiff_t>(arity), operands.end());
        return call_and_choose(symbol, own, rest, target, live);
    }
    const bool more = operands.size() > arity;
    const bool waits = more && !target.last;
    const int32_t wait = here();
    if (waits) {
        emit(Op::wait).a = static_cast<uint8_t>(target.reg);
        ++waiting_;
    }
    if (more) hold(operands, arity, live | registers_of(own));
    const int kept = next_;
    const std::vector<Source> sources = values_of(own, live);
    next_ = kept;
    const int32_t place = here();
    Op op = symbol.builtin ? Op::builtin : Op::call;
    if (waits) op = symbol.builtin ? Op::builtin_held : Op::call_held;
    if (target.last) op = symbol.builtin ? Op::builtin_last : Op::call_last;
    emit_call(op, symbol, target.reg, live, sources);
    if (waits) {
        --waiting_;
        unit_.code[static_cast<size_t>(wait)].d = here();
        site(here(), live);
    } else if (!target.last) {
        site(place + 1, live);
    }
}

/// The instruction of an operator on the values of its two operands.
Instruction& Compiler::operate(Op op, const Operands& operands, RegisterSet live) {
    const Operands own(operands.begin(), operands.begin() + 2);
    std::vector<Source> sources = values_of(own, live);
    for (size_t i = 0; i < 2; ++i) {
        if (sources[i].from != From::constant) continue;
        int64_t n;
        if (i == 1 && short_constant(unit_.constants[sources[i].index], n)) continue;
        const uint8_t made = new_register();
        give(sources[i], {false, made});
        sources[i] = use(made, 0);
    }
    const bool number = sources[1].from == From::constant;
    const int with_number = is_arithmetic(op) ? to_number_op : to_compared_number;
    Instruction& made = emit(number ? static_cast<Op>(static_cast<int>(op) + with_number) : op);
    made.b = sources[0].reg;
    made.d = sources[0].from == From::take ? take_b : 0;
    if (number) {
        short_constant(unit_.constants[sources[1].index], made.n);
        made.first = sources[1].index;
    } else {
        made.c = sources[1].reg;
        if (sources[1].from == From::take) made.d |= take_c;
    }
    return made;
}

void Compiler::operation(Op op, const Operands& operands, Target target, RegisterSet live) {
    const bool direct = !target.last && operands.size() == 2;
    const Operands rest(operands.begin() + 2, operands.end());
    const int kept = next_;
    const int reg = direct ? target.reg : new_register();
    operate(op, operands, live | registers_of(rest)).a = static_cast<uint8_t>(reg);
    if (!direct) register_head(reg, rest, target, live);
    next_ = kept;
}

/// A comparison in front of two operands, or more: a branch.
void Compiler::compare(Op op, const Operands& operands, Target target, RegisterSet live) {
    const Operand& yes = operands[2];
    const Operand& no = operands[3];
    const Operands rest(operands.begin() + 4, operands.end());
    const Operands choices(operands.begin() + 2, operands.end());
    const RegisterSet for_rest = registers_of(rest) | live;
    const RegisterSet all = registers_of(choices) | live;
    const int kept = next_;
    const uint8_t odd = new_register();
    operate(op, operands, all).a = odd;
    const auto branch = static_cast<size_t>(here() - 1);
    std::vector<int32_t> ends;
    way(all, registers_of(yes) | for_rest, target, ends,
        [&] { expression(yes, rest, target, live); });
    const int32_t h = way(all, registers_of(no) | for_rest, target, ends,
                          [&] { expression(no, rest, target, live); });
    const int32_t other =
        way(all, all, target, ends, [&] { general(use(odd, 0), choices, target, live); });
    unit_.code[branch].h = h;
    unit_.code[branch].other = other;
    join(ends);
    next_ = kept;
}

/// A settled register in front of one or two operands. Gives the index of the Choice.
size_t Compiler::choose(int reg, const Operands& operands, Target target, RegisterSet live) {
    const bool two = operands.size() == 2;
    const Operand& chosen = operands.back();  // what a cell or a pair goes to
    const RegisterSet all = registers_of(operands) | live;
    const int kept = next_;
    const auto place = static_cast<size_t>(here());
    Choice choice;
    Source head = use(reg, all);
    const uint8_t odd = new_register();
    Instruction& made = emit(two ? Op::apply_two : Op::apply_one);
    made.a = odd;
    made.b = head.reg;
    made.c = head.from == From::take ? take_b : 0;
    choice.x = new_register();
    choice.y = new_register();
    std::vector<int32_t> ends;
    const bool takes_apart = register_of(chosen) >= 0 || is_leaf(chosen.expression) ||
                             count_lambdas(chosen.expression) >= 2;
    const bool is_function = chosen.reg < 0 && count_lambdas(chosen.expression) > 0;
    if (two && truth_is_plain()) {
        choice.k = way(all, registers_of(operands[0]) | live, target, ends,
                       [&] { expression(operands[0], {}, target, live); });
        if (!is_function) {
            choice.h = way(all, registers_of(chosen) | live, target, ends,
                           [&] { expression(chosen, {}, target, live); });
        }
    }
    if (takes_apart && pairs_are_plain()) {
        const Operand x{nullptr, -1, choice.x};
        const Operand y{nullptr, -1, choice.y};
        choice.pair = way(all, registers_of(chosen) | live, target, ends, [&] {
            if (const int function = register_of(chosen); function >= 0) {
                return general(use(function, live), {x, y}, target, live);
            }
            expression(chosen, {x, y}, target, live);
        });
    }
    choice.other = way(all, all, target, ends, [&] { apply(odd, operands, target, live); });
    if (!target.last) {
        choice.to = static_cast<uint8_t>(target.reg);
        choice.after = ends.back();
    }
    unit_.code[place].d = static_cast<int32_t>(unit_.choices.size());
    unit_.choices.push_back(choice);
    join(ends);
    next_ = kept;
    return unit_.choices.size() - 1;
}

/// The row of lambdas at the top of a part: their variables come behind the captured ones.
void finish_part(Unit& part) {
    part.body = part.whole;
    for (; part.parameters < most_parameters && form(part.body) == Form::lambda;
         part.body = lambda_body(part.body)) {
        const int letter = letter_of(lambda_key(part.body));
        part.letters |= uint32_t{1} << letter;
        part.register_of[letter] = static_cast<uint8_t>(part.captures + part.parameters++);
    }
}

/// Whether an expression is small and flat enough to be compiled.
bool is_moderate(Node* expression) {
    std::vector<std::pair<Node*, int>> rest{{expression, 0}};
    for (size_t nodes = 0; !rest.empty(); ++nodes) {
        const auto [node, depth] = rest.back();
        rest.pop_back();
        if (depth > most_depth || nodes > most_nodes) return false;
        if (is_leaf(node)) continue;
        rest.push_back({left(node), depth + 1});
        rest.push_back({right(node), depth + 1});
    }
    return true;
}

}  // namespace

Unit::~Unit() {
    if (fixed) release_word(word_of(fixed));
    for (const Word constant : constants) release_word(constant);
}

std::unique_ptr<Unit> make_unit(Node* definition, bool strict) {
    auto unit = std::make_unique<Unit>();
    Node* e = definition;
    for (; form(e) == Form::lambda; e = lambda_body(e)) {
        MARL_REQUIRE(free_set(lambda_key(e)) != 0 && unit->parameters < most_parameters);
        const int letter = letter_of(lambda_key(e));
        unit->letters |= uint32_t{1} << letter;
        unit->register_of[letter] = static_cast<uint8_t>(unit->parameters++);
    }
    unit->whole = e;
    unit->body = e;
    if (!strict) unit->unsettled = set_of(unit->parameters) - 1;
    return unit;
}

std::unique_ptr<Unit> make_lambda_unit(Node* lambda) {
    auto unit = std::make_unique<Unit>();
    unit->whole = lambda;
    finish_part(*unit);
    return unit;
}

std::unique_ptr<Unit> make_rest(const Unit& part) {
    auto rest = std::make_unique<Unit>();
    rest->whole = lambda_body(part.whole);
    const int key = letter_of(lambda_key(part.whole));
    for (int letter = 0; letter < 26; ++letter) {
        if ((free_set(rest->whole) & (uint32_t{1} << letter)) == 0) continue;
        const int reg = letter == key ? part.captures : part.register_of[letter];
        if (letter != key && (part.unsettled & set_of(reg)))
            rest->unsettled |= set_of(rest->captures);
        rest->letters |= uint32_t{1} << letter;
        rest->register_of[letter] = static_cast<uint8_t>(rest->captures++);
        rest->taken.push_back(static_cast<uint8_t>(reg));
    }
    finish_part(*rest);
    return rest;
}

void compile(Unit& unit) {
    unit.made = true;
    unit.compiled = is_moderate(unit.body) && Compiler(unit).run();
    if (unit.compiled) return;
    unit.code.clear();
    unit.parts.clear();
}

}  // namespace marl
