// post: byte strings of any content.
//
// A post is a Leaf of "(", the payload's length in base 64, ")" and the payload. Its format is
// known here and in value/value.cpp alone.
#pragma once

#include <optional>
#include <string_view>

#include "text/string.h"
#include "value/value.h"

namespace marl {

/// A new post of the bytes.
Value post_make(std::string_view bytes);
/// A new post of n bytes that are not set; the caller fills `post_data`.
Value post_with_size(int64_t n);

/// The payload, borrowed: good while the post lives. A NUL stands behind it. What is no post is a
/// fatal stop, here and below.
std::string_view post_payload(Node* post);
/// The payload for writing, on a post that nobody else can see.
char* post_data(Node* post);
inline int64_t post_length(Node* post) { return post_extent(post).length; }

/// A post made n bytes long; further bytes are not set. Consumes the post, which nobody else may
/// hold.
Value post_resized(Value post, int64_t n);

struct PostHalves {
    Value low;
    Value high;
};
/// The first s bytes and the rest, s the largest power of two below the length, which is 2 or more.
PostHalves post_halves(Node* post);

/// The bytes of a tree, left to right: K, a byte as a tree of eight Leaves, or a J cell of two
/// trees. Nothing when x is no tree of bytes.
std::optional<String> post_of_tree(Node* x);

}  // namespace marl
