// Parts: lambdas, and operands whose work waits, as closures.
//
// By the rules, what a lambda captures is substituted where the lambda stands, once, and all calls
// of the lambda see the same nodes for those parts of it that hold none of its own variables. Where
// such a part is settled then (another lambda, a partial application) it can be seen that it is one
// node. So it is hoisted: built where the closure is made, and captured. The same goes for operands
// that wait, in a program with a lazy definition that may reduce one twice.
//
// Whether the application of a captured function is settled is known when the closure is made. For
// one that is, the closure is made of a second form of the part (`make_hoisting`).
#include <algorithm>
#include <bit>

#include "reduce/analysis.h"
#include "reduce/compiler.h"
#include "reduce/heads.h"
#include "reduce/needs.h"
#include "value/rebuild.h"

namespace marl {

namespace {

constexpr size_t most_hoisted = 30;  // in a frame, so that registers are left
constexpr int most_closing = 8;      // parts that others capture, one within the other

struct Place {
    Node* node;
    uint32_t bound;
};

/// Puts the parts of a Pair on a work list, with the variables that it binds in them.
void push_parts(std::vector<Place>& rest, Node* node, uint32_t bound) {
    const Form shape = form(node);
    if (shape == Form::lambda) {
        rest.push_back({lambda_body(node), bound | free_set(lambda_key(node))});
    } else if (shape == Form::let) {
        rest.push_back({let_body(node), bound | free_set(let_key(node))});
        rest.push_back({let_value(node), bound});
    } else {
        rest.push_back({right(node), bound});
        rest.push_back({left(node), bound});
    }
}

/// The same for an application, by its operands: nobody gets hold of a function with only some of
/// the operands in front of it. Returns the head, which is put there as well when it is no Leaf.
Node* push_operands(std::vector<Place>& rest, Node* node, uint32_t bound) {
    for (; !is_atom(node) && form(node) == Form::other; node = left(node)) {
        rest.push_back({right(node), bound});
    }
    if (!is_leaf(node)) rest.push_back({node, bound});
    return node;
}

bool is_hoisted(const Code& code, const Node* node) {
    return std::any_of(code.hoisted.begin(), code.hoisted.end(),
                       [node](const Hoisted& known) { return known.node == node; });
}

/// Whether an expression with variables in it is settled when these are: a lambda, or a partial
/// application of a known head to such and to what is settled; with `applies` of a variable, too.
bool is_settled_with(Node* expression, bool applies) {
    std::vector<Node*> rest{expression};
    while (!rest.empty()) {
        Node* node = rest.back();
        rest.pop_back();
        const bool is_variable = is_leaf(node) && rank_of(node) == rank_variable;
        if (is_variable || form(node) == Form::lambda) continue;
        if (!settled(node)) return false;
        if (is_leaf(node) || is_closed(node)) continue;
        Node* head = head_of(node);
        if (!is_leaf(head) || (rank_of(head) == rank_variable && !applies)) return false;
        for (; node != head; node = left(node)) rest.push_back(right(node));
    }
    return true;
}

/// Notes in a part what it captures and applies, where all that stands in the application is
/// captured, has no work, and is not hoisted.
void note_applied(Code& part) {
    std::vector<Place> rest{{part.whole, 0}};
    while (!rest.empty()) {
        const auto [node, bound] = rest.back();
        rest.pop_back();
        if (is_leaf(node) || is_closed(node) || is_hoisted(part, node)) continue;
        if (form(node) != Form::other) {
            push_parts(rest, node, bound);
            continue;
        }
        std::vector<Place> operands;
        Node* head = push_operands(operands, node, bound);
        rest.insert(rest.end(), operands.begin(), operands.end());
        if (!is_leaf(head) || rank_of(head) != rank_variable || (free_set(node) & bound)) continue;
        if (!is_settled_with(node, true)) continue;
        const uint8_t reg = part.register_of[__builtin_ctz(free_set(head))];
        part.applied.push_back({reg - part.parameters, static_cast<int>(operands.size())});
    }
}

}  // namespace

bool Compiler::is_construction(Node* expression) const {
    return is_settled_with(expression, hoists_applications_);
}

/// The largest parts of a term that can be hoisted, and that are not yet, each as often as it
/// occurs. The lambdas in a row at
/// its top are no parts of it: nobody sees them but who applies it to too few arguments
/// (`apply_partly`).
std::vector<Node*> Compiler::constructions_in(const Term& term) {
    std::vector<Node*> found;
    const Scope& scope = scope_of(term);
    Node* body = term.expression;
    uint32_t keys = 0;
    for (; form(body) == Form::lambda; body = lambda_body(body)) keys |= free_set(lambda_key(body));
    std::vector<Place> rest{{body, keys}};
    while (!rest.empty()) {
        const auto [node, bound] = rest.back();
        rest.pop_back();
        const uint32_t free = free_set(node);
        if (is_leaf(node) || free == 0) continue;
        if (hoisted_register(node, scope.rebound | bound) >= 0) continue;
        if ((free & bound) == 0 && is_construction(node)) {
            found.push_back(node);
        } else if (form(node) != Form::other) {
            push_parts(rest, node, bound);
        } else {
            push_operands(rest, node, bound);
        }
    }
    return found;
}

/// Whether there are registers for so much that has to be built for a part that is closed here.
/// Each of it takes one until the part has it, and some more while it is made.
bool Compiler::has_room_for(size_t built) const {
    return next_ + static_cast<int>(built) <= most_registers - 12;
}

/// The part that a term is on its own, and the terms that its closure captures. It is made once.
Compiler::Part Compiler::part_of(const Term& term) {
    for (const Part& known : parts_) {
        if (known.expression != term.expression || known.scope != term.scope) continue;
        const auto is_built = [&](const Term& word) { return register_of(word) < 0; };
        const auto built = std::count_if(known.captured.begin(), known.captured.end(), is_built);
        if (has_room_for(static_cast<size_t>(built))) return known;
    }
    parts_.push_back(new_part(term));
    return parts_.back();
}

/// A term in which no part that has variables, and is not hoisted yet, occurs more than once.
Value Compiler::with_parts_apart(const Term& term) {
    const auto keep = [this](Node* node) {
        const bool is_kept = is_leaf(node) || is_closed(node) || is_hoisted(code_, node);
        return is_kept ? Value::share(node) : Value();
    };
    Value apart = rebuild(term.expression, keep, pair);
    analyse(apart);
    return apart;
}

/// What the closure of a part captures, in the order of its registers, which it enters in the part:
/// what is hoisted, `built` too, and the variables in the rest.
Terms Compiler::captures_of(const Term& term, const std::vector<Node*>& built, Code& part) {
    const Scope scope = scope_of(term);
    Terms captured;
    const auto capture = [&](const Term& word) {
        const auto reg = static_cast<uint8_t>(part.parameters + part.captures++);
        if (may_hold_work(word)) part.unsettled |= set_of(reg);
        captured.push_back(word);
        return reg;
    };
    const auto capture_letter = [&](uint32_t bit) {
        const auto letter = static_cast<size_t>(std::countr_zero(bit));
        part.letters |= bit;
        part.register_of[letter] = capture({nullptr, -1, scope.reg[letter]});
    };
    // Then an expression has no more than the letters that are new, and one needs no search.
    const bool captures_letters = built.empty() && code_.hoisted.empty();
    std::vector<Place> rest{{term.expression, 0}};
    while (!rest.empty()) {
        const auto [node, bound] = rest.back();
        rest.pop_back();
        const uint32_t free = free_set(node) & ~bound;
        const uint32_t missing = free & ~part.letters;
        if (free == 0 || (captures_letters && missing == 0)) continue;
        if (captures_letters && std::has_single_bit(missing)) {
            capture_letter(missing);
            continue;
        }
        const int reg = hoisted_register(node, scope.rebound | bound);
        const bool is_built = (free_set(node) & bound) == 0 && node != term.expression &&
                              std::find(built.begin(), built.end(), node) != built.end();
        if (!is_leaf(node) && (reg >= 0 || is_built)) {
            if (is_hoisted(part, node)) continue;
            const Term word = reg >= 0 ? Term{nullptr, -1, reg} : Term{node, term.scope};
            part.hoisted.push_back({node, capture(word)});
        } else if (is_leaf(node)) {
            if (missing != 0) capture_letter(missing);
        } else {
            push_parts(rest, node, bound);
        }
    }
    return captured;
}

Compiler::Part Compiler::new_part(const Term& given) {
    Value whole = Value::share(given.expression);
    std::vector<Node*> built;
    if (form(whole) == Form::lambda || repeats_operands) built = constructions_in(given);
    // The text of a body is kept once where it stands twice, and a substitution makes two of it.
    std::sort(built.begin(), built.end());
    if (std::adjacent_find(built.begin(), built.end()) != built.end()) {
        whole = with_parts_apart(given);
        built = constructions_in({whole, given.scope});
    }
    auto part = std::make_unique<Code>();
    part->is_copied = code_.hoisted.size() + built.size() > most_hoisted ||
                      closing_ > most_closing || !has_room_for(built.size());
    if (part->is_copied) built.clear();
    const Term term{whole, given.scope};
    part->whole = std::move(whole);
    take_parameters(*part);
    Terms captured = captures_of(term, built, *part);
    if (part->is_lambda() || repeats_operands) note_applied(*part);
    code_.parts.push_back(std::move(part));
    return {static_cast<uint32_t>(code_.parts.size() - 1), given.expression, given.scope,
            std::move(captured)};
}

/// Whether a Word that is captured may have work in it.
bool Compiler::may_hold_work(const Term& word) {
    if (register_of(word) < 0 && form(word.expression) == Form::lambda) return false;
    return (registers_of(word) & unsettled_) != 0 ||
           (hoists_applications_ && register_of(word) < 0);
}

/// Puts the closure of a term into a register, or with `construct` what is settled as soon as that
/// is which it holds.
void Compiler::close(Op op, const Term& term, int reg, RegisterSet live) {
    const Part part = part_of(term);
    const int kept = next_;
    std::vector<Operand> operands;
    RegisterSet held = 0;
    ++closing_;
    for (size_t i = 0; i < part.captured.size(); ++i) {
        const Term& word = part.captured[i];
        int from = register_of(word);
        if (from < 0) {
            from = new_register();
            build(word, from, live | held | registers_of(part.captured, i + 1));
        }
        operands.push_back(use(from, ~RegisterSet{0}));
        held |= set_of(from);
    }
    --closing_;
    take_last_uses(operands, live);
    Instruction& made = emit(op, reg);
    made.part = code_.parts[part.index].get();
    attach(made, operands);
    next_ = kept;
}

/// Puts a construction into a register. It is a closure with work in it when what it holds has.
void Compiler::build(const Term& term, int reg, RegisterSet live) {
    if (form(term.expression) == Form::lambda) return close(Op::closure, term, reg, live);
    if (!may_hold_work(term)) return expression(term, {}, {false, reg}, live);
    close(Op::construct, term, reg, live);
    unsettled_ |= set_of(reg);
}

/// A term as it is, its work waiting in a closure.
Operand Compiler::as_it_is(const Term& term, RegisterSet later) {
    if (const int reg = register_of(term); reg >= 0) return use(reg, later);
    if (const auto known = unreduced(term)) return *known;
    const uint8_t made = new_register();
    if (repeats_operands && is_construction(term.expression)) {
        build(term, made, later);
    } else {
        close(Op::closure, term, made, later);
    }
    return use(made, 0);
}

/// A term as it is, as a piece.
Piece Compiler::piece_of(const Term& term) {
    Piece piece;
    if (const int reg = register_of(term); reg >= 0) {
        piece.reg = static_cast<uint8_t>(reg);
        return piece;
    }
    if (const auto known = unreduced(term)) {
        piece.kind = Piece::Kind::constant;
        piece.word = known->word;
        return piece;
    }
    const bool is_built = is_construction(term.expression);
    if (repeats_operands && is_built) return copy_of(term);
    const Part part = part_of(term);
    piece.kind = Piece::Kind::closure;
    piece.part = code_.parts[part.index].get();
    ++closing_;
    for (const Term& word : part.captured) {
        const bool is_register = register_of(word) >= 0;
        const bool is_lambda = !is_register && form(word.expression) == Form::lambda;
        piece.captured.push_back(is_register || is_lambda ? piece_of(word) : copy_of(word));
    }
    --closing_;
    return piece;
}

/// The copy that substitution would make of a term.
Piece Compiler::copy_of(const Term& term) {
    if (register_of(term) >= 0) return piece_of(term);
    Piece piece{.kind = Piece::Kind::copy};
    const Scope scope = scope_of(term);
    std::array<uint8_t, most_registers> index_of_register{};
    for (RegisterSet used = registers_of(term); used; used &= used - 1) {
        const int reg = __builtin_ctzll(used);
        index_of_register[static_cast<size_t>(reg)] = static_cast<uint8_t>(piece.registers.size());
        piece.registers.push_back(static_cast<uint8_t>(reg));
    }
    uint8_t index_of[26]{};
    for (uint32_t rest = scope.letters; rest; rest &= rest - 1) {
        const auto letter = static_cast<size_t>(__builtin_ctz(rest));
        index_of[letter] = index_of_register[scope.reg[letter]];
    }
    std::vector<Hoisted> hoisted;
    for (const Hoisted& known : code_.hoisted) {
        if ((free_set(known.node) & scope.rebound) != 0) continue;
        hoisted.push_back({known.node, index_of_register[known.reg]});
    }
    const Places places{scope.letters, index_of, &hoisted, static_cast<int>(piece.registers.size()),
                        (registers_of(term) & unsettled_) == 0};
    piece.layout = make_template(term.expression, places);
    return piece;
}

std::unique_ptr<Code> make_lambda_code(Node* lambda) {
    auto code = std::make_unique<Code>();
    code->whole = Value::share(lambda);
    take_parameters(*code);
    return code;
}

namespace {

/// The frame that holds `parameters` and then what a part captures, for an expression of it.
void lay_out_frame(Code& frame, const Code& part, Node* expression, int parameters) {
    frame.whole = part.whole;
    frame.body = expression;
    frame.parameters = parameters;
    frame.captures = part.captures;
    const int moved = part.parameters - parameters;
    for (uint32_t rest = part.letters & free_set(frame.whole); rest; rest &= rest - 1) {
        const int letter = __builtin_ctz(rest);
        frame.letters |= uint32_t{1} << letter;
        frame.register_of[letter] = static_cast<uint8_t>(part.register_of[letter] - moved);
    }
    for (const Hoisted& hoisted : part.hoisted) {
        frame.hoisted.push_back({hoisted.node, static_cast<uint8_t>(hoisted.reg - moved)});
    }
    frame.unsettled = part.unsettled >> moved;
}

}  // namespace

std::unique_ptr<Remainder> make_remainder(const Code& lambda) {
    auto remainder = std::make_unique<Remainder>();
    Code& frame = remainder->frame;
    lay_out_frame(frame, lambda, lambda_body(lambda.whole), 1);
    frame.letters |= lambda.letters & free_set(lambda_key(lambda.whole));
    remainder->piece = Compiler(frame).piece_of({frame.body, 0});
    return remainder;
}

std::unique_ptr<Remainder> make_hoisting(const Code& part) {
    auto hoisting = std::make_unique<Remainder>();
    Code& frame = hoisting->frame;
    lay_out_frame(frame, part, part.whole, 0);
    Compiler compiler(frame);
    compiler.hoist_applications();
    hoisting->piece = compiler.piece_of({frame.body, 0});
    return hoisting;
}

}  // namespace marl
