// The built-ins that bring data of any kind to a zits, from one to the raw bytes of a post and
// back, and to a real.
#include <cstdlib>
#include <span>

#include "number/convert.h"
#include "number/cray.h"
#include "number/digits.h"
#include "number/kind.h"
#include "number/numb.h"
#include "number/post.h"
#include "number/real.h"
#include "number/zits.h"
#include "reduce/tables.h"
#include "text/rope.h"

namespace marl {

namespace {

/// The text that a byte string already is, unless it has a newline or its brackets don't balance.
Value text_of_bytes(std::string_view bytes) {
    const bool fits = bytes.find('\n') == std::string_view::npos && is_balanced(bytes);
    return fits ? zits_make(bytes) : leaf_Z();
}

Value text_of_code(Node* hint) {
    if (!is_list(hint)) return leaf_Z();
    const auto byte = static_cast<char>(to_i64(hint));
    // A newline is written as it is here.
    if (byte == '[' || byte == ']') return zits_make(escape_of_byte(byte));
    return zits_make({&byte, 1});
}

Value zits(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'u': return zits_flatten(std::move(arguments[0]));
        case 'a': return text_of_bytes(post_payload(x));
        case 'r': return zits_make(real_text(x).view());
        case 'i': return text_of_code(x);
        case 'c': return leaf(cray_to_zits(x));
        case 'e': {
            Node* tree = tree_in_form(x);
            return tree ? zits_of_tree(tree) : leaf_Z();
        }
        default: return leaf_Z();
    }
}

Value escape_post(std::string_view bytes) {
    Rope body;
    for (const char byte : bytes) {
        if (byte == '[' || byte == ']') {
            rope_append(body, escape_of_byte(byte));
        } else {
            rope_push(body, byte);
        }
    }
    return zits_make(body.bytes);
}

Value unescape_text(std::string_view body) {
    constexpr size_t element_size = 3;
    Rope bytes;
    for (size_t i = 0; i < body.size();) {
        if (body[i] == ']') return leaf_Z();
        if (body[i] != '[') {
            rope_push(bytes, body[i++]);
            continue;
        }
        const std::string_view element = body.substr(i, element_size);
        if (element == "[p]") {
            rope_push(bytes, '\n');
        } else if (element == "[q]") {
            rope_push(bytes, '[');
        } else if (element == "[r]") {
            rope_push(bytes, ']');
        } else {
            return leaf_Z();
        }
        i += element_size;
    }
    return post_make(bytes.bytes);
}

Value cape(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'a': return escape_post(post_payload(x));
        case 'u': return unescape_text(zits_body(zits_flatten(Value::share(x))));
        default: return leaf_Z();
    }
}

Value real(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'r': return std::move(arguments[0]);
        case 'i': return hint_to_real(x);
        case 'o': return numb_to_real(x);
        case 'a': return from_double(strtod(post_payload(x).data(), nullptr));
        case 'u': return from_double(atof(zits_text(x).data()));
        default: return real_is_tree(x) ? from_double(real_fold(x)) : leaf_Z();
    }
}

constexpr Builtin rows[] = {
    {"zits", 1, zits},
    {"cape", 1, cape},
    {"real", 1, real},
};

}  // namespace

std::span<const Builtin> text_rows() { return rows; }

}  // namespace marl
