// The walks of this file take depth from work lists and write each byte of a text once.
#include "number/zits.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "number/convert.h"
#include "reduce/analysis.h"
#include "value/rebuild.h"
#include "value/resize.h"

namespace marl {

namespace {

// The byte on row i of the char table has the bracket code of 145 + i. The rows are in the order of
// the language's character layers: digits, letters, marks, and the same once more with the top bit.
constexpr int64_t first_char_number = 145;
constexpr uint8_t char_table[256] = {
    151, 152, 153, 154, 155, 156, 157, 158, 159, 160, 1,   2,   3,   4,   5,   6,   7,   8,   9,
    0,   11,  12,  13,  14,  15,  16,  17,  18,  21,  19,  20,  22,  23,  26,  24,  25,  127, 128,
    129, 130, 131, 132, 133, 134, 135, 136, 137, 138, 139, 140, 141, 142, 32,  95,  97,  98,  99,
    100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113, 114, 117, 115, 116, 118,
    119, 122, 120, 121, 48,  49,  50,  51,  52,  53,  54,  55,  56,  57,  65,  66,  67,  68,  69,
    70,  71,  72,  73,  74,  75,  76,  77,  78,  79,  80,  81,  82,  85,  83,  84,  86,  87,  90,
    88,  89,  126, 33,  64,  35,  36,  37,  94,  38,  42,  60,  62,  45,  124, 43,  47,  61,  92,
    46,  96,  39,  34,  58,  59,  63,  40,  41,  123, 125, 44,  223, 225, 226, 227, 228, 229, 230,
    231, 232, 233, 234, 235, 236, 237, 238, 239, 240, 241, 242, 245, 243, 244, 246, 247, 250, 248,
    249, 176, 177, 178, 179, 180, 181, 182, 183, 184, 185, 193, 194, 195, 196, 197, 198, 199, 200,
    201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 213, 211, 212, 214, 215, 218, 216, 217, 254,
    161, 192, 163, 164, 165, 222, 166, 170, 188, 190, 173, 252, 171, 175, 189, 220, 174, 224, 167,
    162, 186, 187, 191, 168, 169, 251, 253, 172, 219, 221, 31,  255, 27,  28,  29,  30,  10,  91,
    93,  143, 144, 145, 146, 147, 148, 149, 150};

bool is_bracket(uint8_t byte) { return byte == '[' || byte == ']'; }

struct CharMap {
    std::array<String, 256> code;
    std::unordered_map<std::string_view, uint8_t> byte;
    size_t shortest = SIZE_MAX;
    size_t longest = 0;
};

CharMap make_char_map() {
    CharMap map;
    for (int64_t row = 0; row < 256; ++row) {
        const uint8_t byte = char_table[row];
        if (is_bracket(byte)) continue;
        map.code[byte] = bracket_code(first_char_number + row);
        const std::string_view code = map.code[byte].view();
        map.byte.emplace(code, byte);
        map.shortest = std::min(map.shortest, code.size());
        map.longest = std::max(map.longest, code.size());
    }
    return map;
}

const CharMap& char_map() {
    static const CharMap map = make_char_map();
    return map;
}

/// The start of the last element of a body that is not empty.
int64_t last_element(std::string_view body) {
    int64_t i = static_cast<int64_t>(body.size()) - 1;
    if (body[i] != ']') return i;
    for (int64_t depth = 1; depth > 0;) {
        --i;
        MARL_REQUIRE(i >= 0);
        if (body[i] == ']') ++depth;
        if (body[i] == '[') --depth;
    }
    return i;
}

// What makes a text of a tree of two-part nodes: a zits, or its form in J cells.
struct Parts {
    std::string_view text = {};  // of what has no parts to join
    Node* left = nullptr;
    Node* right = nullptr;
    bool none = false;  // no tree
};

Parts parts_of_zits(Node* x) {
    if (is_leaf(x)) return {.text = leaf_bytes(x)};
    return {.left = left(x), .right = right(x)};
}

Parts parts_of_cell(Node* tree) {
    if (is_leaf_of(tree, 'K')) return {.text = "[]"};
    if (is_leaf(tree) || is_leaf(left(tree)) || !is_leaf_of(left(left(tree)), 'J')) {
        return {.none = true};
    }
    return {.left = right(left(tree)), .right = right(tree)};
}

/// Ends the text of a right part that began at `start`: a bracket code turns back into its byte.
void close_join(std::string& text, size_t start) {
    if (const auto byte = byte_of_code(std::string_view(text).substr(start))) {
        text.resize(start);
        text.push_back(static_cast<char>(*byte));
    }
    text.push_back(']');
}

/// The text of a tree, every node of which is its left part's text with its right part's as last
/// element. False when the tree holds something that is none.
template <class PartsOf>
bool join_tree(Node* tree, PartsOf parts_of, std::string& text) {
    // `right` waits for the left part to be written; null: the right part is being written, and its
    // text began at `start`.
    struct Open {
        Node* right;
        size_t start;
    };
    std::vector<Open> open;
    for (Node* node = tree;;) {
        Parts parts = parts_of(node);
        for (; parts.right; parts = parts_of(parts.left)) open.push_back({parts.right, 0});
        if (parts.none) return false;
        text.append(parts.text);
        while (!open.empty() && !open.back().right) {
            close_join(text, open.back().start);
            open.pop_back();
        }
        if (open.empty()) return true;
        text.pop_back();
        node = std::exchange(open.back().right, nullptr);
        open.back().start = text.size();
    }
}

Value leaf_of_text(const std::string& text) { return leaf(std::string_view(text)); }

/// Whether the flattened text of a zits is the bracket code of a byte. Bounded work.
bool is_code_of_byte(Node* x) {
    // In a code nothing is joined to a byte, so the length that analysis cached is its own.
    if (is_leaf(x)) return byte_of_code(leaf_bytes(x)).has_value();
    analyse(x);
    const size_t size = span_of(x);
    const bool cached = size != 0 || span_limit > static_cast<int64_t>(char_map().longest);
    if (cached && (size < char_map().shortest || size > char_map().longest)) return false;
    std::string text;
    join_tree(x, parts_of_zits, text);
    return byte_of_code(text).has_value();
}

/// Builds J cells on a stack of finished trees. The Leaf J is one and the same in all of them, as
/// nobody can get at it; each K is a node of its own, as `same` tells them apart.
class TreeBuilder {
  public:
    void push_empty() { trees_.push_back(leaf_K()); }
    /// Joins the two topmost trees.
    void join() {
        Value right = pop();
        Value left = pop();
        trees_.push_back(apply(cell_, std::move(left), std::move(right)));
    }
    /// Pushes the tree of a text with its brackets.
    void push_text(std::string_view text) {
        int64_t depth = 0;
        for (const char byte : text) {
            if (byte == '[') {
                push_empty();
                ++depth;
            } else if (byte == ']') {
                if (--depth > 0) join();
            } else {
                push_text(code_of_byte(static_cast<uint8_t>(byte)));
                join();
            }
        }
    }
    Value pop() {
        Value top = std::move(trees_.back());
        trees_.pop_back();
        return top;
    }

