// Random programs: what people write and a clever machine would do faster.
#pragma once

#include <string>

#include "random/batch.h"

namespace marl {

/// The text of a program that ends: definitions of all shapes and an entry that prints what it
/// makes of them. It uses `puts`, `load` and `road` for effects. `load_todo`: texts that it loads
/// name `todo`, while its own text does not.
std::string random_program(const Choose& choose, bool load_todo = false);

/// The text of a program of `todo` Values, calls, lambdas, lets and combinators, redefined ones
/// too. Nothing keeps it from running for ever.
std::string random_todo_program(const Choose& choose);

}  // namespace marl
