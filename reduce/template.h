// Template: the body of a definition, laid out for copying.
//
// A call is a new copy of those parts of the body that hold a parameter, with all arguments put in
// at once; the parts that hold none are shared by all calls. A Template lists, children before
// parents, just the nodes that such a copy makes:
//
//   a node      push a shared part            argument | index   push an argument
//   pair        pop right, pop left, push     last | index       push it, giving up the call's
//               their Pair                                       reference
//
// as words with a tag in the low two bits. It borrows the body's nodes: whoever replaces the
// definition drops the Template with it.
#pragma once

#include <cstdint>
#include <vector>

#include "value/value.h"

namespace marl {

struct Template {
    int arity = 0;
    uint32_t unused = 0;  // bit i: argument i does not occur in the body
    size_t depth = 0;     // the most operands that stand at once
    std::vector<uintptr_t> code;
};

/// The Template of a definition: its parameters are the lambdas at its top. Of two parameters with
/// one letter the last one counts.
Template make_template(Node* definition);

/// A copy of the body. `arguments` are owned references, `arity` of them, closed and analysed; all
/// are consumed, the unused ones released last, in order.
Node* instantiate(const Template& body, Node** arguments);

}  // namespace marl
