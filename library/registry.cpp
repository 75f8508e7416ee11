// The built-ins: family by family as a run looks them up, and as one table for whoever shows them.

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "library/families.h"
#include "reduce/tables.h"

namespace marl {

std::span<const std::span<const Builtin>> builtin_families() {
    static const std::array families{
        arithmetic_rows(), comparison_rows(), packing_rows(), text_rows(),      structure_rows(),
        record_rows(),     memory_rows(),     file_rows(),    directory_rows(), string_rows(),
        math_rows(),       socket_rows(),     process_rows(), load_rows()};
    return families;
}

std::span<const Builtin> builtin_table() {
    static const auto* table = [] {
        auto* rows = new std::vector<Builtin>;
        for (const std::span<const Builtin> family : builtin_families()) {
            rows->insert(rows->end(), family.begin(), family.end());
        }
        std::sort(rows->begin(), rows->end(), [](const Builtin& a, const Builtin& b) {
            return std::string_view(a.name) < b.name;
        });
        return rows;
    }();
    return *table;
}

}  // namespace marl
