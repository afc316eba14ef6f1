// Logarithms to base 2 and 10, and ln(1 + x), double and single precision.
//
// By the natural logarithm's method (logarithm_lanes.h), x = 2^k z and c near the middle of one of 256
// intervals of z:
//   log x = k log 2 + log c + log(1 + r),  r = z/c - 1.
//
// Double: the table has scale/c in the place of 1/c, scale being 1/ln(base) in 17 bits or less, so that
// s = scale r comes in two parts that are exact around 1. s carries the result there; what scale leaves out
// of 1/ln(base), 2^-18 of it, is added with the polynomial. log c is on a grid as ln c is. Powers of the base
// have exact results.
// ln(1 + x): 1 + x in two parts, of which the smaller one enters r. Where x^2 underflows the flag says so,
// without harm to the result.
// Single: base 2 and 10 from the natural logarithm in double lanes; ln(1 + x) in double lanes, degree 4,
// error 2^-40 of r.
//
// Largest errors measured by tools/measure_logarithm_bases.cpp, in ulp (docs/accuracy.md): base 2 0.515409 at
// 0x1.6a1a98a60c4dep-1, base 10 0.514354 at 0x1.fb77fb2bfeb24p-1, ln(1 + x) 0.514420 at
// -0x1.bda38ac5cfabp-3. Single: 0.500000, 0.500015 at 0x1.fff9fap-1, 0.500008 at 0x1.a40feep-10.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/logarithm.h"
#include "vector_math/kernels/logarithm_bases_tables.h"
#include "vector_math/kernels/logarithm_lanes.h"
#include "vector_math/kernels/logarithm_terms.h"

#include <limits>

namespace qor::fyn {

struct Base2 {
    static constexpr const auto &pairs = logarithm_pairs_2;
    static constexpr double scale = logarithm_scale_2;
    static constexpr DoubleDouble per_natural = LogarithmConstants::log2_e;
    static constexpr double log2_hi = 1, log2_lo = 0;
};

struct Base10 {
    static constexpr const auto &pairs = logarithm_pairs_10;
    static constexpr double scale = logarithm_scale_10;
    static constexpr DoubleDouble per_natural = LogarithmConstants::log10_e;
    static constexpr double log2_hi = 0x1.34413509f78p-2; // a multiple of 2^-44
    static constexpr double log2_lo = 0x1.fef311f12b358p-46;
};

// ln of a number in parts, below 2^1000, good beside its distance from 1; the later parts are the smaller
// ones, less than 2^-52 of the first.
template <unsigned parts> struct LogarithmOfParts : LogarithmTerms<BaseE> {
    V tail[parts - 1];

    LogarithmOfParts() = default;
    template <class... Tail> explicit LogarithmOfParts(V x, Tail... tails) {
        const LogarithmReduction at(x);
        // 2^-k / c, x = 2^k z
        const V to_mantissa = from_bits<V>((bits_of(broadcast<V>(1)) - bits_of(x)) + bits_of(at.mantissa));
        const V factor = place(at) * to_mantissa;
        unsigned i = 0;
        ((tail[i++] = tails * factor), ...);
    }

    [[gnu::always_inline]] V sum() const {
        if constexpr (parts == 2)
            return sum_with(tail[0]);
        else
            return sum_with(tail[0], tail[1]);
    }
};

// ln(1 + u) in double lanes for single results, u > -1; in two steps.
struct ShortLogarithm1p {
    using V = Lanes<double>;
    V r, whole;

    ShortLogarithm1p() = default;
    explicit ShortLogarithm1p(V u) {
        const V x = u + 1;
        const V lost = where<V>(x < 2, u - (x - 1)); // of larger u too little to matter
        const LogarithmReduction at(x);
        V reciprocal, logarithm;
        look_up_modulo(logarithm_pairs, at.interval, reciprocal, logarithm);
        r = (at.mantissa * reciprocal - 1) + lost;
        whole = at.exponent * ln_2.hi + logarithm;
    }

    [[gnu::always_inline]] V sum() const {
        const V square = r * r;
        return whole + (r + square * ((-0.49999999999878597 + r * 0.33333413799846584) +
                                      square * -0.2500010058322048));
    }
};

template <class Element, class Base> struct LogarithmLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 1;
    static constexpr bool test_beside = true;

    template <class V> static IntegersOf<V> special(V x) { return LnLanes<ElementOf<V>>::special(x); }

    template <class V> [[gnu::always_inline]] static auto start(V x) {
        if constexpr (sizeof(ElementOf<V>) == 8)
            return LogarithmTerms<Base>(x);
        else
            return LnSingle::start(x);
    }
    template <class V> [[gnu::always_inline]] static V finish(const auto &started, V) {
        if constexpr (sizeof(ElementOf<V>) == 8) {
            return started.sum();
        } else {
            const Halves ln = LnSingle::halves_of_single(started);
            return narrowed({ln.low * Base::per_natural.hi, ln.high * Base::per_natural.hi});
        }
    }
    template <class V> static V value(V x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Element::eval(x, r);
    }
};
using Log2Lanes = LogarithmLanes<Log2, Base2>;
using Log10Lanes = LogarithmLanes<Log10, Base10>;

struct Log1pLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 1;

    // x <= -1, infinities and NaNs; in double also the largest numbers, whose rest has no place beside them.
    template <class V> static IntegersOf<V> special(V x) {
        constexpr bool single = sizeof(ElementOf<V>) == 4;
        constexpr auto from = single ? top_word(0x1p-30f) : top_word(0x1p-60);
        constexpr auto to = single ? top_word(std::numeric_limits<float>::infinity()) : top_word(0x1p+1000);
        return outside_short_window<from, to>(1 + x);
    }

    template <class V> [[gnu::always_inline]] static auto start(V x) {
        if constexpr (sizeof(ElementOf<V>) == 8) {
            const V sum = 1 + x, part = sum - x;
            return LogarithmOfParts<2>(sum, (1 - part) + (x - (sum - part)));
        } else {
            return Both<ShortLogarithm1p>(widened(x));
        }
    }
    // The sign is that of x, also of zeros.
    template <class V> [[gnu::always_inline]] static V finish(const auto &started, V x) {
        if constexpr (sizeof(ElementOf<V>) == 8)
            return with_sign(started.sum(), sign_of(x));
        else
            return with_sign(narrowed({started.low.sum(), started.high.sum()}), sign_of(x));
    }
    template <class V> static V value(V x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Log1p::eval(x, r);
    }
};

} // namespace qor::fyn
