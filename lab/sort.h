// What a value can be, as far as it shows without running anything: a set of the following.
#pragma once

#include <cstdint>
#include <string>

namespace marl::lab {

using Sort = uint32_t;

namespace sort {

constexpr Sort number = 1;   // a `hint` that is no address
constexpr Sort address = 2;  // a `hint` that may be one
constexpr Sort numb = 4;
constexpr Sort real = 8;
constexpr Sort zits = 16;
constexpr Sort post = 32;
constexpr Sort cray = 64;
constexpr Sort truth = 128;      // K or H, which takes two branches
constexpr Sort half = 256;       // the same with one branch
constexpr Sort unit = 512;       // I
constexpr Sort function = 1024;  // a call that waits for more
constexpr Sort cells = 2048;     // a pair, a list: bits in cells are a number, too
constexpr Sort failure = 4096;

constexpr Sort none = 0;  // of what never answers
constexpr Sort any = 8191;
constexpr Sort hint = number | address;
constexpr Sort numeric = hint | numb | real;
constexpr Sort data = numeric | zits | post | cray;

}  // namespace sort

/// Whether what answers at all, and not with a failure, is in `set`.
inline bool is_surely(Sort one, Sort set) {
    const Sort good = one & ~sort::failure;
    return good != sort::none && (good & ~set) == 0;
}

/// What a sort is in a sentence, with its article: "a number".
std::string sort_name(Sort one);

/// What operators make of operands. An operator that has no answer for any of them gives `failure`.
Sort sort_of_infix(char operation, Sort a, Sort b);
Sort sort_of_prefix(char operation, Sort a);

}  // namespace marl::lab
