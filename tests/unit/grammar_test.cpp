#include "front/grammar.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>

#include "front/brackets.h"
#include "front/definitions.h"
#include "front/intern.h"
#include "front/names.h"
#include "front/scan.h"

namespace marl {
namespace {

/// A Value with all its parentheses: (f x y) is f applied to x and then y.
std::string shape(Node* value) {
    if (is_leaf(value)) return std::string(leaf_bytes(value));
    std::string function = shape(left(value));
    if (!is_leaf(left(value))) function = function.substr(1, function.size() - 2);
    return "(" + function + " " + shape(right(value)) + ")";
}

// The second computation: the grammar level by level, each level cutting its text at its own
// operators and handing the pieces to the next. Slow and recursive, and as near to the table of
// levels as code can be.
namespace by_levels {

std::string cut(const std::string& text, int64_t from, int64_t to) {
    return text.substr(static_cast<size_t>(from), static_cast<size_t>(to - from));
}
std::string node(const std::string& f, const std::string& x) {
    const bool applied = f[0] == '(' && f.size() > 1;
    return "(" + (applied ? f.substr(1, f.size() - 2) : f) + " " + x + ")";
}
std::string joined(char c, const std::string& a, const std::string& b) {
    return c == ' ' ? node(a, b) : node(node(std::string(1, c), a), b);
}
bool prefix(char c) { return is_prefix_operator(static_cast<uint8_t>(c)); }
bool word(char c) { return is_word_byte(static_cast<uint8_t>(c)); }
bool digit(char c) { return c >= '0' && c <= '9'; }
int64_t size_of(const std::string& text) { return static_cast<int64_t>(text.size()); }

std::string level_0(const std::string& text);
std::string level_1(const std::string& text);
std::string level_9(const std::string& text);

struct Level {
    const char* operators;
    bool right;
};
constexpr Level levels[] = {{"?", false},    {"&|", true},    {"=<>#", true}, {"@ ", false},
                            {"+-:.", false}, {"*/%'", false}, {"^", true}};

std::string level_2_to_8(const std::string& text, size_t level) {
    if (level == std::size(levels)) return level_9(text);
    const auto places = find_operators(text, levels[level].operators);
    std::vector<std::string> pieces;
    std::string operators;
    int64_t from = 0;
    for (const int64_t p : places) {
        pieces.push_back(level_2_to_8(cut(text, from, p), level + 1));
        operators += text[static_cast<size_t>(p)];
        from = p + 1;
    }
    pieces.push_back(level_2_to_8(cut(text, from, size_of(text)), level + 1));
    if (levels[level].right) {
        std::string value = pieces.back();
        for (size_t i = operators.size(); i > 0; --i) {
            value = joined(operators[i - 1], pieces[i - 1], value);
        }
        return value;
    }
    std::string value = pieces.front();
    for (size_t i = 0; i < operators.size(); ++i)
        value = joined(operators[i], value, pieces[i + 1]);
    return value;
}

std::string level_0(const std::string& text) {
    const auto places = find_operators(text, ",");
    if (places.empty()) return level_1(text);
    const int64_t p = places.front();
    return joined(',', level_1(cut(text, 0, p)), level_0(cut(text, p + 1, size_of(text))));
}

std::string level_1(const std::string& text) {
    const auto places = find_operators(text, ";\\{");
    if (places.empty()) return level_2_to_8(text, 0);
    const int64_t p = places.front();
    const int64_t m = match_bracket(text, p);
    const std::string a = level_2_to_8(cut(text, 0, p), 0);
    const std::string rest = level_1(cut(text, m + 1, size_of(text)));
    const char c = text[static_cast<size_t>(p)];
    if (c != '{') return joined(c, a, rest);
    return node(node(node("{", a), level_0(cut(text, p + 1, m))), rest);
}

std::string atom(const std::string& text) {
    if (text[0] == '(') return level_1(cut(text, 1, size_of(text) - 1));
    if (word(text[0]) || text[0] == '[') return text;
    if (digit(text[0])) return text.substr(0, text.find_first_not_of("0123456789"));
    return text.substr(0, 1);
}

bool begins_atom(char c, char p) {
    if (p == ')' || p == ']' || c == '[' || c == '(') return true;
    if (word(c)) return !word(p);
    if (digit(c)) return !digit(p);
    return std::string_view("~!@#$%^&*<>-|+/=\\.`'\":;?(){},[] \n").find(c) == std::string::npos;
}

std::string level_12(const std::string& text) {
    std::vector<std::string> atoms;
    int64_t from = 0;
    for (int64_t i = match_bracket(text, 0) + 1; i < size_of(text); ++i) {
        if (begins_atom(text[static_cast<size_t>(i)], text[static_cast<size_t>(i - 1)])) {
            atoms.push_back(cut(text, from, i));
            from = i;
        }
        i = match_bracket(text, i);
    }
    atoms.push_back(cut(text, from, size_of(text)));
    std::string value = atom(atoms[0]);
    for (size_t k = 1; k < atoms.size(); ++k) {
        if (atoms[k][0] != '(') {
            value = node(value, atom(atoms[k]));
            continue;
        }
        const std::string list = cut(atoms[k], 1, size_of(atoms[k]) - 1);
        int64_t start = 0;
        for (const int64_t p : find_operators(list, ",")) {
            value = node(value, level_1(cut(list, start, p)));
            start = p + 1;
        }
        value = node(value, level_1(cut(list, start, size_of(list))));
    }
    return value;
}

std::string prefixed(const std::string& text) {
    if (!prefix(text[0])) return level_12(text);
    return node(text.substr(0, 1), prefixed(text.substr(1)));
}

std::string level_11(const std::string& text) {
    std::vector<int64_t> stretches;
    const auto places = find_operators(text, "~!\"$`");
    for (size_t i = 0; i < places.size(); ++i) {
        if (i == 0 || places[i] != places[i - 1] + 1) stretches.push_back(places[i]);
    }
    stretches.push_back(size_of(text));
    std::string value = level_12(cut(text, 0, stretches[0]));
    for (size_t i = 0; i + 1 < stretches.size(); ++i) {
        value = node(value, prefixed(cut(text, stretches[i], stretches[i + 1])));
    }
    return value;
}

std::string level_10(const std::string& text) {
    if (prefix(text[0])) return node(text.substr(0, 1), level_10(text.substr(1)));
    return level_11(text);
}

std::string level_9(const std::string& text) {
    if (text.empty()) return "}";
    if (!prefix(text.back())) return level_10(text);
    return node(text.substr(text.size() - 1), level_9(text.substr(0, text.size() - 1)));
}

}  // namespace by_levels

struct Example {
    const char* text;
    const char* value;
};

TEST(Grammar, expressions_become_the_pairs_that_their_operators_say) {
    const Example examples[] = {
        {"", "}"},
        {"+a", "(+ } a)"},
        {"a~", "(~ a)"},
        {"~a~", "(~ (~ a))"},
        {"a~b", "(a (~ b))"},
        {"!a$~", "(~ ($ (! a)))"},
        {"~ a", "(~ } a)"},
        {"f(a b,c+d)", "(f (a b) (+ c d))"},
        {"f(,)", "(f } })"},
        {"(f)(a,b)(c)", "(f a b c)"},
        {"f~(a)(b,c)", "(f (~ (a b c)))"},
        {"a:b.c", "(. (: a b) c)"},
        {"a\\b\\a b(a)", "(\\ a (\\ b (a (b a))))"},
        {"{y}z", "({ } y z)"},
        {"x{a,b,c}y", "({ x (, a (, b c)) y)"},
        {"x{a;b}y;z", "({ x (; a b) (; y z))"},
        {"a;x{b}c\\d", "(; a ({ x b (\\ c d)))"},
        {"x2y", "(x 2 y)"},
        {"12.5", "(. 12 5)"},
        {"f[a](b)c", "(f [a] b c)"},
        {"a\tb", "(a \t b)"},
        {"J 1(J 2 K)", "(J (1 (J 2 K)))"},
    };
    for (const Example& example : examples) {
        EXPECT_EQ(shape(parse_expression(example.text)), example.value) << example.text;
    }
}

TEST(Grammar, the_byte_0_is_the_empty_cray) {
    const Value value = parse_expression(std::string_view("f\0", 2));
    EXPECT_EQ(first_byte(right(value)), '\n');
    EXPECT_EQ(span_of(right(value)), 0u);
}

TEST(Grammar, a_digit_leaf_and_a_byte_text_leaf_cache_their_length) {
    EXPECT_EQ(span_of(parse_expression("0123")), 4u);
    EXPECT_EQ(span_of(parse_expression("[a[b]]")), 6u);
}

/// Random balanced text, with every operator as likely as an atom.
class RandomText {
  public:
    explicit RandomText(uint32_t seed) : random_(seed) {}

