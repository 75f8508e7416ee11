// Division of decimal runs, a column at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace marl {

/// n + m limbs at a by n at b, n at least 3, where the top n limbs at a are less than b, and m or n
/// is at most `most_columns`. The quotient goes to the m limbs at q, the remainder stays in the
/// lowest n at a, and above it are zeros.
void divide_by_columns(uint64_t* q, size_t m, uint64_t* a, const uint64_t* b, size_t n);
/// The quotient alone, of n at least 4, with a left as it is. One limb behind the point tells it;
/// false, and the quotient is not found, when that is too near to a whole number.
bool quotient_by_columns(uint64_t* q, size_t m, const uint64_t* a, const uint64_t* b, size_t n);
constexpr size_t most_columns = 40;

}  // namespace marl
