// Raw memory: allocation, and the C functions on blocks of bytes. A post is no address here.

#include <cstdlib>
#include <cstring>

#include "library/convention.h"
#include "library/families.h"

namespace marl {

namespace {

const void* find_byte(const void* block, int byte, size_t count) {
    return count > 0 ? memchr(block, byte, count) : nullptr;
}

/// bzero: a negative count is refused, as no block is that large.
Value clear_block(Value* arguments) {
    if (!is_integer(arguments[0]) || !is_integer(arguments[1])) return leaf_Z();
    const int64_t count = to_i64(arguments[1]);
    if (count < 0) return leaf_Z();
    if (count > 0) memset(reinterpret_cast<void*>(to_i64(arguments[0])), 0, size_t(count));
    return leaf_I();
}

constexpr Builtin rows[] = {
    wrap<S(I), malloc>("malloc", 1),          wrap<S(I, I), calloc>("calloc", 2),
    wrap<S(I, I), realloc>("realloc", 2),     wrap<V(I), free>("free", 1),
    wrap<S(I, I, I), memmove>("memcpy", 3),   wrap<S(I, I, I), memmove>("memmove", 3),
    wrap<S(I, I, I), memset>("memset", 3),    wrap<S(I, I, I), memcmp>("memcmp", 3),
    wrap<S(I, I, I), find_byte>("memchr", 3), {"bzero", 2, clear_block},
};

}  // namespace

std::span<const Builtin> memory_rows() { return rows; }

}  // namespace marl
