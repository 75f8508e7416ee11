// Where the old length and the new one take blocks of one size, nothing moves. Else a block of the
// free lists is copied to one of the new size, and a large one is reallocated, which the system can
// often do without a copy.
#include "value/resize.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "text/fatal.h"
#include "value/allocate.h"

namespace marl {

namespace {

size_t block_size(int64_t length) {
    return text_block_size(sizeof(Node) + static_cast<size_t>(length) + 1);
}

[[maybe_unused]] size_t words_of(size_t size) { return (size + word_size - 1) / word_size; }

void* moved_block(void* block, size_t old_size, size_t size) {
#if MARL_POOL
    if (std::min(old_size, size) <= pooled_limit) {
        if (words_of(old_size) == words_of(size)) return block;
        void* moved = allocate_node(size);
        memcpy(moved, block, std::min(old_size, size));
        free_node(block, old_size);
        return moved;
    }
#endif
    if (old_size == size) return block;
    return reallocate_bytes(block, size);
}

}  // namespace

size_t text_block_size(size_t size) {
    if (size <= pooled_limit) return size;
    const size_t step = std::bit_floor(size) / 8;
    return (size + step - 1) / step * step;
}

Value resized_leaf(Value leaf, int64_t old, int64_t n) {
    MARL_REQUIRE(count_of(leaf) == 1 && n > 0);
    auto* node = static_cast<Node*>(moved_block(leaf.take(), block_size(old), block_size(n)));
    leaf_text(node)[n] = 0;
    if (is_leaf_of(node, '[')) set_span(node, n < span_limit ? n : 0);
    return Value::adopt(node);
}

}  // namespace marl
