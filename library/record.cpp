// The record family: numbers of 1, 2, 4 or 8 bytes, read and written at byte offsets.
//
// A name is "re", a letter for the place and the care taken, and a letter for direction and width:
//
//   rec  the text of a zits inside its outer brackets: bounds tested, brackets kept in balance
//   red  the same of a zits Leaf, no bounds, every holder sees a write
//   ref  raw memory at an address
//   rel  the payload of a post: bounds tested
//   rem  the same, no bounds, every holder sees a write
//
//   h i j k read 1, 2, 4, 8 bytes      l m n o write as many
//
// Numbers are little-endian, unsigned, and need no alignment. A checked write changes the Leaf in
// place when nobody else holds it, and a copy otherwise.

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>

#include "library/convention.h"
#include "library/families.h"
#include "number/zits.h"
#include "reduce/analysis.h"

namespace marl {

namespace {

static_assert(std::endian::native == std::endian::little);

uint64_t load(const char* place, size_t width) {
    uint64_t number = 0;
    memcpy(&number, place, width);
    return number;
}

void store(char* place, size_t width, uint64_t number) { memcpy(place, &number, width); }

/// A negative offset counts from the end. None when the width does not fit there.
std::optional<int64_t> offset_in(int64_t length, int64_t i, size_t width) {
    if (i < 0) i += length;
    if (i < 0 || i > length - static_cast<int64_t>(width)) return std::nullopt;
    return i;
}

/// The bytes of a Leaf that the family works on.
struct Bytes {
    char* start;
    int64_t length;
};

struct Post {
    static bool fits(Node* x) { return first_byte(x) == '('; }
    static bool fits_unchecked(Node* x) { return fits(x); }
    static void flatten(Value&) {}
    static Bytes bytes(Node* post) {
        const PostExtent extent = post_extent(post);
        return {leaf_text(post) + extent.offset, extent.length};
    }
    static bool keeps_balance(Node*, int64_t, const char*, size_t) { return true; }
};

/// How deep brackets go in some bytes, from the depth before them: at their lowest and at their
/// end.
struct Depth {
    int64_t lowest;
    int64_t end;
};

Depth depth_over(const char* bytes, int64_t n) {
    Depth depth{0, 0};
    for (int64_t i = 0; i < n; ++i) {
        if (bytes[i] == '[') ++depth.end;
        if (bytes[i] == ']') --depth.end;
        depth.lowest = std::min(depth.lowest, depth.end);
    }
    return depth;
}

struct Text {
    static bool fits(Node* x) { return is_zits(x); }
    static bool fits_unchecked(Node* x) { return first_byte(x) == '['; }
    static void flatten(Value& x) {
        if (!is_leaf(x)) x = zits_flatten(std::move(x));
    }
    static Bytes bytes(Node* zits) { return {leaf_text(zits) + 1, length(zits) - 2}; }

