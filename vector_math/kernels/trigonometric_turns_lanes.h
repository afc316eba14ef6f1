// Sine, cosine and tangent of half turns and of degrees over lanes.
//
// x = n steps + f, a step being pi/64: 1/64 of a half turn or 45/16 degrees. n comes from an addition that
// rounds; n steps and the difference f are exact, so that zeros, poles and multiples of 30 and 45 degrees are
// exact. Then as in trigonometric_lanes.h and tangent_lanes.h.
//
// Double, high: f times the unit in two parts, the upper 26 bits of f times the 27 leading bits of the unit
// being exact; the rest has errors below 2^-76 of the product. Low: sums of plain products. Enhanced
// performance: shorter polynomials, errors below 2^-27.2; the sine's constants give sin 30 degrees = 1/2.
// Single, high: in double precision, rounded to float once. Low and enhanced: in single precision without a
// table, from the nearest quarter turn, |f| <= 1/4 of a half turn. Their coefficients, near Chebyshev's, were
// searched for sin 30 degrees = 1/2 and sine and cosine of 45 degrees alike.
//
// The sine is taken of |x|: its zeros have the sign of x. The tangent's zeros and poles, multiples of a
// quarter turn, are special; so are tiny and huge arguments.
//
// Largest errors measured by tools/measure_trigonometric_turns.cpp, in ulp (docs/accuracy.md). High: sine
// 0.545454 at 0x1.40a026585fa58p+6 degrees, cosine 0.546146 at 0x1.436fff1a525e9p+7 degrees, tangent 0.540033
// at -0x1.3c7bd4b101365p+8 degrees; single: always the nearest float. Low: sine 1.83831 at
// -0x1.0100018779f99p+1 half turns, tangent 3.28242; single 1.674 and 3.765. Enhanced performance: sine
// 4.67127e+06, tangent 5.44884e+07; single 773 and 745.
#pragma once

#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/tangent_lanes.h"
#include "vector_math/kernels/trigonometric_degrees.h"
#include "vector_math/kernels/trigonometric_lanes.h"
#include "vector_math/kernels/trigonometric_pi.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qor::fyn {

namespace turn_lanes {

using angle_lanes::V;
using F = Lanes<float>;

// x less n steps, in the unit of x; of n the low bits count.
template <class W> struct Rest {
    W f;
    IntegersOf<W> n;
};

template <class W> inline constexpr ElementOf<W> shifter = ElementOf<W>(1.5) * integers_from<ElementOf<W>>;

// Odd powers of the sine and even ones of the cosine, after 1.
template <std::size_t sines, std::size_t cosines> struct ShortSeries { float sine[sines], cosine[cosines]; };

struct InHalfTurns {
    static constexpr DoubleDouble radians = pi;
    static constexpr double steps = 64;
    template <Accuracy A> using Sine = Sinpi<A>;
    template <Accuracy A> using Cosine = Cospi<A>;
    template <Accuracy A> using Tangent = Tanpi<A>;

    // In steps of 1 / inverse.
    template <int inverse, class W> [[gnu::always_inline]] static Rest<W> rest(W x) {
        constexpr auto mover = shifter<W> / inverse;
        const W shifted = x + mover;
        return {x - (shifted - mover), bits_of(shifted)};
    }
    static constexpr auto low = ShortSeries<4, 4>{{3.14159274f, -5.16770887f, 2.54976463f, -0.589076042f},
                                                  {-4.93480253f, 4.05871058f, -1.33514559f, 0.232122466f}};
    static constexpr auto lower =
        ShortSeries<3, 2>{{3.14158869f, -5.166399f, 2.49450707f}, {-4.93474436f, 3.97563505f}};
};

struct InDegrees {
    static constexpr DoubleDouble radians = radians_per_degree;
    static constexpr double steps = 64.0 / 180;
    template <Accuracy A> using Sine = Sind<A>;
    template <Accuracy A> using Cosine = Cosd<A>;
    template <Accuracy A> using Tangent = Tand<A>;

