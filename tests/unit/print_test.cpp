#include <gtest/gtest.h>

#include <random>
#include <string>

#include "front/grammar.h"
#include "number/convert.h"
#include "number/cray.h"
#include "number/post.h"
#include "value/value.h"

namespace marl {
namespace {

std::string printed(Node* value) { return std::string(print_value(value).view()); }

Value cray_of(std::initializer_list<Value> elements) {
    Value made = cray_with_size(0);
    for (const Value& element : elements) made = cray_append(made, element);
    return made;
}

TEST(Print, leaves_and_arrays_have_forms_of_their_own) {
    for (const char* text : {"", ")mark", "]failure"}) EXPECT_EQ(printed(leaf(text)), "()");
    EXPECT_EQ(printed(post_make("a[\n]b")), "cape[a[q][p][r]b]");
    EXPECT_EQ(printed(pair(cray_of({leaf("1")}), pair(leaf("a"), leaf("b")))), "(/ cray 1 (a b))");
    EXPECT_EQ(printed(pair(cray_of({}), leaf("1"))), "cray1");
}

// The second computation: the rules on whole texts, as they read.
bool letter(char c) { return c == '_' || (c >= 'a' && c <= 'z'); }
bool digit(char c) { return c >= '0' && c <= '9'; }
int class_of(char c) { return letter(c) ? 1 : digit(c) ? 2 : 0; }

bool is_one_group(const std::string& text) {
    if (text[0] != '[') return false;
    int depth = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        depth += (text[i] == '[') - (text[i] == ']');
        if (depth == 0) return i + 1 == text.size();
    }
    return false;
}

std::string by_rules(Node* value) {
    if (is_leaf(value)) return printed(value);
    const std::string a = by_rules(left(value));
    const std::string b = by_rules(right(value));
    if (a[0] == '(' && a[1] != ')') return a.substr(0, a.size() - 1) + " " + b + ")";
    if (is_one_group(b)) return a + b;
    for (size_t i = 1; i < b.size(); ++i) {
        if (class_of(b[i]) == 0 || class_of(b[i]) != class_of(b[0])) return "(" + a + " " + b + ")";
    }
    const bool run_together =
        (letter(a.back()) && letter(b[0])) || (digit(a.back()) && digit(b[0]));
    return run_together ? "(" + a + " " + b + ")" : a + b;
}

Value random_value(std::mt19937& random, int depth) {
    static const char* const leaves[] = {"x",   "_", "K",    "f", "12", "0",
                                         "[a]", "",  "name", "+", "[]"};
    if (depth == 0 || random() % 4 == 0) {
        if (random() % 8 == 0) return post_make("b");
        if (random() % 8 == 0) return cray_of({leaf("x")});
        return leaf(leaves[random() % std::size(leaves)]);
    }
    Value function = random_value(random, depth - 1);
    return pair(std::move(function), random_value(random, depth - 1));
}

TEST(Print, printing_agrees_with_its_rules_on_whole_texts) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        const Value value = random_value(random, static_cast<int>(random() % 7));
        ASSERT_EQ(printed(value), by_rules(value));
    }
}

Value random_source_form(std::mt19937& random, int depth) {
    static const char* const leaves[] = {"x", "_",   "K",    "Z",  "12",
                                         "0", "[a]", "name", "[]", "[a[b]]"};
    if (depth == 0 || random() % 4 == 0) return leaf(leaves[random() % std::size(leaves)]);
    Value function = random_source_form(random, depth - 1);
    return pair(std::move(function), random_source_form(random, depth - 1));
}

TEST(Print, what_has_a_source_form_is_parsed_back) {
    std::mt19937 random(11);
    for (int i = 0; i < 20000; ++i) {
        const Value value = random_source_form(random, static_cast<int>(random() % 7));
        const std::string text = printed(value);
        ASSERT_EQ(compare(parse_expression(text), value), 0) << text;
    }
}

TEST(Print, depth_costs_no_stack) {
    constexpr int depth = 1'000'000;
    Value left_deep = leaf("f");
    Value right_deep = leaf("f");
    Value nested = cray_of({});
    for (int i = 0; i < depth; ++i) {
        left_deep = pair(left_deep, leaf("x"));
        right_deep = pair(leaf("f"), right_deep);
        nested = cray_of({nested});
    }
    EXPECT_EQ(print_value(left_deep).length(), 2 * depth + 3);
    EXPECT_EQ(print_value(right_deep).length(), 4 * depth + 1);
    EXPECT_EQ(print_value(nested).length(), 9 * depth + 4);
}

}  // namespace
}  // namespace marl
