// One reduction: a saturated head and its arguments are replaced by what they give.
#pragma once

#include "value/value.h"

namespace marl {

/// Fires a saturated application. `function` is a settled function, or an application of rank 0;
/// the `held` arguments that it still takes are argument entries on the stack, the first one on
/// top, and are taken off. `head` is the head of `function` and `inner` the number of arguments
/// that it has already. Consumes `function`; gives the next focus, owned and analysed. An abort
/// drops the context.
Node* fire(Node* function, Node* head, int inner, int held);

/// Fires a lambda \ x (\ y ...) on `held` arguments on the stack, all settled, as many as it takes
/// by `lambda_takes`. Consumes the lambda.
Node* fire_lambda(Node* lambda, int held);

constexpr int most_lambda_arguments = 8;

/// How many arguments a lambda may take in one walk, at most `most`: one, and one more for each
/// lambda that is the body of the one before. A lambda that drops its argument ends the row, since
/// its argument must go before the next one is reduced.
int lambda_takes(Node* lambda, int most);

/// Fires a name that takes no arguments: a built-in of arity 0 or a constant definition. Consumes
/// the Leaf; may push an update.
Node* fire_name(Node* name);

/// Stores a reduced constant: step of an `update` entry or marker. Consumes the value and gives
/// what was stored, the next focus.
Node* store_constant(Symbol& symbol, Node* value);

}  // namespace marl
