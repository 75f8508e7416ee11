// The built-in table of the fuzz targets: only built-ins that compute, each one answering Z for
// arguments so large that a few steps could fill the memory. It stands in for the library's own.
#include <array>
#include <string_view>
#include <utility>
#include <vector>

#include "library/families.h"
#include "number/convert.h"
#include "tests/fuzz/limits.h"

namespace marl {

namespace {

constexpr size_t most_rows = 48;
constexpr std::string_view impure[] = {"assert", "bond", "cmpr", "copy",
                                       "cray",   "leak", "lisp", "post"};

std::vector<Builtin>& pure_rows() {
    static std::vector<Builtin> rows = [] {
        std::vector<Builtin> collected;
        for (const auto family :
             {arithmetic_rows, comparison_rows, packing_rows, text_rows, structure_rows}) {
            for (const Builtin& row : family()) {
                bool pure = true;
                for (const std::string_view name : impure) pure = pure && name != row.name;
                if (pure) collected.push_back(row);
            }
        }
        return collected;
    }();
    return rows;
}

template <size_t i>
Value limited(Value* arguments) {
    const Builtin& row = pure_rows()[i];
    if (asks_too_much(row, arguments)) return leaf_Z();
    return row.function(arguments);
}

template <size_t... i>
constexpr std::array<BuiltinFunction, sizeof...(i)> all_limited(std::index_sequence<i...>) {
    return {limited<i>...};
}

}  // namespace

std::span<const std::span<const Builtin>> builtin_families() {
    static const std::span<const Builtin> family = builtin_table();
    return {&family, 1};
}

std::span<const Builtin> builtin_table() {
    static const std::vector<Builtin> table = [] {
        constexpr auto functions = all_limited(std::make_index_sequence<most_rows>());
        std::vector<Builtin> rows = pure_rows();
        MARL_REQUIRE(rows.size() <= most_rows);
        for (size_t i = 0; i < rows.size(); ++i) rows[i].function = functions[i];
        return rows;
    }();
    return table;
}

}  // namespace marl
