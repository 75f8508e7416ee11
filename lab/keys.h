// What stands before a backslash or wings and is no name, and what may have been meant by it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lab/program.h"

namespace marl::lab {

/// Why letters that stand together are more than one name; empty when they are one.
std::string split_sentence(std::string_view run);

/// The letters, capitals and digits around a place that stand together.
std::string_view run_around(std::string_view text, Range range);

/// What is wrong with the key of a lambda or let.
std::string key_sentence(const Program& program, Node* binder);

/// The name of a definition in front of which a comma is missing, and which so became a part of
/// what stands before it: the end of the key of a lambda.
std::optional<Range> name_behind_missing_comma(const Program& program, Node* binder);

/// The same of the parameter of a lambda that begins a line, and so looks like a definition.
bool begins_definition(const Program& program, const Name& parameter);

}  // namespace marl::lab
