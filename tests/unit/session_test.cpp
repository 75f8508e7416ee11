// Sessions in a row, by the header for other programs: each finds nothing of those before it.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "driver/marl.h"
#include "value/allocate.h"

namespace {

struct Case {
    const char* source;
    const char* result;  // null when there is none
    uint32_t status;
    const char* fault;  // its kind; null when there is none
};

constexpr Case cases[] = {
    {"a\\6*7", "42", 42, nullptr},
    {"a\\01", "01", 0xFFFFFFFF, nullptr},
    {"a\\I", "I", 0x80000000, nullptr},
    {"a\\V(1,map(sq,J(2,K))),sq\\x\\x*x,map\\f\\l\\l(K,h\\t\\J(f h,map f t))", "(V1 J4K)",
     0x80000000, nullptr},
    {"a\\(1", nullptr, 0x80000000, "match"},
    {"a\\missing", nullptr, 0x80000000, "alive"},
    {"a\\one,one\\one+1", nullptr, 0x80000000, "cycle"},
    {"a\\road[(]", nullptr, 0x80000000, "match"},
    // Meanings, definitions and values that the next one must not find.
    {"a\\K 1 2,K\\x\\y\\y", "2", 2, nullptr},
    {"a\\K 1 2", "1", 1, nullptr},
    {"a\\T 1 I,T\\x\\y\\y", "I", 0x80000000, nullptr},
    {"a\\T 1 I", "1", 1, nullptr},
    {"a\\load[1,late\\2]", "1", 1, nullptr},
    {"a\\late", nullptr, 0x80000000, "alive"},
    {"a\\x{strtol(init[99999999999999999999])0 10}errno", "34", 34, nullptr},
    {"a\\errno", "0", 0, nullptr},
};

/// In builds that count them, how many nodes live.
int64_t node_count() {
#if MARL_COUNT_NODES
    return marl::live_nodes;
#else
    return 0;
#endif
}

TEST(Sessions, in_a_row_are_as_if_each_were_alone) {
    std::vector<int64_t> nodes;
    for (int round = 0; round < 3; ++round) {
        for (const Case& c : cases) {
            marl_session* session = marl_begin();
            ASSERT_TRUE(session);
            const std::string source = c.source;
            const bool done =
                marl_load(session, source.data(), source.size()) && marl_run(session, nullptr);
            EXPECT_EQ(done, c.fault == nullptr) << source;
            EXPECT_STREQ(marl_result(session, nullptr), c.result) << source;
            EXPECT_EQ(marl_status(session), c.status) << source;
            EXPECT_STREQ(marl_fault_kind(session), c.fault) << source;
            marl_end(session);
        }
        nodes.push_back(node_count());
    }
    EXPECT_EQ(nodes[1], nodes[2]) << "what the first round has made for good is made once";
}

TEST(Sessions, stand_one_at_a_time_and_take_their_steps_in_order) {
    marl_session* session = marl_begin();
    EXPECT_FALSE(marl_begin());
    EXPECT_FALSE(marl_run(session, nullptr));
    EXPECT_TRUE(marl_load(session, "a\\strlen(refk a),b\\8", 16));
    EXPECT_FALSE(marl_load(session, "a\\8", 3));
    std::string word = "seventh";
    char* arguments[] = {word.data(), nullptr};
    EXPECT_TRUE(marl_run(session, arguments));
    EXPECT_FALSE(marl_run(session, arguments));
    EXPECT_EQ(marl_status(session), 7u);
    marl_end(session);
    marl_end(nullptr);
    std::thread([] { EXPECT_FALSE(marl_begin()); }).join();
}

}  // namespace
