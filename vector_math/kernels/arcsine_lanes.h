// Arcsine and arccosine over lanes, in radians and in half turns.
//
// Up to 1/2 the series, arcsin s = s + s^3 P(s^2) with s = |x|. From there
//   arccos |x| = 2 arcsin s,  s^2 = (1 - |x|) / 2 <= 1/4,
// and the functions differ only in the multiple of the right angle from which arcsin s, once or twice, is
// counted.
//
// Double: a root s has two parts, the leading one of 26 bits with an exact square, and what that leaves of
// s^2 gives the other. pi/2 and pi have two parts too. In half turns the product of the leading parts of s
// and of 1/pi is exact. Near the result's last place only its sums round, and s^3 P, up to 1/12 of the
// result, at a sixteenth of it. Approximation error below 2^-61 of s.
//
// Single: in double precision without the small parts, approximation error below 2^-35 of s.
//
// Largest errors measured by tools/measure_inverse_trigonometric.cpp, in ulp (docs/accuracy.md): arcsine
// 0.655247 at -0x1.0b50396fecd23p-1, arccosine 0.636728 at 0x1.19f6087f7a5e7p-1; in half turns 0.692028 at
// -0x1.0c162a466aca7p-1 and 0.597179 at 0x1.07004a51ac8fdp-1. Single: 0.500315.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/inverse_trigonometric_lanes.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/tangent_lanes.h"

#include <bit>
#include <cstdint>
#include <emmintrin.h>

namespace qor::fyn {

namespace inverse_lanes {

// (arcsin(s) / s - 1) / z in z = s^2 <= 1/4, minimax: the errors are those of arcsin(s), relative to s.
inline constexpr double arcsine_terms[] = {0.1666666666666666,    0.07500000000002373,  0.04464285713981526,
                                           0.030381944637253744,  0.022372151942230054, 0.017352934921350822,
                                           0.013962076048927304,  0.011583396928284535, 0.009503908512434012,
                                           0.00989386498796134,   0.001127797305247515, 0.02373601794095988,
                                           -0.024611502075404055, 0.03269147911081306}; // 2^-61.6
inline constexpr double arcsine_short[] = {0.16666667189842205,  0.0749994815562764,  0.04466016360956746,
                                           0.030110252793246698, 0.02461835746118402, 0.007469155250764753,
                                           0.03469292078591698}; // 2^-35.8

inline V chosen(Integers mask, V yes, V no) {
    return from_bits<V>(bits_of(where(mask, yes)) | bits_of(where_not(from_bits<V>(mask), no)));
}

// s of an argument, which is its size or, where the argument is near 1 or -1, a root.
struct ArcsineArgument {
    Integers near_one;
    V s, z;

    ArcsineArgument() = default;
    explicit ArcsineArgument(V x) {
        const V size = magnitude(x);
        near_one = size > 0.5;
        z = smaller(size * size, 0.5 * (1.0 - size)); // which are equal at 1/2
        // Up to 1/2 the size itself: it is the rounded root of its rounded square.
        s = std::bit_cast<V>(_mm_sqrt_pd(std::bit_cast<__m128d>(z)));
    }

    // s, to twice its digits where it is a root.
    template <class Unit> Parts parts() const {
        Parts r;
        r.leading = shortened<27>(s);
        if constexpr (in_radians<Unit>) // what is no root is exact
            r.leading = from_bits<V>(bits_of(s) & (bits_of(r.leading) | ~near_one));
        r.rest = where(near_one, (z - r.leading * r.leading) / (s + r.leading));
        if constexpr (!in_radians<Unit>)
            r.rest =
                from_bits<V>(bits_of(r.rest) | bits_of(where_not(from_bits<V>(near_one), s - r.leading)));
        return r;
    }
    template <class Unit> V beyond() const { return s * z * polynomial<Unit>(arcsine_terms, z); }
    template <class Unit> V brief_arcsine() const {
        return s * (Unit::factor.hi + z * polynomial<Unit>(arcsine_short, z));
    }
};

// The function is base + times * arcsin(s), with the argument's sign where it is odd.
template <class Unit> struct Arcsine {
    static constexpr bool odd = true;
    static constexpr bool exact = in_radians<Unit>; // base + times * the leading part of s
    V base, times;
    Arcsine(const ArcsineArgument &at, V)
        : base(where(at.near_one, V{} + Unit::quarter)), times(1.0 + where(at.near_one, V{} - 3.0)) {}
};

template <class Unit> struct Arccosine {
    static constexpr bool odd = false, exact = false;
    V base, times;
    Arccosine(const ArcsineArgument &at, V x)
        : base(chosen(at.near_one, where(x < V{}, V{} + Unit::half_turn), V{} + Unit::quarter)),
          times(negated_by(sign_of(x), where(at.near_one, V{} + 3.0) - 1.0)) {}
};

} // namespace inverse_lanes

template <class Element, class Unit, template <class> class Function> struct ArcsineLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.25;
    static constexpr bool test_beside = true;

    // Below, powers might underflow; at 1 the second part of the root has no value.
    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        constexpr std::int32_t to = top_word(T(1)) + (sizeof(T) == 8 ? 0 : 1);
        return outside_window(x, top_word(T(0x1p-60)), to, angle_lanes::all_but_sign);
    }

    [[gnu::always_inline]] static inverse_lanes::ArcsineArgument start(Lanes<double> x) {
        return inverse_lanes::ArcsineArgument(x);
    }
    [[gnu::always_inline]] static auto start(Lanes<float> x) {
        return Both<inverse_lanes::ArcsineArgument>(widened(x));
    }

    [[gnu::always_inline]] static Lanes<double> finish(const inverse_lanes::ArcsineArgument &at,
                                                       Lanes<double> x) {
        using namespace inverse_lanes;
        const Function<Unit> f(at, x);
        const Parts s = in_unit<Unit>(at.template parts<Unit>());
        const V leading = f.times * s.leading, sum = f.base + leading;
        V rest = with_lost<Unit>(f.times * s.rest, f.base);
        if constexpr (!Function<Unit>::exact)
            rest += (f.base - sum) + leading;
        return signed_by(x, sum + (rest + f.times * at.template beyond<Unit>()));
    }

    [[gnu::always_inline]] static Lanes<float> finish(const Both<inverse_lanes::ArcsineArgument> &at,
                                                      Lanes<float> x) {
        const Halves halves = widened(x);
        return narrowed({brief(at.low, halves.low), brief(at.high, halves.high)});
    }

    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Element::eval(x, r);
    }

  private:
    using V = Lanes<double>;

    static V brief(const inverse_lanes::ArcsineArgument &at, V x) {
        const Function<Unit> f(at, x);
        return signed_by(x, f.base + f.times * at.template brief_arcsine<Unit>());
    }

    static V signed_by(V x, V r) { return Function<Unit>::odd ? with_sign(r, sign_of(x)) : r; }
};

using AsinLanes = ArcsineLanes<Asin, Radians, inverse_lanes::Arcsine>;
using AsinpiLanes = ArcsineLanes<Asinpi, HalfTurns, inverse_lanes::Arcsine>;
using AcosLanes = ArcsineLanes<Acos, Radians, inverse_lanes::Arccosine>;
using AcospiLanes = ArcsineLanes<Acospi, HalfTurns, inverse_lanes::Arccosine>;

} // namespace qor::fyn
