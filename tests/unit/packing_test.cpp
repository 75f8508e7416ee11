#include <gtest/gtest.h>

#include <string>

#include "evaluate.h"

namespace marl {
namespace {

/// The cells that lots makes of an expression, as a row of their elements.
std::string elements(std::string_view expression) {
    const Value list = evaluated("lots(" + std::string(expression) + ")");
    std::string row;
    Node* rest = list;
    for (; !is_leaf(rest); rest = right(rest)) row += *leaf_text(right(left(rest)));
    return row + (is_leaf_text(rest, "K") ? "" : " and " + printed(rest));
}

/// A post of bytes that no text literal can hold.
std::string post_of(std::initializer_list<int> bytes) {
    std::string post = "init[" + std::string(bytes.size(), 'x') + "]";
    int i = 0;
    for (const int byte : bytes) {
        post = "cork(" + post + ")" + std::to_string(i++) + " " + std::to_string(byte);
    }
    return post;
}

TEST(Packing, ListsOfEveryKind) {
    const std::pair<std::string, const char*> rows[] = {
        {"K", ""},
        {"0", "K"},
        {"1", "KK"},
        {"06", "KHHK"},
        {"002", "HKH"},
        {"JHK", "H"},
        {"JH 7", "HKKKK"},
        {"init[]", ""},
        {post_of({1}), "K"},
        {post_of({0x41}), "KKHHHHH"},
        {post_of({0, 0}), "HH"},
        {post_of({1, 0, 0}), "HHK"},
    };
    for (const auto& [expression, list] : rows) {
        EXPECT_EQ(elements(expression), list) << expression;
    }
    EXPECT_EQ(elements("real 0"), std::string(64, 'H'));
    EXPECT_EQ(elements("real 01"), std::string(52, 'H') + std::string(10, 'K') + "HK");
}

TEST(Packing, WhatIsNoListFails) {
    for (const char* expression : {"lots Z", "lots(JK(VHK))", "lots(JKZ)", "lots cray", "lits K",
                                   "lits Z", "lits(JK(VHK))", "lits(JKZ)", "lits cray"}) {
        EXPECT_EQ(evaluate(expression), "Z") << expression;
    }
}

TEST(Packing, DigitLeavesOfEveryKind) {
    const std::pair<std::string, const char*> rows[] = {
        {"JHK", "00"},
        {"JK(JKK)", "1"},
        {"JH 7", "0015"},
        {"0123", "0123"},
        {"real[0.5]", "002"},
        {"[]", "0"},
        {"[A]", "65"},
        {post_of({1, 1}), "257"},
        {post_of({1, 0, 0, 0, 0, 0, 0, 0, 9}), "1"},
        {post_of({255, 255, 255, 255, 255, 255, 255, 255}), "01"},
    };
    for (const auto& [expression, digits] : rows) {
        EXPECT_EQ(evaluate("lits(" + expression + ")"), digits) << expression;
    }
}

TEST(Packing, LongListsComeBack) {
    EXPECT_EQ(evaluate("lits(lots(3^60000))=(3^60000)"), "K");
    EXPECT_EQ(evaluate("lits(lots(004^0100000))=(004^0100000)"), "K");
}

TEST(Packing, AListInCellsStaysTheNodeThatItIs) {
    EXPECT_EQ(evaluate("(x\\raws(x)(lots x))(JK(JHK))"), "K");
    EXPECT_EQ(evaluate("(x\\raws(x)(lots x))(JK 7)"), "H");
}

}  // namespace
}  // namespace marl
