// Node memory.
//
// Nodes of up to `pooled_limit` bytes come from free lists, one for each size in words, fed from
// slabs that live as long as the process: a Pair is made and freed in a handful of instructions and
// takes 24 bytes. Larger nodes are blocks of the general allocator. Builds with sanitizers switch
// the lists off, so that every node is a block of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "text/fatal.h"
#include "value/blocks.h"

namespace marl {

constexpr size_t word_size = 8;
constexpr size_t pooled_limit = 128;

struct alignas(word_size) FreeBlock {
    FreeBlock* next;
};
extern FreeBlock* free_lists[pooled_limit / word_size + 1];

#if MARL_COUNT_NODES
extern int64_t live_nodes;
#endif
#ifdef MARL_OBSERVED
/// The nodes made so far, for a profile.
extern int64_t made_nodes;
/// Told of each node that is freed, for whoever knows something of nodes; null for nobody.
extern void (*on_freed)(const void* node);
#endif

/// The size and the alignment of what the system may back by one large page.
constexpr size_t large_page = size_t{1} << 21;

/// A block of which all will be used: in large pages, when it is large. Freed by `free`.
void* allocate_large(size_t size);

/// A block for a free list that has run empty.
void* allocate_from_slab(size_t words);

inline void count_made_node() {
#if MARL_COUNT_NODES
    ++live_nodes;
#endif
#ifdef MARL_OBSERVED
    ++made_nodes;
#endif
}

inline void* allocate_node(size_t size) {
    count_made_node();
#if MARL_POOL
    if (size <= pooled_limit) {
        const size_t words = (size + word_size - 1) / word_size;
        FreeBlock* block = free_lists[words];
        if (!block) return allocate_from_slab(words);
        free_lists[words] = block->next;
        return block;
    }
#endif
    return allocate_bytes(size);
}

/// The block that the next node of a small size will be, where that takes no call; else null.
inline FreeBlock* next_node([[maybe_unused]] size_t size) {
#if MARL_POOL
    return free_lists[(size + word_size - 1) / word_size];
#else
    return nullptr;
#endif
}
/// Takes it off its list.
inline void take_next_node(FreeBlock* block, size_t size) {
    count_made_node();
    free_lists[(size + word_size - 1) / word_size] = block->next;
}

inline void count_freed_node([[maybe_unused]] const void* node) {
#if MARL_COUNT_NODES
    --live_nodes;
#endif
#ifdef MARL_OBSERVED
    if (on_freed) on_freed(node);
#endif
}

/// Frees one of at most `pooled_limit` bytes, where there are free lists, of which `lists` is the
/// first one.
inline void free_small_node(void* node, size_t size, FreeBlock** lists) {
    count_freed_node(node);
    auto* block = static_cast<FreeBlock*>(node);
    FreeBlock*& list = lists[(size + word_size - 1) / word_size];
    block->next = list;
    list = block;
}

/// `size` is the size that the block was allocated with, give or take what rounding up to words
/// hides.
inline void free_node(void* node, [[maybe_unused]] size_t size) {
#if MARL_POOL
    if (size <= pooled_limit) return free_small_node(node, size, free_lists);
#endif
    count_freed_node(node);
    free(node);
}

/// The Leaf of a long number.
inline void* allocate_long_node(size_t size) {
    count_made_node();
    return allocate_block(size);
}
inline void free_long_node(void* node, size_t size) {
#if MARL_COUNT_NODES
    --live_nodes;
#endif
    free_block(node, size);
}

/// Takes one node out of the count of those that must be gone at the end of the run: it is made
/// once and held for good.
inline void keep_for_good() {
#if MARL_COUNT_NODES
    --live_nodes;
#endif
}

}  // namespace marl
