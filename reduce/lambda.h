// Code for lambdas that are nodes.
//
// A lambda that a body makes is a closure and has code. One that has become a node, or was one from
// the start, as those in the entry of a program, is applied by substitution; when such a node is
// closed, somebody else holds it and it is applied once more, it is worth its code.
#pragma once

#include "reduce/code.h"

namespace marl {

/// The code of a lambda, which captures nothing; null when it has none. The lambda is borrowed.
Unit* unit_of_lambda(Node* lambda);

/// Forgets all code of lambdas.
void clear_lambda_units();

}  // namespace marl
