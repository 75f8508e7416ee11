// Native code: who gets it, and that its room is given back. What it does is compared by tables and
// random programs, which run with native code from the first call on.
#include <gtest/gtest.h>

#include <string>

#include "driver/marl.h"
#include "reduce/code.h"
#include "reduce/tables.h"

#if MARL_NATIVE

namespace marl {

namespace {

/// Runs a program, and gives where the native code of one of its definitions is then.
const uint8_t* native_code_of(const std::string& name, const std::string& source) {
    marl_session* const session = marl_begin();
    EXPECT_TRUE(marl_load(session, source.data(), source.size()) && marl_run(session, nullptr));
    const Symbol* symbol = find_symbol(name);
    const uint8_t* start = symbol && symbol->code ? symbol->code->native.start : nullptr;
    marl_end(session);
    return start;
}

TEST(NativeCode, is_made_of_what_is_called_often) {
    const std::string loop = R"(,loop\n\(n=0)0(seq(once(n),loop(n-1))),once\n\n+1,seq\a\b\b)";
    EXPECT_EQ(native_code_of("loop", R"(a\loop(100))" + loop), nullptr);
    EXPECT_NE(native_code_of("loop", R"(a\loop(10000))" + loop), nullptr);
    EXPECT_NE(native_code_of("once", R"(a\loop(10000))" + loop), nullptr);
}

TEST(NativeCode, gives_its_room_back) {
    const std::string source = R"(a\turn(10000),turn\n\(n=0)0(turn(n-1)))";
    const uint8_t* first = native_code_of("turn", source);
    EXPECT_NE(first, nullptr);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(native_code_of("turn", source), first);
}

}  // namespace

}  // namespace marl

#endif
