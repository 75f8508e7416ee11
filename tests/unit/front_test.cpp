// The front end below the language: its scanner, what may be defined, names that are free, depth.
#include <gtest/gtest.h>

#include <string>

#include "driver/session.h"
#include "evaluate.h"
#include "front/definitions.h"
#include "front/grammar.h"
#include "front/intern.h"
#include "front/names.h"
#include "front/records.h"
#include "front/scan.h"
#include "reduce/definitions.h"
#include "reduce/tables.h"

namespace marl {
namespace {

class Front : public testing::Test {
  protected:
    void TearDown() override {
        clear_intern_set();
        set_up_tables();
    }
};

using Rows = std::initializer_list<std::pair<std::string_view, std::string_view>>;

TEST_F(Front, white_space_separates_words_and_nothing_else) {
    for (const auto& [source, normal] : Rows{
             {"", ""},
             {" \n\n ", ""},
             {"\n a \n", "a"},
             {"a  b", "a b"},
             {"a\n\nb", "a b"},
             {"a\n,\n b", "a,b"},
             {"f ( x )", "f (x)"},
             {"(a) (b) c", "(a) (b) c"},
             {"x { y } z", "x{y}z"},
             {"~ a ~ b ` c", "~ a ~ b ` c"},
             {"a\tb\t c\r", "a\tb\t c\r"},
             {"[a\n[b ] ]\n[c]", "[a\n[b ] ] [c]"},
             {std::string_view("a \0 b", 5), std::string_view("a \0 b", 5)},
         }) {
        EXPECT_EQ(normalise(source).view(), normal) << source;
        EXPECT_EQ(normalise(normal).view(), normal) << "normal text stays";
    }
    for (int byte = 0; byte < 256; ++byte) {
        constexpr std::string_view spacing = "\n #%&'*+,-./:;<=>?@\\^|";
        const bool member = spacing.find(static_cast<char>(byte)) != std::string_view::npos;
        EXPECT_EQ(is_spacing_operator(static_cast<uint8_t>(byte)), member) << byte;
    }
}

TEST_F(Front, words_single_marks_and_bracketed_operators_can_be_defined) {
    for (const char* text : {"a", "_", "ab_c", "A", "Z", "\x01", "\t", "\x1F", "\x7F", "\xFF",
                             "[+]", "[,]", "[{]", "[}]", "[`]", "[?]"}) {
        EXPECT_TRUE(is_definable(text)) << text;
    }
    for (const char* text : {"", "1", "a1", "A1", "AB", "+", "{", " ", "[a]", "[A]", "[(]", "[ ]",
                             "[++]", "[]", "[+", "()", "[1]", "aB"}) {
        EXPECT_FALSE(is_definable(text)) << text;
    }
    EXPECT_FALSE(is_definable(std::string_view("\0", 1)));
    EXPECT_DEATH(definition_key("a1"), "ASSERTION FAILED");
}

TEST_F(Front, a_fault_of_the_text_leaves_the_prelude_alone) {
    for (const auto& [source, kind] : Rows{
             {"a\\(1,ff\\1", "match"}, {"a\\1,K\\1,b\\1", "lower"}, {"a\\K,K\\missing", "alive"}}) {
        Session session;
        EXPECT_FALSE(open_session(session, String(source)));
        EXPECT_EQ(session.report.kind.view(), kind);
        EXPECT_EQ(print_value(find_definition("K")).view(), "(\\a (\\b a))");
    }
    EXPECT_EQ(defined_symbols().size(), 52u);
    EXPECT_EQ(prelude_definitions.size(), 52u);
}

TEST_F(Front, free_names_are_those_that_no_binder_holds) {
    for (const auto& [expression, expected] : Rows{{"b a(c)b", "a b c "},
                                                   {"1[text]", ""},
                                                   {"x\\x+y", "+ y "},
                                                   {"x(x\\x)", "x "},
                                                   {"(x\\x)x", "x "},
                                                   {"x{x}x", "x "},
                                                   {"x{1}x{x}x", ""},
                                                   {"[+]\\a+b", "a b "},
                                                   {"`K", "K ` "},
                                                   {"a+", "+ a } "}}) {
        std::string names;
        for (const Symbol* symbol : free_names(parse_expression(expression))) {
            names += std::string(symbol->name) + " ";
        }
        EXPECT_EQ(names, expected) << expression;
    }
}

TEST_F(Front, depth_costs_no_stack_in_any_stage) {
    constexpr int depth = 200000;
    std::string lambdas = "a\\0,foo\\0(";
    std::string lets = "a\\0,foo\\";
    std::string calls = "a\\0,foo\\";
    for (int i = 0; i < depth; ++i) {
        lambdas += "bbb\\";
        lets += "bbb ccc{V 1 2}";
        calls += "K(";
    }
    for (const std::string& source :
         {lambdas + "`bbb)", lets + "`ccc", calls + "1" + std::string(depth, ')')}) {
        Session session;
        EXPECT_TRUE(open_session(session, String(std::string_view(source))));
    }
}

TEST_F(Front, a_field_of_a_record_takes_its_bytes_out_of_a_filler) {
    EXPECT_EQ(add_field(8, 0, "x", "[r[[8]]]"), "[r[x[8]]]");
    EXPECT_EQ(add_field(2, 0, "x", "[r[[8]]]"), "[r[x[2]][[6]]]");
    EXPECT_EQ(add_field(2, 6, "x", "[r[[8]]]"), "[r[[6]][x[2]]]");
    EXPECT_EQ(add_field(2, 3, "x", "[r[a[1]][[7]]]"), "[r[a[1]][[2]][x[2]][[3]]]");
    EXPECT_DEATH(add_field(2, 0, "x", "[r[a[1]][[7]]]"), "ASSERTION");
    EXPECT_DEATH(add_field(4, 6, "x", "[r[[8]]]"), "ASSERTION");
    EXPECT_DEATH(add_field(1, 8, "x", "[r[[8]]]"), "ASSERTION");
}

}  // namespace
}  // namespace marl
