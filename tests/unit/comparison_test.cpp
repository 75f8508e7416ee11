#include <gtest/gtest.h>

#include <random>
#include <string>

#include "evaluate.h"
#include "number/convert.h"
#include "number/cray.h"

namespace marl {
namespace {

// The second computation: the rules by recursion, one built-in calling another for the elements.
std::string by_rules(const std::string& name, Node* x, Node* y);

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
        const Value a = cray_at(x, i);
        const Value b = cray_at(y, i);
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

TEST(Comparison, nested_arrays_agree_with_the_rules_by_recursion) {
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

TEST(Comparison, nesting_costs_no_stack_and_linear_time) {
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
