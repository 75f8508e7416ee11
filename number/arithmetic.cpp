// The operators.
//
// What an operator does follows from the kinds of its operands, and stands in its table: a row for
// each kind of x, a letter for each kind of y, in the order a c e i o r u. A letter is a rule:
//
//   .       no rule: the answer is Z
//   i       both are hints
//   o       both are numbs, or what the operator takes in their place
//   n       numbs, of which one is a hint and is converted first
//   r       reals; what is none is converted first
//   p c t   by the operator's own rule for a post, a cray, a text; P C T the same with the operands
//           the other way round
//   j       a text with another one joined on as its last element: a Pair
//
// Two short integers, which is what most programs do most of the time, never reach the tables.
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <span>

#include "number/convert.h"
#include "number/cray.h"
#include "number/digits.h"
#include "number/hint.h"
#include "number/kind.h"
#include "number/numb.h"
#include "number/post.h"
#include "number/real.h"
#include "number/word_results.h"
#include "number/zits.h"
#include "reduce/tables.h"
#include "value/short_hint.h"

namespace marl {

namespace {

using Rule = Value (*)(Node* x, Node* y);

struct Operator {
    const char* rules[7];
    Rule hints;
    Rule numbs;
    double (*reals)(double, double);
    Rule posts;
    Rule crays;
    Rule texts;
};

/// The place of a kind in the tables.
constexpr std::array<int8_t, 256> make_kind_indexes() {
    std::array<int8_t, 256> indexes{};
    int8_t next = 0;
    for (const char kind : {'a', 'c', 'e', 'i', 'o', 'r', 'u'}) {
        indexes[static_cast<uint8_t>(kind)] = next++;
    }
    return indexes;
}
constexpr auto kind_indexes = make_kind_indexes();

int kind_index(Node* x) { return kind_indexes[static_cast<uint8_t>(kind_of(x))]; }

Value as_numb(Node* x) { return kind_of(x) == 'i' ? hint_to_numb(x) : Value::share(x); }

Value on_numbs(Rule rule, Node* x, Node* y) {
    const Value a = as_numb(x);
    const Value b = as_numb(y);
    // An ill-formed list has become Z.
    return kind_of(a) == 'o' && kind_of(b) == 'o' ? rule(a, b) : leaf_Z();
}

Value as_real(Node* x) {
    switch (kind_of(x)) {
        case 'i': return hint_to_real(x);
        case 'o': return numb_to_real(x);
        default: return Value::share(x);
    }
}

Value on_reals(double (*rule)(double, double), Node* x, Node* y) {
    const Value a = as_real(x);
    const Value b = as_real(y);
    return is_real(a) && is_real(b) ? from_double(rule(to_double(a), to_double(b))) : leaf_Z();
}

Value by_rule(const Operator& op, Node* x, Node* y) {
    switch (op.rules[kind_index(x)][kind_index(y)]) {
        case 'i': return op.hints(x, y);
        case 'o': return op.numbs(x, y);
        case 'n': return on_numbs(op.numbs, x, y);
        case 'r': return on_reals(op.reals, x, y);
        case 'p': return op.posts(x, y);
        case 'P': return op.posts(y, x);
        case 'c': return op.crays(x, y);
        case 'C': return op.crays(y, x);
        case 't': return op.texts(x, y);
        case 'T': return op.texts(y, x);
        case 'j': return pair(Value::share(x), Value::share(y));
        default: return leaf_Z();
    }
}

/// The bytes that an operand adds to a text, and what keeps them alive.
struct Text {
    std::string_view bytes;
    Value node = {};
    String made = {};
};

/// Nothing for an ill-formed list.
std::optional<Text> text_of(Node* x) {
    switch (kind_of(x)) {
        case 'a': return Text{post_payload(x)};
        case 'u': {
            Value flat = zits_flatten(Value::share(x));
            const std::string_view body = zits_body(flat);
            return Text{.bytes = body, .node = std::move(flat)};
        }
        case 'r': {
            String made = real_text(x);
            return Text{.bytes = made.view(), .made = made};
        }
        default: {
            if (is_leaf(x)) return Text{leaf_bytes(x)};
            std::optional<String> digits = digits_of(x);
            if (!digits) return std::nullopt;
            return Text{.bytes = digits->view(), .made = *digits};
        }
    }
}

int64_t size_of(std::string_view bytes) { return static_cast<int64_t>(bytes.size()); }

void fill(char* to, std::string_view bytes) {
    if (!bytes.empty()) memcpy(to, bytes.data(), bytes.size());
}

Value join_posts(Node* x, Node* y) {
    const auto a = text_of(x);
    const auto b = text_of(y);
    if (!a || !b) return leaf_Z();
    Value made = post_with_size(size_of(a->bytes) + size_of(b->bytes));
    char* bytes = post_data(made);
    fill(bytes, a->bytes);
    fill(bytes + a->bytes.size(), b->bytes);
    return made;
}

Value join_texts(Node* x, Node* y) {
    const auto a = text_of(x);
    const auto b = text_of(y);
    if (!a || !b) return leaf_Z();
    Value made = zits_with_size(size_of(a->bytes) + size_of(b->bytes));
    char* body = leaf_text(made) + 1;
    fill(body, a->bytes);
    fill(body + a->bytes.size(), b->bytes);
    return made;
}

constexpr const char no_rule[] = ".......";

constexpr Operator plus_rules = {
    /*aceioru*/
    {"p..pppp",   // a
     ".c.....",   // c
     no_rule,     // e
     "p..inrt",   // i
     "p..nort",   // o
     "p..rrrt",   // r
     "p..tttt"},  // u
    hint_add,
    numb_add,
    [](double x, double y) { return x + y; },
    join_posts,
    cray_concat,
    join_texts};

/// The bytes without the first n for a positive n, else without the last |n|; nothing when there
/// are fewer.
std::optional<std::string_view> cut(std::string_view bytes, int64_t n) {
    const int64_t size = size_of(bytes);
    if (n > size || n < -size) return std::nullopt;
    return n > 0 ? bytes.substr(n) : bytes.substr(0, size + n);
}

Value cut_post(Node* x, Node* n) {
    if (!is_list(n)) return leaf_Z();
    const auto rest = cut(post_payload(x), to_i64(n));
    return rest ? post_make(*rest) : leaf_Z();
}

Value cut_cray(Node* x, Node* n) { return is_list(n) ? cray_cut(x, to_i64(n)) : leaf_Z(); }

Value cut_text(Node* x, Node* n) {
    if (!is_list(n)) return leaf_Z();
    const Value flat = zits_flatten(Value::share(x));
    const std::string_view body = zits_body(flat);
    const auto rest = cut(body, to_i64(n));
    if (!rest) return leaf_Z();
    const size_t cut_off = body.size() - rest->size();
    const bool in_front = rest->data() != body.data();
    const std::string_view gone = in_front ? body.substr(0, cut_off) : body.substr(rest->size());
    return balances_without(gone) ? zits_make(*rest) : leaf_Z();
}

constexpr Operator dash_rules = {
    /*aceioru*/
    {"...p...",   // a
     "...c...",   // c
     no_rule,     // e
     "...inr.",   // i
     "...nor.",   // o
     "...rrr.",   // r
     "...t..j"},  // u
    hint_sub,
    numb_sub,
    [](double x, double y) { return x - y; },
    cut_post,
    cut_cray,
    cut_text};

/// The length of n times `size` bytes; nothing for a negative n and for more than a Leaf can be.
std::optional<int64_t> repeated_size(int64_t size, Node* n) {
    constexpr int64_t header_room = 64;
    if (!is_list(n)) return std::nullopt;
    const int64_t times = to_i64(n);
    int64_t total;
    if (times < 0 || __builtin_mul_overflow(size, times, &total)) return std::nullopt;
    if (total > INT64_MAX - header_room) return std::nullopt;
    return total;
}

/// Fills `total` bytes with repetitions, doubling what stands.
void fill_repeated(char* to, std::string_view bytes, int64_t total) {
    if (total == 0) return;
    fill(to, bytes);
    for (int64_t done = size_of(bytes); done < total;) {
        const int64_t more = std::min(done, total - done);
        memcpy(to + done, to, static_cast<size_t>(more));
        done += more;
    }
}

Value repeat_post(Node* x, Node* n) {
    const std::string_view bytes = post_payload(x);
    const auto total = repeated_size(size_of(bytes), n);
    if (!total) return leaf_Z();
    Value made = post_with_size(*total);
    fill_repeated(post_data(made), bytes, *total);
    return made;
}

Value repeat_cray(Node* x, Node* n) { return is_list(n) ? cray_repeat(x, to_i64(n)) : leaf_Z(); }

Value repeat_text(Node* x, Node* n) {
    const Value flat = zits_flatten(Value::share(x));
    const auto total = repeated_size(size_of(zits_body(flat)), n);
    if (!total) return leaf_Z();
    Value made = zits_with_size(*total);
    fill_repeated(leaf_text(made) + 1, zits_body(flat), *total);
    return made;
}

constexpr Operator mult_rules = {
    /*aceioru*/
    {"...p...",   // a
     "...c...",   // c
     no_rule,     // e
     "PC.inrT",   // i
     "...nor.",   // o
     "...rrr.",   // r
     "...t..."},  // u
    hint_mul,
    numb_mul,
    [](double x, double y) { return x * y; },
    repeat_post,
    repeat_cray,
    repeat_text};

Value prepend_element(Node* x, Node* y) { return cray_prepend(Value::share(y), x); }

constexpr Operator over_rules = {
    /*aceioru*/
    {no_rule,    // a
     "cc.cccc",  // c
     no_rule,    // e
     "...irr.",  // i
     "...r.r.",  // o
     "...rrr.",  // r
     no_rule},   // u
    hint_div,
    nullptr,
    [](double x, double y) { return x / y; },
    nullptr,
    nullptr,
    nullptr};

constexpr Operator cent_rules = {
    /*aceioru*/
    {".C.....",   // a
     ".C.....",   // c
     no_rule,     // e
     ".C.inr.",   // i
     ".C.nor.",   // o
     ".C.rrr.",   // r
     ".C....."},  // u
    hint_mod,
    numb_mod,
    [](double x, double y) { return std::fmod(x, y); },
    nullptr,
    prepend_element,
    nullptr};

constexpr Operator powa_rules = {
    /*aceioru*/
    {no_rule,    // a
     "cc.cccc",  // c
     no_rule,    // e
     "...irr.",  // i
     "...o.r.",  // o
     "...rrr.",  // r
     no_rule},   // u
    hint_pow,
    numb_pow,
    [](double x, double y) { return std::pow(x, y); },
    nullptr,
    nullptr,
    nullptr};

// A text that nobody else holds grows and shrinks at its end in its own place, so that a program
// can build one a little at a time.

bool is_text_of_its_own(Node* x) {
    return count_of(x) == 1 && (is_leaf_of(x, '[') || is_leaf_of(x, '('));
}

/// The text with so many bytes less or more at its end; more are not set.
Value resized_text(Value text, int64_t more) {
    if (is_leaf_of(text, '(')) {
        const int64_t n = post_length(text) + more;
        return post_resized(std::move(text), n);
    }
    const int64_t n = length(text) - 2 + more;
    return zits_resized(std::move(text), n);
}

/// For a y that has a text: not void, no cray, and no post behind a zits.
Value append_text(Value x, Node* y) {
    const auto text = text_of(y);
    if (!text) return leaf_Z();
    Value longer = resized_text(std::move(x), size_of(text->bytes));
    const bool is_post = is_leaf_of(longer, '(');
    // A zits has a bracket behind the body.
    const int64_t end = length(longer) - (is_post ? 0 : 1);
    fill(leaf_text(longer) + end - size_of(text->bytes), text->bytes);
    return longer;
}

/// For an operator whose rule for a cray puts an element behind it. The cray may be nobody else's.
Value append_or_rule(const Operator& op, Value* arguments) {
    Value& x = arguments[0];
    if (is_leaf_of(x, '\n') && op.rules[kind_index(x)][kind_index(arguments[1])] == 'c') {
        return cray_append(std::move(x), std::move(arguments[1]));
    }
    return by_rule(op, x, arguments[1]);
}

Value plus(Value* arguments) {
    int64_t x, y;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y)) return short_leaf(x + y);
    if (is_text_of_its_own(arguments[0])) {
        const char own_rule = is_leaf_of(arguments[0], '(') ? 'p' : 't';
        const char* rules = plus_rules.rules[kind_index(arguments[0])];
        if (rules[kind_index(arguments[1])] == own_rule) {
            return append_text(std::move(arguments[0]), arguments[1]);
        }
    }
    return by_rule(plus_rules, arguments[0], arguments[1]);
}

