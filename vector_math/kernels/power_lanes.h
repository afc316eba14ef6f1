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
// The others: one double. Double enhanced performance takes log2 |x| with a polynomial of degree 4 (error
// 2^-41.3 of the logarithm), single high accuracy of degree 5 (2^-51.5; of a single-precision number r is
// exact), enhanced performance, and low accuracy with exponents up to 8, of degree 2 (2^-20.5); with larger
// ones low accuracy takes the kernel of ln in its double lanes (2^-37). The fraction's exponential in single
// precision: for high accuracy in double lanes, 128 steps to a binade and degree 3 (2^-41.2 of the result);
// otherwise y log2 |x| becomes a fixed-point number with the places of a float, and straight lines between
// 2048 roots join them (2^-24.5, 2^-27); the binade is added as an integer.
//
// Largest errors measured by tools/measure_power.cpp, in ulp (docs/accuracy.md): double 0.519061 at
// (0x1.ff6db97586d6fp-1, 0x1.1e2821fb29186p+17), low accuracy 2.943281, enhanced performance 2^-30.8 of the
// result; single 0.500006, low accuracy 1.838, enhanced performance 2^-12.9 of the result.
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
        // A y outside masks all of x, which is far from 1 then. A sign that stays is far from it, too.
        const auto y_outside = std::bit_cast<Words>(outside);
        const Words limit = // at least 1
            (top_words((reach < largest ? reach : V{} + largest) * unit - 2) & ~y_outside) - y_outside;
        const Words masked = (~std::bit_cast<Words>(integer(usual)) | magnitude) & ~y_outside;
        const Words words = std::bit_cast<Words>(x) & masked;
        // the distance from 1, moved so that -limit is the lowest number
        const Words lowest = Words{} + std::numeric_limits<std::int32_t>::min();
        const Words start = wrapping_sum(limit, lowest);
        const Words moved = wrapping_sum(words, wrapping_sum(start, Words{} - top_word(T(1))));
        return std::bit_cast<IntegersOf<V>>(moved > wrapping_sum(start, limit - 1));
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

// |x| of two elements taken apart.
struct DoublePlace {
    Lanes<double> mantissa, exponent;
    IntegerPair interval; // in the low bits

    DoublePlace() = default;
    explicit DoublePlace(Lanes<double> x) {
        const LogarithmReduction at(magnitude(x));
        mantissa = at.mantissa;
        exponent = at.exponent;
        interval = IntegerPair(at.interval);
    }

