// Making Leaves, and reading them back. How long a Leaf is stands in one of three places, by its
// first byte: in the header (text and digits that are not too long, crays, and posts where nobody
// can look at it), in the text itself (the count in front of a post's payload), or at its NUL. Text
// too long for the header has its length in a word in front of it; digits too long for it are
// measured again at each question.
#include "value/value.h"

#include <array>
#include <bit>
#include <cstring>
#include <new>

#include "value/identity.h"
#include "value/long_number.h"
#include "value/resize.h"
#include "value/word.h"

namespace marl {

constexpr char base64_digits[65] =
    "_abcdefghijklmnopqrustvwzxy0123456789ABCDEFGHIJKLMNOPQRUSTVWZXY~";

namespace {

constexpr std::array<int8_t, 256> make_base64_values() {
    std::array<int8_t, 256> values{};
    values.fill(-1);
    for (int i = 0; i < 64; ++i) {
        values[static_cast<uint8_t>(base64_digits[i])] = static_cast<int8_t>(i);
    }
    return values;
}
constexpr auto base64_values = make_base64_values();

bool caches_length(uint8_t kind) { return kind == '[' || is_digit_byte(kind); }

/// The length of a digit or "[" text that is too long for `span`.
int64_t uncached_length(Node* leaf) {
    const char* bytes = leaf_text(leaf);
    const int64_t n = *bytes == '[' ? long_text_length(leaf) : static_cast<int64_t>(strlen(bytes));
    MARL_REQUIRE(n >= span_limit);
    return n;
}

}  // namespace

size_t leaf_front_size(uint8_t kind, int64_t n) {
    if (is_name_byte(kind)) return sizeof(SymbolWord);
    if (kind == '[') return n >= span_limit ? sizeof(int64_t) : 0;
    return is_digit_byte(kind) && n >= long_length ? leaf_limbs_size : 0;
}

Value leaf_with_size(char kind, int64_t n) {
    const uint8_t byte = n > 0 ? static_cast<uint8_t>(kind) : uint8_t{0};
    const size_t size = sizeof(Node) + static_cast<size_t>(n) + 1;
    const size_t front = leaf_front_size(byte, n);
    const bool is_text = byte == '[' || byte == '(';
    const size_t block_size = is_text ? text_block_size(front + size) : front + size;
    const bool is_long_number = is_digit_byte(byte) && front > 0;
    char* block = static_cast<char*>(is_long_number ? allocate_long_node(block_size)
                                                    : allocate_node(block_size));
    auto* node = reinterpret_cast<Node*>(block + front);
    if (is_name_byte(byte)) {
        symbol_slot(node) = nullptr;
    } else if (byte == '[' && front > 0) {
        long_text_length(node) = n;
    } else if (is_long_number) {
        new (&leaf_limbs(node)) LeafLimbs;
    }
    node->header = leaf_bit | 1;
    if (caches_length(byte) && n < span_limit) {
        node->header |= static_cast<uint64_t>(n) << span_shift;
    }
    char* bytes = leaf_text(node);
    bytes[0] = static_cast<char>(byte);
    bytes[n] = 0;
    return Value::adopt(node);
}

Value letter_leaf(char letter, Symbol* symbol) {
    char* block = static_cast<char*>(allocate_node(letter_leaf_size));
    auto* node = reinterpret_cast<Node*>(block + sizeof(SymbolWord));
    node->header = leaf_bit | 1;
    symbol_slot(node) = symbol;
    leaf_text(node)[0] = letter;
    leaf_text(node)[1] = 0;
    return Value::adopt(node);
}

Value leaf(std::string_view bytes) {
    if (bytes.size() == 1 && is_name_byte(static_cast<uint8_t>(bytes[0]))) {
        return letter_leaf(bytes[0]);
    }
    Value made =
        leaf_with_size(bytes.empty() ? '\0' : bytes[0], static_cast<int64_t>(bytes.size()));
    if (!bytes.empty()) memcpy(leaf_text(made), bytes.data(), bytes.size());
    return made;
}

Value cray_with_size(int64_t n) {
    MARL_REQUIRE(n >= 0 && n < cray_limit);
    const size_t slots = static_cast<size_t>(n * cray_slot_size);
    auto* node = static_cast<Node*>(allocate_node(cray_block_size(n)));
    node->header = leaf_bit | (static_cast<uint64_t>(n) << span_shift) | 1;
    char* bytes = leaf_text(node);
    bytes[0] = '\n';
    memset(bytes + 1, 0, slots);
    return Value::adopt(node);
}

Value pair(Value left, Value right) {
    auto* node = static_cast<PairNode*>(allocate_node(sizeof(PairNode)));
    node->header = 1;
    MARL_REQUIRE(left && right);
    node->left = left.take();
    node->right = word_of(right.take());
    return Value::adopt(node);
}

void keep_post_length(Node* post, int64_t n) {
    set_span(post, !keeps_identity && n < span_limit ? n : 0);
}

PostExtent read_post_extent(Node* post) {
    const char* bytes = leaf_text(post);
    MARL_REQUIRE(*bytes == '(');
    int64_t n = 0;
    int64_t i = 1;
    for (; bytes[i] != ')'; ++i) {
        const int digit = base64_values[static_cast<uint8_t>(bytes[i])];
        MARL_REQUIRE(digit >= 0);
        n = n * 64 + digit;
    }
    return {i + 1, n};
}

int64_t length(Node* node) {
    if (!is_leaf(node)) return 0;
    const uint8_t kind = first_byte(node);
    if (caches_length(kind)) return span_of(node) ? span_of(node) : uncached_length(node);
    switch (kind) {
        case ' ': return 1 + static_cast<int64_t>(sizeof(double));
        case '\n': return cray_slot_size * span_of(node) + 1;
        case '(': {
            const PostExtent extent = post_extent(node);
            return extent.offset + extent.length;
        }
        default: {
            const char* bytes = leaf_text(node);
            if (kind != 0 && bytes[1] == 0) return 1;  // as nearly all names are
            return static_cast<int64_t>(strlen(bytes));
        }
    }
}

std::string_view leaf_bytes(Node* node) {
    if (!is_leaf(node)) return {};
    const int64_t n = length(node);
    if (text_is_due(node, n)) write_due_text(node);
    return {leaf_text(node), static_cast<size_t>(n)};
}

Node* cray_slot(Node* cray, int64_t i) {
    const Word word = cray_word(cray, i);
    if (is_node(word)) return node_of(word);
    Node* const made = force(word);
    set_cray_word(cray, i, word_of(made));
    return made;
}

String base64_name(int64_t n) {
    MARL_REQUIRE(n >= 0 && n <= 0x40000000);
    if (n == 0x40000000) return "!!!!!";
    char digits[6] = {};
    for (int i = 4; i >= 0; --i, n /= 64) digits[i] = base64_digits[n % 64];
    return digits;
}

}  // namespace marl
