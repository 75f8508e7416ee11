#include "number/zits.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "evaluate.h"
#include "number/convert.h"
#include "number/kind.h"

namespace marl {
namespace {

std::string text_of(Node* value) { return std::string(leaf_bytes(value)); }

TEST(Zits, every_byte_but_brackets_has_a_code) {
    const std::pair<int64_t, const char*> codes[] = {
        {0, "[]"},
        {1, "[[]]"},
        {2, "[[][]]"},
        {3, "[[[]]]"},
        {4, "[[[]][]]"},
        {5, "[[][][]]"},
        {199, "[[[]][[][]][[]]]"},
    };
    for (const auto& [n, code] : codes) EXPECT_EQ(bracket_code(n).view(), code) << n;
    EXPECT_EQ(code_of_byte('a'), "[[[]][[][]][[]]]");
    int coded = 0;
    for (int byte = 0; byte < 256; ++byte) {
        const std::string_view code = code_of_byte(static_cast<uint8_t>(byte));
        if (code.empty()) continue;
        ++coded;
        EXPECT_EQ(byte_of_code(code), byte);
    }
    EXPECT_EQ(coded, 254);
    EXPECT_EQ(byte_of_code("[[]]"), std::nullopt);
}

// The second computation: flattening by joins of whole texts, where the code of a byte is that
// byte.
std::string by_joins(Node* x) {
    if (is_leaf(x)) return text_of(x);
    std::string joined = by_joins(left(x));
    const std::string last = by_joins(right(x));
    const auto byte = byte_of_code(last);
    joined.insert(joined.size() - 1, byte ? std::string(1, static_cast<char>(*byte)) : last);
    return joined;
}

Value random_zits(std::mt19937& random, int depth) {
    if (depth > 0 && random() % 3 != 0) {
        Value first = random_zits(random, depth - 1);
        return pair(std::move(first), random_zits(random, depth - 1));
    }
    switch (random() % 5) {
        case 0: return leaf("[]");
        case 1: return leaf("[a[b]]");
        case 2: return leaf("[[][c][[]]]");
        case 3: return leaf(code_of_byte('d'));
        default: return zits_make(code_of_byte('e'));
    }
}

/// The tree of a code in Pairs, "[]" at its leaves.
Value code_in_pairs(std::string_view code) {
    Value x = leaf(code);
    if (zits_is_empty(x)) return x;
    Value first = code_in_pairs(leaf_bytes(zits_left(x)));
    return pair(std::move(first), code_in_pairs(leaf_bytes(zits_right(x))));
}

TEST(Zits, flattening_agrees_with_joining_whole_texts) {
    std::mt19937 random(3);
    for (int i = 0; i < 5000; ++i) {
        const Value x = random_zits(random, static_cast<int>(random() % 6));
        ASSERT_EQ(text_of(zits_flatten(x)), by_joins(x));
        // Taken apart and put together again, it is the same text.
        const std::string flat = by_joins(x);
        ASSERT_EQ(text_of(zits_of_tree(zits_tree(leaf(std::string_view(flat))))),
                  text_of(zits_of_tree(zits_tree(x))));
    }
    const Value pairs = code_in_pairs(code_of_byte('q'));
    EXPECT_EQ(text_of(zits_flatten(pair(leaf("[x]"), pairs))), "[xq]");
}

std::string expand_by_rule(Node* x) {
    if (zits_is_empty(x)) return "[]";
    const Value last = zits_flatten(zits_right(x));
    if (byte_of_code(leaf_bytes(last))) return by_joins(x);
    return "<" + expand_by_rule(zits_left(Value::share(x))) + expand_by_rule(zits_right(x)) + ">";
}

std::string shape(Node* x) {
    return is_leaf(x) ? text_of(x) : "<" + shape(left(x)) + shape(right(x)) + ">";
}

TEST(Zits, expansion_stops_at_plain_bytes) {
    EXPECT_EQ(shape(zits_expand(leaf("[ab]"))), "[ab]");
    EXPECT_EQ(shape(zits_expand(leaf("[a[b][]]"))), "<<[a][b]>[]>");
    EXPECT_EQ(shape(zits_expand(leaf("[[a]b[c]]"))), "<[[a]b][c]>");
    std::mt19937 random(5);
    for (int i = 0; i < 5000; ++i) {
        const Value x = random_zits(random, static_cast<int>(random() % 6));
        ASSERT_EQ(shape(zits_expand(x)), expand_by_rule(x));
        const Value flat = zits_flatten(x);
        ASSERT_EQ(shape(zits_expand(flat)), expand_by_rule(flat));
    }
}

TEST(Zits, depth_costs_no_stack_and_linear_time) {
    constexpr int depth = 1'000'000;
    Value left_deep = leaf("[]");
    Value right_deep = leaf("[]");
    std::string nested;
    for (int i = 0; i < depth; ++i) {
        left_deep = pair(left_deep, leaf("[x]"));
        right_deep = pair(leaf("[]"), right_deep);
        nested.insert(nested.end(), '[');
    }
    nested.append(depth, ']');
    EXPECT_EQ(zits_size(left_deep), 3 * depth + 2);
    EXPECT_EQ(zits_size(right_deep), 2 * depth + 2);
    EXPECT_EQ(text_of(zits_of_tree(zits_tree(leaf(std::string_view(nested))))), nested);
    EXPECT_EQ(zits_size(zits_expand(leaf(std::string_view(nested)))), 2 * depth);
    EXPECT_EQ(zits_size(zits_expand(right_deep)), 2 * depth + 2);
    EXPECT_EQ(zits_size(zits_expand(left_deep)), 3 * depth + 2);
}

}  // namespace
}  // namespace marl
