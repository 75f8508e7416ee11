// The structures of lab.h as JSON, for whoever reads them over a wire.
//
// Each kind of object has a table of its fields in json.cpp, from which the object, its TypeScript
// type and what is said of it in the documents are made.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "lab/lab.h"

namespace marl::lab {

using Json = nlohmann::json;

/// `name` is what the source is called.
Json json_of(std::string_view name, std::string_view text, const Checked& checked);
Json json_of(std::string_view text, const Formatted& formatted);
Json json_of(const Step& step);
Json json_of(const CallLine& call);
Json json_of(const Ending& ending);
Json json_of(const Why& why);
Json json_of(const Profiled& profiled);

/// The JSON on one line. Bytes that are no UTF-8 are replaced.
std::string text_of(const Json& json);

/// The types of all objects, as a module in TypeScript with a comment to each field.
std::string json_types();

}  // namespace marl::lab
