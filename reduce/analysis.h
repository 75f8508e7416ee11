// What the machine knows of a Value without walking it.
//
// Three facts are cached in a node's header: `rank`, how many more arguments the expression takes
// before its head can fire; `pending`, whether work is left inside; and the set of its free
// variables. Analysis fills them in once per node, children first. Every question here analyses the
// node when that has not happened yet.
#pragma once

#include <string_view>

#include "value/node.h"
#include "value/value.h"

namespace marl {

/// Fills in the caches of a node that has none. A name that is neither defined nor a single
/// lower-case letter is a fatal stop; the program check refuses those.
void analyse_node(Node* node);

/// The same for a Pair whose children are analysed and which is not: a constant cost.
void analyse_pair(Node* pair);

constexpr uint64_t code_mask = uint64_t{0x7F} << top_shift;
inline bool is_analysed(const Node* node) { return (node->header & code_mask) != 0; }
inline void analyse(Node* node) {
    if (!is_analysed(node)) analyse_node(node);
}

/// The following read the header of a node that is analysed.
inline bool is_zits_analysed(const Node* node) { return (top_byte(node) & 0x7F) == zits_code; }
inline int rank_analysed(const Node* node) {
    return is_zits_analysed(node) ? 1 : (top_byte(node) & 0x3F) - rank_zero_code;
}
inline bool pending_analysed(const Node* node) {
    return (node->header & pending_bit) != 0 && !is_zits_analysed(node);
}
inline bool settled_analysed(const Node* node) {
    // A rank code of 1 or more with the pending bit clear, or the zits code.
    const int code = top_byte(node) & 0x7F;
    return code > rank_zero_code && code <= zits_code;
}

/// The rank as a signed number; 1 for zits.
inline int rank_of(Node* node) {
    analyse(node);
    return rank_analysed(node);
}
inline bool is_zits(Node* node) {
    analyse(node);
    return is_zits_analysed(node);
}
/// Whether a node is no application: a Leaf, or zits.
inline bool is_atom_analysed(const Node* node) { return is_leaf(node) || is_zits_analysed(node); }
inline bool is_atom(Node* node) { return is_leaf(node) || is_zits(node); }
inline bool pending(Node* node) {
    analyse(node);
    return pending_analysed(node);
}
/// Nothing is left to do: not pending, and zits or a rank of at least 1.
inline bool settled(Node* node) {
    analyse(node);
    return settled_analysed(node);
}
/// The free variables, bit i for the letter "a" + i.
uint32_t free_set(Node* node);
inline bool is_closed(Node* node) { return free_set(node) == 0; }

/// Whether a Leaf's text can be the name of a definition or a variable: a word of "_" and
/// lower-case letters, or a single capital, control byte, operator or byte from 127 up.
bool is_name(std::string_view text);

enum class Form { other, lambda, let };
/// The shape of an expression's head: \ x b is a lambda, { p b c a let.
inline Form form(Node* node) {
    if (is_leaf(node)) return Form::other;
    Node* function = as_pair(node)->left;
    if (is_leaf(function)) return Form::other;
    Node* head = as_pair(function)->left;
    if (is_leaf(head)) return is_mark(head, '\\') ? Form::lambda : Form::other;
    return is_mark(as_pair(head)->left, '{') ? Form::let : Form::other;
}

/// The parts of a lambda \ x b and of a let { p b c, borrowed.
inline Node* lambda_key(Node* lambda) { return right(left(lambda)); }
inline Node* lambda_body(Node* lambda) { return right(lambda); }
inline Node* let_key(Node* let) { return right(left(left(let))); }
inline Node* let_value(Node* let) { return right(left(let)); }
inline Node* let_body(Node* let) { return right(let); }

}  // namespace marl
