// The loop over instructions: from one to the next by a jump where the compiler makes one of a call
// in last place, else by a switch.
#include "reduce/run_code.h"

#include "reduce/interpreter.h"

namespace marl {

Machine machine;

#if MARL_TAIL_CALLS

namespace {

struct Functions {
#define MARL_STATIC(name, shape, a, b, c, meaning) \
    static void name(MARL_STATE) { MARL_JUMP run_##name(frame, top, m, value, at); }
    MARL_INSTRUCTIONS(MARL_STATIC)
#undef MARL_STATIC
};

constexpr Run functions[] = {
#define MARL_ADDRESS(name, shape, a, b, c, meaning) Functions::name,
    MARL_INSTRUCTIONS(MARL_ADDRESS)
#undef MARL_ADDRESS
};

}  // namespace

Run function_of(Op op) { return functions[static_cast<size_t>(op)]; }

void link(Instruction& instruction) { instruction.run = function_of(instruction.op); }

static void run_loop(Word* frame, const Instruction* at, Word value, StackEntry* top) {
    Machine* const m = &machine;
    MARL_NOTE;
    at->run(frame, top, m, value, at);
}

#else

void link(Instruction&) {}

static void run_loop(Word* frame, const Instruction* at, Word value, StackEntry* top) {
    Machine* const m = &machine;
    while (at) {
        MARL_NOTE;
        switch (at->op) {
#define MARL_CASE(name, shape, a, b, c, meaning) \
    case Op::name:                               \
        run_##name(frame, top, m, value, at);    \
        break;
            MARL_INSTRUCTIONS(MARL_CASE)
#undef MARL_CASE
        }
    }
}

#endif

Instruction entry_instructions[entry_kinds][most_details];

static const bool entries_are_made = [] {
    for (int kind = 0; kind < entry_kinds; ++kind) {
        for (int detail = 0; detail < most_details; ++detail) {
            Instruction& entry = entry_instructions[kind][detail];
            entry.op = static_cast<Op>(static_cast<int>(Op::base) + kind);
            entry.a = static_cast<uint8_t>(detail);
            link(entry);
        }
    }
    return true;
}();

void prepare(Code& code) {
    compile(code);
    for (Instruction& instruction : code.instructions) link(instruction);
#if MARL_NATIVE
    Instruction& enter = code.instructions.front();
    enter.code = &code;
    enter.n = MARL_NATIVE_CALLS;
#endif
}

/// The context ends where `machine` has it, from here on.
static void note_end_of_loop() {
#ifdef MARL_OBSERVED
    machine.at_top = nullptr;
#endif
}

Word run_code(Code& code) {
    if (!code.made) prepare(code);
    run_loop(machine.registers.top, code.start(), 0, machine.stack.top);
    note_end_of_loop();
    return machine.focus;
}

Word resume(Word value) {
    StackEntry* const top = machine.stack.top - 1;
    run_loop(machine.registers.top, top->next, value, top);
    note_end_of_loop();
    return machine.focus;
}

}  // namespace marl
