// Sine and cosine over lanes.
//
// x = n pi/64 + r, |r| <= pi/128, and with s and c the sine and cosine of n pi/64 from a table
//   sin x = s cos r + c sin r = s + c r - s (1 - cos r) - c (r - sin r).
// The cosine is the sine a quarter turn on: the same text, 32 entries further.
//
// Reduction (W. J. Cody and W. Waite, Software Manual for the Elementary Functions, 1980): pi/64 stands in
// four parts, the first three multiples of 2^-31, 2^-58 and 2^-85 of at most 27 bits, so that their products
// with n, |n| < 2^26, are exact. So is x less the first two: where n is not 0 all of it is a multiple of
// 2^-58, and the difference is below 2^-5. Taking away the third rounds, and what that loses is kept with the
// fourth. The fourth product's rounding is below 2^-61 of x's distance to any multiple of pi/2 (computed for
// the double nearest to each multiple of the range).
//
// Double: c r is r less (1 - c) r, or the same with -1, so that its leading part is exact and the sum s + r
// keeps what rounding takes away; only the last two additions round near the result's last place. 1 - cos r
// and r - sin r: approximation errors below 2^-61 of the result.
// Single: four at a time in double precision without the small parts, and reduced by one product: the leading
// 28 bits of 64/pi make it exact, and what the others give is added to the fraction f of a step. The
// polynomials in f have errors below 2^-46 (2^-44 where |x| is above 10^6); rounded to float once.
//
// Zeros, tiny arguments and those from 0x1.92p+21 on are special; the last are divided by 2 pi in integers,
// and then the same sums serve.
//
// Largest errors measured by tools/measure_trigonometric.cpp, in ulp (docs/accuracy.md): sine 0.547078 at
// 0x1.a56671663eee2p+20, cosine 0.547077 at -0x1.69486bc7eab0cp+1; special path 0.544060 at
// 0x1.bdc4ef840d6b3p+129. Single, all arguments: 0.500000143; 40 sines and 62 cosines are not the nearest.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/trigonometric.h"
#include "vector_math/kernels/trigonometric_tables.h"

#include <bit>
#include <cstdint>
#include <emmintrin.h>
#include <limits>
#include <type_traits>