    template <std::size_t size, class Pair>
    void look_up(const Pair (&table)[size], Lanes<double> &first, Lanes<double> &second) const {
        look_up_pairs(table[interval.low % size], table[interval.high % size], first, second);
    }
};

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

    [[gnu::always_inline]] static DoublePlace place(V x) { return DoublePlace(x); }

    [[gnu::always_inline]] static Exponent exponent(const DoublePlace &at, V y) {
        V reciprocal, logarithm;
        at.look_up(power_pairs, reciprocal, logarithm);
        const V rests{power_rests[at.interval.low % 256], power_rests[at.interval.high % 256]};
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

// The unit of binary logarithms: that of the bits of a float, whose exponent is a multiple of 2^23.
inline constexpr double log_unit = 0x1p23;

// log2(1 + r) / r in units for |r| < 2^-9
template <int degree> Lanes<double> binary_slope(Lanes<double> r) {
    constexpr double k = log_unit / 64;
    if constexpr (degree == 4)
        return (k * 92.33248261686006 + r * (k * -46.16624130838524)) +
               r * r * (k * 30.777564655314134 + r * (k * -23.08319110393869));
    else
        return (k * 92.33248261689366 + r * (k * -46.16624130837684)) +
               r * r *
                   ((k * 30.777494205531234 + r * (k * -23.083194039343187)) +
                    r * r * (k * 18.466569908523887));
}

// 64 y log2 |x| in one double.
struct ShortPower {
    using V = Lanes<double>;
    static constexpr double limit = 64 * 1022;

    struct Exponent {
        V sum;
        double size() const { return sum[0]; }
    };

    [[gnu::always_inline]] static DoublePlace place(V x) { return DoublePlace(x); }

    [[gnu::always_inline]] static Exponent exponent(const DoublePlace &at, V y) {
        V reciprocal, logarithm;
        at.look_up(power_binary_pairs, reciprocal, logarithm);
        const V r = at.mantissa * reciprocal - 1;
        return {(y * (64 / log_unit)) * ((at.exponent * log_unit + logarithm) + r * binary_slope<4>(r))};
    }

    [[gnu::always_inline]] static V power(const Exponent &e) { return two_to_64ths<3>(e.sum); }
};

// 2^(j/steps), from the table of 64ths. Floats are ends of straight lines: lowered by half of what these
// exceed the curve.
template <class T, std::uint64_t steps> struct Roots {
    static constexpr double ln2 = 0x1.62e42fefa39efp-1, step = ln2 / steps;
    T value[steps];

    consteval Roots() : value() {
        static_assert(steps % 64 == 0);
        for (std::uint64_t j = 0; j < steps; ++j) {
            // the exponential of this by its series
            const double power = static_cast<double>(j % (steps / 64)) * step;
            double rest = 0;
            for (int n = 12; n > 0; --n)
                rest = (1 + rest) * power / n;
            const double root = exponential_absolute[j * 64 / steps].hi;
            const double value_of_root = root + root * rest;
            value[j] =
                static_cast<T>(sizeof(T) == 8 ? value_of_root : value_of_root * (1 - step * step / 16));
        }
    }
};
template <class T, std::uint64_t steps> alignas(64) inline constexpr Roots<T, steps> roots;

// The table for the shortest logarithm, s (b - s) with s = z scale/c - scale; 12 bits keep s exact where c
// = 1.
struct ScaledPairs {
    static constexpr double scale = 2460; // near the root of the square's coefficient, 46.1663 log_unit / 64
    PowerPair row[256];

    consteval ScaledPairs() : row() {
        for (int i = 0; i < 256; ++i) {
            const auto [reciprocal, logarithm] = power_binary_pairs[i];
            row[i] = {reciprocal * scale, logarithm};
        }
    }
};
alignas(64) inline constexpr ScaledPairs scaled_pairs;

// y log2 |x| of four single-precision elements, in double lanes: in steps of the fraction's exponential.
template <Accuracy A> struct SinglePower {
    using V = Lanes<double>;
    using F = Lanes<float>;
    using Words = Lanes<std::int32_t>;
    static constexpr bool high = A == Accuracy::high, low = A == Accuracy::low;
    // To a binade: of the table for high accuracy, else the last place of fixed-point numbers.
    static constexpr std::int32_t steps = high ? 128 : 1 << 23;
    static constexpr double limit = steps * 126.0;
    static constexpr auto below_one = static_cast<std::int32_t>(LogarithmReduction::below_one >> 29);

    struct Exponent {
        Halves sum;
        double size() const { return sum.low[0]; }
    };

    [[gnu::always_inline]] static auto place(F x) {
        if constexpr (low)
            return LnSingle::start(magnitude(x));
        else
            return SinglesReduction<below_one>(magnitude(x));
    }

    [[gnu::always_inline]] static Exponent exponent(const auto &at, F y) {
        constexpr double per_unit = steps / (low ? Roots<double, 128>::ln2 : log_unit); // low: of ln |x|
        const Halves factor = widened(y), logarithm = logarithms(at);
        return {{(factor.low * per_unit) * logarithm.low, (factor.high * per_unit) * logarithm.high}};
    }

    [[gnu::always_inline]] static F power(const Exponent &e) {
        constexpr double shifter = 0x1.8p+52; // rounds to an integer by addition
        const V low_half = e.sum.low + shifter, high_half = e.sum.high + shifter;
        const Words n = low_words(bits_of(low_half), bits_of(high_half));
        const IntegerPair at(n);
        if constexpr (high) {
            const F mantissa = narrowed({after_root(e.sum.low - (low_half - shifter), at.low),
                                         after_root(e.sum.high - (high_half - shifter), at.high)});
            // n's bits above the steps, at the exponent's place
            return from_bits<F>(
                wrapping_sum(bits_of(mantissa), (n & -steps) << (23 - std::countr_zero(128u))));
        } else {
            // Straight lines between the roots; n's upper bits are at the exponent's place.
            constexpr auto &root = roots<float, 2048>.value;
            constexpr float slope =
                static_cast<float>(Roots<float, 2048>::step * (1 + Roots<float, 2048>::step / 2) / 4096);
            const auto fraction = std::bit_cast<F>(_mm_cvtepi32_ps(std::bit_cast<__m128i>(n & 4095)));
            const F r{root[(at.low >> 12) % 2048], root[(at.low >> 44) % 2048], root[(at.high >> 12) % 2048],
                      root[(at.high >> 44) % 2048]};
            const F mantissa = r + r * (fraction * slope);
            return from_bits<F>(wrapping_sum(bits_of(mantissa), n & -steps));
        }
    }

  private:
    // 2^((j + u)/128), j in the low bits of either half of n
    [[gnu::always_inline]] static V after_root(V u, std::uint64_t n) {
        constexpr auto &root = roots<double, 128>.value;
        const V r{root[n % 128], root[(n >> 32) % 128]};
        return r + r * (u * (0.010830424696257182 / 2 +
                             u * (5.864907923336629e-05 / 4 + u * (2.1173125399520786e-07 / 8))));
    }

    [[gnu::always_inline]] static Halves logarithms(const auto &at) {
        if constexpr (low) {
            return LnSingle::halves_of_single(at);
        } else {
            const Halves z = widened(at.z), exponent = widened(at.exponent);
            return {logarithm(z.low, exponent.low, at.interval.low),
                    logarithm(z.high, exponent.high, at.interval.high)};
        }
    }

    // Of two elements; interval: in the low bits of either half.
    [[gnu::always_inline]] static V logarithm(V z, V exponent, std::uint64_t interval) {
        const std::uint64_t i = (interval >> 15) % 256, j = (interval >> 47) % 256;
        V reciprocal, log_of_c;
        if constexpr (high) {
            look_up_pairs(power_binary_pairs[i], power_binary_pairs[j], reciprocal, log_of_c);
            const V r = z * reciprocal - 1;
            return (exponent + log_of_c) + r * binary_slope<5>(r);
        } else {
            constexpr double scale = ScaledPairs::scale, b = log_unit / 64 * 92.33254132490721 / scale;
            look_up_pairs(scaled_pairs.row[i], scaled_pairs.row[j], reciprocal, log_of_c);
            const V s = z * reciprocal - scale;
            return (exponent + log_of_c) + s * (b - s);
        }
    }
};

template <class T, Accuracy A, class Method> struct PowerLanes {
    static constexpr int pass = 16;
    static constexpr T padding = 1;
    using Range = PowerRange<Lanes<T>>;

    template <class V> [[gnu::always_inline]] static IntegersOf<V> special(V x, V y) {
        return Range::special(x, y);
    }

    template <class V> [[gnu::always_inline]] static auto start(V x, V) { return Method::place(x); }
    template <class V> [[gnu::always_inline]] static auto middle(const auto &place, V, V y) {
        return Method::exponent(place, usual(y));
    }
    template <class V>
    [[gnu::always_inline]] static V finish(const typename Method::Exponent &exponent, V x, V y) {
        const auto odd = bits_of(usual(y) + Range::shifter) << (8 * sizeof(T) - 1);
        return from_bits<V>(bits_of(Method::power(exponent)) | (odd & bits_of(x)));
    }

    template <class V> [[gnu::always_inline]] static V value(V x, V y) {
        return finish(exponent(x, y), x, y);
    }

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
            const auto exponent = PowerLanes::exponent(a, b);
            if (std::fabs(exponent.size()) < Method::limit) {
                r = finish(exponent, a, b)[0];
                return status_ok;
            }
        }
        return Powx<A>::eval(x, y, r);
    }

  private:
    template <class V> [[gnu::always_inline]] static auto exponent(V x, V y) {
        return middle(start(x, y), x, y);
    }
    template <class V> static V usual(V y) { return from_bits<V>(bits_of(y) & ~Range::outside_of_y(y)); }
};

template <Accuracy A>
using PowerDouble =
    PowerLanes<double, A, std::conditional_t<A == Accuracy::enhanced_performance, ShortPower, LongPower<A>>>;
template <Accuracy A> using PlainPowerSingle = PowerLanes<float, A, SinglePower<A>>;

// With exponents up to 8 the shortest logarithm is good enough for low accuracy.
struct LowPowerSingle : PlainPowerSingle<Accuracy::low> {
    struct Shorter : PlainPowerSingle<Accuracy::enhanced_performance> {
        [[gnu::noinline, gnu::cold]] static Status eval(float x, float y, float &r) noexcept {
            return PlainPowerSingle<Accuracy::low>::eval(x, y, r);
        }
    };
    static bool shorter_serves(float y) { return (top_word(y) & Range::magnitude) <= top_word(8.0f); }
};

template <Accuracy A>
using PowerSingle = std::conditional_t<A == Accuracy::low, LowPowerSingle, PlainPowerSingle<A>>;

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
