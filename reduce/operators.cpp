// Numbers of up to 38 digits and reals are worked out here; everything else is the business of the
// built-in that the operator names.
#include "reduce/operators.h"

#include <array>
#include <cmath>
#include <cstring>

#include "reduce/analysis.h"
#include "reduce/needs.h"
#include "reduce/tables.h"
#include "value/long_number.h"
#include "value/real_word.h"
#include "value/wide_hint.h"

namespace marl {

namespace {

constexpr struct {
    const char* name;
    Op op;
} operators[] = {
    {"plus", Op::add},      {"dash", Op::subtract}, {"mult", Op::multiply},
    {"over", Op::divide},   {"cent", Op::modulo},   {"less", Op::less},
    {"gteq", Op::not_less}, {"same", Op::same},     {"diff", Op::differ},
};

constexpr int operator_count = static_cast<int>(Op::differ) + 1;
std::array<const Builtin*, operator_count> builtins;

const Builtin& builtin_of(Op op) { return *builtins[static_cast<size_t>(op)]; }

bool number_of(Word word, int64_t& n) {
    if (!is_short(word)) return is_node(word) && short_hint(node_of(word), n);
    n = short_of(word);
    return true;
}

bool wide_number_of(Word word, WideInt& n) {
    if (!is_short(word)) return is_node(word) && wide_hint(node_of(word), n);
    n = short_of(word);
    return true;
}

/// Whether a Word is a number that no processor has instructions for.
bool is_long_number(Word word) {
    if (!is_node(word)) return false;
    const Node* node = node_of(word);
    return is_digit_byte(first_byte(node)) && span_of(node) >= long_length;
}

/// x op y when it is an integer of that many bits.
template <class Int>
bool operate_integers(Op op, Int x, Int y, Int& result) {
    switch (op) {
        case Op::add: return !__builtin_add_overflow(x, y, &result);
        case Op::subtract: return !__builtin_sub_overflow(x, y, &result);
        case Op::multiply: return !__builtin_mul_overflow(x, y, &result);
        case Op::divide:
            if (y == 0) return false;
            result = integer_div(x, y);
            return true;
        case Op::modulo:
            if (y == 0) return false;
            result = integer_mod(x, y);
            return true;
        default: return false;
    }
}

Word word_of_wide(WideInt n) {
    const auto low = static_cast<int64_t>(n);
    const bool is_word = !keeps_identity && low == n && fits_short(low);
    return is_word ? word_of_short(low) : word_of(wide_leaf(n).take());
}

template <class Int>
bool compare_integers(Op op, Int x, Int y) {
    switch (op) {
        case Op::less: return x < y;
        case Op::not_less: return x >= y;
        case Op::same: return x == y;
        default: return x != y;
    }
}

/// The double of a real, or of a number of up to 18 digits beside one.
bool double_of(Word word, double& x) {
    int64_t n;
    if (is_real(word)) {
        x = real_of(word);
    } else if (is_node(word) && is_real_leaf(node_of(word))) {
        x = real_in_leaf(node_of(word));
    } else if (number_of(word, n)) {
        x = static_cast<double>(n);
    } else {
        return false;
    }
    return true;
}

bool is_any_real(Word word) {
    return is_real(word) || (is_node(word) && is_real_leaf(node_of(word)));
}

double operate_real(Op op, double x, double y) {
    switch (op) {
        case Op::add: return x + y;
        case Op::subtract: return x - y;
        case Op::multiply: return x * y;
        case Op::divide: return x / y;
        default: return std::fmod(x, y);
    }
}

bool compare_real(Op op, double x, double y) {
    switch (op) {
        case Op::less: return x < y;
        case Op::not_less: return x >= y;
        case Op::same: return x == y;
        default: return x != y;
    }
}

Node* call(const Builtin& builtin, Word x, Word y) {
    Value arguments[2] = {Value::adopt(force(x)), Value::adopt(force(y))};
    Value result = builtin.function(arguments);
    analyse(result);
    return result.take();
}

/// x op y of two long numbers.
[[gnu::noinline]] Word operate_long(Op op, Word x, Word y) {
    const Builtin& builtin = builtin_of(op);
    Word arguments[2] = {x, y};
    Word result;
    const bool is_done = builtin.on_words && !keeps_identity && builtin.on_words(arguments, result);
    if (!is_done) return word_of_result(call(builtin, x, y));
    return is_long_number(result) ? result : word_of_result(node_of(result));
}

[[gnu::noinline]] Word operate_other(Op op, Word x, Word y) {
    int64_t a, b, result;
    if (number_of(x, a) && number_of(y, b) && operate_integers(op, a, b, result)) {
        release_word(x);
        release_word(y);
        return word_of_wide(result);
    }
    double d, e;
    if ((is_any_real(x) || is_any_real(y)) && double_of(x, d) && double_of(y, e)) {
        release_word(x);
        release_word(y);
        return word_of_real(operate_real(op, d, e));
    }
    WideInt wide_a, wide_b, wide_result;
    if (wide_number_of(x, wide_a) && wide_number_of(y, wide_b) &&
        operate_integers(op, wide_a, wide_b, wide_result)) {
        release_word(x);
        release_word(y);
        return word_of_wide(wide_result);
    }
    return word_of_result(call(builtin_of(op), x, y));
}

}  // namespace

void bind_operators() {
    for (const auto& [name, op] : operators) {
        Symbol& symbol = symbol_of(name);
        symbol.operation = static_cast<int8_t>(op);
        builtins[static_cast<size_t>(op)] = symbol.builtin;
    }
}

Word word_of_result(Node* node) {
    Word word;
    if (keeps_identity) return word_of(node);
    if (count_of(node) != 1 || !as_plain_word(node, word)) return word_of(node);
    release(node);
    return word;
}

Word operate_slowly(Op op, Word x, Word y) {
    const bool are_long = is_long_number(x) && is_long_number(y);
    return are_long ? operate_long(op, x, y) : operate_other(op, x, y);
}

Truth compare_slowly(Op op, Word x, Word y, Word& result) {
    int64_t a, b;
    if (number_of(x, a) && number_of(y, b)) {
        release_word(x);
        release_word(y);
        return compare_integers(op, a, b) ? Truth::yes : Truth::no;
    }
    // One node is the same as itself, whatever it is.
    double d, e;
    if (is_any_real(x) && is_any_real(y) && (x != y || is_real(x))) {
        double_of(x, d);
        double_of(y, e);
        const bool yes = compare_real(op, d, e);
        release_word(x);
        release_word(y);
        return yes ? Truth::yes : Truth::no;
    }
    WideInt wide_a, wide_b;
    if (wide_number_of(x, wide_a) && wide_number_of(y, wide_b)) {
        release_word(x);
        release_word(y);
        return compare_integers(op, wide_a, wide_b) ? Truth::yes : Truth::no;
    }
    Node* truth = call(builtin_of(op), x, y);
    const uint8_t kind = first_byte(truth);
    if (kind != 'K' && kind != 'H') {
        result = word_of(truth);
        return Truth::neither;
    }
    release(truth);
    return kind == 'K' ? Truth::yes : Truth::no;
}

}  // namespace marl
