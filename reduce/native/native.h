// Native code: for each instruction of a Code a stencil, its holes filled, one behind the other.
//
// An Instruction's `run` is its native code or its function in the loop, and both are entered
// alike, so that the two mix instruction by instruction. An instruction without a stencil is a jump
// to its function. Native code calls nothing and uses no stack but the machine's own two: whoever
// it leaves things to goes on at `at`, as in the loop.
//
// Where the system refuses memory for it (reduce/native/region.h), the loop runs everything.
#pragma once

#include <cstddef>
#include <string>

namespace marl {

struct Code;

/// Makes the native code of a Code that has been compiled, if there is room for it.
void make_native(Code& code);

/// The native code of an instruction, in hexadecimal on lines of their own, with dots for
/// addresses.
std::string native_text(const Code& code, size_t place);

/// Gives the native code's room back. The instructions don't run any more.
void drop_native(Code& code);

}  // namespace marl
