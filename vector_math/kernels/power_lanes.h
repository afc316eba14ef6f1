// The power function x^y, double and single precision, three accuracies.
//
// x^y = e^(y ln |x|), its sign that of x where y is odd. |x| = 2^k z with z in [0.698, 1.397), 256 intervals
// of z, c near the middle of each:
//   ln |x| = k ln2 + ln c + ln(1 + r),  r = z/c - 1,  |r| < 0.00217
// (P. T. P. Tang, "Table-driven implementation of the logarithm function in IEEE floating-point arithmetic",
// ACM TOMS 16, 1990). Around 1 the table has c = 1: there k = 0, nothing cancels, and r carries the result.
//
// Double, high and low accuracy: a logarithm of two doubles. 1/c has 12 bits and z is rounded to 23 or 24
// binary places, so that both parts of r, and the square of the leading one, are exact; ln c and ln 2 have
// leading parts that are multiples of 2^-42, so that everything up to r is summed exactly. ln(1 + r) by
// degree 7, its error 2^-70.1 of r. y and the logarithm are split after 26 bits for the product. The low
// accuracy leaves out what the rounding of r^2/2 loses and the tails of the exponential.
// The others: 64 log2 |x| in one double, its polynomial of degree 5 for single high accuracy (error 2^-51.5
// of the logarithm; of a single-precision number r is exact), 4 for double enhanced performance (2^-41.3), 3
// and 2 for single low accuracy and enhanced performance (2^-30.9, 2^-20.5). In single precision exponents
// and mantissas of four elements are taken apart together. There the fraction's exponential is computed in
// double lanes for high accuracy, 128 steps to a binade and degree 3 (2^-41.2 of the result), otherwise in
// float lanes with 64 steps, degree 2 and 1 (2^-27.1, 2^-16.0); the binade is added as an integer.
//
// Largest errors measured by tools/measure_power.cpp, in ulp (docs/accuracy.md): double 0.519061 at
// (0x1.ff6db97586d6fp-1, 0x1.1e2821fb29186p+17), low accuracy 2.943281, enhanced performance 2^-30.8 of the
// result; single 0.500006, low accuracy 1.670255, enhanced performance 2^-12.8 of the result.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/exponential_double.h"
#include "vector_math/kernels/exponential_single.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/logarithm_lanes.h"
#include "vector_math/kernels/power.h"
#include "vector_math/kernels/power_tables.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn {

// Which arguments the lanes serve.
template <class V> struct PowerRange {
    using T = ElementOf<V>;
    using Words = Lanes<std::int32_t>;
    static constexpr bool single = sizeof(T) == 4;
    static constexpr std::int32_t magnitude = 0x7FFFFFFF;
    static constexpr T log_limit = single ? T(87.33) : T(708.39); // of y ln |x|: results are normal numbers
    // Smaller y have products that underflow; of larger ones the parity is not seen.
    static constexpr std::int32_t y_from = top_word(single ? T(0x1p-60) : T(0x1p-900));
    static constexpr std::int32_t y_to = top_word(single ? T(0x1p22) : T(0x1p24));
    // y + shifter has y rounded to an integer in its low bits.
    static constexpr T shifter = single ? T(0x1.8p+23) : T(0x1.8p+52);

    static IntegersOf<V> outside_of_y(V y) { return whole_lanes(outside_window(y, y_from, y_to, magnitude)); }
    static auto integer(V y) { return (y + shifter) - shifter == y; } // of y inside

    // Negative x where y is not an integer; y outside; x so far from 1 for this y that x or the result may
    // not be normal. With l the bits of x read as log2 x at powers of two and linear between them, |ln x| is
    // at most the smaller of l and l ln2 + 0.0597 for x > 1, and |l| ln2 for x < 1. What depends on y alone
    // leaves the loop where y is repeated.
    [[gnu::always_inline]] static IntegersOf<V> special(V x, V y) {
        constexpr T unit = single ? T(0x1p23) : T(0x1p20); // of the top word
        constexpr T largest = std::numeric_limits<T>::max_exponent - 2;
        const auto outside = outside_of_y(y);
        const V usual = from_bits<V>((bits_of(y) & ~outside) | (bits_of(V{} + T(1)) & outside));
        const V near = log_limit / from_bits<V>(bits_of(usual) & ~sign_bit<T>);
        const V far = (near - T(0.0597)) * T(1.44269);
        const V reach = near > far ? near : far;
        const Words limit =
            top_words((reach < largest ? reach : V{} + largest) * unit - 2) & ~std::bit_cast<Words>(outside);
        // the distance from 1, moved so that -limit is the lowest number
        // a sign that stays is far outside
        const Words words = std::bit_cast<Words>(x) & (~std::bit_cast<Words>(integer(usual)) | magnitude);
        const Words lowest = Words{} + std::numeric_limits<std::int32_t>::min();
        const Words start = wrapping_sum(limit, lowest);
        const Words inside =
            wrapping_sum(words, wrapping_sum(start, Words{} - top_word(T(1)))) < wrapping_sum(start, limit);
        return std::bit_cast<IntegersOf<V>>(~inside);
    }

  private:
    // Integers to the lanes' top words.
    static Words top_words(V v) {
        if constexpr (single) {
            return std::bit_cast<Words>(_mm_cvttps_epi32(std::bit_cast<__m128>(v)));
        } else {
            const auto low = _mm_cvttpd_epi32(std::bit_cast<__m128d>(v));
            return std::bit_cast<Words>(_mm_unpacklo_epi32(low, low));
        }
    }
};

