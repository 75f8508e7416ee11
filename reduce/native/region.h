// The memory of native code: one region near the program's own text, from which relative jumps
// reach the text and its data. It is written or executed, never both at the same time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace marl {

/// Room for so many bytes, neither to be written nor run as yet; null when there is none.
uint8_t* take_room(size_t size);

/// Takes room back.
void give_room_back(uint8_t* start, size_t size);

/// Lets some room, and what else is in its pages, be written. False when the system refuses.
bool let_write(uint8_t* start, size_t size);

/// Lets it be run again. False when the system refuses; then there is no more room from here on.
bool let_run(uint8_t* start, size_t size);

}  // namespace marl
