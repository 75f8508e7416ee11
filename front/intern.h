// Interning: one node for all equal expressions.
//
// The intern set is process-wide. It holds a reference on each of its members, and no two of them
// are equal by `compare`.
#pragma once

#include <cstddef>

#include "value/value.h"

namespace marl {

/// The member of the set that equals v. When there is none, one is added: v itself if it is a Leaf
/// or a Pair whose children are members already, else a new Pair of its children's members. Nothing
/// is dropped but v, at the end.
Value intern(Value v);
/// The same for an expression that is hardly larger than what somebody has written: the walk goes
/// through what it shares with members, too.
Value intern_written(Value v);

/// Takes every member out of the set that is not settled or that nobody else holds.
void drop_unsettled_members();

/// Takes an interned expression out of the set if it is not settled, and then its children in the
/// same way; what has left the set already isn't followed.
void drop_unsettled(Node* expression);

/// How many members the set has.
size_t intern_set_size();
/// Makes room for what a text of so many bytes will add. What of it stays unused costs nothing.
void expect_members(size_t bytes);

/// Takes the Pairs out that hold a todo and came in when the set had `from` members or more, with
/// nothing taken out since. Where the interned form of a text isn't what becomes of it, its todo
/// Values must not be left to the end of the set.
void drop_todos_from(size_t from);

/// Empties the set. Members that nobody else holds die, in the order in which they came in unless
/// some were taken out.
void clear_intern_set();

}  // namespace marl
