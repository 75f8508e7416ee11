// The machine: its main loop against its plainest form, and what its nodes are worth.
#include "reduce/machine.h"

#include <gtest/gtest.h>

#include <string>

#include "driver/session.h"
#include "reduce/calm.h"
#include "reduce/needs.h"
#include "reduce/tables.h"

namespace marl {
namespace {

/// The printed result of an entry expression, which is applied to nothing.
std::string result_of(const std::string& program, bool literally) {
    // A lambda keeps the check from looking for more, and its body is what we reduce.
    Session session;
    EXPECT_TRUE(open_session(session, String(std::string_view(program)))) << program;
    needs_plain_machine = literally;
    calls_are_calm = !literally;
    evaluate_session(session);
    const String printed = print_value(session.result);
    end_session(session);
    return std::string(printed.view());
}

struct Case {
    const char* program;
    const char* result;
};

TEST(Machine, reduces_to_the_same_form_either_way) {
    constexpr Case cases[] = {
        {"IK 1 2", "1"},
        {"K 1 (Z Z)", "1"},
        {"KI 1 2", "2"},
        {"1+2*3", "7"},
        {"(x\\x+x)(1+2)", "6"},
        {"x{1+2}y{x*x}x+y", "12"},
        {"x y{V(1+1,2)}x+y", "4"},
        {"J(1+1,J(2+2,K))", "(J2 J4K)"},
        {"V(1+1)", "V2"},
        {"plus(1+1)", "plus2"},
        {"sub 2 3,sub\\x\\y\\x-y", "01"},
        {"sub 2,sub\\x\\y\\x-y", "sub2"},
        {"six+six,six\\two+1,two\\2", "6"},
        {"sum 1 2,sum\\plus", "3"},
        {"up 5,up\\x\\(x=0)0(x+up(x-1))", "15"},
        {"(x\\y\\z\\x(z)(y z))K K 1", "1"},
        {"(x\\y\\y)(1+1)(2+2)", "4"},
        {"(x\\x\\x+x)(1)(2)", "4"},
        {"S(x\\y\\x+y)(x\\x*x)(1+2)", "12"},
        {"W(x\\y\\x*y)(3+4)", "49"},
        {"from 1 Z H Z H Z K,from\\n\\J(n,from(n+1))", "3"},
        {"inc 1,inc\\anew,anew()\\x\\x+1", "2"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(result_of(c.program, false), c.result) << c.program;
        EXPECT_EQ(result_of(c.program, true), c.result) << c.program << " literally";
    }
}

}  // namespace
}  // namespace marl
