#include <gtest/gtest.h>

#include <random>
#include <string>

#include "evaluate.h"
#include "number/convert.h"
#include "number/cray.h"

namespace marl {
namespace {

TEST(Comparison, OneKind) {
    const Evaluation rows[] = {
        // less, gteq, same, diff
        {"1<2", "K"},
        {"10<9", "H"},
        {"02<01", "K"},
        {"01<0", "K"},
        {"1>2", "H"},
        {"2>2", "K"},
        {"1=1", "K"},
        {"1#1", "H"},
        {"01=1", "H"},
        {"JK(JKK)=1", "K"},
        {"JK0#1", "H"},
        {"JK0<2", "K"},
        {"1000000000000000000000<1000000000000000000001", "K"},
        {"1000000000000000000000>1000000000000000000001", "H"},
        {"JKZ=1", "Z"},
        {"JKZ#1", "Z"},
        {"JKZ<1", "Z"},
        {"1>JKZ", "Z"},
        {"[a]<[ab]", "K"},
        {"[a]>[ab]", "H"},
        {"[b]>[ab]", "K"},
        {"[a][b]=[a[b]]", "K"},
        {"[a][b]#[a[b]]", "H"},
        {"[a][b]<[a[c]]", "K"},
        {"init[]>init[]", "K"},
        {"init[a]<init[ab]", "K"},
        {"init[ab]=init[ab]", "K"},
        {"init[ab]#init[ac]", "K"},
        {"real[0.5]<real 1", "K"},
        {"real[0.5]>real 1", "H"},
        {"real 0=real[-0]", "K"},
        {"real[nan]=real[nan]", "H"},
        {"real[nan]#real[nan]", "K"},
        {"real[nan]<real[nan]", "H"},
        {"real[nan]>real[nan]", "H"},
        {"(W same)(real[nan])", "K"},
        {"(W diff)(real[nan])", "H"},
    };
    for (const auto& [expression, result] : rows)
        EXPECT_EQ(evaluate(expression), result) << expression;
}

TEST(Comparison, DifferentKindsAreOrderedByTheirLetters) {
    // In their order: post, cray, void, hint, numb, real, zits.
    const std::string values[] = {"init[x]", "cray/9", "I", "1000", "001", "real 1", "[]"};
    for (size_t i = 0; i < std::size(values); ++i) {
        for (size_t j = 0; j < std::size(values); ++j) {
            if (i == j) continue;
            const std::string operands = "(" + values[i] + ")(" + values[j] + ")";
            EXPECT_EQ(evaluate("less" + operands), i < j ? "K" : "H") << operands;
            EXPECT_EQ(evaluate("gteq" + operands), i < j ? "H" : "K") << operands;
            EXPECT_EQ(evaluate("same" + operands), "H") << operands;
            EXPECT_EQ(evaluate("diff" + operands), "K") << operands;
        }
    }
}

TEST(Comparison, VoidsHaveAnOrderButNoEqualityUnlessTheyAreOneNode) {
    const Evaluation rows[] = {
        {"K=K", "Z"},      {"K#K", "Z"},      {"(W same)K", "K"}, {"(W diff)K", "H"},
        {"H<K", "K"},      {"K<K", "H"},      {"K>K", "K"},       {"K>H", "K"},
        {"same Z 1", "H"}, {"diff Z 1", "K"}, {"K<(KK)", "K"},
    };
    for (const auto& [expression, result] : rows)
        EXPECT_EQ(evaluate(expression), result) << expression;
}

TEST(Comparison, Arrays) {
    using Elements = std::initializer_list<std::string_view>;
    const struct {
        const char* name;
        Elements x;
        Elements y;
        const char* result;
    } rows[] = {
        {"less", {"1"}, {"2"}, "K"},
        {"less", {"2"}, {"1", "3"}, "H"},
        {"less", {"1"}, {"1", "2"}, "K"},
        {"less", {"1", "2"}, {"1"}, "H"},
        {"less", {"1"}, {"1"}, "H"},
        {"gteq", {"1"}, {"1"}, "K"},
        {"gteq", {"1"}, {"1", "2"}, "H"},
        {"gteq", {"2"}, {"1", "2"}, "K"},
        {"gteq", {"1", "2"}, {"2"}, "H"},
        {"same", {"1"}, {"1"}, "K"},
        {"same", {"1"}, {"1", "2"}, "H"},
        {"diff", {"1"}, {"1", "2"}, "K"},
        {"same", {"K"}, {"K"}, "Z"},
        {"diff", {"K"}, {"K"}, "Z"},
        {"same", {"K", "1"}, {"K", "2"}, "Z"},
        {"same", {"1", "K"}, {"2", "K"}, "H"},
        {"diff", {"1", "K"}, {"2", "K"}, "K"},
        // An equality that can't be told ends gteq, not less.
        {"gteq", {"K", "1"}, {"K", "2"}, "Z"},
        {"less", {"K", "1"}, {"K", "2"}, "K"},
        {"less", {"K", "2"}, {"K", "1"}, "H"},
        // Two empty slots are two Values Z.
        {"same", {"U"}, {"U"}, "Z"},
        {"less", {"U", "1"}, {"U", "2"}, "K"},
        // Nested ones of different lengths are unequal, and still compared by what they share.
        {"gteq", {"cray/2"}, {"cray/1/1"}, "K"},
        {"gteq", {"cray/1"}, {"cray/1/1"}, "H"},
        {"gteq", {"cork(cray 1)0 K"}, {"cork(cray 2)0 K"}, "Z"},
        {"less", {"cork(cray 1)0 K", "1"}, {"cork(cray 1)0 K", "2"}, "K"},
        {"less", {"cray/1/1", "1"}, {"cray/1", "2"}, "H"},
        {"less", {"cray/1", "2"}, {"cray/1/1", "1"}, "K"},
    };
    for (const auto& [name, x, y, result] : rows) {
        const std::string expression = name + array(x) + array(y);
        EXPECT_EQ(evaluate(expression), result) << expression;
    }
    EXPECT_EQ(evaluate("(W gteq)" + array({"U"})), "Z");
    EXPECT_EQ(evaluate("(W same)" + array({"U"})), "K");
}

// The second computation: the rules by recursion, one built-in calling another for the elements.
std::string by_rules(const std::string& name, Node* x, Node* y);

Value element(Node* x, int64_t i) { return cray_at(x, i); }

std::string call(const std::string& name, Node* x, Node* y) {
    const Value a = Value::share(x);
    const Value b = Value::share(y);
    return printed(reduce(apply(leaf(std::string_view(name)), a, b)));
}

std::string by_rules(const std::string& name, Node* x, Node* y) {
    if (!is_leaf_of(x, '\n') || !is_leaf_of(y, '\n') || (x == y && name == "same")) {
        return call(name, x, y);
    }
    const int64_t n = cray_length(x);
    const int64_t m = cray_length(y);
    if (name == "same" && n != m) return "H";
    for (int64_t i = 0; i < std::min(n, m); ++i) {
        if (cray_slot(x, i) == cray_slot(y, i) && cray_slot(x, i)) continue;
        const Value a = element(x, i);
        const Value b = element(y, i);
        std::string same = by_rules("same", a, b);
        if (name == "same") {
            if (same != "K") return same;
        } else if (name == "gteq") {
            if (same == "Z") return "Z";
            if (same != "K") return by_rules("gteq", a, b);
        } else {
            std::string less = by_rules("less", a, b);
            if (less != "H") return less;
            if (same == "H") return "H";
        }
    }
    if (name == "same") return "K";
    return (n < m) == (name == "less") ? "K" : "H";
}

Value random_element(std::mt19937& random, int depth) {
    if (depth > 0 && random() % 3 != 0) {
        Value made = cray_with_size(0);
        for (auto n = random() % 3; n > 0; --n) {
            made = cray_append(made, random_element(random, depth - 1));
        }
        return made;
    }
    switch (random() % 8) {
        case 0: return leaf("U");
        case 1: return leaf("K");
        default: return from_i64(random() % 2);
    }
}

TEST(Comparison, NestedArraysAgreeWithTheRulesByRecursion) {
    evaluate("0");
    std::mt19937 random(11);
    for (int i = 0; i < 20000; ++i) {
        const Value x = random_element(random, 4);
        const Value y = random_element(random, 4);
        for (const char* name : {"same", "less", "gteq"}) {
            ASSERT_EQ(call(name, x, y), by_rules(name, x, y))
                << name << " " << printed(x) << " " << printed(y);
        }
    }
}

TEST(Comparison, NestingCostsNoStackAndLinearTime) {
    evaluate("0");
    Value x = from_i64(1);
    Value y = from_i64(2);
    for (int i = 0; i < 1'000'000; ++i) {
        x = cray_append(cray_with_size(0), x);
        y = cray_append(cray_with_size(0), y);
    }
    EXPECT_EQ(call("same", x, y), "H");
    EXPECT_EQ(call("diff", x, y), "K");
    EXPECT_EQ(call("less", x, y), "K");
    EXPECT_EQ(call("less", y, x), "H");
    EXPECT_EQ(call("gteq", x, y), "H");
    EXPECT_EQ(call("gteq", y, x), "K");
}

}  // namespace
}  // namespace marl
