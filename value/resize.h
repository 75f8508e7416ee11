// Text that grows and shrinks in its place.
//
// The blocks of text Leaves, "[" and "(", come in eight sizes to each doubling. So a text to which
// a program adds a little at a time moves seldom, and altogether each byte is copied a few times
// only. The room that a Leaf has follows from its length alone; nothing keeps count of it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "value/value.h"

namespace marl {

/// The size of the block for a text Leaf of so many bytes, its header included.
size_t text_block_size(size_t size);

/// A text Leaf of `old` bytes made n bytes long, moved when it has no room: the bytes that both
/// lengths have stand, further ones are not set, the NUL does. Consumes the Leaf, which nobody else
/// may hold.
Value resized_leaf(Value leaf, int64_t old, int64_t n);

}  // namespace marl
