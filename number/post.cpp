// The count in front of the payload is written at once at its final length. A tree of bytes is read
// from left to right with a work list, eight Leaves to a byte.
#include "number/post.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "text/rope.h"
#include "value/resize.h"

namespace marl {

namespace {

/// The parts of a J cell; null when x is none.
struct Cell {
    Node* head = nullptr;
    Node* tail = nullptr;
};
Cell cell_of(Node* x) {
    if (is_leaf(x)) return {};
    Node* function = left(x);
    if (is_leaf(function) || first_byte(left(function)) != 'J') return {};
    return {right(function), right(x)};
}

/// Reads the Leaves of a perfect tree of 2^depth bits into `byte`, from bit `low` on; false when x
/// has another shape.
bool read_bits(Node* x, int depth, int low, int& byte) {
    if (depth == 0) {
        if (is_leaf_of(x, 'I')) byte |= 1 << low;
        return is_leaf(x);
    }
    const Cell cell = cell_of(x);
    return cell.head && read_bits(cell.head, depth - 1, low, byte) &&
           read_bits(cell.tail, depth - 1, low + (1 << (depth - 1)), byte);
}

/// The byte that x has the form of.
std::optional<char> byte_of(Node* x) {
    constexpr int depth = 3;
    int byte = 0;
    if (!read_bits(x, depth, 0, byte)) return std::nullopt;
    return static_cast<char>(byte);
}

/// Walks a tree of bytes from left to right; false when x is none. Each byte goes to `take`.
template <class Take>
bool walk_tree(Node* x, Take take) {
    std::vector<Node*> rest{x};
    while (!rest.empty()) {
        Node* tree = rest.back();
        rest.pop_back();
        if (is_leaf_of(tree, 'K')) continue;
        if (const auto byte = byte_of(tree)) {
            take(*byte);
            continue;
        }
        const Cell cell = cell_of(tree);
        if (!cell.head) return false;
        rest.push_back(cell.tail);
        rest.push_back(cell.head);
    }
    return true;
}

void write_length(Node* post, int64_t n) {
    keep_post_length(post, n);
    char* text = leaf_text(post);
    int64_t i = post_offset(n) - 1;
    text[i] = ')';
    for (int64_t rest = n; rest != 0; rest /= 64) text[--i] = base64_digits[rest % 64];
}

}  // namespace

Value post_with_size(int64_t n) {
    MARL_REQUIRE(n >= 0);
    if (n > INT64_MAX - 64) out_of_memory();  // no sum below wraps
    Value made = leaf_with_size('(', post_offset(n) + n);
    write_length(made, n);
    return made;
}

Value post_resized(Value post, int64_t n) {
    const PostExtent old = post_extent(post);
    const int64_t offset = post_offset(n);
    const auto kept = static_cast<size_t>(std::min(old.length, n));
    const auto move = [&] {
        char* text = leaf_text(post);
        if (offset != old.offset) memmove(text + offset, text + old.offset, kept);
    };
    if (offset < old.offset) move();
    post = resized_leaf(std::move(post), old.offset + old.length, offset + n);
    if (offset > old.offset) move();
    write_length(post, n);
    return post;
}

Value post_make(std::string_view bytes) {
    Value made = post_with_size(static_cast<int64_t>(bytes.size()));
    if (!bytes.empty()) memcpy(post_data(made), bytes.data(), bytes.size());
    return made;
}

std::string_view post_payload(Node* post) {
    const PostExtent extent = post_extent(post);
    return {leaf_text(post) + extent.offset, static_cast<size_t>(extent.length)};
}

char* post_data(Node* post) { return leaf_text(post) + post_extent(post).offset; }

PostHalves post_halves(Node* post) {
    const std::string_view bytes = post_payload(post);
    MARL_REQUIRE(bytes.size() >= 2);
    const size_t low = std::bit_floor(bytes.size() - 1);
    return {post_make(bytes.substr(0, low)), post_make(bytes.substr(low))};
}

std::optional<String> post_of_tree(Node* x) {
    Rope bytes;
    if (!walk_tree(x, [&](char byte) { rope_push(bytes, byte); })) return std::nullopt;
    return rope_flatten(bytes);
}

}  // namespace marl