    // In steps of 180 / inverse.
    template <int inverse, class W> [[gnu::always_inline]] static Rest<W> rest(W x) {
        using T = ElementOf<W>;
        const W shifted = x * T(inverse / 180.0) + shifter<W>;
        return {x - (shifted - shifter<W>)*T(180.0 / inverse), bits_of(shifted)};
    }
    static constexpr auto low =
        ShortSeries<4, 4>{{0.0174532924f, -8.86095108e-07f, 1.34939161e-11f, -9.62194753e-17f},
                          {-0.000152308712f, 3.8663277e-09f, -3.92545188e-14f, 2.10642965e-19f}};
    static constexpr auto lower = ShortSeries<3, 2>{{0.0174532607f, -8.85872794e-07f, 1.32015275e-11f},
                                                    {-0.000152306427f, 3.78679266e-09f}};
};

template <class W, Accuracy A>
inline constexpr bool in_singles = sizeof(ElementOf<W>) == 4 && A != Accuracy::high;

// Magnitudes that lanes serve: squares must not underflow, and n steps have to be exact.
template <class T, Accuracy A>
inline constexpr T lanes_from = T(sizeof(T) == 8        ? 0x1p-200
                                  : A == Accuracy::high ? 0.0
                                                        : 0x1p-30);
template <class T> inline constexpr T lanes_end = T(sizeof(T) == 8 ? 0x1p+40 : 0x1p+21);

template <Accuracy A, class W> [[gnu::always_inline]] inline IntegersOf<W> special(W x) {
    using T = ElementOf<W>;
    return outside_window(x, top_word(lanes_from<T, A>), top_word(lanes_end<T>), angle_lanes::all_but_sign);
}

// f in units as an angle in two parts.
template <class Unit> [[gnu::always_inline]] inline angle_lanes::Reduced in_radians(const Rest<V> &x) {
    constexpr double leading =
        std::bit_cast<double>(std::bit_cast<std::int64_t>(Unit::radians.hi) & -(std::int64_t{1} << 26));
    constexpr double trailing = (Unit::radians.hi - leading) + Unit::radians.lo;
    const V upper = shortened<27>(x.f);
    const V exact = upper * leading;
    const V rest = upper * trailing + (x.f - upper) * Unit::radians.hi;
    const V r = exact + rest;
    return {r, (r - exact) - rest, x.n};
}

// The shorter terms on 0 <= r <= pi/128: sin r is right to 2^-30 of r, cos r to 2^-34. The constant term of
// the cosine is 5e-8 away from the best one, for sin 30 degrees = 1/2.
template <Accuracy A, int quarters> [[gnu::always_inline]] inline V plain_sine(V r, const auto &n) {
    const angle_lanes::Entries entries(n);
    const V s = entries.of(angle_sines + quarters * angle_lanes::steps_of_quarter);
    const V c = entries.of(angle_sines + (quarters + 1) * angle_lanes::steps_of_quarter);
    const V u = r * r, leading = c * r;
    if constexpr (A == Accuracy::low) {
        return s + (leading + u * (s * angle_lanes::cosine_term(u) + leading * angle_lanes::sine_term(u)));
    } else {
        const V cosine_term = u * 0.04166583001780997 - 0.4999999472544474;
        return s + (leading + u * (s * cosine_term - leading * 0.16666250801188334));
    }
}

template <std::size_t count> F polynomial(const float (&coefficients)[count], F u) {
    F sum = F{} + coefficients[count - 1];
    for (std::size_t i = count - 1; i-- > 0;)
        sum = sum * u + coefficients[i];
    return sum;
}

template <class Unit, Accuracy A> constexpr const auto &series_of() {
    if constexpr (A == Accuracy::low)
        return Unit::low;
    else
        return Unit::lower;
}

// Sine and cosine of f, up to an eighth of a turn either way.
template <class Unit, Accuracy A> struct ShortAngle {
    F sine, cosine;
    explicit ShortAngle(F f) {
        constexpr const auto &series = series_of<Unit, A>();
        const F u = f * f;
        sine = f * polynomial(series.sine, u);
        cosine = polynomial(series.cosine, u) * u + 1.0f;
    }
};

// The lowest bit in all of a lane.
inline Lanes<std::int32_t> odd(Lanes<std::int32_t> n) { return n << 31 >> 31; }

template <class Unit, Accuracy A, class W> [[gnu::always_inline]] inline auto reduce(W x) {
    if constexpr (in_singles<W, A>) {
        return Unit::template rest<2>(x);
    } else if constexpr (sizeof(ElementOf<W>) == 4) {
        const Halves halves = widened(x);
        const Rest<V> low = Unit::template rest<64>(halves.low), high = Unit::template rest<64>(halves.high);
        return angle_lanes::ReducedSingles{low.f * Unit::steps, high.f * Unit::steps,
                                           low_words(low.n, high.n)};
    } else if constexpr (A == Accuracy::high) {
        return in_radians<Unit>(Unit::template rest<64>(x));
    } else {
        const Rest<V> rest = Unit::template rest<64>(x);
        return Rest<V>{rest.f * Unit::radians.hi, rest.n};
    }
}

// Zeros may have either sign.
template <class Unit, Accuracy A, int quarters, class Reduced>
[[gnu::always_inline]] inline auto sine(const Reduced &x) {
    if constexpr (std::is_same_v<Reduced, Rest<F>>) {
        const auto n = x.n + quarters;
        ShortAngle<Unit, A> angle(x.f);
        angle_lanes::swap_where(odd(n), angle.sine, angle.cosine);
        return from_bits<F>(bits_of(angle.sine) ^ (n << 30 & sign_bit<float>));
    } else if constexpr (std::is_same_v<Reduced, Rest<V>>) {
        return plain_sine<A, quarters>(x.f, x.n);
    } else {
        return angle_lanes::sine_plus_quarters<quarters>(x);
    }
}

// As for the sine, but where plain double precision serves, f in steps.
template <class Unit, Accuracy A, class W> [[gnu::always_inline]] inline auto reduce_for_tangent(W x) {
    const auto in_steps = [](V v) {
        const Rest<V> rest = Unit::template rest<64>(v);
        return angle_lanes::ReducedSteps{rest.f * Unit::steps, rest.n};
    };
    if constexpr (sizeof(ElementOf<W>) == 4 && A == Accuracy::high) {
        return each_half(in_steps, x);
    } else if constexpr (sizeof(ElementOf<W>) == 8 && A != Accuracy::high) {
        return in_steps(x);
    } else {
        return reduce<Unit, A>(x);
    }
}

template <class Unit, Accuracy A, class Reduced>
[[gnu::always_inline]] inline auto tangent(const Reduced &x) {
    if constexpr (std::is_same_v<Reduced, Rest<F>>) {
        ShortAngle<Unit, A> angle(x.f);
        const auto in_odd = odd(x.n);
        angle_lanes::swap_where(in_odd, angle.sine, angle.cosine);
        return angle_lanes::negated_where(in_odd, angle.sine / angle.cosine);
    } else if constexpr (std::is_same_v<Reduced, angle_lanes::ReducedSteps>) {
        if constexpr (A == Accuracy::low)
            return angle_lanes::single_tangent(x);
        else
            return angle_lanes::tangent_beyond_step(
                x.f * (x.f * x.f * 3.9436021751787945e-05 + 0.04908738491538995), x.n);
    } else if constexpr (std::is_same_v<Reduced, Both<angle_lanes::ReducedSteps>>) {
        return narrowed({angle_lanes::single_tangent(x.low), angle_lanes::single_tangent(x.high)});
    } else {
        return angle_lanes::tangent(x);
    }
}

} // namespace turn_lanes

