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

    [[gnu::always_inline]] static auto start(Lanes<double> x) {
        using namespace error_lanes;
        if constexpr (brief)
            return ShortTail(normal_short, magnitude(x), magnitude(x), -0.5);
        else
            return Tail(normal_double, magnitude(x), magnitude(x), -0.5);
    }
    [[gnu::always_inline]] static auto start(Lanes<float> x) {
        using namespace error_lanes;
        if constexpr (brief)
            return magnitude(x);
        else
            return each_half([](V z) { return ShortTail(single_table(), z, z, -0.5); }, magnitude(x));
    }
    [[gnu::always_inline]] static Lanes<double> finish(const auto &at, Lanes<double> x) {
        using namespace error_lanes;
        if constexpr (brief) {
            return from_tail(x, 1, short_tail<3>(normal_short, at));
        } else if constexpr (A == Accuracy::high) {
            return from_tail(x, 1, tail_parts(normal_double, at));
        } else {
            V leading;
            const V rest = row_polynomials<1>(normal_double, at.place, &leading);
            return from_tail(x, 1, at.exponent.exponential() * (leading + rest));
        }
    }
    [[gnu::always_inline]] static Lanes<float> finish(const auto &at, Lanes<float> x) {
        using namespace error_lanes;
        if constexpr (brief) {
            return from_tail(x, 1, tail_in_single(at));
        } else {
            const auto of = [](V v, const auto &half) {
                return from_tail(v, 1, short_tail < A == Accuracy::high ? 3 : 2 > (single_table(), half));
            };
            const Halves halves = widened(x);
            return narrowed({of(halves.low, at.low), of(halves.high, at.high)});
        }
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return CdfNorm<A>::eval(x, r);
    }

  private:
    using V = Lanes<double>;
    static constexpr bool brief = A == Accuracy::enhanced_performance;

    static constexpr const auto &single_table() {
        if constexpr (A == Accuracy::high)
            return normal_medium;
        else
            return normal_short;
    }

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

template <class Table> using InversePlace = ErfInversePlace<V, std::remove_cvref_t<Table>>;

// 1 - x or x - 1, the smaller, and its place.
struct Complement {
    V size, size_rest;
    InversePlace<decltype(erf_inverse_double)> place;

    Complement() = default;
    explicit Complement(V x) {
        const V t = smaller(x, 2.0 - x);
        size = 1.0 - t;
        size_rest = (1.0 - size) - t;
        place = decltype(place)(size);
        place.distance += size_rest;
    }
};

// erf^-1 (1 - x) for 2^-12 <= x < 2 - 2^-12, or -sqrt 2 times it.
template <bool by_sqrt_2> V complementary_inverse(const Complement &at, V x) {
    V leading;
    const V rest = row_polynomials<1>(erf_inverse_double, at.place, &leading);
    Parts factor = halved(at.size);
    factor.rest += at.size_rest;
    if constexpr (by_sqrt_2) {
        constexpr double root = special::sqrt_2.hi, root_upper = 0x1.6a09e6p+0; // of 26 bits
        constexpr double root_rest = (root - root_upper) + special::sqrt_2.lo;
        const V upper = shortened<27>(at.size * root);
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
struct ShortInverse {
    V x;
    InversePlace<decltype(erf_inverse_medium)> place;

    ShortInverse() = default;
    explicit ShortInverse(V v) : x(v), place(v) {}
    V value() const { return x * row_polynomials(erf_inverse_medium, place); }
};

} // namespace error_lanes

struct ErfcInvLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;

    template <class W> static IntegersOf<W> special(W x) { return error_lanes::in_tails(x, 0x1p-12f, 1); }

    [[gnu::always_inline]] static auto start(Lanes<double> x) { return error_lanes::Complement(x); }
    [[gnu::always_inline]] static auto start(Lanes<float> x) {
        return each_half([](Lanes<double> v) { return error_lanes::ShortInverse(1.0 - v); }, x);
    }
    [[gnu::always_inline]] static Lanes<double> finish(const auto &at, Lanes<double> x) {
        return error_lanes::complementary_inverse<false>(at, x);
    }
    [[gnu::always_inline]] static Lanes<float> finish(const auto &at, Lanes<float>) {
        return narrowed({at.low.value(), at.high.value()});
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return ErfcInv::eval(x, r);
    }
};

struct CdfNormInvLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.25;

    template <class W> static IntegersOf<W> special(W p) { return error_lanes::in_tails(p, 0x1p-13f, 0.5f); }

    [[gnu::always_inline]] static auto start(Lanes<double> p) { return error_lanes::Complement(p + p); }
    [[gnu::always_inline]] static auto start(Lanes<float> p) {
        return each_half([](Lanes<double> v) { return error_lanes::ShortInverse((v + v) - 1.0); }, p);
    }
    [[gnu::always_inline]] static Lanes<double> finish(const auto &at, Lanes<double> p) {
        return error_lanes::complementary_inverse<true>(at, p + p);
    }
    [[gnu::always_inline]] static Lanes<float> finish(const auto &at, Lanes<float>) {
        constexpr double root = special::sqrt_2.hi;
        return narrowed({root * at.low.value(), root * at.high.value()});
    }
    template <class W> static W value(W p) { return finish(start(p), p); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T p, T &r) noexcept {
        return CdfNormInv::eval(p, r);
    }
};

} // namespace qor::fyn
