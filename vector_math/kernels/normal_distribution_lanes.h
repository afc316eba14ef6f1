// The normal distribution and the inverse functions of its tails over lanes.
//
// P(-z) = e^(-z^2/2) G(z), see error_function_lanes.h. High accuracy: as erfc there. Low accuracy in double:
// the same without the second parts, but for the square's. Low accuracy in single precision and enhanced
// performance in double: cubics, 2^-30.6, 64 pieces to the octave. Enhanced performance in single: single
// lanes, one polynomial.
//
// erfc^-1 x = erf^-1 (1 - x), by the pieces of inverse_error_function_lanes.h with 1 - x in two parts;
// P^-1 p = -sqrt 2 erfc^-1 2p.
//
// Special: NaN; |x| >= 36 (12.75 in single precision), towards subnormal results; the last 2^-13 of
// probability on either side.
//
// Largest errors measured by tools/measure_error_function.cpp, in ulp (docs/accuracy.md), double and single:
// P 0.555843 at -0x1.3819139a5e24dp+4, 0.500081; low accuracy 1.93266, 0.610251; enhanced performance 2^22.3,
// 166; P^-1 0.520474 at 0x1.78df389dcc534p-1, 0.500001; erfc^-1 0.530165 at 0x1.0fff216de7137p-1, 0.500007.
#pragma once

#include "vector_math/kernels/error_function_lanes.h"
#include "vector_math/kernels/normal_distribution.h"

namespace qor::fyn {

template <Accuracy A> struct CdfNormLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) {
        constexpr std::int32_t limit = sizeof(ElementOf<W>) == 8 ? top_word(36.0) : top_word(12.75f);
        return outside_short_window<0, limit, error_lanes::but_sign>(x);
    }

    static Lanes<double> value(Lanes<double> x) {
        using namespace error_lanes;
        const V z = magnitude(x);
        if constexpr (A == Accuracy::high) {
            return from_tail(x, 1, tail_parts(normal_double, z, -0.5));
        } else if constexpr (A == Accuracy::low) {
            const Square square(z, -0.5);
            V leading;
            const V rest =
                row_polynomials<1>(normal_double, OctavePlace<decltype(normal_double)>(z), &leading);
            return from_tail(
                x, 1, ExpDouble::Reduced<V>(square.head, square.tail).exponential() * (leading + rest));
        } else {
            return from_tail(x, 1, short_tail<3>(normal_short, z, -0.5));
        }
    }
    static Lanes<float> value(Lanes<float> x) {
        using namespace error_lanes;
        if constexpr (A == Accuracy::enhanced_performance)
            return from_tail(x, 1, tail_in_single(magnitude(x)));
        else
            return through_double(
                [](V v) {
                    const V z = magnitude(v);
                    if constexpr (A == Accuracy::high)
                        return from_tail(v, 1, short_tail<3>(normal_medium, z, -0.5));
                    else
                        return from_tail(v, 1, short_tail<2>(normal_short, z, -0.5));
                },
                x);
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return CdfNorm<A>::eval(x, r);
    }

  private:
    // P(-z) for 0 <= z < 13 as 2^n 2^f G(z), f in [-1/2, 1/2]. Interpolants in Chebyshev points: 2^f within
    // 2^-18.4; G(z)/s within 2^-19.8, s = 1/(z + 2.75).
    static Lanes<float> tail_in_single(Lanes<float> z) {
        constexpr float shifter = 0x1.8p+23f; // rounds to an integer by addition
        const Lanes<float> t = z * (z * -0.72134752f), shifted = t + shifter; // -1 / ln 4
        const Lanes<float> f = t - (shifted - shifter), s = 1.0f / (z + 2.75f);
        const Lanes<float> power =
            1.0f + f * (0.6931210452f + f * (0.2402234904f + f * (0.05592197584f + f * 0.009666368515f)));
        const Lanes<float> high = 27.67432849f + s * (-78.73789509f + s * 58.44107012f);
        const Lanes<float> g =
            0.3992019026f + s * (1.083406831f + s * (2.913671227f + s * (1.625861967f + s * high)));
        const auto n = bits_of(shifted) << 23;
        return from_bits<Lanes<float>>(wrapping_sum(bits_of(power * (s * g)), n));
    }
};

namespace error_lanes {

// erf^-1 (1 - x) for 2^-12 <= x < 2 - 2^-12, or -sqrt 2 times it.
template <bool by_sqrt_2> V complementary_inverse(V x) {
    const V t = smaller(x, 2.0 - x), size = 1.0 - t, size_rest = (1.0 - size) - t;
    ErfInversePlace<V, std::remove_cvref_t<decltype(erf_inverse_double)>> at(size);
    at.distance += size_rest;
    V leading;
    const V rest = row_polynomials<1>(erf_inverse_double, at, &leading);
    Parts factor = halved(size);
    factor.rest += size_rest;
    if constexpr (by_sqrt_2) {
        constexpr double root = special::sqrt_2.hi, root_upper = 0x1.6a09e6p+0; // of 26 bits
        constexpr double root_rest = (root - root_upper) + special::sqrt_2.lo;
        const V upper = shortened<27>(size * root);
        factor.rest =
            ((factor.leading * root_upper - upper) + factor.leading * root_rest) + factor.rest * root;
        factor.leading = upper;
    }
    const Parts y = product(factor, leading, rest);
    return with_sign(y.leading + y.rest, sign_of(by_sqrt_2 ? x - 1.0 : 1.0 - x));
}

// The lanes outside [from, 2 middle - from).
template <class W> IntegersOf<W> in_tails(W x, ElementOf<W> from, ElementOf<W> middle) {
    return whole_lanes(outside_window(x, top_word(from), top_word(2 * middle - from)));
}

// For single precision: erf^-1 x
inline V short_inverse(V x) {
    using Place = ErfInversePlace<V, std::remove_cvref_t<decltype(erf_inverse_medium)>>;
    return x * row_polynomials(erf_inverse_medium, Place(x));
}

} // namespace error_lanes

struct ErfcInvLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;

    template <class W> static IntegersOf<W> special(W x) { return error_lanes::in_tails(x, 0x1p-12f, 1); }

    static Lanes<double> value(Lanes<double> x) { return error_lanes::complementary_inverse<false>(x); }
    static Lanes<float> value(Lanes<float> x) {
        return through_double([](Lanes<double> v) { return error_lanes::short_inverse(1.0 - v); }, x);
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return ErfcInv::eval(x, r);
    }
};

struct CdfNormInvLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.25;

    template <class W> static IntegersOf<W> special(W p) { return error_lanes::in_tails(p, 0x1p-13f, 0.5f); }

    static Lanes<double> value(Lanes<double> p) { return error_lanes::complementary_inverse<true>(p + p); }
    static Lanes<float> value(Lanes<float> p) {
        return through_double(
            [](Lanes<double> v) { return special::sqrt_2.hi * error_lanes::short_inverse((v + v) - 1.0); },
            p);
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T p, T &r) noexcept {
        return CdfNormInv::eval(p, r);
    }
};

} // namespace qor::fyn
