// Exponentials over lanes: 2^x and 10^x in double precision, e^x - 1 in both.
//
// b^x = 2^M * 2^(j/64) * b^r as for e^x (exponential_double.h), |r| at most half of a step. For 2^x the
// steps are 1/64, so that r is exact.
//
// 2^x and 10^x: degree 5, its approximation error 2^-59.3 of the result; the tail of the table's root is
// added to the polynomial. Three roundings at 2^-8 of the result's last place and the last one count.
//
// e^x - 1, double: (S - 1) + S (e^r - 1) with S the scaled root, its tail in r: S - 1 in two parts, and S r
// as r + (S - 1) r, so that nothing is lost near 0, where the sum cancels. Degree 6, 2^-62.1 of r.
// Single: in double precision without the small parts, degree 4, 2^-39.5 of r; rounded once.
//
// Largest errors measured by tools/measure_hyperbolic.cpp, in ulp (docs/accuracy.md): 2^x 0.523316 at
// -0x1.4a1402b92231cp+7; 10^x 0.527223 at 0x1.942d118986a38p+4; e^x - 1 0.513034 at -0x1.b04678c691396p+4,
// single 0.500014219 at -0x1.ba0eeap-9.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/exponential.h"
#include "vector_math/kernels/exponential_double.h"
#include "vector_math/kernels/exponential_tables.h"

#include <cstdint>

namespace qor::fyn {

// x = n/64 + r exactly.
struct BinarySteps {
    using V = Lanes<double>;
    static constexpr auto limit = top_word(1022.0);
    static constexpr double shifter = 0x1.8p+46; // rounds to 64ths by addition

    IntegersOf<V> n;
    V r;

    BinarySteps() = default;
    explicit BinarySteps(V x) {
        const V shifted = x + shifter;
        n = bits_of(shifted);
        r = x - (shifted - shifter);
    }

    // 2^r - 1, and `more` in the part that rounds less
    V growth(V more) const {
        const V square = r * r;
        return r * 0.6931471805599453 +
               (square * ((0.24022650695884967 + r * 0.0555041086660076) +
                          square * (0.009618142269655058 + r * 0.0013333429821311053)) +
                more);
    }
};

// x = n log10(2)/64 + r.
struct DecimalSteps : ExponentSteps<Lanes<double>, DecimalSteps> {
    using V = Lanes<double>;
    static constexpr auto limit = top_word(307.6);
    static constexpr double inv_step = 0x1.a934f0979a371p+7; // 64 log2(10)
    static constexpr double step_hi = 0x1.34413509ep-8;      // log10(2) / 64, its last 17 bits zero
    static constexpr double step_lo = 0x1.79fef311f12b3p-44; // log10(2) / 64 - step_hi

    using ExponentSteps::ExponentSteps;

    V growth(V more) const {
        const V square = r * r;
        return r * 2.302585092994046 + (square * ((2.6509490552364285 + r * 2.034678592166791) +
                                                  square * (1.1712567517681063 + r * 0.5393997133754067)) +
                                        more);
    }
};

// The base's power where its results are normal numbers.
template <class Element, class Steps> struct ExponentialLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0;

    static std::int64_t special_bits(double x) { return negative_beyond(Steps::limit - 1, x); }

    static Steps start(Lanes<double> x) { return Steps(x); }
    [[gnu::always_inline]] static Lanes<double> finish(const Steps &at, Lanes<double>) {
        Lanes<double> root, rest;
        look_up_modulo(exponential_relative, at.n, root, rest);
        return scaled_by_64ths(root + root * at.growth(rest), at.n);
    }
    static Lanes<double> value(Lanes<double> x) { return finish(start(x), x); }

    [[gnu::noinline, gnu::cold]] static Status eval(double x, double &r) noexcept {
        return Element::eval(x, r);
    }
};

using Exp2Double = ExponentialLanes<Exp2, BinarySteps>;
using Exp10Double = ExponentialLanes<Exp10, DecimalSteps>;

// The lanes that e^x - 1 and what is made of it leave: sizes below `from`, a top word, where results are
// their arguments; and those from where on e^|x|, or its inverse times a square, might leave the range.
template <class V, std::int32_t from = top_word(ElementOf<V>(0x1p-60))> IntegersOf<V> outside_exponents(V x) {
    using T = ElementOf<V>;
    return outside_short_window<from, top_word(sizeof(T) == 8 ? T(640) : T(88)), 0x7FFFFFFF>(x);
}

// The first step of these functions, for single precision in halves.
template <class V> [[gnu::always_inline]] inline auto exponent_steps(V x) {
    using Steps = ExponentSteps<Lanes<double>, ExpDouble>;
    if constexpr (sizeof(ElementOf<V>) == 8)
        return Steps(x);
    else
        return Both<Steps>(widened(x));
}

// e^x - 1 to some 40 bits, |x| < 90
inline Lanes<double> brief_expm1(const ExponentSteps<Lanes<double>, ExpDouble> &at) {
    using V = Lanes<double>;
    const V root = scaled_by_64ths(look_up_first(exponential_absolute, at.n), at.n);
    const V r = at.r, square = r * r;
    const V growth =
        r + square * ((0.49999999999962674 + r * 0.16666687030971267) + square * 0.041666717578356084);
    return (root - 1.0) + root * growth;
}

struct Expm1Lanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;
    static constexpr bool test_beside = true;

    template <class V> static IntegersOf<V> special(V x) { return outside_exponents(x); }

    template <class V> [[gnu::always_inline]] static auto start(V x) { return exponent_steps(x); }
    template <class V> [[gnu::always_inline]] static V finish(const auto &at, V) {
        if constexpr (sizeof(ElementOf<V>) == 8)
            return value_double(at);
        else
            return narrowed({brief_expm1(at.low), brief_expm1(at.high)});
    }
    template <class V> static V value(V x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Expm1::eval(x, r);
    }

  private:
    [[gnu::always_inline]] static Lanes<double>
    value_double(const ExponentSteps<Lanes<double>, ExpDouble> &at) {
        using V = Lanes<double>;
        V root, rest;
        look_up_modulo(exponential_relative, at.n, root, rest);
        const V power = scaled_by_64ths(root, at.n);
        const V excess = at.excess - rest, r = at.reduced - excess, square = r * r;
        const V beyond = square * ((0.5 + r * 0.16666666666659202) +
                                   square * ((0.04166666666665547 + r * 0.008333341478943167) +
                                             square * 0.001388889979747309)) -
                         excess; // e^r - 1 - reduced
        const V less = power - 1.0, one = power - less;
        const V lost = (power - (less + one)) + (one - 1.0);
        const V sum = less + at.reduced; // the larger first, or 0
        return sum + ((((less - sum) + at.reduced) + lost) + (less * at.reduced + power * beyond));
    }
};

} // namespace qor::fyn