namespace qor::fyn {

namespace angle_lanes {

using V = Lanes<double>;

inline constexpr double steps_per_radian = 0x1.45f306dc9c883p+4; // 64 / pi
inline constexpr double steps_per_radian_hi = 0x1.45f306ep+4;    // 28 bits
inline constexpr double steps_per_radian_lo = -0x1.b1bbead603d8bp-27;
inline constexpr double shifter = 0x1.8p+52; // rounds to an integer by addition
inline constexpr int steps_of_quarter = 32, steps_of_turn = 128;

// Lanes serve magnitudes from the first to the second; below it the sine is its argument, and squares or
// results might underflow.
template <class T> inline constexpr T lanes_from = sizeof(T) == 8 ? T(0x1p-200) : T(0x1p-126);
template <class T> inline constexpr T lanes_end = T(0x1.92p+21);
inline constexpr std::int32_t all_but_sign = std::numeric_limits<std::int32_t>::max();

template <class W> auto special(W x) {
    using T = ElementOf<W>;
    return outside_window(x, top_word(lanes_from<T>), top_word(lanes_end<T>), all_but_sign);
}

// What the functions of a special angle have in common. below: the result where x is tiny.
template <class T> bool is_no_angle_or_tiny(T x, T below, T &result, Status &status) {
    if ((top_word(x) & all_but_sign) >= top_word(lanes_from<T>))
        return angle_is_infinite_or_nan(x, result, status);
    result = below;
    return true;
}

// Element n of a table of a whole turn, in every lane.
struct Entries {
    IntegerPair index;
    explicit Entries(Lanes<std::int64_t> n) : index(n) {}
    V of(const double *table) const {
        return V{table[index.low % steps_of_turn], table[index.high % steps_of_turn]};
    }
};

// x = n pi/64 + (r - excess); of n the low bits count.
struct Reduced {
    V r, excess;
    Lanes<std::int64_t> n;
};

inline Reduced reduce(V x) {
    const V shifted = x * steps_per_radian + shifter;
    const V n = shifted - shifter;
    const V exact = (x - n * angle_step_1) - n * angle_step_2;
    const V third = n * angle_step_3;
    const V r = exact - third;
    return {r, (third - (exact - r)) + n * angle_step_4, bits_of(shifted)};
}

// A single-precision x = (n + f) pi/64: its product with the leading part is exact.
struct ReducedSteps {
    V f;
    Lanes<std::int64_t> n;
};

inline ReducedSteps reduce_single(V x) {
    const V steps = x * steps_per_radian_hi;
    const V shifted = steps + shifter;
    return {(steps - (shifted - shifter)) + x * steps_per_radian_lo, bits_of(shifted)};
}

// (cos r - 1) / r^2 and (sin r - r) / r^3, in u = r^2: interpolated at Chebyshev's nodes of 0 <= r <= pi/128.
inline V cosine_term(V u) { return (u * -0.0013888739486776094 + 0.04166666666554168) * u - 0.5; }
inline V sine_term(V u) {
    return (u * -0.00019841020837824274 + 0.008333333332770842) * u - 0.16666666666666666;
}

template <int quarters> [[gnu::always_inline]] inline V sine_plus_quarters(const Reduced &x) {
    const V square = x.r * x.r;
    const Entries entries(x.n);
    const V s = entries.of(angle_sines + quarters * steps_of_quarter);
    const V c = entries.of(angle_sines + (quarters + 1) * steps_of_quarter);
    const V s_excess = entries.of(angle_excesses + quarters * steps_of_quarter);
    const V c_lack = entries.of(angle_lacks + quarters * steps_of_quarter);
    const V signed_r = from_bits<V>(bits_of(x.r) ^ (bits_of(c) & sign_bit<double>));
    const V leading = s + signed_r;
    const V lost = (s - leading) + signed_r;
    const V lack = c_lack * x.r;
    const V small = (lost - s_excess) - c * x.excess;
    return leading +
           (((s * cosine_term(square) + (signed_r - lack) * sine_term(square)) * square + small) - lack);
}

// Four single-precision arguments; of n the low bits count.
struct ReducedSingles {
    V f_low, f_high;
    Lanes<std::int32_t> n;
};

inline ReducedSingles reduce(Lanes<float> x) {
    const Halves halves = widened(x);
    const ReducedSteps low = reduce_single(halves.low), high = reduce_single(halves.high);
    return {low.f, high.f, low_words(low.n, high.n)};
}

// Both functions of two of them, to about 2^-46; n has the steps in the low bits of either half.
struct SingleAngle {
    V s, c, sine_of_rest, cosine_of_rest;
    SingleAngle(V f, std::uint64_t n) {
        const V u = f * f;
        cosine_of_rest = (u * 2.419105137755519e-07 - 0.0012047856927529471) * u + 0.9999999999999893;
        sine_of_rest = f * ((u * 2.3749721791707613e-09 - 1.9713259806406893e-05) * u + 0.04908738521234044);
        const std::uint64_t first = n % steps_of_turn, second = (n >> 32) % steps_of_turn;
        s = V{angle_sines[first], angle_sines[second]};
        c = V{angle_sines[first + steps_of_quarter], angle_sines[second + steps_of_quarter]};
    }
    V sine() const { return s * cosine_of_rest + c * sine_of_rest; }
    V cosine() const { return c * cosine_of_rest - s * sine_of_rest; }
};

template <int quarters>
[[gnu::always_inline]] inline Lanes<float> sine_plus_quarters(const ReducedSingles &x) {
    const IntegerPair n(x.n);
    const SingleAngle low(x.f_low, n.low), high(x.f_high, n.high);
    if constexpr (quarters == 0)
        return narrowed({low.sine(), high.sine()});
    else
        return narrowed({low.cosine(), high.cosine()});
}

// A finite argument from 2^21 on: x / (2 pi) less whole turns, by multiplying with the bits that matter.
inline Reduced reduce_special(double x) {
    using Wide = unsigned __int128;
    // |x| = m 2^e with an integer m of 53 bits. Bits of 1/(2 pi) of weight 2^-e and more make whole turns;
    // the window starts with the next and is 192 bits long, so that the product is right to 2^-138 of a turn.
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const unsigned biased = static_cast<unsigned>(bits >> 52) & 0x7FF;
    const std::uint64_t m = (bits & 0xFFFFFFFFFFFFF) | 0x10000000000000;
    const unsigned first = biased - (1023 + 52) + 64; // counted from 0, the zeros included
    const unsigned shift = first % 64;
    const std::uint64_t *words = turn_bits + first / 64;
    const auto window = [=](int i) {
        return static_cast<std::uint64_t>((Wide{words[i]} << 64 | words[i + 1]) << shift >> 64);
    };
    const Wide low = Wide{window(2)} * m, middle = Wide{window(1)} * m + (low >> 64);
    const std::uint64_t high = window(0) * m + static_cast<std::uint64_t>(middle >> 64);
    // To the nearest of 128 steps, and what is left, with its sign, in 2^-128 of a turn. It is not 0, and at
    // least 2^-65 of a turn: 63 bits of it are right.
    const std::uint64_t n = (high + (std::uint64_t{1} << 56)) >> 57;
    const Wide rest = Wide{high - (n << 57)} << 64 | static_cast<std::uint64_t>(middle);
    const bool below = static_cast<std::int64_t>(rest >> 64) < 0;
    const Wide size = below ? -rest : rest;
    const auto upper = static_cast<std::uint64_t>(size >> 64), lower = static_cast<std::uint64_t>(size);
    const int zeros = upper != 0 ? std::countl_zero(upper) : 64 + std::countl_zero(lower);
    const auto leading = static_cast<std::uint64_t>(size << zeros >> 64);
    const DoubleDouble turns{static_cast<double>(static_cast<std::int64_t>(leading >> 11)) * 0x1p-53,
                             static_cast<double>(static_cast<std::int64_t>(leading & 0x7FF)) * 0x1p-64};
    const DoubleDouble angle = turns * by_power_of_two(pi, 1);
    const double scale = std::copysign(power_of_two(-zeros), below != (x < 0) ? -1.0 : 1.0);
    return {broadcast<V>(angle.hi * scale), broadcast<V>(-angle.lo * scale),
            Lanes<std::int64_t>{} + static_cast<std::int64_t>(x < 0 ? 0 - n : n)};
}

} // namespace angle_lanes

// sin(x + quarters pi/2)
template <int quarters> struct SineLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) { return angle_lanes::special(x); }

    template <class W> [[gnu::always_inline]] static auto start(W x) { return angle_lanes::reduce(x); }
    template <class W> [[gnu::always_inline]] static W finish(const auto &reduced, W) {
        return angle_lanes::sine_plus_quarters<quarters>(reduced);
    }
    template <class W> [[gnu::always_inline]] static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline]] static Status eval(T x, T &result) noexcept {
        Status status = status_ok;
        if (!angle_lanes::is_no_angle_or_tiny(x, quarters == 0 ? x : T(1), result, status))
            result = static_cast<T>(of_special(angle_lanes::reduce_special(static_cast<double>(x))));
        return status;
    }

    static double of_special(const angle_lanes::Reduced &x) {
        return angle_lanes::sine_plus_quarters<quarters>(x)[0];
    }
};

