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

size_t block_size(size_t front, int64_t length) {
    return text_block_size(front + sizeof(Node) + static_cast<size_t>(length) + 1);
}

[[maybe_unused]] size_t words_for(size_t size) { return (size + word_size - 1) / word_size; }

void* moved_block(void* block, size_t old_size, size_t size) {
#if MARL_POOL
    if (std::min(old_size, size) <= pooled_limit) {
        if (words_for(old_size) == words_for(size)) return block;
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

size_t cray_block_size(int64_t n) {
    return text_block_size(sizeof(Node) + 1 + static_cast<size_t>(n * cray_slot_size));
}

Value grown_cray(Value cray, int64_t n) {
    const int64_t old = span_of(cray);
    MARL_REQUIRE(count_of(cray) == 1 && n > old && n < cray_limit);
    auto* node =
        static_cast<Node*>(moved_block(cray.take(), cray_block_size(old), cray_block_size(n)));
    set_span(node, n);
    memset(leaf_text(node) + 1 + old * cray_slot_size, 0,
           static_cast<size_t>((n - old) * cray_slot_size));
    return Value::adopt(node);
}

Value resized_leaf(Value leaf, int64_t old, int64_t n) {
    MARL_REQUIRE(count_of(leaf) == 1 && n > 0);
    const uint8_t kind = first_byte(leaf);
    const size_t front = leaf_front_size(kind, n);
    if (front != leaf_front_size(kind, old)) {
        Value made = leaf_with_size(static_cast<char>(kind), n);
        memcpy(leaf_text(made), leaf_text(leaf), static_cast<size_t>(std::min(old, n)));
        return made;
    }
    char* block = reinterpret_cast<char*>(leaf.take()) - front;
    block = static_cast<char*>(moved_block(block, block_size(front, old), block_size(front, n)));
    auto* node = reinterpret_cast<Node*>(block + front);
    leaf_text(node)[n] = 0;
    if (front > 0) {
        long_text_length(node) = n;
    } else if (kind == '[') {
        set_span(node, n);
    }
    return Value::adopt(node);
}

}  // namespace marl
