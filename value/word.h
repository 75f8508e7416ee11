// Word: a reference on its way through the machine.
//
//   ....000   a node
//   ......1   a short integer, in the upper 63 bits: what a digit Leaf says, without the Leaf
//   .....10   a real, in the upper 62 bits (value/real_word.h)
//   ....100   a closure: a part of a body and what its variables stand for; or a cell or a pair, in
//             one block in place of the two Pairs that it is as a node
//
// A node is made of the others when somebody could see the difference: when a built-in takes
// it, when it is printed, compared, or asked for its identity. The right child of a Pair may be any
// Word; `right` makes the node in its place, so that all who ask find the same one.
#pragma once

#include <cstddef>

#include "value/allocate.h"
#include "value/node.h"

namespace marl {

constexpr Word closure_tag = 4;
constexpr Word real_tag = 2;

inline bool is_node(Word word) { return (word & 7) == 0; }
inline bool is_short(Word word) { return (word & 1) != 0; }
inline bool is_real(Word word) { return (word & 3) == real_tag; }
inline bool is_closure(Word word) { return (word & 7) == closure_tag; }

inline Node* node_of(Word word) { return reinterpret_cast<Node*>(word); }
inline Word word_of(const Node* node) { return reinterpret_cast<uintptr_t>(node); }

inline int64_t short_of(Word word) { return static_cast<int64_t>(word) >> 1; }
inline Word word_of_short(int64_t n) { return (static_cast<uint64_t>(n) << 1) | 1; }
inline bool fits_short(int64_t n) { return short_of(word_of_short(n)) == n; }

/// Whether a Word has a count, and what holds it: the node or the closure.
inline bool is_counted(Word word) { return (word & 3) == 0; }
inline Node* holder_of(Word word) { return node_of(word & ~closure_tag); }

struct Code;  // reduce/code.h

/// What a closure is, by the rank in its header.
enum class ClosureKind : uint8_t {
    work,    // an operand with work in it
    lambda,  // a function
    body,    // what stands behind the first parameter of a lambda that is a node: its right child
    list_cell,  // a Cell that is J x y,
    pair_cell,  // V x y,
    node_cell,  // or has become the node that it holds in the place of x
};

/// A part of a body with what it captures. Its header holds, where a node has them, the count, in
/// `span` how many Words are captured, and as a rank its kind.
struct Closure : Node {
    union {
        Code* code;
        uint64_t progress;  // while it dies
    };
    Node* node;  // what it became when somebody asked for a node, owned; else null
    Word captured[1];
};

/// What a cell of a list or a pair holds; as the two Pairs that it stands for, x dies before y.
struct Cell : Node {
    Word x;
    Word y;
};
static_assert(sizeof(Cell) == sizeof(PairNode), "it dies as a Pair does");

inline Closure* closure_of(Word word) { return reinterpret_cast<Closure*>(word & ~closure_tag); }
inline Word word_of(Closure* closure) { return reinterpret_cast<uintptr_t>(closure) | closure_tag; }
inline ClosureKind kind_of(const Closure* closure) {
    return static_cast<ClosureKind>(top_byte(closure) - rank_zero_code);
}
/// Of a Word that is a closure by its tag.
inline ClosureKind kind_of_closure(Word word) { return kind_of(closure_of(word)); }
inline bool is_cell(Word word) {
    return is_closure(word) && kind_of_closure(word) >= ClosureKind::list_cell;
}
inline Cell* cell_of(Word word) { return reinterpret_cast<Cell*>(word & ~closure_tag); }
inline uint64_t closure_header(ClosureKind kind, int captures) {
    const uint64_t code = rank_zero_code + static_cast<uint64_t>(kind);
    return (code << top_shift) | (static_cast<uint64_t>(captures) << span_shift) | 1;
}

/// Makes a cell of that kind in memory of its own. Takes both references.
inline Word make_cell(void* memory, ClosureKind kind, Word x, Word y) {
    auto* cell = static_cast<Cell*>(memory);
    cell->header = closure_header(kind, 0);
    cell->x = x;
    cell->y = y;
    return reinterpret_cast<uintptr_t>(cell) | closure_tag;
}

inline size_t closure_size(uint64_t captured) {
    return sizeof(Closure) - sizeof(Word) + captured * sizeof(Word);
}

/// How many Words the largest closure holds that comes from a free list.
constexpr int most_pooled_captures = (pooled_limit - sizeof(Closure)) / sizeof(Word) + 1;

inline void retain_word(Word word) {
    if (is_counted(word)) retain(holder_of(word));
}
inline void release_word(Word word) {
    if (is_counted(word) && (--holder_of(word)->header & count_mask) == 0) destroy(word);
}

/// One more reference to a Word.
inline Word shared_word(Word word) {
    retain_word(word);
    return word;
}

/// The node of a Word that is none. Consumes the Word (reduce/closure.cpp).
Node* node_in_place_of(Word word);

/// The node of a Word, which is consumed.
inline Node* force(Word word) { return is_node(word) ? node_of(word) : node_in_place_of(word); }

}  // namespace marl
