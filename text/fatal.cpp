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

void out_of_memory() {
    constexpr char message[] = "marl: out of memory\n";
    if (write(2, message, sizeof message - 1) < 0) _exit(1);
    _exit(1);
}

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