    /// Whether the text still balances with its bytes at `offset` replaced: as many brackets open
    /// as before, and none closes what was open before the text.
    static bool keeps_balance(Node* zits, int64_t offset, const char* replacement, size_t width) {
        const char* start = bytes(zits).start;
        const Depth before = depth_over(start + offset, static_cast<int64_t>(width));
        const Depth after = depth_over(replacement, static_cast<int64_t>(width));
        if (after.end != before.end) return false;
        return after.lowest >= before.lowest || depth_over(start, offset).end + after.lowest >= 0;
    }
};

template <class Place, size_t width>
Value read_checked(Value* arguments) {
    if (!Place::fits(arguments[0]) || !is_integer(arguments[1])) return leaf_Z();
    Place::flatten(arguments[0]);
    const Bytes bytes = Place::bytes(arguments[0]);
    const auto offset = offset_in(bytes.length, to_i64(arguments[1]), width);
    if (!offset) return leaf_Z();
    return from_u64(load(bytes.start + *offset, width));
}

/// The same on a Leaf and a number that has no node.
template <class Place, size_t width>
bool read_on_words(Word* arguments, Word& result) {
    if (!is_node(arguments[0]) || !is_short(arguments[1])) return false;
    Node* x = node_of(arguments[0]);
    if (!is_leaf(x) || !Place::fits(x)) return false;
    const Bytes bytes = Place::bytes(x);
    const auto offset = offset_in(bytes.length, short_of(arguments[1]), width);
    if (!offset) return false;
    result = word_of_u64(load(bytes.start + *offset, width));
    release(x);
    return true;
}

template <class Place, size_t width>
constexpr Builtin checked(const char* name) {
    return {name, 2, read_checked<Place, width>, read_on_words<Place, width>};
}

template <class Place, size_t width>
Value write_checked(Value* arguments) {
    if (!Place::fits(arguments[0]) || !is_integer(arguments[1]) || !is_integer(arguments[2])) {
        return leaf_Z();
    }
    Place::flatten(arguments[0]);
    Value x = std::move(arguments[0]);
    const auto offset = offset_in(Place::bytes(x).length, to_i64(arguments[1]), width);
    if (!offset) return leaf_Z();
    char replacement[width];
    store(replacement, width, static_cast<uint64_t>(to_i64(arguments[2])));
    if (!Place::keeps_balance(x, *offset, replacement, width)) return leaf_Z();
    if (count_of(x) > 1) x = leaf(leaf_bytes(x));
    memcpy(Place::bytes(x).start + *offset, replacement, width);
    return x;
}

template <class Place, size_t width>
Value read_unchecked(Value* arguments) {
    if (!Place::fits_unchecked(arguments[0]) || !is_integer(arguments[1])) return leaf_Z();
    return from_u64(load(Place::bytes(arguments[0]).start + to_u64(arguments[1]), width));
}

template <class Place, size_t width>
Value write_unchecked(Value* arguments) {
    if (!Place::fits_unchecked(arguments[0]) || !is_integer(arguments[1]) ||
        !is_integer(arguments[2])) {
        return leaf_Z();
    }
    char* place = Place::bytes(arguments[0]).start + to_u64(arguments[1]);
    store(place, width, to_u64(arguments[2]));
    return std::move(arguments[0]);
}

template <size_t width>
uint64_t read_memory(const char* address) {
    return load(address, width);
}

template <size_t width>
void write_memory(char* address, uint64_t number) {
    store(address, width, number);
}

constexpr Builtin rows[] = {
    checked<Text, 1>("rech"),
    checked<Text, 2>("reci"),
    checked<Text, 4>("recj"),
    checked<Text, 8>("reck"),
    {"recl", 3, write_checked<Text, 1>},
    {"recm", 3, write_checked<Text, 2>},
    {"recn", 3, write_checked<Text, 4>},
    {"reco", 3, write_checked<Text, 8>},
    {"redh", 2, read_unchecked<Text, 1>},
    {"redi", 2, read_unchecked<Text, 2>},
    {"redj", 2, read_unchecked<Text, 4>},
    {"redk", 2, read_unchecked<Text, 8>},
    {"redl", 3, write_unchecked<Text, 1>},
    {"redm", 3, write_unchecked<Text, 2>},
    {"redn", 3, write_unchecked<Text, 4>},
    {"redo", 3, write_unchecked<Text, 8>},
    wrap<U(I), read_memory<1>>("refh", 1),
    wrap<U(I), read_memory<2>>("refi", 1),
    wrap<U(I), read_memory<4>>("refj", 1),
    wrap<U(I), read_memory<8>>("refk", 1),
    wrap<V(I, I), write_memory<1>>("refl", 2),
    wrap<V(I, I), write_memory<2>>("refm", 2),
    wrap<V(I, I), write_memory<4>>("refn", 2),
    wrap<V(I, I), write_memory<8>>("refo", 2),
    checked<Post, 1>("relh"),
    checked<Post, 2>("reli"),
    checked<Post, 4>("relj"),
    checked<Post, 8>("relk"),
    {"rell", 3, write_checked<Post, 1>},
    {"relm", 3, write_checked<Post, 2>},
    {"reln", 3, write_checked<Post, 4>},
    {"relo", 3, write_checked<Post, 8>},
    {"remh", 2, read_unchecked<Post, 1>},
    {"remi", 2, read_unchecked<Post, 2>},
    {"remj", 2, read_unchecked<Post, 4>},
    {"remk", 2, read_unchecked<Post, 8>},
    {"reml", 3, write_unchecked<Post, 1>},
    {"remm", 3, write_unchecked<Post, 2>},
    {"remn", 3, write_unchecked<Post, 4>},
    {"remo", 3, write_unchecked<Post, 8>},
};

}  // namespace

std::span<const Builtin> record_rows() { return rows; }

}  // namespace marl
