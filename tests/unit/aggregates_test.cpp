// Posts, reals and arrays below the language: what a program can't see or can't reach in a row.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>

#include "evaluate.h"
#include "number/convert.h"
#include "number/cray.h"
#include "number/post.h"
#include "number/real.h"
#include "reduce/definitions.h"
#include "reduce/tables.h"

namespace marl {
namespace {

TEST(Aggregates, a_post_counts_its_bytes_in_base_64_and_ends_them_with_a_nul) {
    const std::pair<size_t, const char*> rows[] = {{0, "()"},   {1, "(a)"},   {19, "(u)"},
                                                   {63, "(~)"}, {64, "(a_)"}, {4097, "(a_a)"}};
    for (const auto& [size, header] : rows) {
        const std::string payload(size, ')');
        const Value post = post_make(payload);
        EXPECT_EQ(leaf_bytes(post), header + payload);
        EXPECT_EQ(post_payload(post), payload);
        EXPECT_EQ(post_payload(post).data()[size], 0);
    }
}

TEST(Aggregates, the_tree_of_a_real_keeps_every_bit) {
    const double numbers[] = {
        0.0,      -0.0,   1.0,    -2.5,
        INFINITY, 5e-324, 1e+300, std::bit_cast<double>(uint64_t{0x7FF8000000001234})};
    for (const double number : numbers) {
        const Value tree = real_unfold(from_double(number));
        ASSERT_TRUE(real_is_tree(tree));
        EXPECT_EQ(std::bit_cast<uint64_t>(real_fold(tree)), std::bit_cast<uint64_t>(number));
        EXPECT_FALSE(real_is_tree(pair(tree, leaf("K"))));
    }
}

Value cray_of(std::initializer_list<const char*> elements) {
    Value made = cray_with_size(0);
    for (const char* element : elements) made = cray_append(made, leaf(element));
    return made;
}

TEST(Aggregates, every_copy_of_an_array_holds_its_elements) {
    const Value x = cray_of({"a", "U"});
    Node* element = cray_slot(x, 0);
    {
        const Value twice = cray_repeat(x, 2);
        EXPECT_EQ(count_of(element), 3u);
        EXPECT_EQ(printed(twice), "(/ (/ (/ (/ cray a) Z) a) Z)");
        EXPECT_EQ(printed(cray_cut(x, -1)), "(/ cray Z)");
        EXPECT_EQ(printed(cray_concat(x, twice)), "(/ (/ (/ (/ (/ (/ cray a) Z) a) Z) a) Z)");
    }
    EXPECT_EQ(count_of(element), 1u);
    EXPECT_EQ(printed(cray_prepend(leaf("U"), x)), "(/ (/ (/ cray Z) a) Z)");
    EXPECT_EQ(printed(cray_repeat(cray_of({}), INT64_MAX)), "cray");
    EXPECT_EQ(printed(cray_repeat(x, cray_limit / 2)), "Z");
}

TEST(Aggregates, a_checked_write_changes_in_place_only_what_nobody_else_holds) {
    evaluate("0");
    const auto post = [] { return post_make("abc"); };
    const auto text = [] { return leaf("[abc]"); };
    const struct {
        const char* name;
        Value (*make)();
        bool checked;
    } rows[] = {{"cork", post, true},
                {"cork", text, true},
                {"cork", [] { return cray_of({"1", "2"}); }, true},
                {"rell", post, true},
                {"recl", text, true},
                {"reml", post, false},
                {"redl", text, false}};
    for (const auto& [name, make, checked] : rows) {
        for (const bool held : {false, true}) {
            Value x = make();
            Node* node = x;
            const Value other = held ? x : Value();
            Value arguments[] = {std::move(x), leaf("0"), leaf("65")};
            const Value result = symbol_of(name).builtin->function(arguments);
            EXPECT_EQ(result.get() == node, !held || !checked) << name << " " << printed(result);
        }
    }
}

TEST(Aggregates, a_marker_stores_its_argument_and_a_failure_takes_on_a_text) {
    evaluate("0");
    set_definition("once", leaf("1"));
    EXPECT_EQ(printed(reduce(pair(leaf(")once"), leaf("5")))), "5");
    EXPECT_EQ(printed(find_definition("once")), "5");
    erase_definition(symbol_of("once"));
    const Value failed = reduce(apply(leaf("]"), leaf("[why]"), leaf("2")));
    EXPECT_EQ(leaf_bytes(failed), "][why]");
}

TEST(Aggregates, a_failed_assertion_stops_the_process) {
    evaluate("0");
    EXPECT_EXIT(evaluate("assert H"), testing::KilledBySignal(SIGABRT),
                "^ASSERTION FAILED:l:244\n$");
    EXPECT_EXIT(evaluate("bond 0"), testing::KilledBySignal(SIGABRT), "ASSERTION FAILED:");
}

}  // namespace
}  // namespace marl
