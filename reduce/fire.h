// One reduction the general way: a saturated head and its arguments are replaced by what they give.
// What code does in a row, in registers, is done here step by step, with the arguments in the
// context.
#pragma once

#include "reduce/tables.h"
#include "value/word.h"

namespace marl {

/// Fires a saturated application. `function` is a settled function, or an application of rank 0;
/// the `held` arguments that it still takes are the topmost entries of the context, the first one
/// on top, and are taken off. `head` is the head of `function` and `inner` the number of arguments
/// that it has already. Consumes `function`; gives the next focus, analysed. An abort drops the
/// context.
Word fire(Node* function, Node* head, int inner, int held);

/// Fires a lambda \ x b on the topmost entry, which is settled. Consumes the lambda.
Word fire_lambda(Node* lambda);

/// Calls the code of a lambda, by the closure of its body, on as many settled arguments as it has
/// parameters, the topmost entries. Consumes the lambda.
Word fire_coded_lambda(Node* lambda, Closure* body);

/// Calls a closure of lambdas on as many settled arguments as it has parameters, the topmost
/// entries. Consumes it.
Word fire_closure(Closure* closure);

/// Takes up the work of a closure without parameters, which is consumed.
Word fire_work(Closure* closure);

/// Fires a name that takes no arguments: a built-in of arity 0 or a constant definition. Consumes
/// the Leaf; may push an update.
Word fire_name(Node* name);

/// { p b c with b settled: c with b for p. Consumes both; `body` is c.
Node* bind_let(Node* body, char letter, Word value);

/// Stores a reduced constant: step of an `update` entry or marker. Consumes the value and gives
/// what was stored, the next focus.
Word store_constant(Symbol& symbol, Word value);

}  // namespace marl
