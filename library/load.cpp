// The built-ins that compile more program while it runs.
#include "front/load.h"

#include "library/families.h"

namespace marl {

namespace {

constexpr Builtin rows[] = {
    {"load", 1, [](Value* arguments) { return load_text(arguments[0]); }, nullptr, true},
    {"road", 1, [](Value* arguments) { return road_text(arguments[0]); }, nullptr, true},
};

}  // namespace

std::span<const Builtin> load_rows() { return rows; }

}  // namespace marl
