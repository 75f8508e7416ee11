// Value: an owning handle on a node, and the ways to make and read nodes.
//
// A handle owns one unit of its node's count. Functions that consume a Value take it by value;
// functions that only look take a `Node*`, which a Value converts to. A handle is null only after
// it was moved from.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "text/string.h"
#include "value/node.h"

namespace marl {

class Value {
  public:
    Value() = default;
    Value(const Value& other) : node_(other.node_) {
        if (node_) retain(node_);
    }
    Value(Value&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}
    Value& operator=(const Value& other) {
        if (node_ != other.node_) *this = Value(other);
        return *this;
    }
    Value& operator=(Value&& other) noexcept {
        // The new node is in place before the old one dies: its end may run a todo action.
        Node* old = std::exchange(node_, std::exchange(other.node_, nullptr));
        if (old) release(old);
        return *this;
    }
    ~Value() {
        if (node_) release(node_);
    }

    /// Takes over a reference that the caller owns.
    static Value adopt(Node* node) {
        Value value;
        value.node_ = node;
        return value;
    }
    /// One more reference to a borrowed node; null is a fatal stop.
    static Value share(Node* node) {
        MARL_REQUIRE(node);
        retain(node);
        return adopt(node);
    }
    /// Gives the reference up to the caller, and leaves null.
    Node* take() { return std::exchange(node_, nullptr); }

    Node* get() const { return node_; }
    operator Node*() const { return node_; }
    explicit operator bool() const { return node_ != nullptr; }

  private:
    Node* node_ = nullptr;
};

/// A new Leaf of the bytes, which may hold NULs. `span` is the length on a digit or "[" Leaf below
/// the limit. The empty Leaf is the one of no bytes. Crays are made by number/cray.h.
Value leaf(std::string_view text);
/// A new Leaf of a name of one byte, born with its symbol if that is known.
Value letter_leaf(char letter, Symbol* symbol = nullptr);
inline Value leaf(const char* text) { return leaf(std::string_view(text)); }
inline Value leaf(const String& text) { return leaf(text.view()); }
/// A new Leaf of `length` bytes that begins with `kind`, the rest not set; the caller fills
/// `leaf_text`. The NUL stands.
Value leaf_with_size(char kind, int64_t length);
/// What such a Leaf has in front of its header, in bytes: the word for a name's symbol, the length
/// of a text that is too long for `span`, or room for the limbs of a long number
/// (value/long_number.h).
size_t leaf_front_size(uint8_t kind, int64_t length);
/// A new cray of n slots, each of them null. n is below `cray_limit`.
Value cray_with_size(int64_t n);

/// A new Pair, not analysed. Consumes both.
Value pair(Value left, Value right);
/// The left-nested application of f to the arguments.
template <class... Rest>
Value apply(Value f, Value x, Rest... rest) {
    if constexpr (sizeof...(rest) == 0) {
        return pair(std::move(f), std::move(x));
    } else {
        return apply(pair(std::move(f), std::move(x)), std::move(rest)...);
    }
}

/// The length of a Leaf's text in bytes; 0 for a Pair. 8n + 1 for a cray of n elements.
int64_t length(Node* node);
/// The whole text of a Leaf, kind byte first, borrowed; empty for a Pair. A cray's are its raw
/// bytes.
std::string_view leaf_bytes(Node* node);
/// The same as a String of its own.
inline String text(Node* node) { return String(leaf_bytes(node)); }
inline bool is_leaf_text(Node* node, std::string_view bytes) {
    const bool may_be = is_leaf(node) && (bytes.empty() || *leaf_text(node) == bytes[0]);
    return may_be && leaf_bytes(node) == bytes;
}

/// The slots of a cray, unaligned and of 64 bits: read and write them through these. Each holds a
/// Word; 0 is an empty slot.
constexpr int64_t cray_slot_size = 8;
inline Word cray_word(Node* cray, int64_t i) {
    Word word;
    memcpy(&word, leaf_text(cray) + 1 + i * cray_slot_size, sizeof word);
    return word;
}
inline void set_cray_word(Node* cray, int64_t i, Word word) {
    memcpy(leaf_text(cray) + 1 + i * cray_slot_size, &word, sizeof word);
}
/// The node in a slot, made there when the slot holds none; null in an empty one. Borrowed.
Node* cray_slot(Node* cray, int64_t i);

/// For a post Leaf: where its payload begins in the Leaf's text, and how many bytes it has.
struct PostExtent {
    int64_t offset;
    int64_t length;
};
/// Where a payload of n bytes begins: behind "(", the digits of n and ")".
inline int64_t post_offset(int64_t n) {
    static constexpr auto offsets = [] {
        std::array<uint8_t, 65> by_width{};
        for (size_t width = 0; width <= 64; ++width) {
            by_width[width] = static_cast<uint8_t>((width + 5) / 6 + 2);
        }
        return by_width;
    }();
    return offsets[static_cast<size_t>(std::bit_width(static_cast<uint64_t>(n)))];
}
/// The same by what the text says.
PostExtent read_post_extent(Node* post);
inline PostExtent post_extent(Node* post) {
    const int64_t known = span_of(post);
    if (known == 0 || first_byte(post) != '(') return read_post_extent(post);
    return {post_offset(known), known};
}
/// Keeps the length of a payload in the header, where no program can look at it.
void keep_post_length(Node* post, int64_t n);

/// The total order on Values, with the sign turned round: 1 when a sorts before b, 0 when they are
/// equal, -1 when a sorts after b. Leaves sort before Pairs; Leaves by unsigned bytes, then the
/// shorter first; Pairs by their left children, then their right ones.
int compare(Node* a, Node* b);

/// The digit alphabet of counts and positions, value 0 to 63.
extern const char base64_digits[65];
/// A position, 0 to 0x40000000, as five digits, most significant first; "!!!!!" for the largest.
/// Anything else is a fatal stop.
String base64_name(int64_t n);

/// The text that a person would have written for a Value. Looks at the structure only.
String print_value(Node* node);
/// The same. `place` becomes where in it the right child of `pair` begins, which is in it once.
String print_value(Node* node, const Node* pair, size_t& place);

}  // namespace marl
