// Random programs: what people write and a clever machine would do faster.
#pragma once

#include <functional>
#include <string>

namespace marl {

/// Gives a number from 0 up to but not including its argument.
using Choose = std::function<unsigned(unsigned)>;

/// The text of a program that ends: definitions of all shapes and an entry that prints what it
/// makes of them. It uses `puts`, `load` and `road` for effects. `load_todo`: texts that it loads
/// name `todo`, while its own text does not.
std::string random_program(const Choose& choose, bool load_todo = false);

}  // namespace marl
