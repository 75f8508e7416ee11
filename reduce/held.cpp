// Operands that are held back: as arguments in the context, or in the frame of a choice, whose
// operands are made arguments when somebody asks for them.
#include <algorithm>

#include "reduce/closure.h"
#include "reduce/interpreter.h"
#include "reduce/run_code.h"

namespace marl {

namespace {

const Choice& choice_of(const StackEntry& entry) {
    const StackMap& map = *entry.next->map;
    return map.code->choices[static_cast<size_t>(map.choice)];
}

/// Whether so many arguments are held back on top of the context.
bool are_held(const StackEntry* top, int count) {
    for (const StackEntry* entry = top - 1; count > 0; --entry) {
        if (is_argument(*entry)) {
            --count;
        } else if (entry->kind() == Op::land_before_choice) {
            count -= choice_of(*entry).count;
            if (choice_of(*entry).after >= 0) break;
        } else {
            break;
        }
    }
    return count <= 0;
}

}  // namespace

void slow_if_held(MARL_STATE) { MARL_GO_TO(are_held(top, at->c) ? at + at->d : at + 1); }

void hold_operands(int above) {
    Stack& stack = machine.stack;
    StackEntry* place = stack.top - above - 1;
    const StackEntry waiting = *place;
    const Choice& choice = choice_of(waiting);
    const Code& code = *waiting.next->map->code;
    Word* const frame = machine.registers.top - waiting.next->b;
    // What stands in the place of the entry, from the bottom up.
    StackEntry made[3];
    int count = 0;
    machine.registers.top = frame;
    if (choice.after >= 0) {
        const Instruction* after = code.start() + choice.after;
        made[count++] = {after, 0};
        machine.registers.top += after->b;
    }
    for (uint32_t i = choice.count; i-- > 0;) {
        made[count++] = {entry_of(Op::argument), make_piece(code.pieces[choice.first + i], frame)};
    }
    for (RegisterSet ends = choice.ends; ends; ends &= ends - 1) {
        release_word(frame[__builtin_ctzll(ends)]);
    }
    for (int i = 1; i < count; ++i) push(Op::base, 0);
    place = stack.top - above - count;
    std::copy_backward(place + 1, place + 1 + above, stack.top);
    std::copy(made, made + count, place);
}

}  // namespace marl