Value cut_end(Value x, int64_t n) {
    const bool is_post = is_leaf_of(x, '(');
    const std::string_view bytes = is_post ? post_payload(x) : zits_body(x);
    if (n > size_of(bytes)) return leaf_Z();
    if (!is_post && !balances_without(bytes.substr(bytes.size() - n))) return leaf_Z();
    return resized_text(std::move(x), -n);
}

Value dash(Value* arguments) {
    int64_t x, y;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y)) return short_leaf(x - y);
    if (is_text_of_its_own(arguments[0]) && short_hint(arguments[1], y) && y <= 0) {
        return cut_end(std::move(arguments[0]), -y);
    }
    return by_rule(dash_rules, arguments[0], arguments[1]);
}

Value mult(Value* arguments) {
    int64_t x, y, product;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y) &&
        !__builtin_mul_overflow(x, y, &product)) {
        return short_leaf(product);
    }
    return by_rule(mult_rules, arguments[0], arguments[1]);
}

Value over(Value* arguments) {
    int64_t x, y;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y) && y != 0) {
        return short_leaf(integer_div(x, y));
    }
    return append_or_rule(over_rules, arguments);
}

Value cent(Value* arguments) {
    int64_t x, y;
    if (short_hint(arguments[0], x) && short_hint(arguments[1], y) && y != 0) {
        return short_leaf(integer_mod(x, y));
    }
    return by_rule(cent_rules, arguments[0], arguments[1]);
}

