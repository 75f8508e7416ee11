// The loop over instructions. `frame` is the running code's registers, `at` its next instruction;
// `registers.top` stands behind the frame, so that whatever runs in between finds its place.
//
// Code leaves the loop when it cannot tell by itself how to go on: with a focus that needs the
// machine, its own continuation being in the context.
#include "reduce/execute.h"

#include <algorithm>

#include "reduce/analysis.h"
#include "reduce/build.h"
#include "reduce/closure.h"
#include "reduce/exactness.h"
#include "reduce/fire.h"
#include "reduce/lazy.h"
#include "reduce/machine.h"
#include "reduce/operators.h"
#include "reduce/stack.h"
#include "reduce/tables.h"
#include "value/short_hint.h"

namespace marl {

Unit& unit_of(Symbol& symbol) {
    if (!symbol.unit) {
        MARL_REQUIRE(is_closed(symbol.definition));  // a failed load may have left a letter unbound
        symbol.unit = make_unit(symbol.definition, !is_lazy_name(symbol.name.view()));
    }
    if (!symbol.unit->made) compile(*symbol.unit);
    return *symbol.unit;
}

namespace {

bool is_text(const Node* node, char letter) {
    return leaf_text(node)[0] == letter && leaf_text(node)[1] == 0;
}

/// Whether a node is (letter x) y.
bool is_pair_of(const Node* node, char letter) {
    if (is_leaf(node)) return false;
    const Node* inner = static_cast<const PairNode*>(node)->left;
    if (is_leaf(inner)) return false;
    const Node* head = static_cast<const PairNode*>(inner)->left;
    return is_leaf(head) && is_text(head, letter);
}

/// The parts of (J x) y or (V x) y. Consumes the node when it is `taken`.
void take_apart(Node* node, bool taken, Word& x, Word& y) {
    PairNode* outer = as_pair(node);
    PairNode* inner = as_pair(outer->left);
    if (taken && count_of(outer) == 1 && count_of(inner) == 1) {
        x = inner->right;
        y = outer->right;
        Node* head = inner->left;
        free_node(outer, sizeof(PairNode));
        free_node(inner, sizeof(PairNode));
        return release(head);
    }
    x = share(inner->right);
    y = share(outer->right);
    if (taken) release(outer);
}

/// Whether a function is strict and takes that many more arguments.
bool takes_strictly(Word function, int count) {
    if (is_closure(function)) return closure_of(function)->unit->parameters >= count;
    if (!is_node(function)) return count == 1;
    Node* head = node_of(function);
    if (rank_analysed(head) < count) return false;
    while (!is_leaf(head) && !is_zits_analysed(head)) head = as_pair(head)->left;
    return !is_lazy_head(head);
}

const Choice& choice_of(const Entry& entry) {
    const Unit& unit = *resume_unit(entry);
    return unit.choices[static_cast<size_t>(unit.code[resume_next(entry)].d)];
}

/// Whether so many arguments are held back on top of the context.
bool are_held(int count) {
    for (const Entry* entry = stack.top - 1; count > 0; --entry) {
        if (is_argument(*entry)) {
            --count;
        } else if (entry->kind() == Waiting::choice) {
            count -= choice_of(*entry).count;
            if (choice_of(*entry).after >= 0) break;
        } else {
            break;
        }
    }
    return count <= 0;
}

class Loop {
  public:
    /// Starts a Unit whose arguments stand behind the last frame; false when it has no code, and
    /// then the focus is a copy of its body.
    bool enter(Unit& unit) {
        if (interrupted) run_interrupt();
        if (!unit.made) compile(unit);
        if (!unit.compiled || exactness_due || is_out_of_steps()) {
            focus_ = copy_of(unit, registers.top);
            return false;
        }
        if (registers.limit - registers.top < unit.frame + spare_registers) {
            grow_registers(unit.frame);
        }
        unit_ = &unit;
        frame_ = registers.top;
        registers.top += unit.frame;
        at_ = unit.code.data();
        return true;
    }

    /// Hands a value to the code on top of the context; false when something else stands there.
    bool go_on(Word value) {
        const Entry& entry = stack.top[-1];
        if (!is_code(entry)) {
            focus_ = value;
            return false;
        }
        unit_ = resume_unit(entry);
        frame_ = registers.top - resume_kept(entry);
        registers.top = frame_ + unit_->frame;
        frame_[resume_register(entry)] = value;
        at_ = unit_->code.data() + resume_next(entry);
        --stack.top;
        return true;
    }

