// One function for each built-in, which picks the case by the kind of its first argument, and one
// small function for each case. An index is first counted from the end where it is negative, then
// tested, then used; nothing is changed before all arguments have been found to fit.
#include "library/elements.h"

#include <bit>
#include <cstring>
#include <optional>

#include "number/convert.h"
#include "number/cray.h"
#include "number/digits.h"
#include "number/kind.h"
#include "number/post.h"
#include "number/word_results.h"
#include "number/zits.h"
#include "reduce/needs.h"
#include "text/bit_cast.h"
#include "value/real_word.h"
#include "value/short_hint.h"

namespace marl {

namespace {

constexpr int64_t real_bits = 64;

int64_t from_end(int64_t i, int64_t n) { return i < 0 ? i + n : i; }
int64_t size_of(std::string_view bytes) { return static_cast<int64_t>(bytes.size()); }

/// Whether v is a bit, the Leaf H or K.
bool is_bit(Node* v) { return is_leaf_of(v, 'H') || is_leaf_of(v, 'K'); }

Value look_byte(std::string_view bytes, int64_t i) {
    const int64_t n = size_of(bytes);
    const int64_t at = from_end(i, n);
    return at >= 0 && at < n ? from_i64(static_cast<uint8_t>(bytes[at])) : leaf_Z();
}

Value look_cray(Node* cray, int64_t i) {
    const int64_t n = cray_length(cray);
    const int64_t at = from_end(i, n);
    return at >= 0 && at < n ? cray_at(cray, at) : leaf_Z();
}

/// A bit of a list, whose end and what lies beyond it can be seen as well.
Value look_number(Node* x, int64_t i) {
    int64_t n;
    if (short_hint(x, n)) {
        // The list of an integer is its magnitude with two bits below, for the kind and the sign.
        const uint64_t list =
            n < 0 ? static_cast<uint64_t>(-n) * 4 + 1 : static_cast<uint64_t>(n) * 4 + 3;
        const int64_t at = from_end(i, std::bit_width(list) - 1);
        if (at < 0) return leaf_Z();
        return truth(at < real_bits && (list >> at & 1) != 0);
    }
    const std::optional<String> bits = bits_of(x);
    if (!bits) return leaf_Z();
    const int64_t at = from_end(i, list_length(*bits));
    return at >= 0 ? truth(bit_get(at, *bits)) : leaf_Z();
}

Value look_real(Node* x, int64_t i) {
    const auto bits = bit_cast<uint64_t>(to_double(x));
    const int64_t at = from_end(i, real_bits);
    if (at < 0 || at > real_bits) return leaf_Z();
    return truth(at < real_bits && (bits >> at & 1) != 0);
}

// For cork: `at` is the place of a byte or slot, found to be in bounds, and `slot` the argument
// that holds the aggregate.

bool is_held_elsewhere(const Value& slot) { return count_of(slot) != 1; }

Value cork_post(Value& slot, int64_t i, Node* v) {
    const std::string_view bytes = post_payload(slot);
    const int64_t at = from_end(i, size_of(bytes));
    if (!is_integer(v) || at < 0 || at >= size_of(bytes)) return leaf_Z();
    Value made = is_held_elsewhere(slot) ? post_make(bytes) : std::move(slot);
    post_data(made)[at] = static_cast<char>(to_i64(v));
    return made;
}

bool is_bracket(char byte) { return byte == '[' || byte == ']'; }

Value cork_zits(Value& slot, int64_t i, Node* v) {
    if (!is_integer(v)) return leaf_Z();
    slot = zits_flatten(std::move(slot));
    const std::string_view body = zits_body(slot);
    const int64_t at = from_end(i, size_of(body));
    const auto byte = static_cast<char>(to_i64(v));
    // A bracket, gone or new, would break the balance.
    if (at < 0 || at >= size_of(body) || is_bracket(body[at]) || is_bracket(byte)) return leaf_Z();
    Value made = is_held_elsewhere(slot) ? zits_make(body) : std::move(slot);
    leaf_text(made)[1 + at] = byte;
    return made;
}

Value cork_cray(Value& slot, int64_t i, Value v) {
    const int64_t n = cray_length(slot);
    const int64_t at = from_end(i, n);
    if (at < 0 || at >= n) return leaf_Z();
    Value made = is_held_elsewhere(slot) ? cray_slice(slot, 0, n) : std::move(slot);
    // The old element goes when the new one is in place: its end may run a todo action.
    if (const Word old = cray_store(made, at, slot_word(std::move(v)))) release_word(old);
    return made;
}

bool has_set_bit(const String& bits) {
    return bits.view().find_first_not_of('\0') != std::string_view::npos;
}

Value cork_number(Node* x, int64_t i, Node* v) {
    std::optional<String> bits = bits_of(x);
    if (!is_bit(v) || !bits) return leaf_Z();
    const int64_t at = from_end(i, list_length(*bits));
    if (at < 0) return leaf_Z();
    const bool bit = is_leaf_of(v, 'K');
    // A bit that is clear anyway needs no room.
    if (bit || bit_get(at, *bits)) bit_set(at, bit, *bits);
    return has_set_bit(*bits) ? value_of_bits(*bits) : leaf_Z();
}

Value cork_real(Node* x, int64_t i, Node* v) {
    const int64_t at = from_end(i, real_bits);
    if (at < 0 || at >= real_bits || !is_bit(v)) return leaf_Z();
    auto bits = bit_cast<uint64_t>(to_double(x));
    const uint64_t mask = uint64_t{1} << at;
    bits = is_leaf_of(v, 'K') ? bits | mask : bits & ~mask;
    return from_double(bit_cast<double>(bits));
}

/// The bounds of a slice; nothing when they lie outside.
struct Slice {
    int64_t first;
    int64_t last;
};
std::optional<Slice> slice_of(int64_t first, int64_t last, int64_t n) {
    const Slice slice{from_end(first, n), from_end(last, n)};
    if (slice.first < 0 || slice.first > slice.last || slice.last > n) return std::nullopt;
    return slice;
}

std::optional<Slice> trim_bounds(int64_t first, int64_t last, int64_t n) {
    if (first == last) return Slice{0, 0};  // even out of bounds
    return slice_of(first, last, n);
}

std::string_view part_of(std::string_view bytes, const Slice& slice) {
    return bytes.substr(slice.first, slice.last - slice.first);
}

// The front of a text that nobody else holds is that text made shorter.

Value trim_post(Value& slot, int64_t first, int64_t last) {
    const auto slice = trim_bounds(first, last, post_length(slot));
    if (!slice) return leaf_Z();
    if (slice->first == 0 && !is_held_elsewhere(slot)) {
        return post_resized(std::move(slot), slice->last);
    }
    return post_make(part_of(post_payload(slot), *slice));
}

Value trim_zits(Value& slot, int64_t first, int64_t last) {
    slot = zits_flatten(std::move(slot));
    const auto slice = trim_bounds(first, last, size_of(zits_body(slot)));
    if (!slice) return leaf_Z();
    if (slice->first == 0 && !is_held_elsewhere(slot)) {
        if (!balances_without(zits_body(slot).substr(slice->last))) return leaf_Z();
        return zits_resized(std::move(slot), slice->last);
    }
    const std::string_view part = part_of(zits_body(slot), *slice);
    return is_balanced(part) ? zits_make(part) : leaf_Z();
}

Value trim_cray(Node* x, int64_t first, int64_t last) {
    const auto slice = slice_of(first, last, cray_length(x));
    return slice ? cray_slice(x, slice->first, slice->last) : leaf_Z();
}

Value trim_any(Value& slot, int64_t first, int64_t last) {
    switch (kind_of(slot)) {
        case 'a': return trim_post(slot, first, last);
        case 'u': return trim_zits(slot, first, last);
        case 'c': return trim_cray(slot, first, last);
        default: return leaf_Z();
    }
}

// On Words.

/// The Leaf that a Word is; null when it is none.
Node* leaf_argument(Word word) {
    return is_node(word) && is_leaf(node_of(word)) ? node_of(word) : nullptr;
}

/// Makes n the result. Consumes the aggregate.
bool give_short(int64_t n, Node* x, Word& result) {
    release(x);
    result = word_of_short(n);
    return true;
}

bool byte_at(std::string_view bytes, int64_t i, int64_t& n) {
    const int64_t at = from_end(i, size_of(bytes));
    if (at < 0 || at >= size_of(bytes)) return false;
    n = static_cast<uint8_t>(bytes[at]);
    return true;
}

/// An element of a cray that is there. Consumes the cray.
bool give_element(Node* cray, int64_t i, Word& result) {
    const int64_t n_slots = span_of(cray);
    const int64_t at = from_end(i, n_slots);
    if (at < 0 || at >= n_slots) return false;
    const Word element = cray_word(cray, at);
    if (element == 0) return false;
    if (!is_node(element) || !as_plain_word(node_of(element), result)) {
        result = shared_word(element);
    }
    release(cray);
    return true;
}

/// Puts a Word into a slot. Consumes it.
void put_element(Node* cray, int64_t at, Word word) {
    if (is_node(word) && is_leaf_of(node_of(word), 'U')) {
        release_word(word);
        word = 0;
    }
    const Word old = cray_word(cray, at);
    set_cray_word(cray, at, word);
    if (old != 0) release_word(old);
}

/// Writes bytes to an address that the program answers for.
Value write_bytes(Node* address, std::string_view bytes) {
    if (!bytes.empty())
        memcpy(reinterpret_cast<void*>(to_i64(address)), bytes.data(), bytes.size());
    return leaf_I();
}

}  // namespace

Value look(Value* arguments) {
    Node* x = arguments[0];
    if (!is_integer(arguments[1])) return leaf_Z();
    const int64_t i = to_i64(arguments[1]);
    switch (kind_of(x)) {
        case 'a': return look_byte(post_payload(x), i);
        case 'u': return look_byte(zits_body(zits_flatten(Value::share(x))), i);
        case 'c': return look_cray(x, i);
        case 'i':
        case 'o': return look_number(x, i);
        case 'r': return look_real(x, i);
        default: return leaf_Z();
    }
}

Value cork(Value* arguments) {
    Value& x = arguments[0];
    if (!is_integer(arguments[1])) return leaf_Z();
    const int64_t i = to_i64(arguments[1]);
    switch (kind_of(x)) {
        case 'a': return cork_post(x, i, arguments[2]);
        case 'u': return cork_zits(x, i, arguments[2]);
        case 'c': return cork_cray(x, i, std::move(arguments[2]));
        case 'i':
        case 'o': return cork_number(x, i, arguments[2]);
        case 'r': return cork_real(x, i, arguments[2]);
        default: return leaf_Z();
    }
}

bool look_on_words(Word* arguments, Word& result) {
    Node* x = leaf_argument(arguments[0]);
    if (!x || !is_short(arguments[1])) return false;
    const int64_t i = short_of(arguments[1]);
    if (first_byte(x) == '\n') return give_element(x, i, result);
    int64_t n;
    switch (kind_of(x)) {
        case 'a': return byte_at(post_payload(x), i, n) && give_short(n, x, result);
        case 'u': return byte_at(zits_body(x), i, n) && give_short(n, x, result);
        default: return false;
    }
}

bool cork_on_words(Word* arguments, Word& result) {
    Node* x = leaf_argument(arguments[0]);
    if (!x || count_of(x) != 1 || !is_short(arguments[1])) return false;
    const bool is_cray = first_byte(x) == '\n';
    if (!is_cray && (kind_of(x) != 'a' || !is_short(arguments[2]))) return false;
    const int64_t n = is_cray ? span_of(x) : post_length(x);
    const int64_t at = from_end(short_of(arguments[1]), n);
    if (at < 0 || at >= n) return false;
    result = arguments[0];
    if (is_cray) {
        put_element(x, at, arguments[2]);
    } else {
        post_data(x)[at] = static_cast<char>(short_of(arguments[2]));
    }
    return true;
}

bool count_on_words(Word* arguments, Word& result) {
    Node* x = leaf_argument(arguments[0]);
    if (!x) return false;
    switch (kind_of(x)) {
        case 'a': return give_short(post_length(x), x, result);
        case 'c': return give_short(cray_length(x), x, result);
        case 'u': return give_short(zits_size(x) - 2, x, result);
        default: return false;
    }
}

Value trim(Value* arguments) {
    if (!is_integer(arguments[1]) || !is_integer(arguments[2])) return leaf_Z();
    return trim_any(arguments[0], to_i64(arguments[1]), to_i64(arguments[2]));
}

bool trim_on_words(Word* arguments, Word& result) {
    const bool fits = is_node(arguments[0]) && is_short(arguments[1]) && is_short(arguments[2]);
    if (!fits) return false;
    Value x = Value::adopt(node_of(arguments[0]));
    result = word_of_new(trim_any(x, short_of(arguments[1]), short_of(arguments[2])));
    return true;
}

Value copy_bytes(Value* arguments) {
    Node* x = arguments[0];
    Node* address = arguments[1];
    if (!is_integer(address)) return leaf_Z();
    switch (kind_of(x)) {
        case 'a': return write_bytes(address, post_payload(x));
        case 'r':
        case 'c': return write_bytes(address, leaf_bytes(x).substr(1));
        case 'u': return write_bytes(address, zits_body(zits_flatten(Value::share(x))));
        case 'i':
        case 'o': {
            const std::optional<String> digits = digits_of(x);
            return digits ? write_bytes(address, digits->view()) : leaf_Z();
        }
        default: return leaf_Z();
    }
}

Value count_elements(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'a': return from_i64(post_length(x));
        case 'r': return from_i64(sizeof(double));
        case 'c': return from_i64(cray_length(x));
        case 'u': return from_i64(zits_size(x) - 2);
        case 'i':
        case 'o': {
            if (is_leaf(x)) return from_i64(length(x));
            const std::optional<String> digits = digits_of(x);
            return digits ? from_i64(digits->length()) : leaf_Z();
        }
        default: return leaf_Z();
    }
}

}  // namespace marl
