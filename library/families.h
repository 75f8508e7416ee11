// The families of built-ins: each file of a family ends in its table of rows, and hands it out
// here.
#pragma once

#include <span>

#include "reduce/tables.h"

namespace marl {

std::span<const Builtin> arithmetic_rows();  // number/arithmetic.cpp
std::span<const Builtin> comparison_rows();  // number/comparison.cpp
std::span<const Builtin> packing_rows();     // number/packing.cpp
std::span<const Builtin> text_rows();        // number/text.cpp
std::span<const Builtin> structure_rows();
std::span<const Builtin> record_rows();
std::span<const Builtin> memory_rows();
std::span<const Builtin> file_rows();
std::span<const Builtin> directory_rows();
std::span<const Builtin> string_rows();
std::span<const Builtin> math_rows();
std::span<const Builtin> socket_rows();
std::span<const Builtin> process_rows();
std::span<const Builtin> load_rows();

}  // namespace marl
