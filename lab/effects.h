// Which built-ins do more than compute a value.
#pragma once

#include <string_view>

namespace marl::lab {

/// Whether a built-in reaches C, memory or the clock: what it gives doesn't follow from its
/// arguments alone, or something else changes.
bool reaches_outside(std::string_view builtin);

/// Whether a built-in is called for what it does to the world outside of the process.
bool acts_outside(std::string_view builtin);

/// Whether it hands out nodes' addresses, or brings in other code: no record of what it gave can
/// stand in for a second call of it.
bool defies_replay(std::string_view builtin);

}  // namespace marl::lab