    void hold_operands(int above);
    void run();
    Word focus() const { return focus_; }

  private:
    static Word copy_of(Unit& unit, Word* arguments) {
        if (!unit.body_copying) {
            unit.body_copying = std::make_unique<Copying>(
                make_copying(unit.body, unit.letters, unit.register_of,
                             unit.captures + unit.parameters, unit.unsettled == 0));
        }
        return word_of(run_copying(*unit.body_copying, arguments));
    }

    Word get(const Source& source) {
        return source.from == From::take ? frame_[source.reg] : get_shared(source);
    }

    Word get_shared(const Source& source) {
        switch (source.from) {
            case From::take: return frame_[source.reg];
            case From::share: return share(frame_[source.reg]);
            case From::constant: {
                const Word word = unit_->constants[source.index];
                retain_word(word);
                return word;
            }
            case From::part: break;
        }
        return close(source.index);
    }

    Word close(size_t index) {
        Closure* closure = new_closure(*unit_->parts[index]);
        Word* to = closure->captured;
        for (const Source& captured : unit_->captured[index]) *to++ = get(captured);
        return word_of(closure);
    }

    const Source& only_source(const Instruction& in) const { return unit_->sources[in.first]; }

    void get_sources(const Instruction& in, Word* to) {
        const Source* source = unit_->sources.data() + in.first;
        for (const Source* end = source + in.count; source != end; ++source) *to++ = get(*source);
    }

    Word operand(uint8_t reg, bool taken) { return taken ? frame_[reg] : share(frame_[reg]); }

    /// The operands of an instruction that computes, owned.
    Word first_operand(const Instruction& in) { return operand(in.b, in.d & take_b); }
    Word second_operand(const Instruction& in, bool number) {
        if (!number) return operand(in.c, in.d & take_c);
        const Word word = unit_->constants[in.first];
        retain_word(word);
        return word;
    }

    void compute(const Instruction& in, Op op, bool number) {
        const Word x = first_operand(in);
        const Word y = second_operand(in, number);
        frame_[in.a] = operate_slowly(op, x, y);
    }

    void branch(const Instruction& in, Op op, bool number) {
        const Word x = first_operand(in);
        const Word y = second_operand(in, number);
        switch (compare_slowly(op, x, y, frame_[in.a])) {
            case Truth::yes: ++at_; return;
            case Truth::no: at_ = unit_->code.data() + in.h; return;
            case Truth::neither: at_ = unit_->code.data() + in.other; return;
        }
    }

    void wait_here(uint8_t reg, int64_t next, int kept, Waiting kind = Waiting::resume) {
        push(kind, reinterpret_cast<uintptr_t>(unit_), resume_detail(next, kept, reg));
    }
    void wait_here(uint8_t reg, int64_t next) { wait_here(reg, next, unit_->frame); }
    int64_t index_behind() const { return at_ - unit_->code.data() + 1; }

    void choose(const Instruction& in, bool two);
    void drop(RegisterSet set) {
        for (; set; set &= set - 1) release_word(frame_[__builtin_ctzll(set)]);
    }

    /// A function, a row, or a definition on words; false when the focus is due.
    bool apply(const Instruction& in, bool last);
    bool apply_name(const Instruction& in, bool last, Symbol& symbol, Word* words, int count);
    bool finish(const Instruction& in, bool last, Word value);
    void begin_call(const Instruction& in, bool last, const Word* words, int count);

    /// Calls a row; false when the focus is due.
    bool call_row(const Instruction& in, const Row& row, Word* arguments, bool ends, bool waits);
    bool call_row(const Instruction& in, bool ends, bool waits) {
        Word arguments[most_parameters];
        get_sources(in, arguments);
        return call_row(in, *in.row, arguments, ends, waits);
    }
    void make_pairs(const Instruction& in);

