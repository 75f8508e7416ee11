#include "front/brackets.h"

#include <gtest/gtest.h>

#include <string>

namespace marl {
namespace {

TEST(Brackets, balanced_text_with_its_commas_in_call_lists_passes) {
    const char* texts[] = {
        "",          "f(a,b)",        "(f)(a,b)", "[x](a,b)",   "f(a,b,c)",
        "a,b,c",     "[(]",           "[[]]",     "f ([a,b])",  "{a,b}",
        "x{(a,b)}y", "((a,b))",       "~(a,b)",   "f(a,{b,c})", "f(g(a,b),c),d",
        "f((a),b)",  "f({a}(b,c),d)", "K(a,b)",   "1(a,b)",     "x{a,f(b,c),d}y",
    };
    for (const char* text : texts) {
        Report report;
        int64_t position = -1;
        EXPECT_TRUE(check_brackets(text, report, position)) << text;
        EXPECT_EQ(report.kind, "check");
        EXPECT_EQ(position, -1);
    }
}

struct Fault {
    const char* text;
    const char* kind;
    const char* say;
    const char* vip;
    const char* tip;
    int64_t position;
};

TEST(Brackets, the_first_fault_is_named_with_its_place) {
    const Fault faults[] = {
        {")", "match", "Dangling right-parenthesis at [_____].", "_____", "", 0},
        {"a}", "match", "Dangling right-wing at [____a].", "____a", "", 1},
        {"ab]", "match", "Dangling right-bracket at [____b].", "____b", "", 2},
        {"(", "match", "Dangling left-parenthesis at [_____].", "_____", "", 0},
        {"({}[[", "match", "Dangling left-bracket at [____d].", "____d", "", 4},
        {"([)", "match", "Dangling left-bracket at [____a].", "____a", "", 1},
        {"[[]", "match", "Dangling left-bracket at [_____].", "_____", "", 0},
        {"\n (]", "match", "'(' at [____b] doesn't fit ']' at [____c].", "____b", "____c", 2},
        {"{)", "match", "'{' at [_____] doesn't fit ')' at [____a].", "_____", "____a", 0},
        {"(a,b)", "comma", "Comma at [____b] is not part of a valid call list.", "____b", "", 2},
        {"g (a,b,c)", "comma", "Comma at [____d] is not part of a valid call list.", "____d", "",
         4},
        {"+(a,b)", "comma", "Comma at [____c] is not part of a valid call list.", "____c", "", 3},
        {"f\n(a,b)", "comma", "Comma at [____d] is not part of a valid call list.", "____d", "", 4},
        {",f\\a\\(a,b)", "comma", "Comma at [____g] is not part of a valid call list.", "____g", "",
         7},
        {"+(a,b),+(c,d)", "comma", "Comma at [____j] is not part of a valid call list.", "____j",
         "", 10},
        {"+(a,f(c,d))", "comma", "Comma at [____c] is not part of a valid call list.", "____c", "",
         3},
    };
    for (const Fault& fault : faults) {
        Report report;
        int64_t position = -1;
        EXPECT_FALSE(check_brackets(fault.text, report, position)) << fault.text;
        EXPECT_EQ(report.kind, fault.kind) << fault.text;
        EXPECT_EQ(report.say, fault.say) << fault.text;
        EXPECT_EQ(report.vip, fault.vip) << fault.text;
        EXPECT_EQ(report.tip, fault.tip) << fault.text;
        EXPECT_EQ(report.way, "") << fault.text;
        EXPECT_EQ(position, fault.position) << fault.text;
    }
}

}  // namespace
}  // namespace marl
