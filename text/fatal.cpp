// Every way in which the process ends by itself. Nothing here takes memory or goes through the
// other parts of this folder: what ends a process must work when these are what is broken.
#include "text/fatal.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace marl {

void fatal_stop(const char* path, int line) {
    // Written by hand and not through a Stream: a Stream that fails stops fatally itself, and that
    // must not loop.
    char number[16];
    const int digits = snprintf(number, sizeof number, ":%d\n", line);
    for (const auto& [bytes, length] : {std::pair<const char*, size_t>{"ASSERTION FAILED:", 17},
                                        {path, strlen(path)},
                                        {number, static_cast<size_t>(digits)}}) {
        if (write(2, bytes, length) < 0) break;
    }
    abort();
}

void end_with_line(const char* line) {
    fflush(nullptr);
    if (write(2, line, strlen(line)) < 0) _exit(1);  // nothing more can be said
    _exit(1);
}

void out_of_memory() { end_with_line("marl: out of memory\n"); }

void* allocate_bytes(size_t size) {
    void* block = malloc(size);
    if (!block) out_of_memory();
    return block;
}

void* reallocate_bytes(void* block, size_t size) {
    void* grown = realloc(block, size);
    if (!grown) out_of_memory();
    return grown;
}

}  // namespace marl
