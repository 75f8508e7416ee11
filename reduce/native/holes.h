// Holes: what a stencil has in the place of its operands, for reduce/operands.h.
//
// A hole within reach of an instruction's own number of 32 bits is the address of a symbol, which
// the compiler folds into that instruction. It takes an address for a number above 0, so that no
// such hole may be compared with 0, or tested; those are read by an instruction of their own, which
// the compiler doesn't look into, and so are those of 64 bits.
#pragma once

#include "reduce/native/hole_names.h"

namespace marl {

extern "C" {
#define MARL_HOLE(name) extern char hole_##name[];
MARL_HOLES(MARL_HOLE)
#undef MARL_HOLE
#define MARL_HOLE(name) void hole_##name(MARL_STATE);
MARL_JUMP_HOLES(MARL_HOLE)
#undef MARL_HOLE
}

#define MARL_NARROW(name)                                   \
    MARL_INLINE uint32_t read_##name() {                    \
        uint32_t number;                                    \
        __asm__("movl $hole_" #name ", %0" : "=r"(number)); \
        return number;                                      \
    }
#define MARL_WIDE(name)                                        \
    MARL_INLINE uint64_t read_##name() {                       \
        uint64_t number;                                       \
        __asm__("movabsq $hole_" #name ", %0" : "=r"(number)); \
        return number;                                         \
    }
MARL_NARROW(takes_a)
MARL_NARROW(takes_b)
MARL_NARROW(has_k)
MARL_NARROW(has_h)
MARL_NARROW(has_pair)
MARL_NARROW(count)
MARL_NARROW(from_0)
MARL_NARROW(from_1)
MARL_NARROW(applied_code)
MARL_WIDE(at)
MARL_WIDE(next_one)
MARL_WIDE(further_one)
MARL_WIDE(word)
MARL_WIDE(word_0)
MARL_WIDE(word_1)
MARL_WIDE(free_list)
MARL_WIDE(header)
MARL_WIDE(part)
MARL_WIDE(captured_word)
#undef MARL_NARROW
#undef MARL_WIDE

/// The address of the free lists, which no stencil may name in a number of 32 bits.
MARL_INLINE FreeBlock** find_free_lists() {
    FreeBlock** lists;
    __asm__("leaq _ZN4marl10free_listsE(%%rip), %0" : "=r"(lists));
    return lists;
}

/// A hole that is a distance in bytes from a frame's start, or a number.
#define MARL_VALUE(name) static_cast<int64_t>(reinterpret_cast<uintptr_t>(hole_##name))
#define MARL_IN_FRAME(name) \
    (*reinterpret_cast<Word*>(reinterpret_cast<char*>(frame) + MARL_VALUE(name)))

}  // namespace marl

// Whoever comes next has no use for `at`, nor for `value` unless it is a `land`: their registers
// are free.
#define MARL_FORGET __asm__("" : "=c"(value), "=r"(at))
// What needs more registers than there are takes those of the machine, which is always the same
// one, and of the value.
#define MARL_FREE_MACHINE __asm__("" : "=r"(m))
#define MARL_FIND_MACHINE      \
    __asm__("" : "=r"(value)); \
    __asm__("leaq _ZN4marl7machineE(%%rip), %0" : "=r"(m))
#define MARL_FREE_LISTS find_free_lists()
#define MARL_HAND_ON(hole)                        \
    do {                                          \
        MARL_FORGET;                              \
        MARL_JUMP hole(frame, top, m, value, at); \
    } while (0)
#define MARL_NEXT MARL_HAND_ON(hole_next)
// From one step of an instruction to the next, which goes on with the value.
#define MARL_NEXT_STEP                                 \
    do {                                               \
        __asm__("" : "=r"(at));                        \
        MARL_JUMP hole_next(frame, top, m, value, at); \
    } while (0)
#define MARL_SLOW_STEP(function)                              \
    do {                                                      \
        at = reinterpret_cast<const Instruction*>(read_at()); \
        MARL_JUMP function(frame, top, m, value, at);         \
    } while (0)
#define MARL_FURTHER MARL_HAND_ON(hole_further)
#define MARL_WAY(way) MARL_HAND_ON(hole_way_##way)
#define MARL_SLOW(function)                                   \
    do {                                                      \
        at = reinterpret_cast<const Instruction*>(read_at()); \
        __asm__("" : "=r"(value));                            \
        MARL_JUMP function(frame, top, m, value, at);         \
    } while (0)

#define MARL_REALS(name) MARL_JUMP reals_##name(frame, top, m, value, at)

#define MARL_REGISTER(field) MARL_IN_FRAME(field)
#define MARL_TAKES(field) (read_takes_##field() != 0)
#define MARL_COUNT static_cast<int>(read_count())
#define MARL_HAS_ROOM                                                                \
    (reinterpret_cast<char*>(m->registers.limit) - reinterpret_cast<char*>(frame) >= \
     MARL_VALUE(room))
#define MARL_WORD read_word()
#define MARL_NUMBER MARL_VALUE(number)
#define MARL_EVEN_NUMBER MARL_VALUE(even_number)
#define MARL_OPERAND(i)                                               \
    (read_from_##i() == 0   ? MARL_IN_FRAME(operand_##i)              \
     : read_from_##i() == 1 ? shared_word(MARL_IN_FRAME(operand_##i)) \
                            : shared_word(read_word_##i()))
#define MARL_KIND MARL_VALUE(kind)
#define MARL_MOVE_BACK \
    frame = reinterpret_cast<Word*>(reinterpret_cast<char*>(frame) - MARL_VALUE(b))

#define MARL_HAS_WAY(way) (read_has_##way() != 0)
#define MARL_PART(field) MARL_IN_FRAME(part_##field)

#define MARL_NEXT_ONE reinterpret_cast<const Instruction*>(read_next_one())
#define MARL_FURTHER_ONE reinterpret_cast<const Instruction*>(read_further_one())
#define MARL_IS_LINKED true
#define MARL_ENTER_TARGET MARL_HAND_ON(hole_enter)
#define MARL_IS_DUE false
