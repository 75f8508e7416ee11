// What the compiler and the machine ask while the definitions of a text still change. The change
// itself is reduce/definitions.h's.
#pragma once

#include "value/node.h"

namespace marl {

/// Whether backquotes of a text are being evaluated, so that its definitions change once more.
extern bool definitions_change;

/// Whether code may ask about a node that the rules have not come to. A name keeps the rank that it
/// has when it is asked about first, and while definitions change one of them may still get
/// parameters from a backquote.
bool may_analyse(Node* node);

}  // namespace marl
