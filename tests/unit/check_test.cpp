#include "front/check.h"

#include <gtest/gtest.h>

#include <string>

#include "front/definitions.h"
#include "front/grammar.h"
#include "front/intern.h"
#include "front/names.h"
#include "front/prelude.h"
#include "front/records.h"
#include "reduce/analysis.h"
#include "reduce/tables.h"

namespace marl {
namespace {

class Check : public testing::Test {
  protected:
    void TearDown() override {
        clear_intern_set();
        build_prelude();
        parse_program("a\\0");
    }
};

Report checked(const char* source) {
    build_prelude();
    const Report parsed = parse_program(source);
    return passed(parsed) ? check_program() : parsed;
}

std::string printed(const char* name) {
    Node* definition = find_definition(name);
    return definition ? std::string(print_value(definition).view()) : "(none)";
}

struct DefinitionCase {
    const char* source;
    const char* name;
    const char* printed;
};

TEST_F(Check, definitions_come_out_as_the_machine_takes_them) {
    const DefinitionCase cases[] = {
        // pair patterns
        {"a\\foo,foo\\x y{V 1 2}x+y", "foo", "({y (V1 2) ({x yK ({y yH (+x y))))"},
        {"a\\foo,foo\\x[+]{V 1 2}x+3", "foo", "({a (V1 2) ({x aK ({a aH (a x 3))))"},
        {"a\\foo,foo\\x{y z{V 1 2}y}x", "foo", "({x ({z (V1 2) ({y zK ({z zH y))) x)"},
        // places
        {"a\\foo,foo\\aa\\a\\aa a", "foo", "(\\b (\\a (b a)))"},
        {"a\\foo,foo\\zz\\K\\[+]\\zz+K", "foo", "(\\c (\\a (\\b (b c a))))"},
        {"a\\foo,foo\\x\\(zz\\zz)(zz\\zz x)", "foo", "(\\x (\\a a (\\a (a x))))"},
        {"a\\foo,foo\\b\\b", "foo", "(\\b b)"},
        // doomed definitions
        {"a\\1,foo\\bar,bar\\baz,bat\\1", "foo", "(none)"},
        {"a\\1,foo\\bar,bar\\baz,bat\\1", "bar", "(none)"},
        {"a\\1,foo\\bar,bar\\baz,bat\\1", "bat", "1"},
        {"a\\1,foo\\x", "foo", "(none)"},
        {"a\\1,K\\gone", "K", "(\\a (\\b a))"},
        {"a\\1,K\\2", "K", "2"},
        // backquotes
        {"a\\foo,foo\\`(1+2)", "foo", "3"},
        {"a\\foo,foo\\x\\`(1+2)+`x", "foo", "(\\x (+3 U1[foo][x]x))"},
        {"a\\foo,\n\nfoo\\xx\\`(xx\n+`(xx+`(1+1)))", "foo",
         "(\\a (U3[foo][(+a (` (+a (` (+1 1)))))] (+a (U4[foo][(+a (` (+1 1)))] +a2))))"},
        {"a\\foo,foo\\`U", "foo", "U1[foo][U]U"},
        {"a\\foo,foo\\`(bar+1),bar\\2*3", "foo", "7"},
        {"a\\foo,foo\\`(bar+1),bar\\2*3", "bar", "6"},
        {"a\\foo,foo\\[`]", "foo", "[`]"},
        // records
        {"a\\0 _,_\\1", "_", nullptr},
    };
    for (const DefinitionCase& c : cases) {
        EXPECT_EQ(checked(c.source).kind, "check") << c.source;
        const std::string expected = c.printed ? c.printed : std::string(record_text().view());
        EXPECT_EQ(printed(c.name), expected) << c.source;
    }
}

TEST_F(Check, equal_parts_of_all_definitions_are_one_settled_node) {
    ASSERT_EQ(checked("a\\0 foo bar,foo\\J(V 1 2)K,bar\\x\\J(V 1 2)x").kind, "check");
    Node* foo = find_definition("foo");
    Node* bar = lambda_body(find_definition("bar"));
    EXPECT_EQ(left(foo), left(bar));
    EXPECT_EQ(intern(parse_expression("V 1 2")).get(), right(left(foo)));
    EXPECT_TRUE(settled(foo));
}

TEST_F(Check, unmemoised_constants_stay_so) {
    ASSERT_EQ(checked("a\\0 foo,foo()\\1").kind, "check");
    EXPECT_EQ(printed("foo"), "I1");
    EXPECT_TRUE(symbol_of("foo").unmemoised);
}

std::string names_of(const char* expression) {
    std::string names;
    for (const Symbol* symbol : free_names(parse_expression(expression))) {
        names += std::string(symbol->name.view()) + " ";
    }
    return names;
}

TEST_F(Check, free_names_are_those_that_no_binder_holds) {
    EXPECT_EQ(names_of("b a(c)b"), "a b c ");
    EXPECT_EQ(names_of("1[text]"), "");
    EXPECT_EQ(names_of("x\\x+y"), "+ y ");
    EXPECT_EQ(names_of("x(x\\x)"), "x ");
    EXPECT_EQ(names_of("(x\\x)x"), "x ");
    EXPECT_EQ(names_of("x{x}x"), "x ");
    EXPECT_EQ(names_of("x{1}x{x}x"), "");
    EXPECT_EQ(names_of("x\\(x\\x)x"), "");
    EXPECT_EQ(names_of("[+]\\a+b"), "a b ");
    EXPECT_EQ(names_of("`K"), "K ` ");
    EXPECT_EQ(names_of("a+"), "+ a } ");
}

TEST_F(Check, depth_costs_no_stack_in_any_stage) {
    constexpr int depth = 200000;
    std::string lambdas = "a\\0,foo\\0(";
    std::string lets = "a\\0,foo\\";
    std::string calls;
    for (int i = 0; i < depth; ++i) {
        lambdas += "bbb\\";
        lets += "bbb ccc{V 1 2}";
        calls += "K(";
    }
    EXPECT_EQ(checked((lambdas + "`bbb)").c_str()).kind, "check");
    EXPECT_EQ(checked((lets + "`ccc").c_str()).kind, "check");
    EXPECT_EQ(checked(("a\\0,foo\\" + calls + "1" + std::string(depth, ')')).c_str()).kind,
              "check");
}

TEST(Records, the_text_lists_every_field_in_the_order_of_its_offset) {
    EXPECT_EQ(record_text(),
              "[[addrinfo[ai_flags[4]][ai_family[4]][ai_socktype[4]][ai_protocol[4]]"
              "[ai_addrlen[8]][ai_canonname[8]][ai_addr[8]][ai_next[8]]]"
              "[dirent[d_ino[4]][d_off[4]][d_reclen[2]][[6]][d_namlen[8]][d_type[4]]"
              "[d_name[261]][[7]]]"
              "[fd_set[[520]]][size_t[[8]]][socklen_t[[4]]][time_t[[8]]]]");
}

TEST(Records, a_field_takes_its_bytes_out_of_a_filler) {
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
