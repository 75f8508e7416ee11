// The fast machine's state: its context, which is a stack of what is still to be done, and the
// registers of the code that waits there.
//
// All runs share the stack: a nested run stands on top of the run that it interrupts, and an entry
// `base` between them marks where it begins. An entry is an instruction and a Word. The instruction
// is what the machine does when it has a value for the entry. Where compiled code waits for the
// value, it is one of that code, a `land`; every other kind of entry has an instruction that stands
// for this kind alone (`entry_of`). For a value r, an entry on top of a context L means:
//
//   argument  r applied to the Word, which is held back: L (T word r)
//   function  the function in the Word, with r for its argument number `detail`: the arguments are
//             the entries below, and this one's is empty while it is reduced
//   let       the body in the Word, with r for the letter "a" + `detail`
//   update    r becomes the memoised definition of the symbol in the Word
//   plain     the context in the Word, of the plain machine, with r for its focus
//   land      the code goes on there, with r in one of its registers
//   land_before_choice
//             the same, where the code's next act is to apply r to operands in its frame. They are
//             arguments that wait for r, but have no entries of their own: whoever looks for
//             arguments in the context first makes entries of them (`hold_operands`)
//
// A second stack has the registers of the code that waits, a frame for each `land`, in the same
// order. Entries and registers own what they hold. Both stacks move when they grow: a pointer into
// one is good until the next push, or the next call that may run code of the program.
#pragma once

#include <cstddef>
#include <cstdint>

#include "reduce/code.h"
#include "value/word.h"

namespace marl {

struct StackEntry {
    const Instruction* next;
    Word word;

    Op kind() const { return next->op; }
    int detail() const { return next->a; }
};

struct Stack {
    StackEntry* entries = nullptr;
    StackEntry* top = nullptr;    // one behind the last entry
    StackEntry* limit = nullptr;  // with `spare_entries` behind it
};

struct Registers {
    Word* words = nullptr;
    Word* top = nullptr;    // one behind the last frame
    Word* limit = nullptr;  // with `spare_registers` behind it
};

struct Machine {
    Stack stack;
    Registers registers;
    Word focus = 0;      // what code leaves the loop with
    uint64_t drops = 0;  // contexts that aborts have dropped
#ifdef MARL_OBSERVED
    const Instruction* volatile at = nullptr;  // the last instruction that began,
    StackEntry* volatile at_top = nullptr;     // and the end of the context then
    volatile bool moves = false;               // the context is on its way into another block

    void note(const Instruction* instruction, StackEntry* end) {
        at = instruction;
        at_top = end;
    }
#endif
};
extern Machine machine;

/// What code pushes between two looks at the limit, and what it has on its way into a frame.
constexpr ptrdiff_t spare_entries = 64;
constexpr ptrdiff_t spare_registers = 3 * most_registers;

/// Makes room for more entries, and the spare ones.
void grow_stack();
/// Makes room for a frame of that many registers, and the spare ones.
void grow_registers(int frame);

/// The instructions that stand for kinds of entries: a row each, for the details from 0 on.
constexpr int most_details = 32;
constexpr int entry_kinds = static_cast<int>(Op::plain) - static_cast<int>(Op::base) + 1;
extern Instruction entry_instructions[entry_kinds][most_details];
inline const Instruction* entry_of(Op kind, int detail = 0) {
    return &entry_instructions[static_cast<int>(kind) - static_cast<int>(Op::base)][detail];
}

inline void push(Op kind, Word word, int detail = 0) {
    if (machine.stack.top >= machine.stack.limit) grow_stack();
    *machine.stack.top++ = {entry_of(kind, detail), word};
}

inline bool is_code(const StackEntry& entry) {
    return entry.kind() == Op::land || entry.kind() == Op::land_before_choice;
}
inline bool is_argument(const StackEntry& entry) { return entry.kind() == Op::argument; }

/// The Symbol of an update.
inline Symbol& updated_symbol(const StackEntry& entry) {
    return *reinterpret_cast<Symbol*>(static_cast<uintptr_t>(entry.word));
}
inline Word word_of_symbol(Symbol& symbol) { return reinterpret_cast<uintptr_t>(&symbol); }

/// Takes off all entries down to the run's base, with the frames of the code that waits, and
/// releases what they hold.
void drop_context();

}  // namespace marl
