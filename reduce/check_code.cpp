// A walk over all ways through the code. Before each instruction the set of registers that are full
// is known, and the `land` at which the frame waits, if it does; the instruction changes the set by
// the roles in its row. Where ways meet the sets must be the same, where a frame waits the set must
// be what its map says is live, and where a frame ends nothing may be left.
#include "reduce/check_code.h"

#include <cstdlib>
#include <vector>

#include "reduce/listing.h"
#include "reduce/tables.h"
#include "text/stream.h"

namespace marl {

namespace {

constexpr int nowhere = -1;

struct State {
    RegisterSet full = 0;
    int waiting = nowhere;
    bool operator==(const State&) const = default;
};

class Walk {
  public:
    explicit Walk(const Code& code) : code_(code), known_(code.instructions.size()) {}

    std::string run() {
        if (code_.instructions.empty() || code_.instructions[0].op != Op::enter) {
            return "0: no enter";
        }
        go_on(0, {registers_below(code_.parameters + code_.captures)});
        while (!rest_.empty() && fault_.empty()) {
            place_ = rest_.back();
            rest_.pop_back();
            step(code_.instructions[static_cast<size_t>(place_)],
                 known_[static_cast<size_t>(place_)].state);
        }
        return fault_;
    }

  private:
    void fail(const std::string& what) {
        if (fault_.empty()) fault_ = std::to_string(place_) + ": " + what;
    }
    void require(bool condition, const char* what) {
        if (!condition) fail(what);
    }

    /// A way leads to an instruction.
    void go_on(int place, const State& state) {
        if (place < 0 || static_cast<size_t>(place) >= known_.size()) return fail("jumps out");
        Known& known = known_[static_cast<size_t>(place)];
        if (!known.is_known) {
            known = {true, state};
            rest_.push_back(place);
        } else if (known.state != state) {
            fail("other registers than on another way to " + std::to_string(place));
        }
    }

    void keep(State& state, int reg) {
        if ((state.full & set_of(reg)) == 0) fail("r" + std::to_string(reg) + " is empty");
    }
    void take(State& state, int reg) {
        keep(state, reg);
        state.full &= ~set_of(reg);
    }
    void write(State& state, int reg) {
        if (state.full & set_of(reg)) fail("r" + std::to_string(reg) + " is full");
        require(reg < code_.frame, "beyond the frame");
        state.full |= set_of(reg);
    }
    void read(State& state, Role role, int reg, bool taken, int count) {
        if (role == Role::keep || (role == Role::use && !taken)) keep(state, reg);
        if (role == Role::take || (role == Role::use && taken)) take(state, reg);
        if (role != Role::row) return;
        for (int i = 0; i < count; ++i) take(state, reg + i);
        require((state.full & ~registers_below(reg)) == 0, "a row below what is live");
    }

    void read_all(const Instruction& in, const InstructionRow& row, State& state) {
        if (row.has_operands) {
            for (int i = 0; i < in.c; ++i) {
                const Operand& operand = in.operands[i];
                if (operand.from == From::take) take(state, operand.reg);
                if (operand.from == From::share) keep(state, operand.reg);
            }
        }
        const int taken = row.has_operands ? 0 : in.fields.f;
        read(state, row.b, in.b, (taken & take_b) != 0, in.c);
        read(state, row.c, in.c, (taken & take_c) != 0, 0);
        read(state, row.a, in.a, (taken & take_a) != 0, 0);
    }

    const Instruction* landing(int place) {
        if (place < 0 || static_cast<size_t>(place) >= known_.size()) return nullptr;
        const Instruction& in = code_.instructions[static_cast<size_t>(place)];
        return row_of(in.op).shape == Shape::land ? &in : nullptr;
    }

    /// How many registers the frame keeps while what an instruction calls is under way.
    static int kept_by(const Instruction& in) {
        if (in.op == Op::builtin_held) return in.d;
        return in.op == Op::evaluate ? in.c : in.b;
    }

    /// The frame waits for a value, with so much in its registers.
    void wait_at(int place, const State& state, int kept) {
        const Instruction* land = landing(place);
        if (!land) return fail("no land where it waits");
        if (land->map->live != state.full) fail("another set is live than its map says");
        require((state.full & ~registers_below(land->b)) == 0, "keeps too few registers");
        require(land->b == kept, "keeps other registers than its land says");
        go_on(place, {state.full, nowhere});
        if (land->op != Op::land_before_choice) return;
        const Choice& choice = code_.choices[static_cast<size_t>(land->map->choice)];
        require((choice.ends & ~state.full) == 0, "a choice ends an empty register");
        if (choice.after < 0) return;
        const Instruction* after = landing(choice.after);
        const State rest{state.full & ~choice.ends, nowhere};
        wait_at(choice.after, rest, after ? after->b : 0);
    }

    void end(const State& state) {
        require(state.full == 0, "registers are left");
        require(state.waiting == nowhere, "ends while it waits");
    }

    void choose(const Instruction& in, const State& state) {
        const Choice& choice = *in.choice;
        for (const int32_t way : {choice.k, choice.h, choice.identity}) {
            if (way) go_on(place_ + way, state);
        }
        if (choice.pair) {
            State parts = state;
            write(parts, choice.x);
            write(parts, choice.y);
            go_on(place_ + choice.pair, parts);
        }
        State other = state;
        write(other, in.a);
        go_on(place_ + choice.other, other);
    }

    void step(const Instruction& in, State state) {
        const InstructionRow& row = row_of(in.op);
        read_all(in, row, state);
        State written = state;
        if (row.a == Role::write) write(written, in.a);
        switch (row.shape) {
            case Shape::next: return go_on(place_ + 1, written);
            case Shape::jump: return go_on(place_ + in.d, state);
            case Shape::branch:
                go_on(place_ + 1, state);
                go_on(place_ + in.d, state);
                return go_on(place_ + in.fields.e, written);
            case Shape::test: go_on(place_ + 1, state); return go_on(place_ + in.d, state);
            case Shape::choose: return choose(in, state);
            case Shape::call: return wait_at(place_ + 1, state, kept_by(in));
            case Shape::step:
                go_on(place_ + 1, written);
                return wait_at(place_ + in.d, state, kept_by(in));
            case Shape::hold:
                require(state.waiting == nowhere, "waits twice");
                return go_on(place_ + 1, {state.full, place_ + in.d});
            case Shape::leave:
                if (state.waiting == nowhere) return end(state);
                return wait_at(state.waiting, {state.full, nowhere}, kept_by(in));
            case Shape::last:
                if (in.op == Op::call_last) {
                    for (int reg = 0; reg < in.c; ++reg) take(state, reg);
                }
                return end(state);
            case Shape::land: return go_on(place_ + 1, written);
            case Shape::entry: return fail("no instruction of code");
        }
    }

    struct Known {
        bool is_known = false;
        State state;
    };

    const Code& code_;
    std::vector<Known> known_;
    std::vector<int> rest_;
    int place_ = 0;
    std::string fault_;
};

}  // namespace

std::string code_fault(const Code& code) { return Walk(code).run(); }

void check_code(const Code& code) {
    const std::string fault = code_fault(code);
    if (fault.empty()) return;
    put_text(stream_err, ("code of " + std::string(print_value(code.whole).view()) + "\n" +
                          listing(code) + fault + "\n")
                             .c_str());
    fatal_stop(__FILE__, __LINE__);
}

}  // namespace marl
