// What the fuzz targets don't ask of a built-in: a result that a few steps could fill the memory
// with.
#pragma once

#include <string_view>

#include "number/kind.h"
#include "reduce/analysis.h"
#include "reduce/tables.h"

namespace marl {

inline bool is_large(Node* x) {
    constexpr int64_t limit = 2000;
    if (is_leaf(x)) return length(x) > limit;
    return is_zits(x) && (span_of(x) == 0 || span_of(x) > limit);
}

inline bool is_number(Node* x) { return kind_of(x) == 'i' || kind_of(x) == 'o'; }

/// Whether it is no number of one or two digits.
inline bool is_no_short_number(Node* x) { return !is_leaf(x) || length(x) > 2; }

inline bool asks_too_much(const Builtin& row, const Value* arguments) {
    for (int i = 0; i < row.arity; ++i) {
        if (is_large(arguments[i])) return true;
    }
    // A power has as many digits as its exponent says, a repetition as many bytes as its count, and
    // a number as many bits as the highest that is set.
    const std::string_view name = row.name;
    if (name == "powa" || name == "cork") {
        return is_number(arguments[0]) && is_no_short_number(arguments[1]);
    }
    if (name != "mult" || is_number(arguments[0]) == is_number(arguments[1])) return false;
    return is_no_short_number(arguments[is_number(arguments[0]) ? 0 : 1]);
}

}  // namespace marl
