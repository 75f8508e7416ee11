// Which nodes need not be nodes.
#include "value/real_word.h"

#include "value/short_hint.h"

namespace marl {

bool as_plain_word(const Node* node, Word& word) {
    int64_t n;
    if (is_real_leaf(node)) {
        word = real_word(real_in_leaf(node));
        return word != 0;
    }
    if (!short_hint(node, n) || !fits_short(n)) return false;
    word = word_of_short(n);
    return true;
}

}  // namespace marl
