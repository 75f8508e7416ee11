#include "value/blocks.h"

#include <bit>
#include <cstdint>
#include <cstdlib>

#include "text/fatal.h"

namespace marl {

#if MARL_POOL

namespace {

/// Larger blocks go back at once.
constexpr size_t kept_limit = size_t{1} << 20;
/// Bytes of blocks on the lists.
constexpr size_t all_kept_limit = size_t{4} << 20;
/// Up to here sizes differ by a step.
constexpr size_t even_limit = 2048;
constexpr size_t even_step = 32;
constexpr size_t even_sizes = even_limit / even_step;
constexpr int least_octave = std::bit_width(even_limit);

struct SizeClass {
    size_t index;
    size_t capacity;
};
SizeClass size_class(size_t size) {
    const size_t last = size - 1;
    if (size <= even_limit) return {last / even_step, (last / even_step + 1) * even_step};
    const auto octave = static_cast<int>(std::bit_width(last));
    const size_t quarter = last >> (octave - 3) & 3;
    const size_t step = size_t{1} << (octave - 3);
    return {even_sizes + static_cast<size_t>(octave - least_octave) * 4 + quarter,
            (last / step + 1) * step};
}

struct KeptBlock {
    KeptBlock* next;
};
KeptBlock* lists[even_sizes + 4 * 10];
size_t kept = 0;

}  // namespace

void* allocate_block(size_t size) {
    if (size > kept_limit) return allocate_bytes(size);
    const SizeClass its = size_class(size);
    KeptBlock* block = lists[its.index];
    if (!block) return allocate_bytes(its.capacity);
    lists[its.index] = block->next;
    kept -= its.capacity;
    return block;
}

void free_block(void* block, size_t size) {
    if (size <= kept_limit) {
        const SizeClass its = size_class(size);
        if (kept + its.capacity <= all_kept_limit) {
            auto* freed = static_cast<KeptBlock*>(block);
            freed->next = lists[its.index];
            lists[its.index] = freed;
            kept += its.capacity;
            return;
        }
    }
    free(block);
}

#else

void* allocate_block(size_t size) { return allocate_bytes(size); }
void free_block(void* block, size_t) { free(block); }

#endif

}  // namespace marl
