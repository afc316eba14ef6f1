// Hyperbolic sine, cosine and tangent over lanes.
//
// Double sine and cosine: |x| = n ln2/64 + r as for e^x (exponential_double.h); with S = 2^(n/64) / 2 and
// S' = 2^(-n/64) / 2, both from the exponential's table, D = S - S' and C = S + S',
//   sinh |x| = D cosh r + C sinh r,   cosh x = C cosh r + D sinh r.
// The leading one of D and C in two parts; C sinh r as sinh r + (C - 1) sinh r, so that nothing is lost near
// 0, where the sum cancels. sinh r to 2^-62.2 of r, cosh r to 2^-59.4.
// Single sine and cosine: from m = e^|x| - 1, (m + m / (m + 1)) / 2, and from e^|x| and its inverse, in
// double precision.
//
// Tangent: |x| = a + r, a = n/32, |r| <= 1/64, r exact. With T = tanh a from a table and t = tanh r,
//   tanh |x| = (T + t) / (1 + T t) = T + r + ((t - r) - T t (T + t) / (1 + T t)),
// where the second form has only a small part to round. From 19.1 on it is 1. t - r to 2^-60.3 of r; single,
// from the first form, to 2^-44.9.
//
// Largest errors measured by tools/measure_hyperbolic.cpp, in ulp (docs/accuracy.md): sine 0.528019 at
// 0x1.4a753b50a789p+3, cosine 0.524792 at 0x1.0ecf92887aba2p+5, tangent 0.565712 at 0x1.fe7fe766adeb8p+3;
// single 0.500017041 at -0x1.bf9064p-9, 0.499999935 and 0.500000121 at 0x1.c8dc56p-8.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/exponential_lanes.h"
#include "vector_math/kernels/hyperbolic.h"
#include "vector_math/kernels/hyperbolic_tables.h"
#include "vector_math/kernels/lane_bits.h"

#include <cstdint>
#include <limits>

namespace qor::fyn {

namespace hyperbolic_lanes {

using V = Lanes<double>;

// What sine and cosine share.
struct Exponentials {
    V up, down;              // S and S'
    V up_rest, down_rest;    // what the table's rounding leaves of them
    V reduced, sine, cosine; // sinh r - reduced, cosh r - 1

