// The steps of an instruction whose operands are many: native code has one after the other of them,
// and hands on in `value` what is being made.
#pragma once

#include "reduce/operands.h"
#include "value/word.h"

namespace marl {

MARL_INLINE Closure* being_made(Word value) { return reinterpret_cast<Closure*>(value); }
#define MARL_SLOT(name) (*reinterpret_cast<Word*>(value + static_cast<uint64_t>(MARL_VALUE(name))))

MARL_INLINE void run_begin_closure(MARL_STATE) {
    auto* const list = reinterpret_cast<FreeBlock**>(read_free_list());
    FreeBlock* const block = *list;
    if (__builtin_expect(block == nullptr, 0)) MARL_SLOW(slow_closure);
    *list = block->next;
    value = reinterpret_cast<uintptr_t>(block);
    Closure* const closure = being_made(value);
    closure->header = read_header();
    closure->code = reinterpret_cast<Code*>(read_part());
    closure->node = nullptr;
    MARL_NEXT_STEP;
}
MARL_INLINE void run_capture_taken(MARL_STATE) {
    MARL_SLOT(slot) = MARL_IN_FRAME(captured);
    MARL_NEXT_STEP;
}
MARL_INLINE void run_capture_shared(MARL_STATE) {
    MARL_SLOT(slot) = shared_word(MARL_IN_FRAME(captured));
    MARL_NEXT_STEP;
}
MARL_INLINE void run_capture_constant(MARL_STATE) {
    MARL_SLOT(slot) = shared_word(read_captured_word());
    MARL_NEXT_STEP;
}
MARL_INLINE void run_check_applied(MARL_STATE) {
    // Too few arguments are hoisted, and only a node may want more.
    const Word head = MARL_SLOT(applied_slot);
    if (is_node(head)) {
        const uint32_t code = top_byte(node_of(head)) & 0x7F;
        const bool fires = code >= rank_zero_code && code <= read_applied_code();
        if (!fires) MARL_SLOW_STEP(finish_slowly);
    }
    MARL_NEXT_STEP;
}
MARL_INLINE void run_end_closure(MARL_STATE) {
    MARL_REGISTER(a) = word_of(being_made(value));
    MARL_NEXT;
}

}  // namespace marl
