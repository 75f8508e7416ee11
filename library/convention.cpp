// The one conversion that may change its argument: a text in Pairs is flattened in its slot, so
// that the slot keeps alive what the address points to while the C function runs.
#include "library/convention.h"

#include "number/zits.h"

namespace marl {

int program_errno = 0;

int64_t to_address(Value& slot) {
    if (is_integer(slot)) return to_i64(slot);
    if (!is_leaf(slot)) slot = zits_flatten(std::move(slot));
    const char* address = leaf_text(slot);
    if (*address == '(') address += post_extent(slot).offset;
    return reinterpret_cast<int64_t>(address);
}

}  // namespace marl