// The methods: y times a logarithm of |x|, and its exponential; the sign of x does not count.

inline Lanes<double> without_sign(Lanes<double> x) {
    return from_bits<Lanes<double>>(bits_of(x) & ~sign_bit<double>);
}

// y ln |x| in two doubles.
template <Accuracy A> struct LongPower {
    using V = Lanes<double>;
    static constexpr bool high = A == Accuracy::high;
    static constexpr double limit = 708.39;                // of the size: results are normal numbers
    static constexpr double ln2_hi = 0x1.62e42fefa38p-1;   // a multiple of 2^-43
    static constexpr double ln2_lo = 0x1.ef35793c7673p-45; // ln 2 - ln2_hi

    struct Exponent {
        V head, tail; // head has 52 bits
        double size() const { return head[0]; }
    };

    [[gnu::always_inline]] static Exponent exponent(V x, V y) {
        const LogarithmReduction at(without_sign(x));
        V reciprocal, logarithm;
        look_up_modulo(power_pairs, at.interval, reciprocal, logarithm);
        const V rests = look_up_first(power_rests, at.interval);
        const V z = from_bits<V>(wrapping_sum(bits_of(at.mantissa), IntegersOf<V>{} + (1 << 28)) &
                                 ~((std::int64_t{1} << 29) - 1));
        const V r1 = z * reciprocal - 1, r2 = (at.mantissa - z) * reciprocal; // both exact, r = r1 + r2
        const V r = r1 + r2, square = r * r;
        const V cubic =
            (0.3333333333333333 + r * -0.24999999999854663) +
            square * ((0.19999999999678839 + r * -0.16666755100189104) + square * 0.1428582312009114);
        const V whole = (at.exponent * ln2_hi + logarithm) + r1; // exact
        V hi, lo;
        if constexpr (high) {
            // Exact: either r1 = 0 or |r2| <= |r1| / 2.
            const V with_r2 = whole + r2, minus_half = r1 * r1 * -0.5;
            hi = with_r2 + minus_half;
            lo = ((whole - with_r2) + r2) + ((with_r2 - hi) + minus_half) +
                 ((at.exponent * ln2_lo + rests) + (square * r * cubic - 0.5 * r2 * (r + r1)));
        } else {
            const V rest = r2 + ((at.exponent * ln2_lo + rests) + square * (r * cubic - 0.5));
            hi = whole + rest;
            lo = (whole - hi) + rest;
        }
        const V hi_1 = shortened<27>(hi), y_1 = shortened<27>(y);
        return {y_1 * hi_1, y * ((hi - hi_1) + lo) + (y - y_1) * hi_1};
    }

    // Without the tail of the table where that will do.
    [[gnu::always_inline]] static V power(const Exponent &e) {
        const ExpDouble::Reduced<V> at(e.head, e.tail);
        if constexpr (high)
            return at.exponential();
        const V root = look_up_first(exponential_absolute, at.n);
        return at.scaled(root + root * (at.r + at.curved));
    }
};

// 64 log2(1 + r) / r for |r| < 2^-9
template <int degree> Lanes<double> binary_slope(Lanes<double> r) {
    if constexpr (degree == 2)
        return 92.33254132490721 + r * -46.166300016484534;
    else if constexpr (degree == 3)
        return 92.33248261686846 + r * (-46.16630735499493 + r * 30.777560252206488);
    else if constexpr (degree == 4)
        return (92.33248261686006 + r * -46.16624130838524) +
               r * r * (30.777564655314134 + r * -23.08319110393869);
    else
        return (92.33248261689366 + r * -46.16624130837684) +
               r * r * ((30.777494205531234 + r * -23.083194039343187) + r * r * 18.466569908523887);
}

