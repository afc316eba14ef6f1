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
// Single: exponent and mantissa of four elements at once, the sums in double lanes, no rest kept. 1024
// intervals, so that a cubic without its leading factor, in s = scale r, errs by 2^-37 of r at most.
//
// Largest errors measured by tools/measure_logarithm.cpp, in ulp (docs/accuracy.md): double 0.514804 at
// 0x1.9082c5e8163f3p-1; single, all arguments: 0.500103462 at 0x1.ffe3e4p-1, nine results not the nearest.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/logarithm.h"
#include "vector_math/kernels/logarithm_tables.h"
#include "vector_math/kernels/logarithm_terms.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn {

template <class T> struct LnLanes {
    static constexpr int pass = 16;
    static constexpr T padding = 1;
    static constexpr bool test_beside = true;

    // All but the positive normal numbers.
    template <class V> static IntegersOf<V> special(V x) {
        constexpr auto from = top_word(std::numeric_limits<T>::min());
        constexpr auto to = top_word(std::numeric_limits<T>::infinity());
        if constexpr (sizeof(T) == 4)
            return outside_short_window<from, to>(x);
        else
            return outside_window(x, from, to);
    }

    template <class V> [[gnu::always_inline]] static auto start(V x) {
        if constexpr (sizeof(T) == 8)
            return LogarithmTerms<BaseE>(x);
        else
            return SinglesReduction<1237 << 12>(x); // 618.5 intervals of 2^13
    }
    template <class V> [[gnu::always_inline]] static V finish(const auto &started, V) {
        if constexpr (sizeof(T) == 8)
            return started.sum();
        else
            return narrowed(halves_of_single(started));
    }
    template <class V> static V value(V x) { return finish(start(x), x); }

    [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept { return Ln::eval(x, r); }

    // The results of what start gives, in double lanes.
    [[gnu::always_inline]] static Halves halves_of_single(const auto &at) {
        const Halves z = widened(at.z), exponent = widened(at.exponent);
        return {half_of_single(z.low, exponent.low, at.interval.low),
                half_of_single(z.high, exponent.high, at.interval.high)};
    }

  private:
    static constexpr double ln2_of_bits = 0x1.62e42fefa39efp-24; // ln 2 / 2^23
    static constexpr double single_linear = 0x1.713743c48fcfbp+0, single_square = -0x1.0a403034cbc69p+0;

    // interval: in bits 13 and on of either half.
    static Lanes<double> half_of_single(Lanes<double> z, Lanes<double> exponent, std::uint64_t interval) {
        using V = Lanes<double>;
        V reciprocal, logarithm;
        look_up_pairs(logarithm_single[(interval >> 13) % 1024], logarithm_single[(interval >> 45) % 1024],
                      reciprocal, logarithm);
        const V s = z * reciprocal - logarithm_scale;
        return (exponent * ln2_of_bits + logarithm) + s * ((s + single_square) * s + single_linear);
    }
};

using LnSingle = LnLanes<float>;
using LnDouble = LnLanes<double>;

} // namespace qor::fyn
