// The layouts of the platform's records, published to programs as one text.
//
//   [ record... ]                  each record is [name field...]
//   field    [name[size]]          sizes in bytes, in decimal
//   filler   [[size]]              bytes that no field covers
//
// A field's offset is the sum of the sizes before it; a record's sizes add up to its own.
#pragma once

#include <cstdint>
#include <string_view>

#include "text/string.h"

namespace marl {

/// The text of a record with a field of `size` bytes put in at `offset`. The bytes must lie within
/// one filler; else a fatal stop.
String add_field(int64_t size, int64_t offset, std::string_view name, std::string_view record);

/// The text of all records.
String record_text();

}  // namespace marl
