// The grammar: the normalised text of one expression becomes a Value.
//
// Loosest to tightest; "right" folds a+b+c as a+(b+c):
//
//   0   ,                right   (, a b), only directly inside {...}
//   1   ; \ {            right   (; a b), (\ a b), and a{e}b is ({ a e b)
//   2   ?                left
//   3   & |              right
//   4   = < > #          right
//   5   @ blank          left    a blank builds (a b)
//   6   + - : .          left
//   7   * / % '          left
//   8   ^                right
//   9   postfix ~ ! " $ `        a! is (! a)
//   10  prefix, the same five    !a is (! a)
//   11  prefix inside a run      a~b!c is ((a (~ b)) (! c))
//   12  run of atoms             f[x](a,b) is (((f [x]) a) b)
//
// Nothing can fail: every text with balanced brackets has a Value. An operand that is missing is
// the Leaf "}", which nothing defines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>

#include "front/scan.h"
#include "reduce/tables.h"
#include "value/value.h"

namespace marl {

/// The Value of an expression, each node of which is one of its own. The text is normalised and its
/// brackets balance; else a fatal stop.
Value parse_expression(std::string_view text);

/// An expression whose equal parts are one node, for texts of which no program can tell: borrowed
/// from the intern set, of which each part is a member.
struct SharedExpression {
    Node* node;
    size_t size;       // of its text
    int other_keys;    // so many lambdas and lets have a key that isn't one lower-case letter
    ByteBits letters;  // the names of one byte that refer to something; right without other keys
    std::span<Symbol* const> names;  // the longer ones, keys as well, as written
};
/// The same for the expression that ends at the first comma outside of every bracket, or at the end
/// of the text. The names stand until the next call.
SharedExpression parse_shared(std::string_view text);

/// Where a node was written: the positions of its first byte and of the one behind its last. The
/// outer ones count the parentheses directly around it. A missing operand takes no bytes.
struct Origin {
    size_t begin;
    size_t end;
    size_t outer_begin;
    size_t outer_end;
};
using Origins = std::unordered_map<const Node*, Origin>;

/// The same, for whoever shows the text to a person: adds the Origin of each node of the Value.
Value parse_expression(std::string_view text, Origins& origins);

}  // namespace marl
