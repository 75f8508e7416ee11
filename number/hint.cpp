// Every operation has two ways. Operands that fit 128 bits are added up or multiplied there, and
// only a result that doesn't fit goes on; everything else is done on the sign and the magnitude in
// limbs. A list in cells is brought to one of these first.
#include "number/hint.h"

#include <optional>
#include <utility>

#include "number/convert.h"
#include "number/decimal.h"
#include "number/digit_leaf.h"
#include "number/words.h"
#include "value/long_number.h"
#include "value/wide_hint.h"

namespace marl {

namespace {

/// An operand as sign and magnitude.
struct Magnitude {
    bool is_list = true;
    bool negative = false;
    const Limbs* shared = nullptr;  // of a long Leaf, which lives on
    Limbs kept;

    const Limbs& limbs() const { return shared ? *shared : kept; }
    bool is_zero() const { return limbs().empty(); }
};

Magnitude magnitude_of(Node* x) {
    Magnitude made;
    if (is_leaf_of(x, 'K')) return made;
    if (is_leaf(x)) {
        const Limbs& limbs = decimal_of_leaf(x, made.kept);
        if (&limbs != &made.kept) made.shared = &limbs;
        made.negative = zeros_of_leaf(x) > 0 && !limbs.empty();
    } else if (const std::optional<Limbs> words = words_of_list(x)) {
        made.kept = decimal_of_binary(shift_right(*words, 2));
        made.negative = !test_bit(*words, 1) && !made.kept.empty();
    } else {
        made.is_list = false;
    }
    return made;
}

bool both_wide(Node* x, Node* y, WideInt& a, WideInt& b) {
    return wide_hint(x, a) && wide_hint(y, b);
}

Value hint_of(bool negative, Limbs decimal) {
    const bool zero = decimal.empty();
    return digit_leaf({zero || negative, std::move(decimal)});
}

/// The limbs of a long Leaf that is not negative and has them; null for any other node.
const Limbs* limbs_at_hand(Node* x) {
    const bool is_long = is_leaf(x) && span_of(x) >= long_length;
    if (!is_long || *leaf_text(x) <= '0' || *leaf_text(x) > '9' || leaf_limbs(x).empty())
        return nullptr;
    return &leaf_limbs(x);
}

Value sum_or_difference(Node* x, Node* y, bool subtract) {
    Value at_once = subtract ? hint_sub_long(x, y) : hint_add_long(x, y);
    if (at_once) return at_once;
    const Magnitude a = magnitude_of(x);
    const Magnitude b = magnitude_of(y);
    if (!a.is_list || !b.is_list) return leaf_Z();
    if (a.negative == (b.negative != subtract)) {
        return hint_of(a.negative, mag_add<Decimal>(a.limbs(), b.limbs()));
    }
    if (mag_compare(a.limbs(), b.limbs()) >= 0) {
        return hint_of(a.negative, mag_sub<Decimal>(a.limbs(), b.limbs()));
    }
    return hint_of(!a.negative, mag_sub<Decimal>(b.limbs(), a.limbs()));
}

}  // namespace

Value hint_add_long(Node* x, Node* y) {
    const Limbs* a = limbs_at_hand(x);
    const Limbs* b = limbs_at_hand(y);
    return a && b ? digit_leaf({0, mag_add<Decimal>(*a, *b)}) : Value();
}

Value hint_sub_long(Node* x, Node* y) {
    const Limbs* a = limbs_at_hand(x);
    const Limbs* b = limbs_at_hand(y);
    const bool is_ready = a && b && mag_compare(*a, *b) > 0;
    return is_ready ? digit_leaf({0, mag_sub<Decimal>(*a, *b)}) : Value();
}

Value hint_add(Node* x, Node* y) {
    WideInt a, b, sum;
    if (both_wide(x, y, a, b) && !__builtin_add_overflow(a, b, &sum)) return wide_leaf(sum);
    return sum_or_difference(x, y, false);
}

Value hint_sub(Node* x, Node* y) {
    WideInt a, b, rest;
    if (both_wide(x, y, a, b) && !__builtin_sub_overflow(a, b, &rest)) return wide_leaf(rest);
    return sum_or_difference(x, y, true);
}

Value hint_mul(Node* x, Node* y) {
    WideInt wide_a, wide_b, product;
    if (both_wide(x, y, wide_a, wide_b) && !__builtin_mul_overflow(wide_a, wide_b, &product)) {
        return wide_leaf(product);
    }
    const Magnitude a = magnitude_of(x);
    if (!a.is_list) return leaf_Z();
    if (x == y) return hint_of(false, mag_mul<Decimal>(a.limbs(), a.limbs()));
    const Magnitude b = magnitude_of(y);
    if (!b.is_list) return leaf_Z();
    return hint_of(a.negative != b.negative, mag_mul<Decimal>(a.limbs(), b.limbs()));
}

Value hint_div(Node* x, Node* y) {
    WideInt wide_a, wide_b;
    if (both_wide(x, y, wide_a, wide_b)) {
        return wide_b == 0 ? leaf_Z() : wide_leaf(integer_div(wide_a, wide_b));
    }
    const Magnitude a = magnitude_of(x);
    const Magnitude b = magnitude_of(y);
    if (!a.is_list || !b.is_list || b.is_zero()) return leaf_Z();
    if (a.negative == b.negative) {
        return hint_of(false, mag_quotient<Decimal>(a.limbs(), b.limbs()));
    }
    Limbs remainder;
    Limbs quotient = mag_divide<Decimal>(a.limbs(), b.limbs(), remainder);
    if (!remainder.empty()) quotient = mag_add<Decimal>(quotient, {1});
    return hint_of(true, std::move(quotient));
}

Value hint_mod(Node* x, Node* y) {
    WideInt wide_a, wide_b;
    if (both_wide(x, y, wide_a, wide_b)) {
        return wide_b == 0 ? leaf_Z() : wide_leaf(integer_mod(wide_a, wide_b));
    }
    const Magnitude a = magnitude_of(x);
    const Magnitude b = magnitude_of(y);
    if (!a.is_list || !b.is_list || b.is_zero()) return leaf_Z();
    Limbs remainder = mag_rest<Decimal>(a.limbs(), b.limbs());
    if (a.negative != b.negative && !remainder.empty()) {
        remainder = mag_sub<Decimal>(b.limbs(), remainder);
    }
    return hint_of(false, std::move(remainder));
}

Value hint_pow(int64_t x, int64_t y) {
    if (y < 0) return leaf("0");
    if (y == 0) return leaf("1");
    const auto m = static_cast<uint64_t>(x < 0 ? -x : x);
    const bool negative = x < 0 && y % 2 != 0;
    if (m < 2) return hint_of(negative, m == 0 ? Limbs() : Limbs{1});
    const Limbs limbs = m < Decimal::base ? Limbs{m} : Limbs{m % Decimal::base, m / Decimal::base};
    return hint_of(negative, mag_pow<Decimal>(limbs, static_cast<uint64_t>(y)));
}

Value hint_pow(Node* x, Node* y) {
    int64_t short_x, short_y;
    if (short_hint(x, short_x) && short_hint(y, short_y)) return hint_pow(short_x, short_y);
    const Magnitude base = magnitude_of(x);
    const Magnitude exponent = magnitude_of(y);
    if (!base.is_list || !exponent.is_list) return leaf_Z();
    if (exponent.negative) return leaf("0");
    if (exponent.is_zero()) return leaf("1");
    const Limbs& n = exponent.limbs();
    const bool negative = base.negative && n[0] % 2 != 0;
    // 0 and 1 are their own powers, to any exponent.
    if (base.is_zero() || base.limbs() == Limbs{1}) return hint_of(negative, base.limbs());
    if (n.size() > 1) out_of_memory();
    return hint_of(negative, mag_pow<Decimal>(base.limbs(), n[0]));
}

Value hint_neg(Node* x) {
    WideInt n;
    if (wide_hint(x, n)) return wide_leaf(-n);
    if (is_leaf_of(x, 'K')) return Value::share(x);
    const Magnitude a = magnitude_of(x);
    return a.is_list ? hint_of(!a.negative, a.limbs()) : leaf_Z();
}

bool hint_sign(Node* x) {
    if (is_leaf(x)) return leaf_text(x)[0] != '0' || leaf_text(x)[1] == 0;
    return !magnitude_of(x).negative;
}

std::optional<int> hint_compare(Node* x, Node* y) {
    WideInt wide_a, wide_b;
    if (both_wide(x, y, wide_a, wide_b)) return (wide_a > wide_b) - (wide_a < wide_b);
    const Magnitude a = magnitude_of(x);
    const Magnitude b = magnitude_of(y);
    if (!a.is_list || !b.is_list) return std::nullopt;
    if (a.negative != b.negative) return a.negative ? -1 : 1;
    const int order = mag_compare(a.limbs(), b.limbs());
    return a.negative ? -order : order;
}

}  // namespace marl
