#include "value/allocate.h"

namespace marl {

FreeBlock* free_lists[pooled_limit / word_size + 1];

#if MARL_COUNT_NODES
int64_t live_nodes = 0;
#endif

void* allocate_from_slab(size_t words) {
    constexpr size_t slab_size = size_t{1} << 16;
    static char* next = nullptr;
    static size_t rest = 0;
    const size_t size = words * word_size;
    if (rest < size) {
        // What is left of the old slab, less than one block, is given up.
        next = static_cast<char*>(allocate_bytes(slab_size));
        rest = slab_size;
    }
    void* block = next;
    next += size;
    rest -= size;
    return block;
}

}  // namespace marl