    std::string text(int depth) {
        static constexpr std::string_view bytes = "ab_1K\t,;\\?&|=<>#@ +-:.*/%'^~!\"$`";
        std::string made;
        for (size_t n = pick(7); n > 0; --n) {
            const size_t kind = pick(12);
            if (kind == 0 && depth > 0)
                made += "(" + text(depth - 1) + ")";
            else if (kind == 1 && depth > 0)
                made += "{" + text(depth - 1) + "}";
            else if (kind == 2)
                made += pick(2) ? "[a[,(]]" : "[]";
            else if (kind < 6)
                made += bytes.substr(pick(7), 1);
            else
                made += bytes.substr(pick(bytes.size()), 1);
        }
        return made;
    }

  private:
    size_t pick(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random_); }
    std::mt19937 random_;
};

TEST(Grammar, one_pass_gives_what_cutting_level_by_level_gives) {
    RandomText random(7);
    for (int i = 0; i < 20000; ++i) {
        const std::string text = random.text(3);
        ASSERT_EQ(shape(parse_expression(text)), by_levels::level_1(text)) << text;
    }
}

TEST(Grammar, a_text_is_sound_that_has_no_bracket_fault_and_no_misplaced_comma) {
    std::mt19937 random(9);
    int sound = 0;
    for (int i = 0; i < 60000; ++i) {
        std::string text;
        for (auto n = random() % 9; n > 0; --n) text += "()[]{},,a+"[random() % 10];
        const bool expected =
            !find_bracket_fault(text) && find_misplaced_commas(text, true).empty();
        ASSERT_EQ(is_sound(text), expected) << text;
        sound += expected;
    }
    EXPECT_GT(sound, 6000);
}

std::set<Symbol*> written_names(const SharedExpression& shared) {
    References references;
    add_written_references(references, symbol_of("here"), shared.names, shared.letters);
    const auto names = references.of(references.entries[0]);
    return {names.begin(), names.end()};
}

TEST(Grammar, what_shares_its_parts_is_the_same_and_knows_its_names) {
    RandomText random(8);
    int known = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string text = random.text(2);
        const size_t end = end_of_piece(text, 0);
        const Value expression = parse_expression(text.substr(0, end));
        const SharedExpression shared = parse_shared(text);
        ASSERT_EQ(shared.size, end) << text;
        ASSERT_EQ(compare(shared.node, expression), 0) << text;
        ASSERT_EQ(intern(expression).get(), shared.node) << text;
        if (shared.other_keys > 0) continue;
        const std::vector<Symbol*> names = free_names(expression);
        ASSERT_EQ(written_names(shared), std::set<Symbol*>(names.begin(), names.end())) << text;
        ++known;
    }
    EXPECT_GT(known, 2000);
    clear_intern_set();
}

std::string repeated(std::string_view piece, int64_t n) {
    std::string text;
    for (int64_t i = 0; i < n; ++i) text += piece;
    return text;
}

TEST(Grammar, neither_depth_nor_length_costs_stack) {
    constexpr int64_t n = 200000;
    const std::string texts[] = {
        repeated("(", n) + "x" + repeated(")", n),
        repeated("f(", n) + "x" + repeated(")", n),
        repeated("x{", n) + "x" + repeated("}x", n),
        repeated("x{1}", n) + "x",
        repeated("[", n) + repeated("]", n),
        repeated("x\\", n) + "x",
        repeated("~", n) + "x" + repeated("!", n),
        repeated("a~", n) + "x",
        repeated("a+", n) + "x",
        repeated("a^", n) + "x",
        repeated("a ", n) + "x",
        "f(" + repeated("a,", n) + "x)",
        "x{" + repeated("a,", n) + "x}",
    };
    for (const std::string& text : texts) EXPECT_TRUE(parse_expression(text)) << text.substr(0, 8);
}

}  // namespace
}  // namespace marl
