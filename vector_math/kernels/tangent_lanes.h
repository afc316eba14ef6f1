// Tangent over lanes.
//
// x = n pi/64 + r, |r| <= pi/128, as for the sine (trigonometric_lanes.h). With T the tangent of the step
// n pi/64, less the nearest multiple of pi/2, |T| <= 1, and t = tan r,
//   tan x = (T + t) / (1 - T t),   or the negative inverse where that multiple is odd.
//
// Double: T + t and 1 - T t in two parts each. T t is below 2^-5.3, so that its own rounding stays below
// 2^-58 of the denominator; t - r is below 2^-12 of T + t. The quotient comes from the denominator's
// reciprocal and what the product of both leaves of the numerator; only the last addition rounds near the
// result's last place. t - r: approximation error below 2^-66 of r.
// Single: in double precision without the small parts, approximation error below 2^-53; rounded once.
//
// Largest errors measured by tools/measure_trigonometric.cpp, in ulp (docs/accuracy.md): 0.542263 at
// -0x1.f38360e74d143p+1; special path 0.540046 at 0x1.94ce14c0a1fd8p+168. Single: always the nearest float.
#pragma once

#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/trigonometric_lanes.h"

namespace qor::fyn {

namespace angle_lanes {

// Parts of a sum, the first being the sum rounded.
struct TwoParts {
    V leading, rest;
};

// All of a lane set where its step is nearer to an odd multiple of pi/2.
inline Lanes<std::int64_t> in_odd_quadrant(Lanes<std::int64_t> n) {
    const auto top = _mm_slli_epi64(std::bit_cast<__m128i>(n + steps_of_quarter / 2), 63 - 5);
    static_assert(steps_of_quarter == 1 << 5);
    return whole_lanes(std::bit_cast<Lanes<std::int64_t>>(_mm_srai_epi32(top, 31)));
}

template <class W> void swap_where(IntegersOf<W> chosen, W &a, W &b) {
    const auto difference = (bits_of(a) ^ bits_of(b)) & chosen;
    a = from_bits<W>(bits_of(a) ^ difference);
    b = from_bits<W>(bits_of(b) ^ difference);
}

template <class W> W negated_where(IntegersOf<W> chosen, W v) {
    return from_bits<W>(bits_of(v) ^ (chosen & sign_bit<ElementOf<W>>));
}

// n / d as its upper 26 bits and left / d, what they leave of it; the rounded inverse of d will do there.
struct PartialQuotient {
    V inverse, q, left;
    PartialQuotient(V n, V d) : inverse(1.0 / d), q(shortened<27>(n * inverse)) {
        const V d_hi = shortened<27>(d), d_lo = d - d_hi;
        left = (n - q * d_hi) - q * d_lo;
    }
};

inline V quotient(const TwoParts &numerator, const TwoParts &denominator) {
    const PartialQuotient by(numerator.leading, denominator.leading);
    return by.q + (by.left + (numerator.rest - by.q * denominator.rest)) * by.inverse;
}

[[gnu::always_inline]] inline V tangent(const Reduced &x) {
    const V square = x.r * x.r;
    const V cube = square * x.r;
    const V beyond = cube * ((0.3333333333333333 + square * 0.13333333333381794) +
                             (square * square) * (0.05396824994613934 + square * 0.021880170441563335));
    V step, step_rest;
    look_up_modulo(angle_tangents, x.n, step, step_rest);
    const V sum = step + x.r;
    const V small = ((step - sum) + x.r) + (step_rest + (beyond - x.excess));
    TwoParts a{sum + small, {}};
    a.rest = (sum - a.leading) + small;
    const V product = step * (x.r + beyond);
    TwoParts b{1.0 - product, {}};
    b.rest = (1.0 - b.leading) - product;
    const auto odd = in_odd_quadrant(x.n);
    swap_where(odd, a.leading, b.leading);
    swap_where(odd, a.rest, b.rest);
    return negated_where(odd, quotient(a, b));
}

// tan(n pi/64 + arctan t)
inline V tangent_beyond_step(V t, Lanes<std::int64_t> n) {
    V step, step_rest;
    look_up_modulo(angle_tangents, n, step, step_rest);
    V a = step + t, b = 1.0 - step * t;
    const auto odd = in_odd_quadrant(n);
    swap_where(odd, a, b);
    return negated_where(odd, a / b);
}

inline V single_tangent(const ReducedSteps &x) {
    const V u = x.f * x.f;
    const V t =
        x.f * (((u * 3.7080729887742367e-11 + 3.80004023673057e-08) * u + 3.9426519623343246e-05) * u +
               0.04908738521234052);
    return tangent_beyond_step(t, x.n);
}

} // namespace angle_lanes

struct TanLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) { return angle_lanes::special(x); }

    template <class W> [[gnu::always_inline]] static auto start(W x) {
        if constexpr (sizeof(ElementOf<W>) == 8)
            return angle_lanes::reduce(x);
        else
            return each_half(angle_lanes::reduce_single, x);
    }
    template <class W> [[gnu::always_inline]] static W finish(const auto &at, W) {
        if constexpr (sizeof(ElementOf<W>) == 8)
            return angle_lanes::tangent(at);
        else
            return narrowed({angle_lanes::single_tangent(at.low), angle_lanes::single_tangent(at.high)});
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline]] static Status eval(T x, T &result) noexcept {
        Status status = status_ok;
        if (!angle_lanes::is_no_angle_or_tiny(x, x, result, status))
            result =
                static_cast<T>(angle_lanes::tangent(angle_lanes::reduce_special(static_cast<double>(x)))[0]);
        return status;
    }
};

} // namespace qor::fyn
