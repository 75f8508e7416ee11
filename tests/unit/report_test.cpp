#include "driver/report.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "front/scan.h"

namespace marl {
namespace {

const std::string head =
    "                        /\\\n"
    "\\/\\oh [check]     /\\   /  \\\n"
    "/\\uck_________/\\_/  \\_/    \\_\n";

std::string picture_of_way(std::string_view way) {
    Report report;
    report.way = String(way);
    const std::string picture(report_picture(report).view());
    EXPECT_EQ(picture.substr(0, head.size()), head);
    return picture.substr(head.size());
}

TEST(Report, a_new_one_is_a_picture_without_lines) {
    EXPECT_EQ(report_picture(Report{}).view(), head);
}

TEST(Report, fields_have_a_line_each_in_the_order_of_the_picture) {
    Report report;
    report.say = "s";
    report.vip = "v";
    report.tip = "t";
    report.way = "w";
    EXPECT_EQ(report_picture(report).view(), head + " <way> w\n <vip> v\n <tip> t\n <say> s\n");
}

TEST(Report, program_text_is_shown_by_layer) {
    EXPECT_EQ(picture_of_way("yes"), " <way> yes\n");
    EXPECT_EQ(picture_of_way("a b"), " <way> a\x1B[32m \x1B[mb\n");
    EXPECT_EQ(picture_of_way("a\nb"), " <way> a\x1B[32m,\x1B[mb\n");
    EXPECT_EQ(picture_of_way("a\n"), " <way> a\x1B[32m,\x1B[m\n");
    EXPECT_EQ(picture_of_way("\xE1\x01x"), " <way> \x1B[31ma\x1B[32mA\x1B[mx\n");
    EXPECT_EQ(picture_of_way("\xA1\xFE"), " <way> \x1B[31m!~\x1B[m\n");
    EXPECT_EQ(picture_of_way("\x7F\xA0\xFF"), " <way> \x1B[32m~9]\x1B[m\n");
}

TEST(Report, every_low_byte_has_its_green_letter) {
    std::string bytes;
    for (char c = 0; c < 32; ++c) bytes += c;
    EXPECT_EQ(picture_of_way(bytes), " <way> \x1B[32mJABCDEFGHI,KLMNOPQRSTUVWXYZ(){}[\x1B[m\n");
}

TEST(Report, the_bracket_form_has_all_five_fields) {
    Report report;
    report.say = "a [b].";
    report.vip = "c";
    EXPECT_EQ(report_text(report).view(), "['[\"a [b].][\"check][\"c][\"][\"]]");
}

bool balances(std::string_view text) {
    return match_bracket(text, 0) == static_cast<int64_t>(text.size()) - 1;
}

TEST(Report, the_bracket_form_carries_any_text_and_stays_balanced) {
    std::mt19937 random(5);
    const auto text = [&random] {
        std::string made;
        for (auto n = random() % 7; n > 0; --n) made += "[]\"'qa"[random() % 6];
        return String(std::string_view(made));
    };
    for (int i = 0; i < 5000; ++i) {
        const Report report{text(), text(), text(), text(), text()};
        const String form = report_text(report);
        ASSERT_TRUE(balances(form.view())) << form.data();
        const Report parsed = report_parse(form);
        ASSERT_EQ(parsed.say, report.say) << form.data();
        ASSERT_EQ(parsed.kind, report.kind) << form.data();
        ASSERT_EQ(parsed.vip, report.vip) << form.data();
        ASSERT_EQ(parsed.tip, report.tip) << form.data();
        ASSERT_EQ(parsed.way, report.way) << form.data();
    }
}

TEST(Report, a_clipped_text_ends_with_its_brackets_closed) {
    const std::string x70(70, 'x');
    struct {
        std::string text;
        bool wings;
        std::string clipped;
    } const examples[] = {
        {"", true, ""},
        {"f(a,[b(])", true, "f(a,[b(])"},
        {x70 + "xx", true, x70 + "xx"},
        {x70 + "xxx", true, x70 + "xx"},
        {"(" + x70 + "xx", true, "(" + x70 + ")"},
        {x70 + "(x)", true, x70 + "()"},
        {x70 + "x(x)", true, x70 + "x"},
        {x70 + "[[]]", true, x70 + "[]"},
        {"{" + x70 + "xx", true, "{" + x70 + "}"},
        {"{" + x70 + "xx", false, "{" + x70 + "x"},
        {"a}b)", true, "a}b)"},
    };
    for (const auto& example : examples) {
        EXPECT_EQ(clip_text(example.text, example.wings).view(), example.clipped) << example.text;
    }
}

TEST(Report, a_detail_line_is_never_taken_for_a_position) {
    EXPECT_EQ(fit_line("abcd").view(), "abcd");
    EXPECT_EQ(fit_line("abcde").view(), "abcde \"");
    EXPECT_EQ(fit_line("abcdef").view(), "abcdef");
    EXPECT_EQ(fit_line(std::string(72, 'x')).view(), std::string(72, 'x'));
    EXPECT_EQ(fit_line(std::string(73, 'x')).view(), std::string(69, 'x') + "...");
}

TEST(Report, the_abort_value_carries_the_report) {
    Report report;
    report.kind = "roads";
    const Value value = report_value(report);
    EXPECT_EQ(leaf_bytes(left(value)), "]");
    EXPECT_EQ(report_parse(text(right(value))).kind, "roads");
}

}  // namespace
}  // namespace marl
