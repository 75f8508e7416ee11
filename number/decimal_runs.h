// Sums and differences of decimal limbs, r = a + b and r = a - b.
//
// On x86-64 the carry stays in the processor's flag from limb to limb. A sum is formed with
// 2^64 - base more, which overflows just when it reaches the base; where it doesn't, the base is
// added again. A difference that is negative gets it likewise. Nothing but the additions themselves
// may touch the flag, which no compiler takes into account, so these few instructions are written
// out.
#pragma once

#include <cstddef>
#include <cstdint>

#include "number/radix.h"

namespace marl {

#if defined(__x86_64__)

// The loop, for an operation on the limbs at `place` and the condition on which the base is added.
#define MARL_IN_FOURS(operation, add_base)                                                      \
    asm volatile(                                                                               \
        "clc\n"                                                                                 \
        "1: .irp place, 0, 8, 16, 24\n" operation "lea (%[limb], %[base]), %[other]\n" add_base \
        " %[other], %[limb]\n"                                                                  \
        "mov %[limb], \\place(%[r])\n"                                                          \
        ".endr\n"                                                                               \
        "lea 32(%[a]), %[a]\n"                                                                  \
        "lea 32(%[b]), %[b]\n"                                                                  \
        "lea 32(%[r]), %[r]\n"                                                                  \
        "dec %[fours]\n"                                                                        \
        "jnz 1b\n"                                                                              \
        "setc %b[over]\n"                                                                       \
        : [r] "+r"(r), [a] "+r"(a), [b] "+r"(b), [fours] "+r"(fours), [over] "+r"(over),        \
          [limb] "=&r"(limb), [other] "=&r"(other)                                              \
        : [base] "r"(Decimal::base), [above] "r"(uint64_t{0} - Decimal::base)                   \
        : "cc", "memory")

/// Adds the lowest of n limbs, as many as it gives: all that are whole fours. The carry goes out.
inline size_t add_fours(uint64_t* r, const uint64_t* a, const uint64_t* b, size_t n,
                        uint64_t& over) {
    uint64_t limb, other;
    size_t fours = n / 4;
    if (fours == 0) return 0;
    MARL_IN_FOURS(
        "mov \\place(%[b]), %[limb]\n"
        "lea (%[limb], %[above]), %[limb]\n"
        "adc \\place(%[a]), %[limb]\n",
        "cmovnc");
    return n / 4 * 4;
}

/// The same for a difference and its borrow.
inline size_t subtract_fours(uint64_t* r, const uint64_t* a, const uint64_t* b, size_t n,
                             uint64_t& over) {
    uint64_t limb, other;
    size_t fours = n / 4;
    if (fours == 0) return 0;
    MARL_IN_FOURS(
        "mov \\place(%[a]), %[limb]\n"
        "sbb \\place(%[b]), %[limb]\n",
        "cmovc");
    return n / 4 * 4;
}

#undef MARL_IN_FOURS

#endif

/// r = a + b, of n limbs. Gives the carry.
inline uint64_t add_equal(Decimal, uint64_t* r, const uint64_t* a, const uint64_t* b, size_t n) {
    uint64_t carry = 0;
    size_t i = 0;
#if defined(__x86_64__)
    i = add_fours(r, a, b, n, carry);
#endif
    for (; i < n; ++i) r[i] = Decimal::add(a[i], b[i], carry);
    return carry;
}

/// r = a - b, of n limbs. Gives the borrow.
inline uint64_t subtract_equal(Decimal, uint64_t* r, const uint64_t* a, const uint64_t* b,
                               size_t n) {
    uint64_t borrow = 0;
    size_t i = 0;
#if defined(__x86_64__)
    i = subtract_fours(r, a, b, n, borrow);
#endif
    for (; i < n; ++i) r[i] = Decimal::subtract(a[i], b[i], borrow);
    return borrow;
}

}  // namespace marl