using SinLanes = SineLanes<0>;
using CosLanes = SineLanes<1>;

// Both; their common parts are computed once.
struct SinCosLanes {
    static constexpr int pass = SinLanes::pass;
    static constexpr double padding = SinLanes::padding;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) { return angle_lanes::special(x); }

    template <class W> [[gnu::always_inline]] static auto start(W x) { return angle_lanes::reduce(x); }
    template <class W> [[gnu::always_inline]] static void finish(const auto &reduced, W, W &sine, W &cosine) {
        sine = angle_lanes::sine_plus_quarters<0>(reduced);
        cosine = angle_lanes::sine_plus_quarters<1>(reduced);
    }
    template <class W> [[gnu::always_inline]] static void value(W x, W &sine, W &cosine) {
        finish(start(x), x, sine, cosine);
    }

    template <class T> [[gnu::noinline]] static Status eval(T x, T &sine, T &cosine) noexcept {
        Status status = status_ok;
        if (angle_lanes::is_no_angle_or_tiny(x, x, sine, status)) {
            CosLanes::eval(x, cosine);
        } else {
            const angle_lanes::Reduced reduced = angle_lanes::reduce_special(static_cast<double>(x));
            sine = static_cast<T>(SinLanes::of_special(reduced));
            cosine = static_cast<T>(CosLanes::of_special(reduced));
        }
        return status;
    }
};

} // namespace qor::fyn
