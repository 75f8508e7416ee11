// Text and crays that grow in their place, text that shrinks there as well.
//
// The blocks of text Leaves, "[" and "(", and of crays come in eight sizes to each doubling. So a
// text to which a program adds a little at a time moves seldom, and altogether each byte is copied
// a few times only. The room that a Leaf has follows from its length alone; nothing keeps count of
// it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "value/value.h"

namespace marl {

/// The size of the block for a text Leaf of so many bytes, its header included.
size_t text_block_size(size_t size);

/// The same for a cray of n slots.
size_t cray_block_size(int64_t n);

/// A cray made n slots long, which is more than it has, and moved when it has no room. Further
/// slots are empty. Consumes the cray, which nobody else may hold.
Value grown_cray(Value cray, int64_t n);

/// A text Leaf of `old` bytes made n bytes long, moved when it has no room: the bytes that both
/// lengths have stand, further ones are not set, the NUL does. Consumes the Leaf, which nobody else
/// may hold.
Value resized_leaf(Value leaf, int64_t old, int64_t n);

}  // namespace marl
