// The slow side of the free lists: slabs of 64 KiB and more, cut from the front into blocks, a few
// dozen at once, as lists run empty. A block never goes back to its slab; when it is freed it stays
// on the list of its size.
#include "value/allocate.h"

#include <sys/mman.h>

#include <algorithm>

namespace marl {

FreeBlock* free_lists[pooled_limit / word_size + 1];

#if MARL_COUNT_NODES
int64_t live_nodes = 0;
#endif
#ifdef MARL_OBSERVED
int64_t made_nodes = 0;
void (*on_freed)(const void* node) = nullptr;
#endif

void* allocate_large(size_t size) {
    if (size < large_page) return allocate_bytes(size);
    const size_t rounded = (size + large_page - 1) & ~(large_page - 1);
    void* block = aligned_alloc(large_page, rounded);
    if (!block) out_of_memory();
#ifdef MADV_HUGEPAGE
    // Advice only: what the system makes of it changes nothing but the time.
    (void)madvise(block, rounded, MADV_HUGEPAGE);
#endif
    return block;
}

void* allocate_from_slab(size_t words) {
    constexpr size_t first_slab_size = size_t{1} << 16;
    static FreeBlock* slabs = nullptr;
    static char* next = nullptr;
    static size_t rest = 0;
    static size_t slab_size = first_slab_size;
    const size_t size = words * word_size;
    if (rest < size) {
        // What is left of the old slab, less than one block, is given up. Each slab begins with the
        // address of the one before, so that leak checkers see that all are in use.
        auto* slab = static_cast<FreeBlock*>(allocate_large(slab_size));
        slab->next = slabs;
        slabs = slab;
        next = reinterpret_cast<char*>(slab + 1);
        rest = slab_size - sizeof *slab;
        slab_size = std::min(slab_size * 2, large_page);
    }
    // Those behind it wait on the list: to take one off takes no call.
    constexpr size_t most_at_once = 32;
    const size_t count = std::min(rest / size, most_at_once);
    FreeBlock*& list = free_lists[words];
    for (size_t i = count; --i > 0;) {
        auto* block = reinterpret_cast<FreeBlock*>(next + i * size);
        block->next = list;
        list = block;
    }
    void* first = next;
    next += count * size;
    rest -= count * size;
    return first;
}

}  // namespace marl
