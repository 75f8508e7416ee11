// The stencils: what each instruction does, with holes for its operands. Compiled for themselves,
// as an object file of which reduce/native/extract.cpp makes a table; nothing links with it.
#define MARL_STENCILS
#include "text/fatal.h"

// A stencil can't call anything: a count that is full is the one thing that is required here.
#undef MARL_REQUIRE
#define MARL_REQUIRE(condition)                    \
    do {                                           \
        if (!(condition)) [[unlikely]] {           \
            __asm__ volatile("jmp stop_at_count"); \
            __builtin_unreachable();               \
        }                                          \
    } while (0)

#include "reduce/interpreter.h"
#include "reduce/native/stencil_names.h"
#include "reduce/native/steps.h"

namespace marl {

#define MARL_STENCIL(name) \
    extern "C" void stencil_##name(MARL_STATE) { MARL_JUMP run_##name(frame, top, m, value, at); }
MARL_STENCIL_NAMES(MARL_STENCIL)
MARL_STEP_NAMES(MARL_STENCIL)
#undef MARL_STENCIL

}  // namespace marl
