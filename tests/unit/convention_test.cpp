#include "library/convention.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "front/prelude.h"

namespace marl {
namespace {

int calls = 0;
int count_call(int64_t, const char*, double) { return ++calls; }

int fail_with(int code) {
    errno = code;
    return -1;
}
int see_errno() { return errno; }
uint16_t wide_short() { return 0xFFFF; }
int32_t minus_one() { return -1; }
uint64_t largest() { return std::numeric_limits<uint64_t>::max(); }
int64_t least() { return std::numeric_limits<int64_t>::min(); }
void nothing() {}

template <class Classes, auto function>
Value call(std::vector<Value> arguments) {
    constexpr uint8_t arity = Wrapper<Classes, function>::arity;
    constexpr Builtin row = wrap<Classes, function>("", arity);
    return row.function(arguments.data());
}

std::string shown(const Value& x) { return std::string(leaf_bytes(x)); }

TEST(Convention, the_first_unfit_argument_answers_Z_and_nothing_has_happened) {
    const Value good[] = {leaf("5"), leaf("[a]"), from_double(1)};
    const Value bad[] = {leaf("00"), leaf("Z"), leaf("7")};
    calls = 0;
    for (int i = 0; i < 3; ++i) {
        std::vector<Value> arguments(good, good + 3);
        arguments[i] = bad[i];
        EXPECT_EQ(shown(call<S(I, M, R), count_call>(arguments)), "Z");
    }
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(shown(call<S(I, M, R), count_call>({good[0], good[1], good[2]})), "1");
}

TEST(Convention, results_widen_by_the_sign_of_their_own_type) {
    EXPECT_EQ(shown(call<S(), minus_one>({})), "01");
    EXPECT_EQ(shown(call<S(), wide_short>({})), "65535");
    EXPECT_EQ(shown(call<U(), largest>({})), "18446744073709551615");
    EXPECT_EQ(shown(call<S(), least>({})), "09223372036854775808");
    EXPECT_EQ(shown(call<U(), minus_one>({})), "18446744073709551615");
    EXPECT_EQ(shown(call<T(), minus_one>({})), "K");
    EXPECT_EQ(shown(call<V(), nothing>({})), "I");
}

TEST(Convention, a_natural_is_no_numb_and_not_negative) {
    build_prelude();
    const Value K = leaf("K");
    const Value numb = pair(pair(leaf("J"), leaf("H")), K);
    EXPECT_TRUE(N::fits(K));
    EXPECT_TRUE(N::fits(leaf("0")));
    EXPECT_TRUE(N::fits(leaf("12")));
    EXPECT_FALSE(N::fits(leaf("012")));
    EXPECT_FALSE(N::fits(numb));
}

TEST(Convention, errno_is_what_the_last_call_left_whatever_the_machine_does) {
    call<S(I), fail_with>({leaf("13")});
    errno = ENOMEM;
    const Value work = leaf("some allocation");
    EXPECT_EQ(shown(call<S(), see_errno>({})), "13");
    call<V(), nothing>({});
    EXPECT_EQ(program_errno, 13);
}

}  // namespace
}  // namespace marl
