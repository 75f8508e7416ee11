// The built-in table: the rows of all families in the byte order of their names.

#include <algorithm>
#include <cstring>
#include <vector>

#include "library/families.h"
#include "reduce/tables.h"

namespace marl {

namespace {

struct Entry {
    uint64_t order;  // the first bytes of the name, the first one on top
    const Builtin* row;
};

Entry entry_of(const Builtin& row) {
    uint64_t order = 0;
    for (size_t i = 0; i < sizeof order && row.name[i]; ++i) {
        order |= uint64_t{static_cast<uint8_t>(row.name[i])} << (56 - 8 * i);
    }
    return {order, &row};
}

bool is_before(const Entry& a, const Entry& b) {
    return a.order != b.order ? a.order < b.order : strcmp(a.row->name, b.row->name) < 0;
}

std::vector<Builtin>* collect_rows() {
    std::vector<Entry> entries;
    entries.reserve(256);
    for (const auto family : {arithmetic_rows, comparison_rows, packing_rows, text_rows,
                              structure_rows, record_rows, memory_rows, file_rows, directory_rows,
                              string_rows, math_rows, socket_rows, process_rows, load_rows}) {
        for (const Builtin& row : family()) entries.push_back(entry_of(row));
    }
    std::sort(entries.begin(), entries.end(), is_before);
    auto* table = new std::vector<Builtin>;
    table->reserve(entries.size());
    for (const Entry& entry : entries) table->push_back(*entry.row);
    return table;
}

}  // namespace

std::span<const Builtin> builtin_table() {
    // Symbols point at its rows for the life of the process, so it is never taken down.
    static const std::vector<Builtin>* table = collect_rows();
    return *table;
}

}  // namespace marl
