#include "front/intern.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "evaluate.h"
#include "front/grammar.h"
#include "reduce/analysis.h"
#include "reduce/tables.h"

namespace marl {
namespace {

class Intern : public testing::Test {
  protected:
    void SetUp() override { build_prelude(); }
    void TearDown() override {
        clear_intern_set();
        set_up_tables();
    }
};

bool are_equal(Node* a, Node* b) { return compare(a, b) == 0; }

TEST_F(Intern, a_pair_of_members_becomes_the_member_itself) {
    const Value part = intern(parse_expression("f x"));
    const Value built = pair(part, part);
    EXPECT_EQ(intern(built).get(), built.get());
    const Value copy = parse_expression("(f x)(f x)");
    EXPECT_EQ(intern(copy).get(), built.get());
    const Value mixed = pair(built, leaf("x"));
    const Value member = intern(mixed);
    EXPECT_NE(member.get(), mixed.get());
    EXPECT_EQ(left(member), built.get());
}

TEST_F(Intern, leaves_are_told_apart_by_all_their_bytes) {
    const std::string texts[] = {
        "", "a", "1", "[]", "[12345678]", "[123456789]", "[1234567x]", std::string("[a\0b]", 5)};
    for (const std::string& x : texts) {
        const Value member = intern(leaf(x));
        EXPECT_EQ(leaf_bytes(member), x);
        for (const std::string& y : texts) EXPECT_EQ(intern(leaf(y)) == member, x == y) << x << y;
    }
    for (const char last : {'\1', '\2'}) {
        const std::string real = std::string(" \0\0\0\0\0\0\0", 8) + last;
        EXPECT_EQ(leaf_bytes(intern(leaf(real))), real);
    }
}

TEST_F(Intern, members_that_are_settled_outlive_the_others) {
    const Value settled_one = intern(parse_expression("J(1+2)"));
    const Value lambda = intern(parse_expression("x\\1+2"));
    Value sum = intern(parse_expression("1+2"));
    EXPECT_EQ(right(lambda), sum.get());
    drop_unsettled_members();
    EXPECT_EQ(intern(parse_expression("x\\1+2")).get(), lambda.get());
    EXPECT_NE(intern(parse_expression("1+2")).get(), sum.get());
    EXPECT_FALSE(settled(settled_one));
    EXPECT_NE(intern(parse_expression("J(1+2)")).get(), settled_one.get());
}

TEST_F(Intern, dropping_an_expression_stops_at_its_settled_parts) {
    const Value expression = intern(parse_expression("K(x\\1+2)(3+4)"));
    const Value lambda = intern(parse_expression("x\\1+2"));
    const Value under_lambda = intern(parse_expression("1+2"));
    const Value beside = intern(parse_expression("3+4"));
    drop_unsettled(expression);
    EXPECT_NE(intern(parse_expression("K(x\\1+2)(3+4)")).get(), expression.get());
    EXPECT_NE(intern(parse_expression("3+4")).get(), beside.get());
    EXPECT_EQ(intern(parse_expression("x\\1+2")).get(), lambda.get());
    EXPECT_EQ(intern(parse_expression("1+2")).get(), under_lambda.get());
}

/// A random expression over few names, with parts that are held more than once.
Value random_expression(std::mt19937& random) {
    std::vector<Value> parts;
    for (const char* name : {"a", "b", "K", "J", "1"}) parts.push_back(leaf(name));
    const auto any_part = [&] { return parts[random() % parts.size()]; };
    const size_t pairs = 1 + random() % 6;
    for (size_t i = 0; i < pairs; ++i) parts.push_back(pair(any_part(), any_part()));
    return parts.back();
}

TEST_F(Intern, expressions_are_one_node_just_when_they_compare_as_equal) {
    std::mt19937 random(5);
    std::vector<Value> members;
    for (int i = 0; i < 3000; ++i) {
        if (i == 1000) drop_unsettled_members();
        const Value expression = random_expression(random);
        const Value member = intern(expression);
        ASSERT_TRUE(are_equal(expression, member));
        ASSERT_EQ(intern(member).get(), member.get());
        if (i >= 1000) members.push_back(member);
    }
    for (size_t i = 0; i < members.size(); i += 7) {
        for (size_t j = i; j < members.size(); ++j) {
            const bool same = members[i].get() == members[j].get();
            ASSERT_EQ(same, are_equal(members[i], members[j]));
        }
    }
}

TEST_F(Intern, members_are_found_after_any_order_of_leaving_and_coming) {
    std::mt19937 random(6);
    std::vector<Value> numbers;  // redexes, each of which can leave alone
    const auto redex = [](size_t i) { return pair(leaf("I"), leaf(std::to_string(i))); };
    constexpr size_t count = 2000;
    for (size_t i = 0; i < count; ++i) numbers.push_back(intern(redex(i)));
    for (int round = 0; round < 4; ++round) {
        std::vector<bool> left(count);
        for (size_t i = 0; i < count; ++i) {
            if (random() % 3 == 0) {
                drop_unsettled(numbers[i]);
                left[i] = true;
            }
        }
        for (size_t i = 0; i < count; ++i) {
            const Value member = intern(redex(i));
            ASSERT_EQ(member.get() == numbers[i].get(), !left[i]) << i;
            numbers[i] = member;
        }
    }
}

TEST_F(Intern, shared_parts_are_walked_once) {
    Value first = leaf("x");
    Value second = leaf("x");
    for (int i = 0; i < 200; ++i) {  // each spells out to 2^200 Leaves
        first = pair(first, first);
        second = pair(second, second);
    }
    EXPECT_EQ(intern(std::move(first)).get(), intern(std::move(second)).get());
}

TEST_F(Intern, depth_costs_no_stack_on_either_side) {
    for (const bool is_list : {true, false}) {
        Value members[2];
        for (Value& member : members) {
            Value deep = leaf("K");
            for (int i = 0; i < 1000000; ++i) {
                Value next = leaf(std::to_string(i % 1000));
                deep = is_list ? pair(std::move(next), std::move(deep))
                               : pair(std::move(deep), std::move(next));
            }
            member = intern(std::move(deep));
        }
        EXPECT_EQ(members[0].get(), members[1].get());
    }
}

}  // namespace
}  // namespace marl
