#include "front/definitions.h"

#include <gtest/gtest.h>

#include "front/grammar.h"
#include "front/prelude.h"
#include "reduce/tables.h"

namespace marl {
namespace {

TEST(Definitions, names_are_words_single_marks_and_bracketed_operators) {
    const char* definable[] = {"a",    "_",   "ab_c", "A",   "Z",   "\t",  "\x1F", "\x7F",
                               "\xFF", "[+]", "[,]",  "[{]", "[}]", "[`]", "[?]"};
    for (const char* text : definable) EXPECT_TRUE(is_definable(text)) << text;
    const char* others[] = {"",    "1",   "a1",  "A1",   "AB", "+",  "{",  " ",   "[a]",
                            "[A]", "[(]", "[ ]", "[++]", "[]", "[+", "()", "[1]", "aB"};
    for (const char* text : others) EXPECT_FALSE(is_definable(text)) << text;
    EXPECT_FALSE(is_definable(std::string_view("\0", 1)));
    EXPECT_EQ(definition_key("[+]"), "+");
    EXPECT_EQ(definition_key("ab"), "ab");
    EXPECT_DEATH(definition_key("a1"), "ASSERTION FAILED");
}

TEST(Definitions, backquotes_count_lines_outside_of_byte_text) {
    EXPECT_EQ(backquote_lines("`a`\n\n[`\n`]`,\n`"), (std::vector<int64_t>{1, 1, 4, 5}));
}

TEST(Definitions, each_backquote_leaf_takes_the_next_line) {
    const Pieces pieces = parse_pieces("a`b,note `c,ff\\`(`d)", {3, 4, 5, 9});
    EXPECT_EQ(span_of(left(right(pieces.entry))), 3u);
    ASSERT_EQ(pieces.definitions.size(), 1u);
    Node* body = pieces.definitions[0].expression;
    EXPECT_EQ(span_of(left(body)), 5u);
    EXPECT_EQ(span_of(left(right(body))), 9u);
}

TEST(Definitions, a_piece_knows_its_place_key_and_kind) {
    const Pieces pieces = parse_pieces("0,ab\\1,note,[+]()\\2", {});
    ASSERT_EQ(pieces.definitions.size(), 2u);
    const Definition& first = pieces.definitions[0];
    EXPECT_EQ(first.position, 2);
    EXPECT_EQ(first.key, "ab");
    EXPECT_FALSE(first.unmemoised);
    EXPECT_EQ(compare(first.expression, parse_expression("1")), 0);
    const Definition& second = pieces.definitions[1];
    EXPECT_EQ(second.position, 12);
    EXPECT_EQ(second.key, "+");
    EXPECT_TRUE(second.unmemoised);
    EXPECT_EQ(compare(second.expression, parse_expression("I 2")), 0);
}

bool defined_as(const char* name, const char* expression) {
    Node* definition = find_definition(name);
    return definition && compare(definition, parse_expression(expression)) == 0;
}

TEST(Definitions, the_prelude_defines_52_names) {
    build_prelude();
    EXPECT_EQ(defined_symbols().size(), 52u);
    EXPECT_EQ(prelude_definitions.size(), 52u);
    EXPECT_FALSE(find_definition(""));
    EXPECT_FALSE(find_definition("plus"));
    EXPECT_TRUE(defined_as("K", "a\\b\\a"));
    EXPECT_TRUE(defined_as("+", "plus"));
    EXPECT_TRUE(defined_as(":", "I"));
    EXPECT_TRUE(defined_as("!", "p\\p H K"));
    EXPECT_TRUE(defined_as("{", "a\\b\\c\\Z"));
    build_prelude();
    EXPECT_EQ(defined_symbols().size(), 52u);
    EXPECT_EQ(builtin_table().size(), 256u);
}

TEST(Definitions, a_program_stands_beside_the_built_ins_and_the_prelude) {
    build_prelude();
    const Report report = parse_program("a\\ff a, ff()\\1, gg\\x\\2, ff\\3, note, [+]\\dash");
    EXPECT_EQ(report.kind, "check");
    EXPECT_TRUE(defined_as("", "a\\ff a"));
    EXPECT_TRUE(defined_as("ff", "3"));
    EXPECT_FALSE(find_symbol("ff")->unmemoised);
    EXPECT_TRUE(defined_as("gg", "x\\2"));
    EXPECT_TRUE(defined_as("+", "dash"));
    EXPECT_TRUE(defined_as("plus", "a\\b\\Z"));
    EXPECT_TRUE(defined_as("errno", "Z"));
    EXPECT_EQ(defined_symbols().size(), 52u + 256u + 3u);
}

TEST(Definitions, a_bracket_fault_changes_no_table) {
    build_prelude();
    EXPECT_EQ(parse_program("a\\(1,ff\\1").kind, "match");
    EXPECT_EQ(defined_symbols().size(), 52u);
}

}  // namespace
}  // namespace marl
