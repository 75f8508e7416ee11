// Where an instruction's function has its operands from, and how it hands on.
//
// The loop reads both from the Instruction at `at`. A stencil of native code (reduce/native) is the
// same function with a hole for each of them: the address of a symbol that nobody defines, which
// the translation of an instruction puts in. It has no use for `at`, but says where it is to whom
// it leaves things to.
#pragma once

#include "reduce/code.h"
#include "reduce/stack.h"
#include "value/word.h"

/// In the laboratory's core the machine knows the instruction that it is at, for whoever takes
/// samples of a run.
#ifdef MARL_OBSERVED
#define MARL_NOTE m->note(at, top)
#else
#define MARL_NOTE ((void)0)
#endif

#if MARL_TAIL_CALLS
#define MARL_STATE                                                                               \
    [[maybe_unused]] Word *frame, [[maybe_unused]] StackEntry *top, [[maybe_unused]] Machine *m, \
        [[maybe_unused]] Word value, [[maybe_unused]] const Instruction *at
#ifdef __clang__
#define MARL_JUMP [[clang::musttail]] return
#else
#define MARL_JUMP return
#endif
#define MARL_GO_TO(place)                            \
    do {                                             \
        at = (place);                                \
        MARL_NOTE;                                   \
        MARL_JUMP at->run(frame, top, m, value, at); \
    } while (0)
#define MARL_LEAVE return
#else
#define MARL_STATE                                                                                 \
    [[maybe_unused]] Word *&frame, [[maybe_unused]] StackEntry *&top, [[maybe_unused]] Machine *m, \
        [[maybe_unused]] Word &value, [[maybe_unused]] const Instruction *&at
#define MARL_JUMP return
#define MARL_GO_TO(place) return void(at = (place))
#define MARL_LEAVE return void(at = nullptr)
#endif
/// Gives `value` to whoever waits for it.
#define MARL_RETURN            \
    do {                       \
        --top;                 \
        MARL_GO_TO(top->next); \
    } while (0)

#define MARL_INLINE [[gnu::always_inline]] inline

#ifdef MARL_STENCILS
#include "reduce/native/holes.h"
#else

#define MARL_FREE_MACHINE ((void)0)
#define MARL_FIND_MACHINE ((void)0)
#define MARL_FREE_LISTS free_lists
#define MARL_NEXT MARL_GO_TO(at + 1)
#define MARL_FURTHER MARL_GO_TO(at + at->d)
#define MARL_WAY(way) MARL_GO_TO(at + at->choice->way)
#define MARL_SLOW(function) MARL_JUMP function(frame, top, m, value, at)

#define MARL_REALS(name) MARL_SLOW(slow_##name)

#define MARL_REGISTER(field) frame[at->field]
#define MARL_TAKES(field) ((at->fields.f & take_##field) != 0)
#define MARL_COUNT at->c
#define MARL_HAS_ROOM (m->registers.limit - frame >= at->d)
#define MARL_WORD at->word
#define MARL_NUMBER at->n
#define MARL_EVEN_NUMBER twice(at->word)
#define MARL_OPERAND(i) get(at->operands[i], frame)
#define MARL_KIND at->d
#define MARL_MOVE_BACK frame -= at->b

#define MARL_HAS_WAY(way) (at->choice->way != 0)
#define MARL_PART(field) frame[at->choice->field]

#define MARL_NEXT_ONE (at + 1)
#define MARL_FURTHER_ONE (at + at->d)
#define MARL_IS_LINKED (at->d != 0)
#define MARL_ENTER_TARGET MARL_GO_TO(at->target)

#if MARL_NATIVE
/// Whether the code that begins here has been called so often that it gets native code.
#define MARL_IS_DUE (--const_cast<Instruction*>(at)->n < 0)
#else
#define MARL_IS_DUE false
#endif

#endif
