#include "front/scan.h"

#include <gtest/gtest.h>

#include <string>

namespace marl {
namespace {

struct Example {
    std::string_view source;
    std::string_view normal;
};

TEST(Scan, white_space_separates_words_and_nothing_else) {
    const Example examples[] = {
        {"", ""},
        {" \n\n ", ""},
        {"\n a \n", "a"},
        {"a  b", "a b"},
        {"a\n\nb", "a b"},
        {"a + b", "a+b"},
        {"a\n,\n b", "a,b"},
        {"f ( x )", "f (x)"},
        {"f(x)", "f(x)"},
        {"(a) (b) c", "(a) (b) c"},
        {"x { y } z", "x{y}z"},
        {"~ a ~ b", "~ a ~ b"},
        {"a ` b", "a ` b"},
        {"a\t b", "a\t b"},
        {"a\tb\r", "a\tb\r"},
        {"a [ b  c ] d", "a [ b  c ] d"},
        {"[a\n[b ] ]\n[c]", "[a\n[b ] ] [c]"},
        {std::string_view("a \0 b", 5), std::string_view("a \0 b", 5)},
    };
    for (const Example& example : examples) {
        EXPECT_EQ(normalise(example.source).view(), example.normal) << example.source;
        EXPECT_EQ(normalise(example.normal).view(), example.normal) << "normal text stays";
    }
}

TEST(Scan, spacing_operators_are_the_binary_ones_and_white_space) {
    const std::string_view members = "\n #%&'*+,-./:;<=>?@\\^|";
    for (int byte = 0; byte < 256; ++byte) {
        const bool member = members.find(static_cast<char>(byte)) != std::string_view::npos;
        EXPECT_EQ(is_spacing_operator(static_cast<uint8_t>(byte)), member) << byte;
    }
}

struct Match {
    std::string_view text;
    int64_t position;
    int64_t match;
};

TEST(Scan, brackets_match_from_either_side) {
    const Match matches[] = {
        {"a(b)", 0, 0},          {"a(b)", 1, 3},
        {"a(b)", 3, 1},          {"(a{b(c)}[)])", 0, 11},
        {"(a{b(c)}[)])", 11, 0}, {"(a{b(c)}[)])", 2, 7},
        {"(a{b(c)}[)])", 10, 8}, {"[a[b]{(]", 0, 7},
        {"[a[b]{(]", 7, 0},      {"(}", 0, 1},
    };
    for (const Match& match : matches) {
        EXPECT_EQ(match_bracket(match.text, match.position), match.match) << match.text;
    }
}

TEST(Scan, a_bracket_without_a_match_is_a_fatal_stop) {
    EXPECT_DEATH(match_bracket("(a", 0), "ASSERTION FAILED");
    EXPECT_DEATH(match_bracket("a)", 1), "ASSERTION FAILED");
}

TEST(Scan, operators_are_found_outside_of_brackets_only) {
    using Positions = std::vector<int64_t>;
    EXPECT_EQ(find_operators("a+(b+c)+[d+e]+f", "+"), (Positions{1, 7, 13}));
    EXPECT_EQ(find_operators("x{a;b}y;z", ";\\{"), (Positions{1, 7}));
    EXPECT_EQ(find_operators(",a,,", ","), (Positions{0, 2, 3}));
    EXPECT_EQ(find_operators("", ","), Positions{});
}

}  // namespace
}  // namespace marl
