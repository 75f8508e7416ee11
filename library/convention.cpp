// The one conversion that may change its argument: a text in Pairs is flattened in its slot, so
// that the slot keeps alive what the address points to while the C function runs.
#include "library/convention.h"

#include "number/zits.h"

namespace marl {

int program_errno = 0;

namespace {

int64_t address_of_text(Node* leaf) {
    const char* address = leaf_text(leaf);
    if (*address == '(') address += post_extent(leaf).offset;
    return reinterpret_cast<int64_t>(address);
}

}  // namespace

int64_t to_address(Value& slot) {
    if (is_integer(slot)) return to_i64(slot);
    if (!is_leaf(slot)) slot = zits_flatten(std::move(slot));
    return address_of_text(slot);
}

bool is_memory_word(Word word) {
    return is_short(word) ||
           (is_node(word) && (is_leaf_of(node_of(word), '(') || is_leaf_of(node_of(word), '[')));
}

int64_t address_of_word(Word word) {
    return is_short(word) ? short_of(word) : address_of_text(node_of(word));
}

}  // namespace marl