    [[gnu::always_inline]] explicit Exponentials(const ExponentSteps<V, ExpDouble> &at) {
        const auto halves = [](IntegersOf<V> n) { return wrapping_sum(n, IntegersOf<V>{} - 64); };
        const IntegerPair index(at.n);
        V root, inverse;
        constexpr auto &table = exponential_relative;
        look_up_pairs(table[index.low % 64], table[index.high % 64], root, up_rest);
        look_up_pairs(table[-index.low % 64], table[-index.high % 64], inverse, down_rest);
        up = scaled_by_64ths(root, halves(at.n));
        down = scaled_by_64ths(inverse, halves(-at.n));
        up_rest *= up;
        down_rest *= down;
        reduced = at.reduced;
        const V square = at.r * at.r;
        sine = at.r * square * (0.16666666666659316 + square * 0.008333341434610562) - at.excess;
        cosine = square * (0.4999999999994855 + square * 0.04166672337238365);
    }
};

[[gnu::always_inline]] inline V sine(const ExponentSteps<V, ExpDouble> &at) {
    const Exponentials e(at);
    const V d = e.up - e.down, d_rest = (e.up - d) - e.down;
    const V above_one = ((e.up - 0.5) + (e.down - 0.5)) + (e.up_rest + e.down_rest); // C - 1
    const V sum = d + e.reduced;                                                     // the larger first, or 0
    return sum + ((((d - sum) + e.reduced) + (d_rest + (e.up_rest - e.down_rest))) +
                  ((above_one * (e.reduced + e.sine) + e.sine) + d * e.cosine));
}

[[gnu::always_inline]] inline V cosine(const ExponentSteps<V, ExpDouble> &at) {
    const Exponentials e(at);
    const V d = e.up - e.down, c = e.up + e.down, c_rest = (e.up - c) + e.down;
    return c + ((c_rest + (e.up_rest + e.down_rest)) + (d * (e.reduced + e.sine) + c * e.cosine));
}

inline V brief_sine(const ExponentSteps<V, ExpDouble> &at) {
    const V m = brief_expm1(at);
    return 0.5 * (m + m / (m + 1.0));
}

inline V brief_cosine(const ExponentSteps<V, ExpDouble> &at) {
    const V e = brief_expm1(at) + 1.0;
    return 0.5 * e + 0.5 / e;
}

// size = n / tanh_steps + r exactly, size up to where the tangent is 1.
template <class W> struct TangentSteps {
    using T = ElementOf<W>;
    static constexpr T end = sizeof(T) == 8 ? T(19.5) : T(10);
    static constexpr T shifter = T(1.5) * integers_from<T> / tanh_steps;

    IntegersOf<W> n; // in the low bits
    W r;

    TangentSteps() = default;
    explicit TangentSteps(W size) {
        const W inside = smaller(size, W{} + end);
        const W shifted = inside + shifter;
        n = bits_of(shifted);
        r = inside - (shifted - shifter);
    }
};

inline constexpr std::uint64_t tanh_rows = 1024; // a power of two above the table's size

[[gnu::always_inline]] inline V tangent(const TangentSteps<V> &at) {
    const V r = at.r, square = r * r;
    const IntegerPair index(at.n);
    V step, rest;
    look_up_pairs(tanh_pairs[index.low % tanh_rows], tanh_pairs[index.high % tanh_rows], step, rest);
    const V beyond =
        r * square *
        ((-0.333333333333275 + square * 0.13333333188237967) + (square * square) * -0.0539580000067551);
    const V t = r + beyond, product = step * t;
    const V sum = step + r; // the larger first, or 0
    return sum + ((((step - sum) + r) + (rest + beyond)) - product * (step + t) / (1.0 + product));
}

// i, j: in the low bits
[[gnu::always_inline]] inline V brief_tangent(V r, std::uint64_t i, std::uint64_t j) {
    const V square = r * r;
    const V t = r + r * square * (-0.3333333319478436 + square * 0.13331499066424526);
    const V step{tanh_pairs[i % tanh_rows].hi, tanh_pairs[j % tanh_rows].hi};
    return (step + t) / (1.0 + step * t);
}

inline Lanes<float> tangent(const TangentSteps<Lanes<float>> &at) {
    const IntegerQuad index(at.n);
    const Halves r = widened(at.r);
    return narrowed({brief_tangent(r.low, index.lane[0], index.lane[1]),
                     brief_tangent(r.high, index.lane[2], index.lane[3])});
}

} // namespace hyperbolic_lanes

struct SinhLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) { return outside_exponents(x); }

    template <class W> [[gnu::always_inline]] static auto start(W x) { return exponent_steps(magnitude(x)); }
    template <class W> [[gnu::always_inline]] static W finish(const auto &at, W x) {
        using namespace hyperbolic_lanes;
        W r;
        if constexpr (sizeof(ElementOf<W>) == 8)
            r = sine(at);
        else
            r = narrowed({brief_sine(at.low), brief_sine(at.high)});
        return with_sign(r, sign_of(x));
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Sinh::eval(x, r);
    }
};

struct CoshLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) { return outside_exponents<W, 0>(x); }

    template <class W> [[gnu::always_inline]] static auto start(W x) { return exponent_steps(magnitude(x)); }
    template <class W> [[gnu::always_inline]] static W finish(const auto &at, W) {
        using namespace hyperbolic_lanes;
        if constexpr (sizeof(ElementOf<W>) == 8)
            return cosine(at);
        else
            return narrowed({brief_cosine(at.low), brief_cosine(at.high)});
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Cosh::eval(x, r);
    }
};

struct TanhLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;
    static constexpr bool test_beside = true;

    // All but the numbers from 2^-60 on.
    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        return outside_short_window<top_word(T(0x1p-60)), top_word(std::numeric_limits<T>::infinity()),
                                    0x7FFFFFFF>(x);
    }

    template <class W> [[gnu::always_inline]] static auto start(W x) {
        return hyperbolic_lanes::TangentSteps<W>(magnitude(x));
    }
    template <class W> [[gnu::always_inline]] static W finish(const auto &at, W x) {
        return with_sign(hyperbolic_lanes::tangent(at), sign_of(x));
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Tanh::eval(x, r);
    }
};

} // namespace qor::fyn
