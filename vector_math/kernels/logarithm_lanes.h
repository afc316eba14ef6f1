// The natural logarithm, double and single precision.
//
// x = 2^k z with z in [0.698, 1.397), 256 intervals of z, c near the middle of each:
//   ln x = k ln2 + ln c + ln(1 + r),  r = z/c - 1,  |r| < 2^-8.8
// (P. T. P. Tang, "Table-driven implementation of the logarithm function in IEEE floating-point arithmetic",
// ACM TOMS 16, 1990). Around 1 the table has c = 1: there k = 0, r = z - 1 exactly, nothing cancels, and r
// itself carries the result.
//
// Double: 1/c has 36 bits and z is split after 17, so that the leading part of r is exact. ln c and the
// leading part of ln 2 are multiples of 2^-43, so that k ln2 + ln c is exact; what the table's ln c leaves
// out is below 1/64 of the result's last place. Degree 6, its error below 2^-59 of r. Only the last addition
// rounds at the result's last place.
// Single: exponent and mantissa of four elements at once, the sums in double lanes, degree 4, no rest kept;
// approximation error below 2^-39 of r.
//
// Largest errors measured by tools/measure_logarithm.cpp, in ulp (docs/accuracy.md): double 0.514804 at
// 0x1.9082c5e8163f3p-1; single, all arguments: 0.500000875 at 0x1.fd67dep-1, four results not the nearest.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/logarithm.h"
#include "vector_math/kernels/logarithm_tables.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn {

// x = 2^exponent * mantissa, and the number of the mantissa's interval in the low bits. Any bits give some
// finite numbers.
struct LogarithmReduction {
    using V = Lanes<double>;
    using Unsigned = Lanes<std::uint64_t>;

    static constexpr std::uint64_t one = 0x3FF0000000000000, fraction = 0x000FFFFFFFFFFFFF;
    static constexpr std::uint64_t below_one = std::uint64_t{309} << 43; // 154.5 intervals of 2^44
    static constexpr std::uint64_t two_52 = 0x4330000000000000;          // its last place is 1

    V exponent, mantissa;
    Lanes<std::int64_t> interval;

    explicit LogarithmReduction(V x) {
        const Unsigned moved = std::bit_cast<Unsigned>(x) + below_one;
        exponent = std::bit_cast<V>((moved >> 52) | two_52) - (0x1p52 + 1023);
        mantissa = std::bit_cast<V>((moved & fraction) + (one - below_one));
        interval = std::bit_cast<Lanes<std::int64_t>>(moved >> 44);
    }
};

template <class T> struct LnLanes {
    static constexpr int pass = 16;
    static constexpr T padding = 1;

    // All but the positive normal numbers.
    template <class V> static IntegersOf<V> special(V x) {
        return outside_window(x, top_word(std::numeric_limits<T>::min()),
                              top_word(std::numeric_limits<T>::infinity()));
    }

    template <class V> static V value(V x) {
        if constexpr (sizeof(T) == 8)
            return value_double(x);
        else
            return value_single(x);
    }

    [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept { return Ln::eval(x, r); }

  private:
    static constexpr double ln2_hi = 0x1.62e42fefa38p-1;         // a multiple of 2^-43
    static constexpr double ln2_lo = 0x1.ef35793c7673p-45;       // ln 2 - ln2_hi
    static constexpr double ln2_of_bits = 0x1.62e42fefa39efp-24; // ln 2 / 2^23

    static Lanes<double> value_double(Lanes<double> x) {
        using V = Lanes<double>;
        const LogarithmReduction at(x);
        V reciprocal, logarithm;
        look_up_modulo(logarithm_pairs, at.interval, reciprocal, logarithm);
        const V z_hi = from_bits<V>(bits_of(at.mantissa) & ~((std::int64_t{1} << 36) - 1));
        const V r_hi = z_hi * reciprocal - 1; // exact
        const V r_lo = (at.mantissa - z_hi) * reciprocal;
        const V r = r_hi + r_lo;
        const V whole = at.exponent * ln2_hi + logarithm; // exact
        const V leading = whole + r;
        const V rest = (((whole - leading) + r_hi) + r_lo) + at.exponent * ln2_lo;
        const V square = r * r;
        const V q =
            (-0.5 + r * 0.3333333333322741) +
            square * ((-0.24999999999907319 + r * 0.2000008698223915) + square * -0.16666742776134164);
        return leading + (rest + square * q);
    }

    static Lanes<float> value_single(Lanes<float> x) {
        constexpr auto first_interval = // where the table starts
            top_word(1.0f) - static_cast<std::int32_t>(LogarithmReduction::below_one >> 29);
        const auto moved = wrapping_sum(bits_of(x), Lanes<std::int32_t>{} - first_interval);
        const auto exponent = moved & ~0x7FFFFF; // 2^23 k
        const Halves k = widened(exponent);
        using Words = Lanes<std::uint32_t>;
        const Halves z =
            widened(std::bit_cast<Lanes<float>>(std::bit_cast<Words>(x) - std::bit_cast<Words>(exponent)));
        const auto n = std::bit_cast<__m128i>(moved >> 15);
        return narrowed({half_of_single(z.low, k.low, n),
                         half_of_single(z.high, k.high, _mm_shuffle_epi32(n, upper_half_first))});
    }

    // Two lanes; n: the indices in the lower two words.
    static Lanes<double> half_of_single(Lanes<double> z, Lanes<double> k, __m128i n) {
        using V = Lanes<double>;
        const auto indices = static_cast<std::uint64_t>(_mm_cvtsi128_si64(n));
        const auto low = std::bit_cast<V>(logarithm_pairs[indices % 256]);
        const auto high = std::bit_cast<V>(logarithm_pairs[(indices >> 32) % 256]);
        const V reciprocal = _mm_unpacklo_pd(low, high), logarithm = _mm_unpackhi_pd(low, high);
        const V r = z * reciprocal - 1;
        const V whole = k * ln2_of_bits + logarithm;
        const V square = r * r;
        return whole + (r + square * ((-0.5 + r * 0.3333340576069395) + square * -0.2500006035614165));
    }
};

using LnSingle = LnLanes<float>;
using LnDouble = LnLanes<double>;

} // namespace qor::fyn
