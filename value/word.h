// Word: a reference on its way through the machine.
//
//   ...00   a node
//   ....1   a short integer, in the upper 63 bits: what a digit Leaf says, without the Leaf
//   ...10   a closure: a part of a body and what its variables stand for
//
// A node is made of the other two when somebody could see the difference: when a built-in takes
// it, when it is printed, compared, or asked for its identity. The right child of a Pair may be any
// Word; `right` makes the node in its place, so that all who ask find the same one.
#pragma once

#include <cstddef>

#include "value/allocate.h"
#include "value/node.h"

namespace marl {

inline bool is_node(Word word) { return (word & 3) == 0; }
inline bool is_short(Word word) { return (word & 1) != 0; }
inline bool is_closure(Word word) { return (word & 3) == 2; }

inline Node* node_of(Word word) { return reinterpret_cast<Node*>(word); }
inline Word word_of(const Node* node) { return reinterpret_cast<uintptr_t>(node); }

inline int64_t short_of(Word word) { return static_cast<int64_t>(word) >> 1; }
inline Word word_of_short(int64_t n) { return (static_cast<uint64_t>(n) << 1) | 1; }
inline bool fits_short(int64_t n) { return short_of(word_of_short(n)) == n; }

struct Unit;  // reduce/code.h

/// A part of a body with what it captures. Its header holds, where a node has them, the count, in
/// `span` how many Words are captured, and the rank: 1 for a lambda, 0 for an operand with work.
struct Closure : Node {
    union {
        Unit* unit;
        uint64_t progress;  // while it dies
    };
    Node* node;  // what it became when somebody asked for a node, owned; else null
    Word captured[1];
};

inline Closure* closure_of(Word word) { return reinterpret_cast<Closure*>(word & ~Word{3}); }
inline Word word_of(Closure* closure) { return reinterpret_cast<uintptr_t>(closure) | 2; }
inline bool is_lambda(const Closure* closure) { return top_byte(closure) != rank_zero_code; }
inline size_t closure_size(uint64_t captured) {
    return sizeof(Closure) - sizeof(Word) + captured * sizeof(Word);
}

inline void retain_word(Word word) {
    if (!is_short(word)) retain(node_of(word & ~Word{3}));
}
inline void release_word(Word word) {
    if (is_short(word)) return;
    Node* holder = node_of(word & ~Word{3});
    if ((--holder->header & count_mask) == 0) destroy(word);
}

/// Whether the program can ask whether two Values are one node. Then a number that is shared
/// becomes a node first. Set when analysis meets a name that asks, or one that could bring it in.
extern bool identity_matters;

/// One more reference to what stands in a place.
inline Word share(Word& place) {
    if (is_short(place)) {
        if (!identity_matters) return place;
        make_node(place);
    }
    retain(node_of(place & ~Word{3}));
    return place;
}

/// The node of a Word, which is consumed.
inline Node* force(Word word) {
    if (!is_node(word)) make_node(word);
    return node_of(word);
}

}  // namespace marl
