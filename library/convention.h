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
// Arguments that are Words are handed over without a node; one that would need a node to be tested
// or taken makes the call one on nodes.
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
#include "number/word_results.h"
#include "reduce/tables.h"
#include "value/real_word.h"

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
/// Whether a Word is a number without a node, or a Leaf that is a text; and the address that it is.
bool is_memory_word(Word word);
int64_t address_of_word(Word word);

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
    static bool fits_word(Word word) { return is_short(word); }
    static Bits64 take_word(Word word) { return {short_of(word)}; }
};
struct N {
    // A list of bits beginning H is a natural, but a numb: no size for C.
    static bool fits(Node* x) { return is_natural(x) && is_integer(x); }
    static Bits64 take(Value& slot) { return {to_i64(slot)}; }
    static bool fits_word(Word word) { return is_short(word) && short_of(word) >= 0; }
    static Bits64 take_word(Word word) { return {short_of(word)}; }
};
struct M {
    static bool fits(Node* x) { return is_memory(x); }
    static Bits64 take(Value& slot) { return {to_address(slot)}; }
    static bool fits_word(Word word) { return is_memory_word(word); }
    static Bits64 take_word(Word word) { return {address_of_word(word)}; }
};
struct R {
    static bool fits(Node* x) { return is_real(x); }
    static double take(Value& slot) { return to_double(slot); }
    static bool fits_word(Word word) { return marl::is_real(word); }
    static double take_word(Word word) { return real_of(word); }
};

// What C gives, first as a number, and that as a node and as a Word.
struct S {
    template <class Number>
    static int64_t number(Number result) {
        return static_cast<int64_t>(result);
    }
    template <class Pointee>
    static int64_t number(Pointee* result) {
        return reinterpret_cast<int64_t>(result);
    }
    static Value node(int64_t n) { return from_i64(n); }
    static Word word(int64_t n) { return word_of_i64(n); }
};
struct U {
    template <class Number>
    static uint64_t number(Number result) {
        return static_cast<uint64_t>(result);
    }
    static Value node(uint64_t n) { return from_u64(n); }
    static Word word(uint64_t n) { return word_of_u64(n); }
};
struct D {
    static double number(double result) { return result; }
    static Value node(double x) { return from_double(x); }
    static Word word(double x) { return word_of_real(x); }
};
struct T {
    static bool number(int result) { return result != 0; }
    static Value node(bool condition) { return truth(condition); }
    static Word word(bool condition) { return word_of_truth(condition); }
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
    static bool call_on_words(Word* arguments, Word& result) {
        return call_on_each(arguments, result, std::index_sequence_for<Arguments...>{});
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
            return Result::node(Result::number(call_c(converted)));
        }
    }
    template <size_t... i>
    static bool call_on_each([[maybe_unused]] Word* arguments, Word& result,
                             std::index_sequence<i...>) {
        if (!(Arguments::fits_word(arguments[i]) && ...)) return false;
        const std::tuple converted{Arguments::take_word(arguments[i])...};
        if constexpr (std::is_same_v<Result, V>) {
            call_c(converted);
            result = word_of_nothing();
        } else {
            result = Result::word(Result::number(call_c(converted)));
        }
        (release_word(arguments[i]), ...);
        return true;
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
    using Wrapped = Wrapper<Classes, function>;
    return {name, arity, Wrapped::call, arity > 0 ? Wrapped::call_on_words : nullptr};
}

/// A built-in that is a number.
template <int64_t number>
Value constant(Value*) {
    return from_i64(number);
}

}  // namespace marl
