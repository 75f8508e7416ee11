// Both stacks are one block each that doubles, and never shrinks. Dropping a context takes the
// entries off from the top, and with an entry of code that waits goes its frame.
#include "reduce/stack.h"

#include <algorithm>

namespace marl {

namespace {

/// Tells whoever takes samples that the context can't be looked at.
struct Moving {
#ifdef MARL_OBSERVED
    Moving() { machine.moves = true; }
    ~Moving() { machine.moves = false; }
    Moving(const Moving&) = delete;
    Moving& operator=(const Moving&) = delete;
#endif
};

}  // namespace

void grow_stack() {
    [[maybe_unused]] const Moving moving;
    Stack& stack = machine.stack;
    const auto used = static_cast<size_t>(stack.top - stack.entries);
    const size_t room = used ? used * 2 : 1024;
    stack.entries =
        static_cast<StackEntry*>(reallocate_bytes(stack.entries, room * sizeof(StackEntry)));
    stack.top = stack.entries + used;
    stack.limit = stack.entries + room - spare_entries;
}

void grow_registers(int frame) {
    Registers& registers = machine.registers;
    const auto used = static_cast<size_t>(registers.top - registers.words);
    const size_t room = std::max<size_t>(
        used * 2, used + static_cast<size_t>(frame) + 2 * static_cast<size_t>(spare_registers));
    // What is on its way into the next frame stands behind the last one, and stays there.
    registers.words = static_cast<Word*>(reallocate_bytes(registers.words, room * sizeof(Word)));
    registers.top = registers.words + used;
    registers.limit = registers.words + room - spare_registers;
}

void drop_context() {
    ++machine.drops;
    Stack& stack = machine.stack;
    while (stack.top[-1].kind() != Op::base) {
        const StackEntry entry = *--stack.top;
        switch (entry.kind()) {
            case Op::land:
            case Op::land_before_choice: {
                Word* frame = machine.registers.top -= entry.next->b;
                for (RegisterSet live = entry.next->map->live; live; live &= live - 1) {
                    release_word(frame[__builtin_ctzll(live)]);
                }
                break;
            }
            case Op::update: break;
            default:
                // The place of an argument that is being reduced is empty.
                if (entry.word != 0) release_word(entry.word);
        }
    }
}

}  // namespace marl
