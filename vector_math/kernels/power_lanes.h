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
// The others: log2 in one double, its polynomial of degree 5 for single high accuracy (error 2^-50.8 of the
// logarithm; of a single-precision number r is exact), 4 for double enhanced performance (2^-40.7), 3 and 2
// for single low accuracy and enhanced performance (2^-30.5, 2^-20.3); then the exponential of
// exponential_single.h.
//
// Largest errors measured by tools/measure_power.cpp, in ulp (docs/accuracy.md): double 0.519061 at
// (0x1.ff6db97586d6fp-1, 0x1.1e2821fb29186p+17), low accuracy 2.379898, enhanced performance 2^-31.2 of the
// result; single 0.500000, low accuracy 1.461002, enhanced performance 2^-12.6 of the result.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/exponential_double.h"
#include "vector_math/kernels/exponential_single.h"
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
        const Words words = std::bit_cast<Words>(x) & magnitude;
        const Words lowest = Words{} + std::numeric_limits<std::int32_t>::min();
        const Words start = wrapping_sum(limit, lowest);
        const Words inside =
            wrapping_sum(words, wrapping_sum(start, Words{} - top_word(T(1)))) < wrapping_sum(start, limit);
        return ~(std::bit_cast<IntegersOf<V>>(inside) & (~bits_of(x) | integer(usual)));
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

// y ln x in two doubles, and its exponential.
template <Accuracy A> struct LongPower {
    using V = Lanes<double>;
    static constexpr bool high = A == Accuracy::high;
    static constexpr double limit = 708.39;
    static constexpr double ln2_hi = 0x1.62e42fefa38p-1;   // a multiple of 2^-43
    static constexpr double ln2_lo = 0x1.ef35793c7673p-45; // ln 2 - ln2_hi

    struct Exponent {
        V head, tail; // head has 52 bits
        double size() const { return head[0]; }
    };

    [[gnu::always_inline]] static Exponent exponent(V x, V y) {
        const LogarithmReduction at(x);
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
        const V hi_1 = upper_half(hi), y_1 = upper_half(y);
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

  private:
    static V upper_half(V v) { return from_bits<V>(bits_of(v) & ~((std::int64_t{1} << 27) - 1)); }
};

// 64 y log2 x in one double, and its exponential.
template <int log_degree, int exp_degree, int largest> struct ShortPower {
    using V = Lanes<double>;
    static constexpr double limit = 64 * largest;

    struct Exponent {
        V sum;
        double size() const { return sum[0]; }
    };

    [[gnu::always_inline]] static Exponent exponent(V x, V y) {
        const LogarithmReduction at(x);
        V reciprocal, logarithm;
        look_up_modulo(power_binary_pairs, at.interval, reciprocal, logarithm);
        const V r = at.mantissa * reciprocal - 1;
        V slope; // 64 log2(1 + r) / r
        if constexpr (log_degree == 2)
            slope = 92.33255575058392 + r * -46.166351009016985;
        else if constexpr (log_degree == 3)
            slope = 92.33248261678844 + r * (-46.16632358441558 + r * 30.777604105519874);
        else if constexpr (log_degree == 4)
            slope = (92.33248261684152 + r * -46.16624130827305) +
                    r * r * (30.777581966107206 + r * -23.083230354902184);
        else
            slope = (92.33248261689366 + r * -46.166241308338215) +
                    r * r * ((30.777494205389168 + r * -23.083212071434) + r * r * 18.46660622412267);
        return {y * ((at.exponent * 64 + logarithm) + r * slope)};
    }

    [[gnu::always_inline]] static V power(const Exponent &e) { return two_to_64ths<exp_degree>(e.sum); }
};

template <class T, Accuracy A, class Method> struct PowerLanes {
    static constexpr int pass = 16;
    static constexpr T padding = 1;

    template <class V> static IntegersOf<V> special(V x, V y) { return PowerRange<V>::special(x, y); }

    template <class V> [[gnu::always_inline]] static V value(V x, V y) {
        using Range = PowerRange<V>;
        const V usual = from_bits<V>(bits_of(y) & ~Range::outside_of_y(y));
        const V size = from_bits<V>(bits_of(x) & ~sign_bit<T>);
        const auto odd = bits_of(usual + Range::shifter) << (8 * sizeof(T) - 1);
        const auto power = [](Lanes<double> a, Lanes<double> b) {
            return Method::power(Method::exponent(a, b));
        };
        V r;
        if constexpr (sizeof(T) == 8)
            r = power(size, usual);
        else
            r = through_double(power, size, usual);
        return from_bits<V>(bits_of(r) | (odd & bits_of(x)));
    }

    // Arguments that only the estimates keep from the lanes have their values from them.
    [[gnu::noinline, gnu::cold]] static Status eval(T x, T y, T &r) noexcept {
        using V = Lanes<T>;
        using Range = PowerRange<V>;
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
            const auto exponent =
                Method::exponent(broadcast<Lanes<double>>(std::fabs(static_cast<double>(x))),
                                 broadcast<Lanes<double>>(static_cast<double>(y)));
            if (std::fabs(exponent.size()) < Method::limit) {
                r = value(a, b)[0];
                return status_ok;
            }
        }
        return Powx<A>::eval(x, y, r);
    }
};

template <Accuracy A>
using PowerDouble =
    PowerLanes<double, A,
               std::conditional_t<A == Accuracy::enhanced_performance, ShortPower<4, 3, 1022>, LongPower<A>>>;
template <Accuracy A>
using PowerSingle = PowerLanes<
    float, A,
    std::conditional_t<A == Accuracy::high, ShortPower<5, 4, 126>,
                       std::conditional_t<A == Accuracy::low, ShortPower<3, 2, 126>, ShortPower<2, 1, 126>>>>;

} // namespace qor::fyn
