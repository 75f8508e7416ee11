// The heap node: what everything in the language is made of.
//
// One 64-bit header word, then the payload:
//
//   63     62        61..56   55..30                     29..0
//   leaf   pending   rank     span (length or free set)  count
//
// A Pair holds two children, `left` applied to `right`. A Leaf holds its text at once behind the
// header; the first byte of the text tells its kind, and a NUL stands behind it (but for a cray).
// The low seven bits of the top byte are 0 on a node that analysis has not seen, "@" on zits data,
// and otherwise the rank code (rank + "4") with the pending bit above it.
//
// `span` is a length on digit, "[" and newline Leaves and on zits Pairs (0: too long to cache), and
// the set of free variables on every other node, bit i for the letter "a" + i.
//
// A name Leaf has one more word in front of its header: the symbol that its name is bound to, once
// analysis has found it; a word is 64 bits also where a pointer is 32. A "[" Leaf whose length is
// too long to cache has it there. The Leaf of a long number has room for its limbs there, and its
// text may still have to be written (value/long_number.h).
// Nothing of a node but the caches, these, and `count` is ever written while another holder could
// see it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "text/fatal.h"

namespace marl {

struct Node {
    uint64_t header;
};

/// A reference as the machine moves it: a node, or what has no node yet (value/word.h).
using Word = uint64_t;

struct PairNode : Node {
    Node* left;
    Word right;  // read it by `right` below
};

struct Symbol;  // reduce/tables.h

constexpr uint64_t count_mask = (uint64_t{1} << 30) - 1;
constexpr int span_shift = 30;
constexpr uint64_t span_mask = ((uint64_t{1} << 26) - 1) << span_shift;
constexpr int top_shift = 56;
constexpr uint64_t pending_bit = uint64_t{1} << 62;
constexpr uint64_t leaf_bit = uint64_t{1} << 63;
constexpr uint64_t caches_mask = (leaf_bit - 1) & ~count_mask;

/// Lengths from here on are not cached in `span`: 0x4000000, or less in builds that want to get
/// there quickly.
constexpr int64_t span_limit = MARL_SPAN_LIMIT;
/// A cray's elements are counted in `span` itself, so this one can't move.
constexpr int64_t cray_limit = 0x4000000;

constexpr int rank_zero_code = 0x34;  // "4"
constexpr int zits_code = 0x40;       // "@"
constexpr int rank_variable = 11;     // the head is a variable: rank unknown, and it stays so
constexpr int rank_least = -51;

inline bool is_leaf(const Node* node) { return (node->header & leaf_bit) != 0; }
inline uint64_t count_of(const Node* node) { return node->header & count_mask; }
inline uint32_t span_of(const Node* node) {
    return static_cast<uint32_t>((node->header & span_mask) >> span_shift);
}
inline int top_byte(const Node* node) { return static_cast<int>(node->header >> top_shift); }

/// A Leaf's bytes, its kind byte first. Of a digit Leaf only the first three are sure to stand:
/// `leaf_bytes` gives all.
inline char* leaf_text(const Node* leaf) {
    return reinterpret_cast<char*>(const_cast<Node*>(leaf) + 1);
}
/// The kind byte of a Leaf as an unsigned value; 0 for a Pair.
inline uint8_t first_byte(const Node* node) {
    return is_leaf(node) ? static_cast<uint8_t>(*leaf_text(node)) : uint8_t{0};
}
inline bool is_leaf_of(const Node* node, char byte) {
    return is_leaf(node) && *leaf_text(node) == byte;
}
/// Whether a node is the Leaf of that one byte, which no Leaf of data begins with.
inline bool is_mark(const Node* node, char byte) {
    return is_leaf_of(node, byte) && leaf_text(node)[1] == 0;
}
inline PairNode* as_pair(Node* node) { return static_cast<PairNode*>(node); }

/// The node of a Word that is none, borrowed from the place where it stands. But for the body of a
/// lambda it takes the Word's place there (reduce/closure.cpp).
Node* make_node(Word& place);

/// The children, borrowed: they live as long as the Pair does. A Leaf is a fatal stop.
inline Node* left(Node* node) {
    MARL_REQUIRE(!is_leaf(node));
    return as_pair(node)->left;
}
inline Node* right(Node* node) {
    MARL_REQUIRE(!is_leaf(node));
    Word& child = as_pair(node)->right;
    if ((child & 7) != 0) return make_node(child);
    return reinterpret_cast<Node*>(child);
}

constexpr bool is_digit_byte(uint8_t byte) { return byte >= '0' && byte <= '9'; }
/// A Leaf with this kind byte is a name, and carries the word for its symbol.
inline bool is_name_byte(uint8_t byte) {
    return byte != ' ' && byte != '(' && byte != '\n' && byte != '[' && !is_digit_byte(byte);
}

/// The word in front of a name Leaf.
struct alignas(uint64_t) SymbolWord {
    Symbol* symbol;
};
inline SymbolWord* symbol_word(Node* name_leaf) {
    return reinterpret_cast<SymbolWord*>(name_leaf) - 1;
}
/// Whether a node is a name Leaf of one byte, as half of all nodes of a program are: a letter.
inline bool is_letter_leaf(const Node* node) {
    const uint8_t first = first_byte(node);
    return first != 0 && is_name_byte(first) && leaf_text(node)[1] == 0;
}
/// Its block.
constexpr size_t letter_leaf_size = sizeof(SymbolWord) + sizeof(Node) + 2;
inline Symbol*& symbol_slot(Node* name_leaf) { return symbol_word(name_leaf)->symbol; }

/// The length of a "[" Leaf of `span_limit` bytes or more.
inline int64_t& long_text_length(Node* long_text) {
    return *(reinterpret_cast<int64_t*>(long_text) - 1);
}

/// Writes `span`. A value that does not fit is a fatal stop.
inline void set_span(Node* node, int64_t span) {
    MARL_REQUIRE(span >= 0 && span < 0x4000000);
    node->header = (node->header & ~span_mask) | (static_cast<uint64_t>(span) << span_shift);
}

/// Releases what a node whose count has reached 0 holds, and frees it; the same for a closure
/// (value/release.cpp).
void destroy(Word dying);

inline void retain(Node* node) {
    const uint64_t next = node->header + 1;
    MARL_REQUIRE((next & count_mask) != 0);
    node->header = next;
}
inline void release(Node* node) {
    if ((--node->header & count_mask) == 0) destroy(reinterpret_cast<uintptr_t>(node));
}

}  // namespace marl
