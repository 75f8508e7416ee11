// What a process that runs a program has to see to itself: its standard descriptors, and its
// arguments as the program gets them.
#pragma once

#include <cstdint>

namespace marl {

/// Sees to it that a standard descriptor which is closed is never given to a file that the program
/// opens: a picture must not land there. What stands in its place can be neither read nor written,
/// with the error of a closed one.
void reserve_standard_descriptors();

/// The address of an argument array as programs read it, 64 bits an entry. Where pointers are
/// narrower that is a copy, good until the next call.
int64_t argument_address(char** arguments);

}  // namespace marl
