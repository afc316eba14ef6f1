// The single-precision exponentials e^x, 2^x and 10^x, and the exponential in double lanes that they share
// with the shorter kernels of the power function.
//
// 2^(t/64) = 2^M * 2^(j/64) * 2^(u/64), 64 M + j the nearest integer to t and u the rest: exact, |u| <= 1/2.
// The functions are t = x log2(b) * 64 in double lanes: |t| < 2^13, so its rounding is below 2^-46 of the
// result.
//
// Minimax polynomials (1 + u e(u), their largest errors relative to the result): degree 1 2^-16, degree 2
// 2^-27.2, degree 3 2^-37.2, degree 4 2^-48.6.
//
// Measured over all arguments by tools/measure_power.cpp (docs/accuracy.md): e^x 0.500000042 ulp at
// 0x1.060e1ep+6, four results not the nearest float.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/exponential.h"
#include "vector_math/kernels/exponential_tables.h"

#include <cstdint>

namespace qor::fyn {

// 2^(t/64) for |t| < 2^16 where the result is a normal number, otherwise anything. The degree is that of the
// polynomial.
template <int degree> Lanes<double> two_to_64ths(Lanes<double> t) {
    using V = Lanes<double>;
    constexpr double shifter = 0x1.8p+52; // rounds to an integer by addition
    const V shifted = t + shifter;
    const V u = t - (shifted - shifter);
    V e;
    if constexpr (degree == 1)
        e = V{} + 0.010830477629371569;
    else if constexpr (degree == 2)
        e = 0.010830464385613144 + u * 5.8649192872540734e-05;
    else if constexpr (degree == 3)
        e = 0.010830424696217011 + u * (5.8649168280443224e-05 + u * 2.1173181053844612e-07);
    else
        e = (0.010830424696224904 + u * 5.864904955047e-05) +
            u * u * (2.1173175955746373e-07 + u * 5.732860960169797e-10);
    const auto n = bits_of(shifted);
    const V root = look_up_first(exponential_absolute, n);
    const V mantissa = root + root * (u * e);
    // n's bits above the low six, at the exponent's place
    return from_bits<V>(wrapping_sum(bits_of(mantissa), (n & ~63) << 46));
}

// b^x; `limit` is the top word of the first argument that is left to the element function.
template <class Element, std::int32_t limit, double steps> struct ExponentialSingle {
    static constexpr int pass = 16;
    static constexpr float padding = 0;

    static Lanes<std::int32_t> special(Lanes<float> x) { return outside_window(x, 0, limit, 0x7FFFFFFF); }

    static Lanes<float> value(Lanes<float> x) {
        return through_double([](Lanes<double> v) { return two_to_64ths<4>(v * steps); }, x);
    }

    [[gnu::noinline, gnu::cold]] static Status eval(float x, float &r) noexcept {
        return Element::eval(x, r);
    }
};

using ExpSingle = ExponentialSingle<Exp, top_word(87.3365f), 0x1.71547652b82fep+6>; // 64 / ln 2
using Exp2Single = ExponentialSingle<Exp2, top_word(126.0f), 64.0>;
using Exp10Single = ExponentialSingle<Exp10, top_word(37.9297f), 0x1.a934f0979a371p+7>; // 64 log2 10

} // namespace qor::fyn
