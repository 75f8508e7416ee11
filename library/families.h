// The families of built-ins: each file of a family ends in its table of rows, and hands it out
// here.
#pragma once

#include <span>

#include "reduce/tables.h"

namespace marl {

std::span<const Row> arithmetic_rows();  // number/arithmetic.cpp
std::span<const Row> comparison_rows();  // number/comparison.cpp
std::span<const Row> packing_rows();     // number/packing.cpp
std::span<const Row> text_rows();        // number/text.cpp
std::span<const Row> structure_rows();
std::span<const Row> record_rows();
std::span<const Row> memory_rows();
std::span<const Row> file_rows();
std::span<const Row> directory_rows();
std::span<const Row> string_rows();
std::span<const Row> math_rows();
std::span<const Row> socket_rows();
std::span<const Row> process_rows();
std::span<const Row> load_rows();

}  // namespace marl
