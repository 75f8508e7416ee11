// The slow side of the free lists: slabs of 64 KiB, cut from the front into blocks as lists run
// empty. A block never goes back to its slab; when it is freed it stays on the list of its size.
#include "value/allocate.h"

namespace marl {

FreeBlock* free_lists[pooled_limit / word_size + 1];

#if MARL_COUNT_NODES
int64_t live_nodes = 0;
#endif

void* allocate_from_slab(size_t words) {
    constexpr size_t slab_size = size_t{1} << 16;
    static FreeBlock* slabs = nullptr;
    static char* next = nullptr;
    static size_t rest = 0;
    const size_t size = words * word_size;
    if (rest < size) {
        // What is left of the old slab, less than one block, is given up. Each slab begins with the
        // address of the one before, so that leak checkers see that all are in use.
        auto* slab = static_cast<FreeBlock*>(allocate_bytes(slab_size));
        slab->next = slabs;
        slabs = slab;
        next = reinterpret_cast<char*>(slab + 1);
        rest = slab_size - sizeof *slab;
    }
    void* block = next;
    next += size;
    rest -= size;
    return block;
}

}  // namespace marl