  private:
    const Value cell_ = leaf("J");
    std::vector<Value> trees_;
};

/// Whether the bracket at `end` closes a bracket code; sets `start` to where it opens then.
bool ends_in_code(std::string_view text, int64_t end, int64_t& start) {
    const int64_t first = std::max(int64_t{0}, end + 1 - static_cast<int64_t>(char_map().longest));
    int64_t depth = 0;
    for (start = end; start >= first && is_bracket(text[start]); --start) {
        depth += text[start] == ']' ? 1 : -1;
        if (depth == 0) return byte_of_code(text.substr(start, end + 1 - start)).has_value();
    }
    return false;
}

/// Where the group opens that holds the byte at i.
int64_t start_of_group(std::string_view text, int64_t i) {
    for (int64_t depth = 1;; --i) {
        if (text[i] == ']') ++depth;
        if (text[i] == '[' && --depth == 0) return i;
    }
}

/// The expansion of a Leaf. Goes through the text from behind, so that each group is copied or
/// taken apart once: a plain byte ends the taking apart of its group, and all in front of it stays
/// text.
Value expand_leaf(Node* leaf) {
    struct Group {
        int64_t end;
        size_t first_part;  // of its finished nested texts, the last one first
    };
    const std::string_view text = leaf_bytes(leaf);
    std::vector<Group> open;
    std::vector<Value> finished;
    for (int64_t i = static_cast<int64_t>(text.size()) - 1;; --i) {
        int64_t start = i;
        const bool bracket = text[i] == ']';
        if (bracket && (open.empty() || !ends_in_code(text, i, start))) {
            open.push_back({i, finished.size()});
            continue;
        }
        const int64_t last = i;
        if (text[i] != '[') i = start_of_group(text, start - 1);
        const Group group = open.back();
        open.pop_back();
        Value parts;
        if (last + 1 == group.end && open.empty()) return Value::share(leaf);
        parts = text[last] == '[' ? zits_make("") : zits_make(text.substr(i + 1, last - i));
        while (finished.size() > group.first_part) {
            parts = pair(std::move(parts), std::move(finished.back()));
            finished.pop_back();
        }
        if (open.empty()) return parts;
        finished.push_back(std::move(parts));
    }
}

}  // namespace

String bracket_code(int64_t n) {
    constexpr int64_t largest = 676;
    MARL_REQUIRE(n >= 0 && n <= largest);
    if (n == 0) return "[]";
    int64_t s = 0;
    while ((s + 1) * (s + 1) <= n - 1) ++s;
    const int64_t d = n - s * s - 1;
    const String first = bracket_code(d % 2 == 0 ? d / 2 : s);
    const String rest = bracket_code(d % 2 == 0 ? s : d / 2);
    return concat(concat("[", first.view()).view(), rest.view().substr(1));
}

std::string_view code_of_byte(uint8_t byte) { return char_map().code[byte].view(); }

std::optional<uint8_t> byte_of_code(std::string_view text) {
    const CharMap& map = char_map();
    if (text.size() < map.shortest || text.size() > map.longest) return std::nullopt;
    const auto found = map.byte.find(text);
    if (found == map.byte.end()) return std::nullopt;
    return found->second;
}

std::string_view escape_of_byte(char byte) {
    switch (byte) {
        case '\n': return "[p]";
        case '[': return "[q]";
        case ']': return "[r]";
        default: return {};
    }
}

bool is_balanced(std::string_view body) {
    int64_t depth = 0;
    for (const char byte : body) {
        if (byte == '[') ++depth;
        if (byte == ']' && --depth < 0) return false;
    }
    return depth == 0;
}

bool balances_without(std::string_view end) {
    return std::count(end.begin(), end.end(), '[') == std::count(end.begin(), end.end(), ']');
}

Value zits_with_size(int64_t n) {
    Value made = leaf_with_size('[', n + 2);
    leaf_text(made)[n + 1] = ']';
    return made;
}

Value zits_make(std::string_view body) {
    Value made = zits_with_size(static_cast<int64_t>(body.size()));
    if (!body.empty()) memcpy(leaf_text(made) + 1, body.data(), body.size());
    return made;
}

Value zits_resized(Value leaf, int64_t n) {
    const int64_t old = length(leaf);
    Value made = resized_leaf(std::move(leaf), old, n + 2);
    leaf_text(made)[n + 1] = ']';
    return made;
}

std::string_view zits_body(Node* leaf) {
    MARL_REQUIRE(is_leaf_of(leaf, '['));
    const std::string_view text = leaf_bytes(leaf);
    return text.substr(1, text.size() - 2);
}

bool zits_is_empty(Node* x) { return is_leaf_of(x, '[') && leaf_text(x)[1] == ']'; }

Value zits_left(Value x) {
    if (!is_leaf(x)) return Value::share(left(x));
    MARL_REQUIRE(!zits_is_empty(x));
    const std::string_view body = zits_body(x);
    const int64_t n = last_element(body);
    if (count_of(x) == 1) return zits_resized(std::move(x), n);
    return zits_make(body.substr(0, n));
}

Value zits_right(Node* x) {
    if (!is_leaf(x)) return Value::share(right(x));
    MARL_REQUIRE(!zits_is_empty(x));
    const std::string_view element = zits_body(x).substr(last_element(zits_body(x)));
    return leaf(element[0] == '[' ? element : code_of_byte(static_cast<uint8_t>(element[0])));
}

Value zits_flatten(Value x) {
    if (is_leaf(x)) return x;
    std::string text;
    join_tree(x, parts_of_zits, text);
    return leaf_of_text(text);
}

String zits_text(Node* x) {
    if (is_leaf(x)) return String(zits_body(x));
    std::string text;
    join_tree(x, parts_of_zits, text);
    return String(std::string_view(text).substr(1, text.size() - 2));
}

int64_t zits_size(Node* x) { return is_leaf(x) ? length(x) : zits_text(x).length() + 2; }

Value zits_tree(Node* x) {
    TreeBuilder builder;
    const auto begin = [&](Node* node) {
        if (is_leaf(node)) builder.push_text(leaf_bytes(node));
        return !is_leaf(node);
    };
    walk_both_ways(x, begin, [&](Node*) { builder.join(); });
    return builder.pop();
}

Value zits_of_tree(Node* tree) {
    std::string text;
    return join_tree(tree, parts_of_cell, text) ? leaf_of_text(text) : leaf_Z();
}

Node* tree_in_form(Node* x) {
    if (is_leaf(x) || is_leaf(left(x))) return nullptr;
    Node* selector = right(left(x));
    const bool formed = is_leaf_of(left(left(x)), 'V') && !is_leaf(selector) &&
                        is_leaf_of(left(selector), 'X') && is_leaf_of(right(selector), 'J');
    return formed ? right(x) : nullptr;
}

Value zits_expand(Node* x) {
    const auto image = [](Node* node) {
        if (is_leaf(node)) return expand_leaf(node);
        return is_code_of_byte(right(node)) ? zits_flatten(Value::share(node)) : Value();
    };
    return rebuild(x, image, pair);
}

}  // namespace marl
