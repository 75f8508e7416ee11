#include "value/wide_hint.h"

#include <bit>
#include <cstring>
#include <iterator>

namespace marl {

Value wide_leaf(WideInt n) {
    if (static_cast<int64_t>(n) == n) return short_leaf(static_cast<int64_t>(n));
    const bool negative = n < 0;
    const Wide magnitude = negative ? Wide{0} - static_cast<Wide>(n) : static_cast<Wide>(n);
    const Wide above = magnitude / ten_to_16;
    const auto low = static_cast<uint64_t>(magnitude % ten_to_16);
    const auto middle = static_cast<uint64_t>(above % ten_to_16);
    const uint64_t eights[] = {static_cast<uint64_t>(above / ten_to_16), middle / ten_to_8,
                               middle % ten_to_8, low / ten_to_8, low % ten_to_8};
    char digits[sizeof eights];
    // More than 64 bits say it, so it has more than 16 digits.
    size_t chunk = eights[0] != 0 ? 0 : eights[1] != 0 ? 1 : 2;
    size_t first = sizeof *eights * chunk;
    first += static_cast<size_t>(std::countr_zero(eight_digits(eights[chunk]))) / 8;
    for (; chunk < std::size(eights); ++chunk) {
        store_word(digits + sizeof *eights * chunk, eight_digits(eights[chunk]) + ascii_zeros);
    }
    // The minus sign is a zero.
    if (negative) digits[--first] = '0';
    const size_t length = sizeof digits - first;
    Node* made = new_short_leaf(static_cast<int64_t>(length), length / word_size + 1);
    memcpy(leaf_text(made), digits + first, length);
    leaf_text(made)[length] = 0;
    return Value::adopt(made);
}

}  // namespace marl
