// A Leaf tells its kind by its first byte, through a table; a Pair by the cell that it begins with.
#include "number/kind.h"

#include <array>

namespace marl {

namespace {

/// The kind of a Leaf by its first byte. A digit stands for hint: numb shows in the second byte.
constexpr std::array<char, 256> make_leaf_kinds() {
    std::array<char, 256> kinds{};
    kinds.fill('e');
    kinds[' '] = 'r';
    kinds['('] = 'a';
    kinds['\n'] = 'c';
    kinds['['] = 'u';
    for (uint8_t digit = '0'; digit <= '9'; ++digit) kinds[digit] = 'i';
    return kinds;
}
constexpr std::array<char, 256> leaf_kinds = make_leaf_kinds();

char kind_of_leaf(Node* leaf) {
    const char* text = leaf_text(leaf);
    if (text[0] == '0' && text[1] == '0') return 'o';
    return leaf_kinds[static_cast<uint8_t>(text[0])];
}

char kind_of_pair(Node* pair) {
    if (is_zits(pair)) return 'u';
    Node* cell = left(pair);
    if (is_leaf(cell) || first_byte(left(cell)) != 'J') return 'e';
    switch (first_byte(right(cell))) {
        case 'H': return 'o';
        case 'K': return 'i';
        default: return 'e';
    }
}

}  // namespace

char kind_of(Node* x) { return is_leaf(x) ? kind_of_leaf(x) : kind_of_pair(x); }

}  // namespace marl
