#include "reduce/definition_list.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace marl {
namespace {

using Map = std::map<std::string, Node*>;

void expect_same(const DefinitionList& list, const Map& map) {
    auto expected = map.begin();
    for (const auto& [symbol, expression] : list) {
        ASSERT_NE(expected, map.end());
        EXPECT_EQ(symbol->name, expected->first);
        EXPECT_EQ(expression.get(), expected->second);
        ++expected;
    }
    EXPECT_EQ(expected, map.end());
    EXPECT_EQ(list.size(), map.size());
}

TEST(DefinitionList, does_what_a_map_does) {
    std::mt19937 draw(7);
    // Half of them differ behind so many bytes as are compared at once.
    const auto name = [&] {
        std::string made(draw() % 2 * 9, 'm');
        for (auto n = draw() % (draw() % 2 ? 3 : 9); n > 0; --n) made += "_ab"[draw() % 3];
        return made;
    };
    for (int i = 0; i < 200; ++i) {
        DefinitionList lists[2];
        Map maps[2];
        for (int step = 0; step < 40; ++step) {
            const size_t at = draw() % 2;
            const std::string key = name();
            Symbol& symbol = symbol_of(key);
            const auto* found = lists[at].find(symbol);
            ASSERT_EQ(found ? found->expression.get() : nullptr,
                      maps[at].contains(key) ? maps[at][key] : nullptr);
            if (draw() % 4 == 0) {
                lists[at].erase(symbol);
                maps[at].erase(key);
            }
            for (size_t more = draw() % 4; more > 0; --more) {  // with no look in between
                const std::string other = name();
                Value value = leaf("x");
                maps[at][other] = value.get();
                lists[at].set(symbol_of(other), std::move(value));
            }
        }
        expect_same(lists[0], maps[0]);
        lists[0].add(lists[1]);
        maps[0].insert(maps[1].begin(), maps[1].end());
        expect_same(lists[0], maps[0]);
        lists[1].clear();
        expect_same(lists[1], {});
    }
}

}  // namespace
}  // namespace marl
