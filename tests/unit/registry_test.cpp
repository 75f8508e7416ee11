#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "reduce/tables.h"

namespace marl {
namespace {

TEST(Registry, has_exactly_the_names_of_the_reference_with_their_arities) {
    std::ifstream file(MARL_REFERENCE);
    const auto reference = nlohmann::json::parse(file);
    std::map<std::string, int> expected;
    for (const auto& entry : reference.at("entries")) {
        if (entry.at("kind") == "built-in") expected[entry.at("name")] = entry.at("arity");
    }
    ASSERT_EQ(expected.size(), 256u);
    for (const Builtin& row : builtin_table()) {
        const auto name = expected.find(row.name);
        ASSERT_NE(name, expected.end()) << row.name << " is not documented, or there twice";
        EXPECT_EQ(row.arity, name->second) << row.name;
        expected.erase(name);
    }
    for (const auto& [name, arity] : expected) ADD_FAILURE() << name << " is missing";
}

TEST(Registry, stands_in_key_order_and_is_built_once) {
    const std::span<const Builtin> table = builtin_table();
    for (size_t i = 1; i < table.size(); ++i) {
        EXPECT_LT(std::string_view(table[i - 1].name), std::string_view(table[i].name));
    }
    EXPECT_EQ(builtin_table().data(), table.data());
}

}  // namespace
}  // namespace marl