    Unit* unit_ = nullptr;
    Word* frame_ = nullptr;
    const Instruction* at_ = nullptr;
    Word focus_ = 0;
};

void Loop::hold_operands(int above) {
    Entry* place = stack.top - above - 1;
    const Entry choice_entry = *place;
    const Choice& choice = choice_of(choice_entry);
    const int kept = resume_kept(choice_entry);
    unit_ = resume_unit(choice_entry);
    frame_ = registers.top - kept;
    // What stands in the place of the entry, from the bottom up.
    Entry made[3];
    int count = 0;
    const auto add = [&](Waiting kind, Word word, uint64_t detail) {
        made[count++] = {word, (detail << 8) | static_cast<uint64_t>(kind)};
    };
    if (choice.after >= 0) {
        add(Waiting::resume, choice_entry.word, resume_detail(choice.after, kept, choice.to));
    }
    for (uint32_t i = 0; i < choice.count; ++i) {
        add(Waiting::argument, get(unit_->sources[choice.first + i]), 0);
    }
    if (choice.after < 0) registers.top = frame_;
    for (int i = 1; i < count; ++i) push(Waiting::base, 0);
    place = stack.top - above - count;
    std::copy_backward(place + 1, place + 1 + above, stack.top);
    std::copy(made, made + count, place);
}

void Loop::choose(const Instruction& in, bool two) {
    const Choice& choice = unit_->choices[static_cast<size_t>(in.d)];
    const bool taken = in.c != 0;
    const Word head = frame_[in.b];
    const Instruction* code = unit_->code.data();
    if (is_node(head)) {
        Node* node = node_of(head);
        int32_t way = -1;
        if (is_leaf(node)) {
            if (two && is_text(node, 'K')) way = choice.k;
            if (two && is_text(node, 'H')) way = choice.h;
            if (way >= 0) {
                if (taken) release(node);
                at_ = code + way;
                return;
            }
        } else if (choice.pair >= 0 && is_pair_of(node, two ? 'J' : 'V')) {
            take_apart(node, taken, frame_[choice.x], frame_[choice.y]);
            at_ = code + choice.pair;
            return;
        }
    }
    frame_[in.a] = taken ? head : share(frame_[in.b]);
    at_ = code + choice.other;
}

bool Loop::call_row(const Instruction& in, const Row& row, Word* arguments, bool ends, bool waits) {
    // What the row does can be seen: an interrupt that has come by now comes first.
    if (interrupted) run_interrupt();
    const int64_t next = index_behind();
    if (ends) registers.top = frame_;
    Word value;
    if (!waits && row.on_words && row.on_words(arguments, value)) {
        if (!ends) frame_ = registers.top - unit_->frame;
        return finish(in, ends, value);
    }
    Value result = call_builtin(row, arguments);
    if (interrupted) run_interrupt();
    if (!ends) frame_ = registers.top - unit_->frame;
    if (!ends && !waits) {
        if (settled_analysed(result) && !is_abort(result)) {
            frame_[in.a] = word_of_result(result.take());
            ++at_;
            return true;
        }
        wait_here(in.a, next, unit_->frame, static_cast<Waiting>(in.c));
    }
    if (is_abort(result)) drop_context();
    focus_ = word_of(result.take());
    return false;
}

/// The value of an instruction.
bool Loop::finish(const Instruction& in, bool last, Word value) {
    if (last) {
        registers.top = frame_;
        return go_on(value);
    }
    frame_[in.a] = value;
    ++at_;
    return true;
}

/// Puts the words where the frame of what is called begins.
void Loop::begin_call(const Instruction& in, bool last, const Word* words, int count) {
    if (!last) wait_here(in.a, index_behind(), in.b);
    registers.top = last ? frame_ : frame_ + in.b;
    for (int i = 0; i < count; ++i) registers.top[i] = words[i];
}

bool Loop::apply_name(const Instruction& in, bool last, Symbol& symbol, Word* words, int count) {
    if (!symbol.builtin) {
        begin_call(in, last, words, count);
        return enter(unit_of(symbol));
    }
    if (symbol.operation >= 0 && is_arithmetic(static_cast<Op>(symbol.operation))) {
        const auto op = static_cast<Op>(symbol.operation);
        return finish(in, last, operate_slowly(op, words[0], words[1]));
    }
    return call_row(in, *symbol.builtin, words, last, false);
}

/// The function stands behind the frame, and its arguments behind it. What is no call of a
/// definition, a built-in or a closure goes the general way.
bool Loop::apply(const Instruction& in, bool last) {
    Word words[2 * most_registers];
    Word* const arguments = words + most_registers;
    get_sources(in, arguments - 1);
    const Word function = arguments[-1];
    const auto count = static_cast<int>(in.count) - 1;
    if (is_closure(function)) {
        Closure* closure = closure_of(function);
        Unit& unit = *closure->unit;
        if (unit.parameters == count) {
            Word* const first = arguments - unit.captures;
            open_closure(closure, first);
            begin_call(in, last, first, unit.captures + count);
            return enter(unit);
        }
    } else if (is_node(function)) {
        Node* node = node_of(function);
        Node* head = node;
        int inner = 0;
        for (; !is_leaf(head) && !is_zits_analysed(head); ++inner) head = as_pair(head)->left;
        // The definition of `\` only gives it a rank.
        const bool named = is_leaf(head) && is_name_byte(first_byte(head)) && symbol_slot(head) &&
                           rank_analysed(node) == count && !is_leaf_of(head, '\\');
        if (named && symbol_of_leaf(head).definition) {
            Symbol& symbol = symbol_of_leaf(head);
            take_inner_arguments(node, inner, arguments - inner);
            return apply_name(in, last, symbol, arguments - inner, inner + count);
        }
    }
    if (last) {
        registers.top = frame_;
    } else {
        wait_here(in.a, index_behind());
    }
    for (int i = count; i-- > 0;) push(Waiting::argument, arguments[i]);
    focus_ = function;
    return false;
}

void Loop::make_pairs(const Instruction& in) {
    Node* head = node_of(unit_->constants[static_cast<size_t>(in.d)]);
    const int rank = rank_of(head);
    Node* made = shared(head);
    for (uint32_t i = 0; i < in.count; ++i) {
        auto* pair = static_cast<PairNode*>(allocate_node(sizeof(PairNode)));
        const auto code = static_cast<uint64_t>(rank_zero_code + rank - 1 - static_cast<int>(i));
        pair->header = (code << top_shift) | 1;
        pair->left = made;
        pair->right = get(unit_->sources[in.first + i]);
        made = pair;
    }
    frame_[in.a] = word_of(made);
}

// The operands and the result of arithmetic on two short Words, whose lowest bit is set.
int64_t twice(Word word) { return static_cast<int64_t>(word & ~Word{1}); }

bool divide_short(Word x, Word y, int64_t& twice_quotient) {
    const int64_t divisor = short_of(y);
    return divisor != 0 &&
           !__builtin_mul_overflow(short_div(short_of(x), divisor), 2, &twice_quotient);
}
bool modulo_short(Word x, Word y, int64_t& twice_rest) {
    const int64_t divisor = short_of(y);
    return divisor != 0 && !__builtin_mul_overflow(short_mod(short_of(x), divisor), 2, &twice_rest);
}

void Loop::run() {
    for (;;) {
        const Instruction& in = *at_;
        Word* const r = frame_;
        switch (in.op) {
            case Op::move:
                r[in.a] = r[in.b];
                ++at_;
                break;
            case Op::share:
                r[in.a] = share(r[in.b]);
                ++at_;
                break;
            case Op::constant: {
                const Word word = unit_->constants[static_cast<size_t>(in.d)];
                retain_word(word);
                r[in.a] = word;
                ++at_;
                break;
            }
            case Op::drop:
                drop(in.set);
                ++at_;
                break;
            case Op::jump: at_ = unit_->code.data() + in.d; break;

#define MARL_ARITHMETIC(name, fast)                      \
    case Op::name: {                                     \
        const Word x = r[in.b];                          \
        const Word y = r[in.c];                          \
        int64_t result;                                  \
        if ((x & y & 1) != 0 && (fast)) {                \
            r[in.a] = static_cast<uint64_t>(result) | 1; \
        } else {                                         \
            compute(in, Op::name, false);                \
        }                                                \
        ++at_;                                           \
        break;                                           \
    }                                                    \
    case Op::name##_number: {                            \
        const Word x = r[in.b];                          \
        const Word y = word_of_short(in.n);              \
        int64_t result;                                  \
        if ((x & 1) != 0 && (fast)) {                    \
            r[in.a] = static_cast<uint64_t>(result) | 1; \
        } else {                                         \
            compute(in, Op::name, true);                 \
        }                                                \
        ++at_;                                           \
        break;                                           \
    }
                MARL_ARITHMETIC(add, !__builtin_add_overflow(twice(x), twice(y), &result))
                MARL_ARITHMETIC(subtract, !__builtin_sub_overflow(twice(x), twice(y), &result))
                MARL_ARITHMETIC(multiply, !__builtin_mul_overflow(short_of(x), twice(y), &result))
                MARL_ARITHMETIC(over, divide_short(x, y, result))
                MARL_ARITHMETIC(cent, modulo_short(x, y, result))
#undef MARL_ARITHMETIC

#define MARL_COMPARISON(name, sign)                               \
    case Op::name: {                                              \
        const auto x = static_cast<int64_t>(r[in.b]);             \
        const auto y = static_cast<int64_t>(r[in.c]);             \
        if ((x & y & 1) == 0) {                                   \
            branch(in, Op::name, false);                          \
        } else if (x sign y) {                                    \
            ++at_;                                                \
        } else {                                                  \
            at_ = unit_->code.data() + in.h;                      \
        }                                                         \
        break;                                                    \
    }                                                             \
    case Op::name##_number: {                                     \
        const auto x = static_cast<int64_t>(r[in.b]);             \
        const auto y = static_cast<int64_t>(word_of_short(in.n)); \
        if ((x & 1) == 0) {                                       \
            branch(in, Op::name, true);                           \
        } else if (x sign y) {                                    \
            ++at_;                                                \
        } else {                                                  \
            at_ = unit_->code.data() + in.h;                      \
        }                                                         \
        break;                                                    \
    }
                MARL_COMPARISON(less, <)
                MARL_COMPARISON(not_less, >=)
                MARL_COMPARISON(same, ==)
                MARL_COMPARISON(differ, !=)
#undef MARL_COMPARISON

            case Op::apply_two: choose(in, true); break;
            case Op::apply_one: choose(in, false); break;

            case Op::builtin:
                if (!call_row(in, false, false)) return;
                break;
            case Op::builtin_last:
                if (!call_row(in, true, false)) return;
                break;
            case Op::builtin_held: call_row(in, false, true); return;

            case Op::call: {
                // The registers behind the last live one are the called code's.
                Word* const to = r + in.b;
                if (in.count == 1) {
                    to[0] = get(only_source(in));
                } else {
                    Word* const from = registers.top;
                    get_sources(in, from);
                    for (uint32_t i = 0; i < in.count; ++i) to[i] = from[i];
                }
                wait_here(in.a, index_behind(), in.b, static_cast<Waiting>(in.c));
                registers.top = to;
                if (!enter(unit_of(*in.symbol))) return;
                break;
            }
            case Op::call_held:
                get_sources(in, registers.top);
                if (!enter(unit_of(*in.symbol))) return;
                break;
            case Op::call_last: {
                Word* from = registers.top;
                get_sources(in, from);
                for (uint32_t i = 0; i < in.count; ++i) r[i] = from[i];
                registers.top = r;
                if (!enter(unit_of(*in.symbol))) return;
                break;
            }

            case Op::apply:
                if (!apply(in, false)) return;
                break;
            case Op::apply_last:
                if (!apply(in, true)) return;
                break;

            case Op::pairs:
                make_pairs(in);
                ++at_;
                break;
            case Op::closure:
                r[in.a] = get(only_source(in));
                ++at_;
                break;
            case Op::name: {
                Node* definition = in.symbol->definition;
                // A constant that is being reduced is a cycle, which the machine finds.
                if (!settled(definition) || is_leaf_of(definition, ')')) {
                    wait_here(in.a, index_behind());
                    focus_ = word_of(shared(node_of(unit_->constants[static_cast<size_t>(in.d)])));
                    return;
                }
                r[in.a] = word_of(shared(definition));
                ++at_;
                break;
            }
            case Op::evaluate: {
                const Word word = r[in.b];
                if (!is_settled(word)) {
                    wait_here(in.a, index_behind());
                    focus_ = word;
                    return;
                }
                r[in.a] = word;
                ++at_;
                break;
            }

            case Op::if_strict:
                at_ = takes_strictly(r[in.b], in.c) ? at_ + 1 : unit_->code.data() + in.d;
                break;
            case Op::if_held: {
                at_ = are_held(in.b) ? unit_->code.data() + in.d : at_ + 1;
                break;
            }
            case Op::wait:
                wait_here(in.a, in.d);
                ++at_;
                break;
            case Op::hold:
                push(Waiting::argument, get(only_source(in)));
                ++at_;
                break;
            case Op::give: {
                const Word value = get(only_source(in));
                registers.top = r;
                if (!is_settled(value)) {
                    focus_ = value;
                    return;
                }
                if (!go_on(value)) return;
                break;
            }
            case Op::go: focus_ = get(only_source(in)); return;
        }
    }
}

}  // namespace

Word run_unit(Unit& unit) {
    Loop loop;
    if (loop.enter(unit)) loop.run();
    return loop.focus();
}

void hold_operands(int above) { Loop().hold_operands(above); }

Word resume(Word value) {
    Loop loop;
    loop.go_on(value);
    loop.run();
    return loop.focus();
}

}  // namespace marl
