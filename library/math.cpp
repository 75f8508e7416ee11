// The C library's functions on doubles, and the absolute value of integers.

#include <cmath>

#include "library/convention.h"
#include "library/families.h"
#include "value/real_word.h"

namespace marl {

namespace {

// Naming the type picks the C function for doubles among the overloads of its name.
using OfReal = double (*)(double);
using OfReals = double (*)(double, double);

template <OfReal function>
bool on_real(Word* arguments, Word& result) {
    if (!is_real(arguments[0])) return false;
    const ErrnoScope scope;
    result = word_of_real(function(real_of(arguments[0])));
    return true;
}

template <OfReal function>
consteval Builtin of_real(const char* name) {
    return {name, 1, Wrapper<D(R), function>::call, on_real<function>};
}

template <OfReals function>
consteval Builtin of_reals(const char* name) {
    return wrap<D(R, R), function>(name, 2);
}

double scale(double x, int exponent) { return ldexp(x, exponent); }
double split_exponent(double x, int* exponent) { return frexp(x, exponent); }
double split_whole(double x, double* whole) { return modf(x, whole); }

/// The least number has no positive counterpart and stays itself.
int64_t magnitude(int64_t n) { return n > 0 ? n : static_cast<int64_t>(-static_cast<uint64_t>(n)); }

constexpr Builtin rows[] = {
    of_real<sin>("sin"),
    of_real<cos>("cos"),
    of_real<tan>("tan"),
    of_real<asin>("asin"),
    of_real<acos>("acos"),
    of_real<atan>("atan"),
    of_real<sinh>("sinh"),
    of_real<cosh>("cosh"),
    of_real<tanh>("tanh"),
    of_real<exp>("exp"),
    of_real<log>("log"),
    of_real<sqrt>("sqrt"),
    of_real<ceil>("ceil"),
    of_real<floor>("floor"),
    of_real<fabs>("fabs"),
    of_real<erf>("erf"),
    of_real<erfc>("erfc"),
    of_reals<pow>("pow"),
    of_reals<fmod>("fmod"),
    of_reals<hypot>("hypot"),
    of_reals<nextafter>("nextafter"),
    wrap<D(R, I), scale>("ldexp", 2),
    wrap<D(R, I), split_exponent>("frexp", 2),
    wrap<D(R, I), split_whole>("modf", 2),
    wrap<S(I), magnitude>("abs", 1),
    wrap<S(I), magnitude>("labs", 1),
};

}  // namespace

std::span<const Builtin> math_rows() { return rows; }

}  // namespace marl
