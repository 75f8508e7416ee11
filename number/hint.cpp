#include "number/hint.h"

#include <utility>

#include "number/convert.h"
#include "number/digits.h"
#include "number/limbs.h"
#include "number/short_hint.h"

namespace marl {

namespace {

// The working form of a long integer.
struct Integer {
    bool negative = false;  // never for zero
    Limbs magnitude;        // decimal
};

Integer integer_of_text(std::string_view text) {
    const bool negative = text[0] == '0' && text.size() > 1;
    return {negative, decimal_of_text(text.substr(negative))};
}

/// Nothing for what is no list.
std::optional<Integer> integer_of(Node* x) {
    if (is_digit_byte(first_byte(x))) return integer_of_text(leaf_bytes(x));
    if (is_leaf_of(x, 'K')) return Integer{};
    const auto digits = digits_of(x);
    if (!digits) return std::nullopt;
    return integer_of_text(digits->view());
}

Value leaf_of_integer(const Integer& n) {
    if (n.magnitude.empty()) return from_i64(0);
    const int64_t digits = count_digits(n.magnitude);
    Value made = leaf_with_size('0', digits + n.negative);
    write_digits(n.magnitude, leaf_text(made) + n.negative);
    return made;
}

using Operation = Value (*)(const Integer& x, const Integer& y);

Value with_integers(Operation operation, Node* x, Node* y) {
    const auto a = integer_of(x);
    const auto b = integer_of(y);
    return a && b ? operation(*a, *b) : leaf_Z();
}

Value add(const Integer& x, const Integer& y) {
    if (x.negative == y.negative) {
        return leaf_of_integer({x.negative, mag_add<Decimal>(x.magnitude, y.magnitude)});
    }
    const int order = mag_compare(x.magnitude, y.magnitude);
    if (order == 0) return from_i64(0);
    const Integer& larger = order < 0 ? y : x;
    const Integer& smaller = order < 0 ? x : y;
    return leaf_of_integer(
        {larger.negative, mag_sub<Decimal>(larger.magnitude, smaller.magnitude)});
}

Value subtract(const Integer& x, const Integer& y) {
    return add(x, {!y.negative && !y.magnitude.empty(), y.magnitude});
}

Value multiply(const Integer& x, const Integer& y) {
    return leaf_of_integer({x.negative != y.negative, mag_mul<Decimal>(x.magnitude, y.magnitude)});
}

/// The quotient of the magnitudes rounded down, and what remains.
struct Quotient {
    Limbs quotient;
    Limbs remainder;
};
Quotient divide_magnitudes(const Integer& x, const Integer& y) {
    Quotient result;
    result.quotient = mag_divide<Decimal>(x.magnitude, y.magnitude, result.remainder);
    return result;
}

Value divide(const Integer& x, const Integer& y) {
    if (y.magnitude.empty()) return leaf_Z();
    Quotient result = divide_magnitudes(x, y);
    const bool negative = x.negative != y.negative;
    if (negative && !result.remainder.empty()) {
        result.quotient = mag_add<Decimal>(result.quotient, {1});
    }
    return leaf_of_integer({negative, std::move(result.quotient)});
}

Value remainder(const Integer& x, const Integer& y) {
    if (y.magnitude.empty()) return leaf_Z();
    Limbs rest = divide_magnitudes(x, y).remainder;
    if (x.negative != y.negative && !rest.empty()) rest = mag_sub<Decimal>(y.magnitude, rest);
    return leaf_of_integer({false, std::move(rest)});
}

bool is_odd(const Integer& x) { return !x.magnitude.empty() && x.magnitude[0] % 2 != 0; }

Value power(const Integer& x, const Integer& y) {
    if (y.negative) return from_i64(0);
    // An exponent of more than one limb leaves a result that memory can hold for 0 and 1 only.
    uint64_t exponent = y.magnitude.empty() ? 0 : y.magnitude[0];
    if (y.magnitude.size() > 1) exponent = ~uint64_t{0};
    return leaf_of_integer({x.negative && is_odd(y), mag_pow<Decimal>(x.magnitude, exponent)});
}

bool are_short(Node* x, Node* y, int64_t& a, int64_t& b) {
    return short_hint(x, a) && short_hint(y, b);
}

}  // namespace

Value hint_add(Node* x, Node* y) {
    int64_t a;
    int64_t b;
    if (are_short(x, y, a, b)) return short_leaf(a + b);
    return with_integers(add, x, y);
}

Value hint_sub(Node* x, Node* y) {
    int64_t a;
    int64_t b;
    if (are_short(x, y, a, b)) return short_leaf(a - b);
    return with_integers(subtract, x, y);
}

Value hint_mul(Node* x, Node* y) {
    int64_t a;
    int64_t b;
    int64_t product;
    if (are_short(x, y, a, b) && !__builtin_mul_overflow(a, b, &product))
        return short_leaf(product);
    return with_integers(multiply, x, y);
}

Value hint_div(Node* x, Node* y) {
    int64_t a;
    int64_t b;
    if (are_short(x, y, a, b)) return b == 0 ? leaf_Z() : short_leaf(short_div(a, b));
    return with_integers(divide, x, y);
}

Value hint_mod(Node* x, Node* y) {
    int64_t a;
    int64_t b;
    if (are_short(x, y, a, b)) return b == 0 ? leaf_Z() : short_leaf(short_mod(a, b));
    return with_integers(remainder, x, y);
}

Value hint_pow(Node* x, Node* y) { return with_integers(power, x, y); }

Value hint_neg(Node* x) {
    auto n = integer_of(x);
    if (!n) return leaf_Z();
    if (is_leaf_of(x, 'K')) return leaf_K();
    n->negative = !n->negative && !n->magnitude.empty();
    return leaf_of_integer(*n);
}

Value hint_abs(Node* x) {
    auto n = integer_of(x);
    if (!n) return leaf_Z();
    if (is_leaf(x) && !n->negative) return Value::share(x);
    n->negative = false;
    return leaf_of_integer(*n);
}

bool hint_sign(Node* x) {
    const auto n = integer_of(x);
    return !n || !n->negative;
}

std::optional<int> hint_compare(Node* x, Node* y) {
    int64_t a;
    int64_t b;
    if (are_short(x, y, a, b)) return a < b ? -1 : a > b;
    const auto m = integer_of(x);
    const auto n = integer_of(y);
    if (!m || !n) return std::nullopt;
    if (m->negative != n->negative) return m->negative ? -1 : 1;
    const int order = mag_compare(m->magnitude, n->magnitude);
    return m->negative ? -order : order;
}

}  // namespace marl
