#include "number/word_results.h"

#include "number/convert.h"
#include "reduce/analysis.h"

namespace marl {

Word word_of_i64(int64_t n) {
    return fits_short(n) ? word_of_short(n) : word_of(from_i64(n).take());
}

Word word_of_u64(uint64_t n) {
    const auto number = static_cast<int64_t>(n);
    const bool is_word = number >= 0 && fits_short(number);
    return is_word ? word_of_short(number) : word_of(from_u64(n).take());
}

Word word_of_new(Value made) {
    analyse(made);
    return word_of(made.take());
}

Word word_of_truth(bool condition) { return word_of_new(truth(condition)); }

Word word_of_nothing() { return word_of_new(leaf_I()); }

}  // namespace marl