// 64 y log2 |x| in one double.
struct ShortPower {
    using V = Lanes<double>;
    static constexpr double limit = 64 * 1022;

    struct Exponent {
        V sum;
        double size() const { return sum[0]; }
    };

    [[gnu::always_inline]] static Exponent exponent(V x, V y) {
        const LogarithmReduction at(without_sign(x));
        V reciprocal, logarithm;
        look_up_modulo(power_binary_pairs, at.interval, reciprocal, logarithm);
        const V r = at.mantissa * reciprocal - 1;
        return {y * ((at.exponent * 64 + logarithm) + r * binary_slope<4>(r))};
    }

    [[gnu::always_inline]] static V power(const Exponent &e) { return two_to_64ths<3>(e.sum); }
};

// 2^(j/steps), from the table of 64ths.
template <class T, std::uint64_t steps> struct Roots {
    T value[steps];
    consteval Roots() : value() {
        constexpr double two_to_128th = 0x1.0163da9fb3335p+0;
        static_assert(steps == 64 || steps == 128);
        for (std::uint64_t j = 0; j < steps; ++j) {
            const double root = exponential_absolute[j * 64 / steps].hi;
            value[j] = static_cast<T>(j * 64 % steps == 0 ? root : root * two_to_128th);
        }
    }
};
template <class T, std::uint64_t steps> alignas(64) inline constexpr Roots<T, steps> roots;

// 64 y log2 |x| of four single-precision elements, in double lanes.
template <Accuracy A> struct SinglePower {
    using V = Lanes<double>;
    using F = Lanes<float>;
    using Words = Lanes<std::int32_t>;
    static constexpr bool high = A == Accuracy::high;
    static constexpr int log_degree = high ? 5 : A == Accuracy::low ? 3 : 2;
    static constexpr std::uint64_t steps = high ? 128 : 64; // to a binade
    static constexpr double limit = 64 * 126;

    struct Exponent {
        Halves sum;
        double size() const { return sum.low[0]; }
    };

    [[gnu::always_inline]] static Exponent exponent(F x, F y) {
        constexpr std::int32_t below_one = LogarithmReduction::below_one >> 29, one = top_word(1.0f);
        const Words moved = wrapping_sum(bits_of(x), Words{} + below_one);
        const Halves z =
            widened(std::bit_cast<F>(wrapping_sum(moved & 0x007FFFFF, Words{} + (one - below_one))));
        // The biased exponent under a leading bit, so that it counts 64.
        constexpr std::int32_t upper = top_word(0x1p35);
        constexpr double lower = 0x1p35 + 64 * 127;
        const auto field = std::bit_cast<__m128i>(moved & 0x7F800000);
        const auto uppers = std::bit_cast<__m128i>(Words{} + upper);
        const V k_low = std::bit_cast<V>(_mm_unpacklo_epi32(field, uppers)) - lower;
        const V k_high = std::bit_cast<V>(_mm_unpackhi_epi32(field, uppers)) - lower;
        const IntegerPair intervals(moved);
        const Halves factor = widened(y);
        return {{factor.low * logarithm(z.low, k_low, intervals.low),
                 factor.high * logarithm(z.high, k_high, intervals.high)}};
    }

    [[gnu::always_inline]] static F power(const Exponent &e) {
        constexpr double shifter = 0x1.8p+52 * 64 / steps; // rounds to steps by addition
        const V low = e.sum.low + shifter, high_half = e.sum.high + shifter;
        const Halves rest{e.sum.low - (low - shifter), e.sum.high - (high_half - shifter)};
        const Words n = low_words(bits_of(low), bits_of(high_half));
        const IntegerPair at(n);
        constexpr auto &root = roots<std::conditional_t<high, double, float>, steps>.value;
        F mantissa;
        if constexpr (high) {
            const auto of_rest = [](V u, std::uint64_t j) {
                const V r{root[j % steps], root[(j >> 32) % steps]};
                return r + r * (u * (0.010830424696257182 +
                                     u * (5.864907923336629e-05 + u * 2.1173125399520786e-07)));
            };
            mantissa = narrowed({of_rest(rest.low, at.low), of_rest(rest.high, at.high)});
        } else {
            const F u = narrowed(rest);
            const F r{root[at.low % steps], root[(at.low >> 32) % steps], root[at.high % steps],
                      root[(at.high >> 32) % steps]};
            if constexpr (A == Accuracy::low)
                mantissa = r + r * (u * (0.0108304644f + u * 5.8649049e-05f));
            else
                mantissa = r + r * (u * 0.0108303188f);
        }
        // n's bits above the steps, at the exponent's place
        return from_bits<F>(wrapping_sum(bits_of(mantissa), (n & -static_cast<std::int32_t>(steps))
                                                                << (23 - std::countr_zero(steps))));
    }

  private:
    // Of two elements; interval: in the low bits of either half.
    [[gnu::always_inline]] static V logarithm(V z, V k, std::uint64_t interval) {
        V reciprocal, log_of_c;
        look_up_pairs(power_binary_pairs[(interval >> 15) % 256], power_binary_pairs[(interval >> 47) % 256],
                      reciprocal, log_of_c);
        const V r = z * reciprocal - 1;
        return (k + log_of_c) + r * binary_slope<log_degree>(r);
    }
};

