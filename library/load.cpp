// The built-ins that compile more program while it runs.
#include "front/load.h"

#include "library/families.h"

namespace marl {

namespace {

constexpr Row rows[] = {
    {"load", 1, [](Value* arguments) { return load_text(arguments[0]); }},
    {"road", 1, [](Value* arguments) { return road_text(arguments[0]); }},
};

}  // namespace

std::span<const Row> load_rows() { return rows; }

}  // namespace marl
