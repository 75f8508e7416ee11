// What the head of an application says, for whoever reduces one: both machines take an expression
// apart here, ask here whether its head is lazy, and whether what it gives is an abort. Everything
// is borrowed, and nothing moves.
#pragma once

#include <array>
#include <string_view>

#include "reduce/analysis.h"

namespace marl {

/// The first bytes of lazy heads from `from` on, a bit each.
constexpr uint64_t lazy_bytes(int from) {
    uint64_t bits = 0;
    for (const char c : std::string_view("&|ABCDEFHIJKLNQRTUVXZ")) {
        if (c / 64 * 64 == from) bits |= uint64_t{1} << c % 64;
    }
    return bits;
}
/// Whether a head with that first byte is lazy; by numbers that fit an instruction.
constexpr bool is_lazy_byte(uint8_t byte) {
    constexpr uint64_t low = lazy_bytes(0);
    constexpr uint64_t high = lazy_bytes(64);
    const uint64_t bits = byte < 64 ? low : byte < 128 ? high : 0;
    return (bits >> byte % 64 & 1) != 0;
}

/// Whether a head is lazy: an application of it fires without a look at its arguments. A zits Pair
/// is strict.
inline bool lazy_head(const Node* head) { return is_leaf(head) && is_lazy_byte(first_byte(head)); }
/// The same for the head with that text.
bool is_lazy_name(std::string_view name);

/// Whether r is an abort: a Pair whose left child is a Leaf with first byte ")" or "]".
bool is_abort(Node* r);

/// The head of an analysed expression: a Leaf, or a zits Pair. `count` becomes how many arguments
/// it has.
inline Node* head_of(Node* expression, int& count) {
    count = 0;
    for (; !is_atom_analysed(expression); ++count) {
        expression = as_pair(expression)->left;
    }
    return expression;
}
inline Node* head_of(Node* expression) {
    int count;
    return head_of(expression, count);
}

/// The most arguments that anything has when it fires.
constexpr int most_arguments = 11;

/// A head and its arguments, first to last.
struct Application {
    Node* head;
    int count;
    std::array<Node*, most_arguments> arguments;
};
Application take_apart(Node* expression);

}  // namespace marl
