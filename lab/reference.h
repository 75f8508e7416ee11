// The entries of docs/reference.json, which is compiled in.
#pragma once

#include <string>
#include <string_view>

namespace marl::lab {

/// What the reference says about a combinator, an operator or a built-in, in Markdown; empty for
/// other names.
std::string reference_entry(std::string_view name);

}  // namespace marl::lab