Value powa(Value* arguments) { return append_or_rule(powa_rules, arguments); }

Value wave(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'r': return from_double(-to_double(x));
        case 'i': return hint_neg(x);
        case 'o': return numb_neg(x);
        case 'u': return zits_is_empty(x) ? leaf_Z() : zits_right(x);
        case 'a': {
            const std::string_view bytes = post_payload(x);
            return bytes.empty() ? leaf_Z() : post_make(bytes.substr(1));
        }
        default: return leaf_Z();
    }
}

Value first_element(std::string_view bytes) {
    if (bytes.empty()) return leaf_Z();
    const std::string_view escape = escape_of_byte(bytes[0]);
    return zits_make(escape.empty() ? bytes.substr(0, 1) : escape);
}

Value buck(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'r': return truth(!std::signbit(to_double(x)));
        case 'i': return is_list(x) ? truth(hint_sign(x)) : leaf_Z();
        case 'o': return is_list(x) ? truth(numb_sign(x)) : leaf_Z();
        case 'u': return zits_is_empty(x) ? leaf_Z() : zits_left(std::move(arguments[0]));
        case 'a': return first_element(post_payload(x));
        default: return leaf_Z();
    }
}

bool powa_on_words(Word* arguments, Word& result) {
    if (!is_short(arguments[0]) || !is_short(arguments[1])) return false;
    const int64_t base = short_of(arguments[0]);
    const int64_t exponent = short_of(arguments[1]);
    int64_t power = 1;
    bool is_short_power = exponent >= 0 && exponent <= 64;
    for (int64_t n = exponent; is_short_power && n > 0; --n) {
        is_short_power = !__builtin_mul_overflow(power, base, &power);
    }
    result = is_short_power ? word_of_i64(power) : word_of_new(hint_pow(base, exponent));
    return true;
}

/// A sum or a difference of two long numbers, which no Word holds.
template <Value (*operate)(Node* x, Node* y)>
bool long_on_words(Word* arguments, Word& result) {
    if (!is_node(arguments[0]) || !is_node(arguments[1])) return false;
    Value made = operate(node_of(arguments[0]), node_of(arguments[1]));
    if (!made) return false;
    result = word_of_new(std::move(made));
    release_word(arguments[0]);
    release_word(arguments[1]);
    return true;
}

bool wave_on_words(Word* arguments, Word& result) {
    if (!is_short(arguments[0])) return false;
    result = word_of_i64(-short_of(arguments[0]));
    return true;
}

constexpr Builtin rows[] = {
    {"plus", 2, plus, long_on_words<hint_add_long>},
    {"dash", 2, dash, long_on_words<hint_sub_long>},
    {"mult", 2, mult},
    {"over", 2, over},
    {"cent", 2, cent},
    {"powa", 2, powa, powa_on_words},
    {"buck", 1, buck},
    {"wave", 1, wave, wave_on_words},
};

}  // namespace

std::span<const Builtin> arithmetic_rows() { return rows; }

}  // namespace marl
