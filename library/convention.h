// From a C function to a built-in, in one row.
//
//   wrap<S(M, I), find_byte>("strchr", 2)
//
// reads: the built-in `strchr` of two arguments tests that the first is something in memory and the
// second an integer, calls find_byte with an address and a number, and answers with what that gives
// as a signed number. The tests run in order and before anything else: the first that fails makes
// the answer Z, and nothing has happened. What C reports as failure is simply converted.
//
//   arguments  I integer            I of K, or of any hint
//              N natural            no negative one
//              M memory             post, hint or zits: its address
//              R real               a double
//   results    S signed, U unsigned, D double, T truth value, V nothing (the Leaf I)
//
// A number is handed over as 64 bits and narrows to what the C function's parameter has; a C result
// widens by its own sign. An address is a number like any other, and nobody checks it.
//
// `errno` belongs to the program: what the machine itself does between two calls must not show in
// it. So its value lives in `program_errno`, is in C's errno during a call only, and is taken out
// again at once.
#pragma once

#include <cerrno>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "number/convert.h"
#include "reduce/tables.h"

namespace marl {

/// The `errno` that the program sees.
extern int program_errno;

/// Puts the program's errno into C's for a scope, and takes C's back at its end.
class ErrnoScope {
  public:
    ErrnoScope() { errno = program_errno; }
    ~ErrnoScope() { program_errno = errno; }
    ErrnoScope(const ErrnoScope&) = delete;
    ErrnoScope& operator=(const ErrnoScope&) = delete;
};

/// The address of a Value that passes `is_memory`: a post's payload, a zits Leaf's opening bracket,
/// or the number of a hint. A zits Pair has no text in one piece, so its flat text takes its place
/// in the slot, and lives as long as that.
int64_t to_address(Value& slot);

/// 64 bits on their way into a C parameter, which may be an integer or a pointer of any type.
struct Bits64 {
    int64_t bits;

    template <class To>
    requires std::is_integral_v<To>
    operator To() const {
        // A size that is too large for a narrower size_t stays too large.
        if constexpr (std::is_same_v<To, size_t> && sizeof(size_t) < sizeof bits) {
            if (static_cast<uint64_t>(bits) > SIZE_MAX) return SIZE_MAX;
        }
        return static_cast<To>(bits);
    }
    template <class To>
    operator To*() const {
        return reinterpret_cast<To*>(bits);
    }
};

struct I {
    static bool fits(Node* x) { return is_integer(x); }
    static Bits64 take(Value& slot) { return {to_i64(slot)}; }
};
struct N {
    // A list of bits beginning H is a natural, but a numb: no size for C.
    static bool fits(Node* x) { return is_natural(x) && is_integer(x); }
    static Bits64 take(Value& slot) { return {to_i64(slot)}; }
};
struct M {
    static bool fits(Node* x) { return is_memory(x); }
    static Bits64 take(Value& slot) { return {to_address(slot)}; }
};
struct R {
    static bool fits(Node* x) { return is_real(x); }
    static double take(Value& slot) { return to_double(slot); }
};

struct S {
    template <class Number>
    static Value give(Number result) {
        return from_i64(static_cast<int64_t>(result));
    }
    template <class Pointee>
    static Value give(Pointee* result) {
        return from_i64(reinterpret_cast<int64_t>(result));
    }
};
struct U {
    template <class Number>
    static Value give(Number result) {
        return from_u64(static_cast<uint64_t>(result));
    }
};
struct D {
    static Value give(double result) { return from_double(result); }
};
struct T {
    static Value give(int result) { return truth(result != 0); }
};
struct V {};

template <class Classes, auto function>
struct Wrapper;

template <class Result, class... Arguments, auto function>
struct Wrapper<Result(Arguments...), function> {
    static constexpr size_t arity = sizeof...(Arguments);

    static Value call(Value* arguments) {
        return call_each(arguments, std::index_sequence_for<Arguments...>{});
    }

  private:
    template <size_t... i>
    static Value call_each([[maybe_unused]] Value* arguments, std::index_sequence<i...>) {
        if (!(Arguments::fits(arguments[i]) && ...)) return leaf_Z();
        const std::tuple converted{Arguments::take(arguments[i])...};
        if constexpr (std::is_same_v<Result, V>) {
            call_c(converted);
            return leaf_I();
        } else {
            return Result::give(call_c(converted));
        }
    }

    template <class Converted>
    static auto call_c(const Converted& converted) {
        const ErrnoScope scope;
        return std::apply(function, converted);
    }
};

/// The row of a wrapper. An arity that is not the number of argument classes does not compile.
template <class Classes, auto function>
consteval Builtin wrap(const char* name, uint8_t arity) {
    MARL_REQUIRE((arity == Wrapper<Classes, function>::arity));
    return {name, arity, Wrapper<Classes, function>::call};
}

/// A built-in that is a number.
template <int64_t number>
Value constant(Value*) {
    return from_i64(number);
}

}  // namespace marl
