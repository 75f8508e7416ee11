// cray: arrays of Values.
//
// A cray is a Leaf of `span` slots, each with a reference to an element or null. Null stands for
// the element `U`: whoever stores a Leaf with first byte "U" stores null, and a null slot reads as
// a new Leaf Z. The operations here look at their cray and give a new node, but for `cray_store`
// and `cray_append`.
#pragma once

#include "text/string.h"
#include "value/value.h"
#include "value/word.h"

namespace marl {

/// The number of elements. What is no cray is a fatal stop.
int64_t cray_length(Node* cray);
/// Element i, 0 <= i < length; a new Leaf Z for an empty slot.
Value cray_at(Node* cray, int64_t i);
/// What stands in a slot for v: null for a `U`, and no node for a number that nobody else holds.
Word slot_word(Value v);
/// Puts it into the slot, and gives back what the slot held before, owned. The node must not be
/// visible to another holder.
Word cray_store(Node* cray, int64_t i, Word word);

/// The slots from `first` up to but not including `last`; both are in bounds.
Value cray_slice(Node* cray, int64_t first, int64_t last);
/// x's slots, then y's. `Z` when they don't fit one cray.
Value cray_concat(Node* x, Node* y);
/// Keeps the first L - n slots for n > 0, the last L - |n| otherwise: the other way round from a
/// cut of text. `Z` when |n| > L.
Value cray_cut(Node* cray, int64_t n);
/// The slots n times. `Z` for a negative n and when they don't fit one cray.
Value cray_repeat(Node* cray, int64_t n);
/// The slots with v behind them, or in front. `Z` when the cray is full. A cray that nobody else
/// holds gets v in its place.
Value cray_append(Value cray, Value v);
Value cray_prepend(Value v, Node* cray);

/// The list of the elements, J e0 (J e1 (... K)).
Value cray_to_list(Node* cray);
/// The text, outer brackets included: crays nest, every other element is a double quote mark and
/// its printed form in brackets.
String cray_to_zits(Node* cray);

}  // namespace marl
