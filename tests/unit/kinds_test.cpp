#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <string>

#include "evaluate.h"
#include "number/convert.h"
#include "number/cray.h"
#include "number/kind.h"
#include "number/post.h"
#include "number/real.h"
#include "reduce/tables.h"

namespace marl {
namespace {

void expect_evaluations(std::initializer_list<Evaluation> rows) {
    for (const auto& [expression, result] : rows) {
        EXPECT_EQ(evaluate(expression), result) << expression;
    }
}

TEST(Kinds, OneLetterForEveryValue) {
    const std::pair<const char*, char> rows[] = {
        {"0", 'i'},   {"01", 'i'},   {"00", 'o'},  {"007", 'o'},  {"7", 'i'},       {"K", 'e'},
        {"JKK", 'i'}, {"JHK", 'o'},  {"JZK", 'e'}, {"JK", 'e'},   {"[a][b]", 'u'},  {"[a]", 'u'},
        {"Z", 'e'},   {"plus", 'e'}, {"JKZ", 'i'}, {"cray", 'c'}, {"init[a]", 'a'}, {"real 1", 'r'},
    };
    for (const auto& [expression, kind] : rows) {
        EXPECT_EQ(kind_of(evaluated(expression)), kind) << expression;
    }
}

TEST(Kinds, TheirWordsAreInterned) {
    expect_evaluations({{"type(init[a])", "[post]"},
                        {"type cray", "[cray]"},
                        {"type 1", "[hint]"},
                        {"type 00", "[numb]"},
                        {"type(real 1)", "[real]"},
                        {"type([a][b])", "[zits]"},
                        {"type K", "[void]"},
                        {"raws(type 1)(type 2)", "K"},
                        {"raws(type 1)(tern[hint])", "K"}});
}

TEST(Posts, TheirCountIsInBase64) {
    const std::pair<size_t, const char*> rows[] = {{0, "()"},   {1, "(a)"},   {19, "(u)"},
                                                   {63, "(~)"}, {64, "(a_)"}, {4097, "(a_a)"}};
    for (const auto& [size, header] : rows) {
        const std::string payload(size, ')');
        const Value post = post_make(payload);
        EXPECT_EQ(leaf_bytes(post), header + payload);
        EXPECT_EQ(post_payload(post), payload);
        EXPECT_EQ(post_payload(post).data()[size], 0);
    }
}

TEST(Posts, TreesOfBytes) {
    const char* const byte = "(J(J(JIH)(JHH))(J(JHH)(JIH)))";  // bits 0 and 6: "A"
    const auto with_byte = [&](std::string text) {
        for (size_t i; (i = text.find('@')) != std::string::npos;) text.replace(i, 1, byte);
        return evaluate("init(" + text + ")");
    };
    EXPECT_EQ(with_byte("K"), "cape[]");
    EXPECT_EQ(with_byte("@"), "cape[A]");
    EXPECT_EQ(with_byte("J@@"), "cape[AA]");
    EXPECT_EQ(with_byte("J(J@@)K"), "cape[AA]");
    EXPECT_EQ(with_byte("J@(J@(JHK))"), "Z");
    EXPECT_EQ(with_byte("I"), "Z");
    // A cell that begins with K is an integer, and no tree.
    EXPECT_EQ(with_byte("JK@"), "Z");
    EXPECT_EQ(with_byte("J(JII)@"), "Z");
}

TEST(Reals, BitTreesKeepEveryBit) {
    const double numbers[] = {0.0,
                              -0.0,
                              1.0,
                              -2.5,
                              INFINITY,
                              5e-324,
                              1.7976931348623157e308,
                              std::bit_cast<double>(uint64_t{0x7FF8000000001234})};
    for (const double number : numbers) {
        const Value tree = real_unfold(from_double(number));
        ASSERT_TRUE(real_is_tree(tree));
        EXPECT_EQ(std::bit_cast<uint64_t>(real_fold(tree)), std::bit_cast<uint64_t>(number));
        EXPECT_FALSE(real_is_tree(pair(tree, leaf("K"))));
    }
}

TEST(Reals, ConversionsToThem) {
    expect_evaluations({{"real 0", "real[0.000000e+00]"},
                        {"real 01", "real[-1.000000e+00]"},
                        {"real 123456789012345678901234567890", "real[1.234568e+29]"},
                        {"real(init[2.5])", "real[2.500000e+00]"},
                        {"real(init[abc])", "real[0.000000e+00]"},
                        {"real[2.5e3]", "real[2.500000e+03]"},
                        {"real 002", "real[5.000000e-01]"},
                        {"real K", "Z"},
                        {"real cray", "Z"},
                        {"real(JKZ)", "Z"},
                        {"real((real 1)I)", "Z"},
                        {"(x\\raws(x,real x))(real 3)", "K"},
                        {"real[-2.5]", "real[-2.500000e+00]"}});
    EXPECT_EQ(to_double(evaluated("real 9007199254740993")), 9007199254740992.0);
    EXPECT_EQ(to_double(evaluated("real 0123456789012345678901")), -123456789012345678901.0);
}

Value cray_of(std::initializer_list<const char*> elements) {
    Value made = cray_with_size(0);
    for (const char* element : elements) made = cray_append(made, leaf(element));
    return made;
}

TEST(Crays, CutsKeepTheOtherEndThanThoseOfTexts) {
    const Value x = cray_of({"a", "U", "c"});
    const std::pair<int64_t, const char*> rows[] = {{1, "(/ (/ cray a) Z)"},
                                                    {-1, "(/ (/ cray Z) c)"},
                                                    {0, "(/ (/ (/ cray a) Z) c)"},
                                                    {3, "cray"},
                                                    {-3, "cray"},
                                                    {4, "Z"},
                                                    {-4, "Z"},
                                                    {INT64_MIN, "Z"},
                                                    {INT64_MAX, "Z"}};
    for (const auto& [n, result] : rows) EXPECT_EQ(printed(cray_cut(x, n)), result) << n;
}

TEST(Crays, EveryCopyHoldsItsElements) {
    const Value x = cray_of({"a", "U"});
    Node* element = cray_slot(x, 0);
    {
        const Value twice = cray_repeat(x, 2);
        EXPECT_EQ(count_of(element), 3u);
        EXPECT_EQ(printed(twice), "(/ (/ (/ (/ cray a) Z) a) Z)");
        EXPECT_EQ(printed(cray_cut(x, -1)), "(/ cray Z)");
        EXPECT_EQ(printed(cray_concat(x, twice)), "(/ (/ (/ (/ (/ (/ cray a) Z) a) Z) a) Z)");
    }
    EXPECT_EQ(count_of(element), 1u);
    EXPECT_EQ(printed(cray_to_list(x)), "(Ja JZK)");
    EXPECT_EQ(printed(cray_prepend(leaf("U"), x)), "(/ (/ (/ cray Z) a) Z)");
    EXPECT_EQ(printed(cray_repeat(cray_of({}), INT64_MAX)), "cray");
    EXPECT_EQ(printed(cray_repeat(x, cray_limit / 2)), "Z");
    EXPECT_EQ(printed(cray_repeat(x, -1)), "Z");
}

TEST(DataInFunctionPosition, Crays) {
    expect_evaluations({{"(cray/1/2)Z", "(J1 J2K)"},
                        {"cray(Z)", "K"},
                        {"cray 0", "cray"},
                        {"cray 2", "(/ (/ cray Z) Z)"},
                        {"cray 01", "Z"},
                        {"cray[x]", "Z"},
                        {"cray 67108864", "Z"},
                        {"cray(JH(JKK))", "(/ cray Z)"},
                        {"(cray 3)01", "H"},
                        {"(cray/1/2/3)01", "K"},
                        {"(cray/1/2/3)2", "K"},
                        {"(cray/1/2/3)3", "Z"},
                        {"(cray/1/2/3)04", "Z"},
                        {"(cray/1/2/3)(real 1)", "Z"},
                        {"rank(cray 0)", "0"},
                        {"raws(cray,cray 0)", "H"},
                        {"raws(cray,cray)", "K"}});
}

TEST(DataInFunctionPosition, NumbersAreCells) {
    expect_evaluations(
        {{"0 I", "VKK"}, {"1 I", "VK0"}, {"01 I", "VK00"}, {"00 I", "VHK"}, {"5 I", "VK2"}});
}

TEST(DataInFunctionPosition, TextsAreTheirTrees) {
    expect_evaluations({{"[]G", "Z"},
                        {"[ab]G", "V[a][[[[][]][[]]][]]"},
                        {"([a][b])G", "V[a][b]"},
                        {"[]I", "XJK"},
                        {"[[][]]K", "XJ"},
                        {"[[][]]H", "(J JKK K)"}});
}

TEST(DataInFunctionPosition, PostsHalve) {
    expect_evaluations({{"(init[])I", "Z"},
                        {"(init[A])I", "(V (V VIH VHH) (V VHH VIH))"},
                        {"(init[ab])I", "(V cape[a] cape[b])"},
                        {"(init[abc])I", "(V cape[ab] cape[c])"},
                        {"(init[abcdefgh])I", "(V cape[abcd] cape[efgh])"},
                        {"(init[abcdefghi])I", "(V cape[abcdefgh] cape[i])"}});
}

TEST(Structure, LookCountsFromBothEnds) {
    expect_evaluations({
        {"look[ab]0", "97"},
        {"look[ab]01", "98"},
        {"look[ab]02", "97"},
        {"look[ab]03", "Z"},
        {"look[ab]2", "Z"},
        {"look([a][b])1", "91"},
        {"look(init[ab])1", "98"},
        {"look(init[ab])02", "97"},
        {"look(init[ab])03", "Z"},
        {"look(init[ab])2", "Z"},
        {"look(cray/5/6)02", "5"},
        {"look(cray/5/6)03", "Z"},
        {"look(cray/5/6)2", "Z"},
        {"look(cray 1)0", "Z"},
        // 5 is the list 1, 1, 1, 0: the kind, the sign, and its bits below the top one.
        {"look 5 0", "K"},
        {"look 5 3", "H"},
        {"look 5 4", "K"},
        {"look 5 5", "H"},
        {"look 5 04", "K"},
        {"look 5 05", "Z"},
        {"look 05 1", "H"},
        {"look 0 0", "K"},
        {"look 0 1", "K"},
        {"look 0 02", "Z"},
        {"look 00 0", "H"},
        {"look 00 1", "K"},
        {"look 100000000000000000000 1", "K"},
        {"look(JH(JKK))1", "K"},
        {"look(JKZ)0", "Z"},
        {"look 5 9223372036854775807", "H"},
        {"look(5,0-9223372036854775808)", "Z"},
        {"look(real 1)62", "H"},
        {"look(real 01)63", "K"},
        {"look(real 01)64", "H"},
        {"look(real 01)65", "Z"},
        {"look(real 01)01", "K"},
        {"look(real 01)064", "H"},
        {"look(real 01)065", "Z"},
        {"look(K,0)", "Z"},
        {"look[ab]K", "97"},
        {"look[ab][c]", "Z"},
    });
}

TEST(Structure, CorkReplacesAnElement) {
    expect_evaluations({
        {"cork(init[abc])1 65", "cape[aAc]"},
        {"cork(init[abc])01 65", "cape[abA]"},
        {"look(cork(init[abc])0 300)0", "44"},
        {"cork(init[abc])3 65", "Z"},
        {"look(cork(init[abc],0,K),0)", "0"},
        {"cork[abc]1 65", "[aAc]"},
        {"cork[a[b]c]1 65", "Z"},
        {"cork[a[b]c]2 65", "[a[A]c]"},
        {"cork[abc]1 91", "Z"},
        {"cork([a][b])2 65", "[a[A]]"},
        {"cork[abc]3 65", "Z"},
        {"cork(cray/1/2,01,K)", "(/ (/ cray 1) K)"},
        {"cork(cray/1/2,0,U)", "(/ (/ cray Z) 2)"},
        {"(cork(cray/1/2,0,U))0", "H"},
        {"cork(cray/1/2,2,K)", "Z"},
        {"cork(5,1,H)", "05"},
        {"cork(5,4,H)", "1"},
        {"cork(5,5,K)", "13"},
        {"cork(5,100,H)", "5"},
        {"cork(0,0,H)", "00"},
        {"cork(0,1,H)", "K"},
        {"cork(00,1,H)", "Z"},
        {"cork(5,05,H)", "Z"},
        {"cork(5,0,1)", "Z"},
        {"cork(real 1,63,K)", "real[-1.000000e+00]"},
        {"cork(real 01,01,H)", "real[1.000000e+00]"},
        {"cork(real 1,64,K)", "Z"},
        {"cork(real 1,065,K)", "Z"},
        {"cork(K,0,K)", "Z"},
        {"cork[a][b]65", "Z"},
    });
}

TEST(Structure, CorkChangesInPlaceOnlyWhatNobodyElseHolds) {
    const auto run = [](Value x, bool held) {
        Node* node = x;
        const Value other = held ? x : leaf("0");
        Value arguments[] = {std::move(x), leaf("0"), leaf("65")};
        const Value result = symbol_of("cork").builtin->function(arguments);
        EXPECT_EQ(result.get() == node, !held);
        if (held) {
            EXPECT_NE(printed(result), printed(other));
        }
    };
    evaluate("0");
    for (const bool held : {false, true}) {
        run(post_make("abc"), held);
        run(leaf("[abc]"), held);
        run(cray_of({"1", "2"}), held);
    }
}

TEST(Structure, TrimCutsFromFirstToLast) {
    expect_evaluations({
        {"trim(init[abcd])1 3", "cape[bc]"},
        {"trim(init[abcd])0 01", "cape[abc]"},
        {"trim(init[abcd])999 999", "cape[]"},
        {"trim(init[abcd])999 1000", "Z"},
        {"trim(init[abcd])3 1", "Z"},
        {"trim(init[abcd])0 4", "cape[abcd]"},
        {"trim(init[abcd])05 4", "Z"},
        {"trim(cray/1/2/3)1 1", "cray"},
        {"trim(cray/1/2/3)4 4", "Z"},
        {"trim(cray/1/2/3)02 3", "(/ (/ cray 2) 3)"},
        {"trim[a[b]c]1 3", "Z"},
        {"trim[a[b]c]1 4", "[[b]]"},
        {"trim[a[b]c]9 9", "[]"},
        {"trim([a][b])1 4", "[[b]]"},
        {"trim 12 0 1", "Z"},
        {"trim[a][b]1", "Z"},
    });
}

TEST(Structure, SizesAndBytes) {
    expect_evaluations({
        {"rank[]", "0"},
        {"rank[[b]]", "3"},
        {"rank(real 1)", "8"},
        {"rank 123", "3"},
        {"rank 0123", "4"},
        {"rank(JK(JKK))", "1"},
        {"rank(JKZ)", "Z"},
        {"rank(cray 7)", "7"},
        {"rank(init[abc])", "3"},
        {"rank K", "Z"},
        {"rank([a][b])", "4"},
        {"init 65", "cape[A]"},
        {"init 321", "cape[A]"},
        {"init cray", "Z"},
        {"init 00", "Z"},
        {"init([a][b])", "cape[a[q]b[r]]"},
        {"rank(init(real 1))", "8"},
        {"init(init[a])", "cape[a]"},
    });
}

TEST(Structure, PartsOfTextsAndTrees) {
    expect_evaluations({
        {"left[ab]", "[a]"},
        {"left[a[b]]", "[a]"},
        {"rght[a[b]]", "[b]"},
        {"left[a]", "[]"},
        {"left[]", "Z"},
        {"rght[]", "Z"},
        {"left([a][b])", "[a]"},
        {"rght([a][b])", "[b]"},
        {"leaf[]", "K"},
        {"leaf[a]", "H"},
        {"leaf([][])", "H"},
        {"leaf(V(XJ)K)", "K"},
        {"leaf(V(XJ)(JKK))", "H"},
        {"leaf(V(XJ)I)", "H"},
        {"leaf K", "Z"},
        {"left(V(XJ)K)", "Z"},
        {"left(V(XJ)(JKI))", "(V XJ K)"},
        {"rght(V(XJ)(JKI))", "(V XJ I)"},
        {"left 1", "Z"},
        {"zits(left(V(XJ)(J(JKK)K)))", "[[]]"},
    });
}

TEST(Structure, PrintedFormsAndIdentity) {
    expect_evaluations({
        {"lisp(JKZ)", "[JKZ]"},
        {"lisp[a]", "[[a]]"},
        {"raws(K,K)", "H"},
        {"raws(tern(JKZ))(tern(JKZ))", "K"},
        {"cmpr 1 1", "0"},
        {"cmpr 1 2", "1"},
        {"cmpr 2 1", "01"},
        {"(x\\raws(x,bond(leak x)))(JKZ)", "K"},
        {"bond[a]", "Z"},
        {"assert K", "I"},
        {"assert 1", "Z"},
        {"post 0 0", "cape[]"},
        {"post 0 01", "Z"},
        {"post(K,[])", "Z"},
        {"copy(K,0)", "Z"},
        {"copy[] 0", "I"},
        {"todo(I,K,H)", "K"},
    });
}

TEST(Structure, CopyWritesBytesToMemory) {
    char memory[16] = {};
    const std::string address = std::to_string(reinterpret_cast<uintptr_t>(memory));
    const std::pair<const char*, const char*> rows[] = {{"init[abc]", "abc"},
                                                        {"[a[b]]", "a[b]"},
                                                        {"([a][b])", "a[b]"},
                                                        {"0123", "0123"},
                                                        {"(JH(JKK))", "001"}};
    for (const auto& [x, bytes] : rows) {
        memset(memory, 0, sizeof memory);
        EXPECT_EQ(evaluate(std::string("copy(") + x + ")" + address), "I");
        EXPECT_STREQ(memory, bytes);
    }
    EXPECT_EQ(evaluate("post " + address + " 2"), "cape[00]");
}

TEST(Structure, AFailedAssertionStops) {
    evaluate("0");
    EXPECT_EXIT(evaluate("assert H"), testing::KilledBySignal(SIGABRT),
                "^ASSERTION FAILED:l:244\n$");
    EXPECT_EXIT(evaluate("bond 0"), testing::KilledBySignal(SIGABRT), "ASSERTION FAILED:");
}

}  // namespace
}  // namespace marl
