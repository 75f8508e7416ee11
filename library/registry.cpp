// The built-in table: the rows of all families in the byte order of their names.

#include <algorithm>
#include <cstring>
#include <vector>

#include "library/families.h"
#include "reduce/tables.h"

namespace marl {

namespace {

std::vector<Builtin>* collect_rows() {
    auto* table = new std::vector<Builtin>;
    for (const auto family : {arithmetic_rows, comparison_rows, packing_rows, text_rows,
                              structure_rows, record_rows, memory_rows, file_rows, directory_rows,
                              string_rows, math_rows, socket_rows, process_rows, load_rows}) {
        const std::span<const Builtin> rows = family();
        table->insert(table->end(), rows.begin(), rows.end());
    }
    std::sort(table->begin(), table->end(),
              [](const Builtin& a, const Builtin& b) { return strcmp(a.name, b.name) < 0; });
    return table;
}

}  // namespace

std::span<const Builtin> builtin_table() {
    // Symbols point at its rows for the life of the process, so it is never taken down.
    static const std::vector<Builtin>* table = collect_rows();
    return *table;
}

}  // namespace marl
