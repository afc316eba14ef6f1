// The single-precision exponentials e^x, 2^x and 10^x, and an exponential in double lanes for the shorter
// kernels of the power function.
//
// b^x = 2^(t/1024) = 2^M * 2^(j/1024) * 2^(u/1024), 1024 M + j the nearest integer to t = x log2(b) * 1024
// and u the rest: exact, |u| <= 1/2. t < 2^17, so its rounding is below 2^-46 of the result. 2^(u/1024) is a
// multiple of (u + p)^2 + q within 2^-37.1; p is an integer, which makes u + p a single difference.
//
// For powers, 2^(t/64) = 2^M * 2^(j/64) * 2^(u/64), 64 M + j the nearest integer to t and u the rest: exact,
// |u| <= 1/2.
//
// Minimax polynomials (1 + u e(u), their largest errors relative to the result): degree 1 2^-16, degree 2
// 2^-27.2, degree 3 2^-37.2.
//
// Largest error measured (docs/accuracy.md): 0.500112 ulp, 15 results in a million not the nearest float.
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
    else
        e = 0.010830424696217011 + u * (5.8649168280443224e-05 + u * 2.1173181053844612e-07);
    const auto n = bits_of(shifted);
    const V root = look_up_first(exponential_absolute, n);
    const V mantissa = root + root * (u * e);
    // n's bits above the low six, at the exponent's place
    return from_bits<V>(wrapping_sum(bits_of(mantissa), (n & ~63) << 46));
}

// b^x; `limit` is the top word of the first size that is left to the element function.
template <class Element, std::int32_t limit, double steps> struct ExponentialSingle {
    static constexpr int pass = 16;
    static constexpr float padding = 0;
    static constexpr bool test_beside = true;

    template <class V> static IntegersOf<V> special(V x) {
        return outside_short_window<0, limit, 0x7FFFFFFF>(x);
    }

    struct Start {   // of four elements
        Halves sums; // u + p
        Lanes<std::int32_t> n;
    };

    [[gnu::always_inline]] static Start start(Lanes<float> x) {
        const Halves wide = widened(x);
        const Lanes<double> low = wide.low * steps, high = wide.high * steps;
        const Lanes<double> low_shifted = low + shifter, high_shifted = high + shifter;
        return {{low - (low_shifted - (shifter + p)), high - (high_shifted - (shifter + p))},
                low_words(bits_of(low_shifted), bits_of(high_shifted))};
    }
    [[gnu::always_inline]] static Lanes<float> finish(const Start &started, Lanes<float>) {
        const IntegerQuad at(started.n);
        const auto mantissa = narrowed({piece(started.sums.low, at.lane[0], at.lane[1]),
                                        piece(started.sums.high, at.lane[2], at.lane[3])});
        return from_bits<Lanes<float>>(wrapping_sum(bits_of(mantissa), (started.n & ~1023) << 13));
    }
    static Lanes<float> value(Lanes<float> x) { return finish(start(x), x); }

    [[gnu::noinline, gnu::cold]] static Status eval(float x, float &r) noexcept {
        return Element::eval(x, r);
    }

  private:
    static constexpr double shifter = 0x1.8p+52, p = 1477, q = 0x1.0a6a4afab9c61p+21;

    // 2^((j + u)/1024), j: the last ten bits of the lanes' numbers
    static Lanes<double> piece(Lanes<double> sum, std::uint64_t i, std::uint64_t k) {
        return (sum * sum + q) * Lanes<double>{exponential_single[i % 1024], exponential_single[k % 1024]};
    }
};

using ExpSingle = ExponentialSingle<Exp, top_word(87.0f), 0x1.71547652b82fep+10>; // 1024 / ln 2
using Exp2Single = ExponentialSingle<Exp2, top_word(126.0f), 1024.0>;
using Exp10Single = ExponentialSingle<Exp10, top_word(37.75f), 0x1.a934f0979a371p+11>; // 1024 log2 10

} // namespace qor::fyn