template <class T, Accuracy A, class Method> struct PowerLanes {
    static constexpr int pass = 16;
    static constexpr T padding = 1;
    using Range = PowerRange<Lanes<T>>;

    template <class V> [[gnu::always_inline]] static IntegersOf<V> special(V x, V y) {
        return Range::special(x, y);
    }

    template <class V> [[gnu::always_inline]] static auto start(V x, V y) {
        return Method::exponent(x, usual(y));
    }

    template <class V>
    [[gnu::always_inline]] static V finish(const typename Method::Exponent &exponent, V x, V y) {
        const auto odd = bits_of(usual(y) + Range::shifter) << (8 * sizeof(T) - 1);
        return from_bits<V>(bits_of(Method::power(exponent)) | (odd & bits_of(x)));
    }

    template <class V> [[gnu::always_inline]] static V value(V x, V y) { return finish(start(x, y), x, y); }

    // Arguments that only the estimates keep from the lanes have their values from them.
    [[gnu::noinline, gnu::cold]] static Status eval(T x, T y, T &r) noexcept {
        using V = Lanes<T>;
        const V a = broadcast<V>(x), b = broadcast<V>(y);
        const auto outside_of_x = [a](std::int32_t masked) {
            return mask_of(outside_window(a, top_word(std::numeric_limits<T>::min()),
                                          top_word(std::numeric_limits<T>::infinity()), masked));
        };
        if (outside_of_x(-1) == 0 && mask_of(outside_window(b, 0, Range::y_from, Range::magnitude)) == 0) {
            r = 1; // no product that underflows
            return status_ok;
        }
        const auto unfit = Range::outside_of_y(b) | (bits_of(a) & ~Range::integer(b));
        if ((mask_of(unfit) | outside_of_x(Range::magnitude)) == 0) {
            const auto exponent = start(a, b);
            if (std::fabs(exponent.size()) < Method::limit) {
                r = finish(exponent, a, b)[0];
                return status_ok;
            }
        }
        return Powx<A>::eval(x, y, r);
    }

  private:
    template <class V> static V usual(V y) { return from_bits<V>(bits_of(y) & ~Range::outside_of_y(y)); }
};

template <Accuracy A>
using PowerDouble =
    PowerLanes<double, A, std::conditional_t<A == Accuracy::enhanced_performance, ShortPower, LongPower<A>>>;
template <Accuracy A> using PowerSingle = PowerLanes<float, A, SinglePower<A>>;

// Powr is Pow over positive x; the rest of the line is its own.
template <class Power> struct PositivePower : Power {
    template <class V> [[gnu::always_inline]] static IntegersOf<V> special(V x, V y) {
        return Power::special(x, y) | bits_of(x);
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T y, T &r) noexcept {
        constexpr T infinity = std::numeric_limits<T>::infinity();
        const auto outside = outside_window(broadcast<Lanes<T>>(x), 1, top_word(infinity)) |
                             outside_window(broadcast<Lanes<T>>(y), 0, top_word(infinity),
                                            std::numeric_limits<std::int32_t>::max());
        return mask_of(outside) != 0 ? Powr::eval(x, y, r) : Power::eval(x, y, r);
    }
};

using PowrDouble = PositivePower<PowerDouble<Accuracy::high>>;
using PowrSingle = PositivePower<PowerSingle<Accuracy::high>>;

} // namespace qor::fyn
