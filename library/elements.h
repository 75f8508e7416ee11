// The built-ins that take data as aggregates of elements: the bytes of a post or a zits, the slots
// of a cray, the bits of a number.
//
// A negative index counts from the end. What is out of bounds, and every other argument that does
// not fit, gives `Z`, and nothing has happened.
#pragma once

#include "value/value.h"
#include "value/word.h"

namespace marl {

/// look x i: element i.
Value look(Value* arguments);
/// cork x i v: x with v as element i. An aggregate that nobody else holds is changed in place.
Value cork(Value* arguments);
/// `look`, `cork`, `trim` and `rank` for indices and elements that are numbers without nodes.
bool look_on_words(Word* arguments, Word& result);
bool cork_on_words(Word* arguments, Word& result);
bool trim_on_words(Word* arguments, Word& result);
bool count_on_words(Word* arguments, Word& result);
/// trim x f l: the elements from f up to but not including l.
Value trim(Value* arguments);
/// copy x a: writes the bytes of x to memory at a.
Value copy_bytes(Value* arguments);
/// rank x: the number of bytes, or of elements.
Value count_elements(Value* arguments);

}  // namespace marl
