// The fatal stop: the answer to every broken invariant.
//
// One line on descriptor 2, "ASSERTION FAILED:path:line", and then abort. There is no recovery, and
// no message besides the place. Where it is the process that has come to an end of its means, of
// memory or of stack, it ends in better order: what the program has printed is kept, and a line
// says what was missing.
#pragma once

#include <cstddef>

namespace marl {

/// Writes the assertion line for `path` and `line` and aborts; aborts as well when the line can't
/// be written.
[[noreturn]] void fatal_stop(const char* path, int line);

/// Hands over what C's streams still hold, writes the line to descriptor 2, and ends the process
/// with status 1. Takes no memory.
[[noreturn]] void end_with_line(const char* line);
/// The same with the line "marl: out of memory".
[[noreturn]] void out_of_memory();

/// malloc and realloc that never give null: exhaustion ends the process by `out_of_memory`.
void* allocate_bytes(size_t size);
void* reallocate_bytes(void* block, size_t size);

}  // namespace marl

/// Stops fatally unless the condition, an invariant of the system's own, holds.
#define MARL_REQUIRE(condition) \
    (static_cast<bool>(condition) ? void(0) : ::marl::fatal_stop(__FILE__, __LINE__))
