// Random programs: what people write and a clever machine would do faster.
#pragma once

#include <string>

#include "random/batch.h"

namespace marl {

/// The text of a program that ends: definitions of all shapes and an entry that prints what it
/// makes of them. It uses `puts`, `load` and `road` for effects. `with_todo`: it makes `todo`
/// Values, too, and does without arrays and `raws`.
std::string random_program(const Choose& choose, bool with_todo = false);

/// The text of a program of calls, lambdas, lets and combinators, redefined ones too, in every
/// second one together with `todo` Values. Nothing keeps it from running for ever.
std::string random_term_program(const Choose& choose);

}  // namespace marl