template <class Unit, Accuracy A, int quarters> struct SineOfTurns {
    static constexpr int pass = 16;
    static constexpr double padding = 0.25;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) { return turn_lanes::special<A>(x); }

    template <class W> [[gnu::always_inline]] static auto start(W x) {
        return turn_lanes::reduce<Unit, A>(quarters == 0 ? magnitude(x) : x);
    }
    template <class W> [[gnu::always_inline]] static W finish(const auto &reduced, W x) {
        const W positive_zero = turn_lanes::sine<Unit, A, quarters>(reduced) + 0;
        if constexpr (quarters == 0)
            return from_bits<W>(bits_of(positive_zero) ^ sign_of(x));
        else
            return positive_zero;
    }
    template <class W> [[gnu::always_inline]] static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        if constexpr (quarters == 0)
            return Unit::template Sine<A>::eval(x, r);
        else
            return Unit::template Cosine<A>::eval(x, r);
    }
};

template <Accuracy A> using SinpiLanes = SineOfTurns<turn_lanes::InHalfTurns, A, 0>;
template <Accuracy A> using CospiLanes = SineOfTurns<turn_lanes::InHalfTurns, A, 1>;
template <Accuracy A> using SindLanes = SineOfTurns<turn_lanes::InDegrees, A, 0>;
template <Accuracy A> using CosdLanes = SineOfTurns<turn_lanes::InDegrees, A, 1>;

// Both, of |x|; their common parts are computed once.
struct SinCospiLanes {
    using Sine = SinpiLanes<Accuracy::high>;
    using Cosine = CospiLanes<Accuracy::high>;
    static constexpr int pass = Sine::pass;
    static constexpr double padding = Sine::padding;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) { return Sine::special(x); }

    template <class W> [[gnu::always_inline]] static auto start(W x) { return Sine::start(x); }
    template <class W>
    [[gnu::always_inline]] static void finish(const auto &reduced, W x, W &sine, W &cosine) {
        sine = Sine::finish(reduced, x);
        cosine = Cosine::finish(reduced, x);
    }
    template <class W> [[gnu::always_inline]] static void value(W x, W &sine, W &cosine) {
        finish(start(x), x, sine, cosine);
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &sine, T &cosine) noexcept {
        return SinCospi::eval(x, sine, cosine);
    }
};

template <class Unit, Accuracy A> struct TangentOfTurns {
    static constexpr int pass = 16;
    static constexpr double padding = 0.25;

    template <class W> [[gnu::always_inline]] static IntegersOf<W> special(W x) {
        const auto outside = whole_lanes(turn_lanes::special<A>(x));
        const W served = where_not(from_bits<W>(outside), x); // others are 0, a multiple too
        return std::bit_cast<IntegersOf<W>>(Unit::template rest<2>(served).f == W{});
    }

    template <class W> [[gnu::always_inline]] static auto start(W x) {
        return turn_lanes::reduce_for_tangent<Unit, A>(x);
    }
    template <class W> [[gnu::always_inline]] static W finish(const auto &reduced, W) {
        return turn_lanes::tangent<Unit, A>(reduced);
    }
    template <class W> [[gnu::always_inline]] static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Unit::template Tangent<A>::eval(x, r);
    }
};

template <Accuracy A> using TanpiLanes = TangentOfTurns<turn_lanes::InHalfTurns, A>;
template <Accuracy A> using TandLanes = TangentOfTurns<turn_lanes::InDegrees, A>;

} // namespace qor::fyn
