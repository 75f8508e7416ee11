// Sums and differences of decimal limbs, two limbs in a register, four at a time.
//
// Carries hardly ever run on: whether a limb's sum reaches the base is known without the carry from
// below, but for a sum of base - 1. So each pair of sums is reduced by itself and takes the carries
// of its own limbs afterwards; where that brings a limb to the base, the four are left to whoever
// goes limb by limb. A difference is the same with 0 in the place of base - 1.
//
// A carry or a borrow of 1 is a lane of -1 here, as a comparison makes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "number/radix.h"

namespace marl {

using Lanes [[gnu::vector_size(16)]] = int64_t;

inline Lanes load_lanes(const uint64_t* limbs) {
    Lanes lanes;
    memcpy(&lanes, limbs, sizeof lanes);
    return lanes;
}
inline void store_lanes(uint64_t* limbs, Lanes lanes) { memcpy(limbs, &lanes, sizeof lanes); }

/// The upper lane of what is below, and the lower one of what is above.
inline Lanes middle_lanes(Lanes below, Lanes above) {
    return __builtin_shufflevector(below, above, 1, 2);
}

constexpr size_t lanes_at_once = 4;
constexpr Lanes lanes_of_base = {static_cast<int64_t>(Decimal::base),
                                 static_cast<int64_t>(Decimal::base)};

/// r = a + b + carry for four limbs. False where they must go limb by limb, nothing being written.
inline bool add_lanes(uint64_t* r, const uint64_t* a, const uint64_t* b, Lanes& carry) {
    const Lanes low = load_lanes(a) + load_lanes(b) - lanes_of_base;
    const Lanes high = load_lanes(a + 2) + load_lanes(b + 2) - lanes_of_base;
    const Lanes low_less = low >> 63;
    const Lanes high_less = high >> 63;
    const Lanes low_carry = ~low_less;
    const Lanes high_carry = ~high_less;
    const Lanes r0 = low + (low_less & lanes_of_base) - middle_lanes(carry, low_carry);
    const Lanes r1 = high + (high_less & lanes_of_base) - middle_lanes(low_carry, high_carry);
    const Lanes too_large = (lanes_of_base - 1 - r0) | (lanes_of_base - 1 - r1);
    if ((too_large[0] | too_large[1]) < 0) [[unlikely]]
        return false;
    store_lanes(r, r0);
    store_lanes(r + 2, r1);
    carry = high_carry;
    return true;
}

/// r = a - b - borrow, the same way.
inline bool subtract_lanes(uint64_t* r, const uint64_t* a, const uint64_t* b, Lanes& borrow) {
    const Lanes low = load_lanes(a) - load_lanes(b);
    const Lanes high = load_lanes(a + 2) - load_lanes(b + 2);
    const Lanes low_borrow = low >> 63;
    const Lanes high_borrow = high >> 63;
    const Lanes r0 = low + (low_borrow & lanes_of_base) + middle_lanes(borrow, low_borrow);
    const Lanes r1 = high + (high_borrow & lanes_of_base) + middle_lanes(low_borrow, high_borrow);
    const Lanes negative = r0 | r1;
    if ((negative[0] | negative[1]) < 0) [[unlikely]]
        return false;
    store_lanes(r, r0);
    store_lanes(r + 2, r1);
    borrow = high_borrow;
    return true;
}

}  // namespace marl
