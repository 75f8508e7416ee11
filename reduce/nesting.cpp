// A run within a run, as a todo action that makes and drops another or a text that loads itself,
// takes some of the process's own stack. Nothing else here recurses, so looking at the stack at the
// beginning of each run is enough: what a run needs up to the next one fits in a reserve.
#include "reduce/nesting.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#ifdef __linux__
#include <sys/auxv.h>
#endif

#include "text/fatal.h"

namespace marl {

namespace {

/// Where the stack begins, as far as it can be known. The environment and the arguments stand on it
/// as well, and count; the last thing above them is the program's file name.
const char* stack_start(const char* frame) {
#ifdef __linux__
    const auto* name = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    if (name) return std::max(name, frame);
#endif
    return frame;
}

/// The bytes that runs may take of the stack.
ptrdiff_t stack_room() {
    constexpr ptrdiff_t most = ptrdiff_t{1} << 30;
    constexpr ptrdiff_t most_reserve = 256 * 1024;
    rlimit limit{};
    getrlimit(RLIMIT_STACK, &limit);
    const bool small = limit.rlim_cur < static_cast<rlim_t>(most);
    const ptrdiff_t size = small ? static_cast<ptrdiff_t>(limit.rlim_cur) : most;
    return size - std::min(size / 3, most_reserve);
}

}  // namespace

void guard_nesting() {
    const auto* frame = static_cast<const char*>(__builtin_frame_address(0));
    static const char* const start = stack_start(frame);
    static const ptrdiff_t room = stack_room();
    if (start - frame > room) end_with_line("marl: runs are nested too deeply\n");
}

}  // namespace marl
