// Gamma function and the logarithm of its size over lanes, by a table of log gamma (logarithm_rows.h).
//
// The zeros at 1 and 2 are middles of pieces. Double: 16 pieces to the octave, degree 9, error 2^-58. Single:
// 8 pieces, degree 7 in double lanes, 2^-38.
//
// Special: x outside [2^-12, 2^16); gamma also from 168 on (35 in single precision), towards overflow. log
// gamma from 2^16 up to 2^52 by Stirling's series, and both left of 0 by reflection, with the two-part
// logarithm of the power function and these tables.
//
// Largest errors measured by tools/measure_gamma.cpp, in ulp (docs/accuracy.md): log gamma, double, 0.611051
// at 0x1.088bc4921a9fbp+1, left of 0 1.477850 at -0x1.4097976323736p+1; single, 0.500000. gamma, double,
// 0.657338 at 0x1.474340470ep+7; single, 0.500080 at 0x1.17fb84p-9.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/gamma.h"
#include "vector_math/kernels/gamma_tables.h"
#include "vector_math/kernels/logarithm_rows.h"
#include "vector_math/kernels/power_lanes.h"

namespace qor::fyn {

namespace gamma_lanes {

using V = Lanes<double>;
using Rows = TabulatedLogarithm<log_gamma_double>;

// log |gamma x| for -2^16 < x <= -2^-12, x not an integer: ln(pi / (y sin(pi y))) - log gamma(y), y = -x
inline DoubleDouble reflected(double x) noexcept {
    constexpr DoubleDouble ln_pi{0x1.250d048e7a1bdp+0, 0x1.7abf2ad8d5088p-57};
    const DoubleDouble product = special::sine_size(-x) * -x;
    const auto ln = LongPower<Accuracy::high>::exponent(DoublePlace(broadcast<V>(product.hi)), V{} + 1.0);
    const auto of_y = Rows::parts(Rows::Place(broadcast<V>(-x)));
    const DoubleDouble ratio = two_sum(ln_pi.hi, -ln.head[0]), sum = two_sum(ratio.hi, -of_y.head[0]);
    const double rest = (ln_pi.lo - product.lo / product.hi) - (ln.tail[0] + of_y.tail[0]);
    return fast_two_sum(sum.hi, sum.lo + (ratio.lo + rest));
}

// log gamma x for 2^16 <= x < 2^52, the first term of the series left out below 2^-56
inline double stirling(double x) noexcept {
    constexpr double half_log_two_pi = 0x1.d67f1c864beb5p-1;
    const auto product =
        LongPower<Accuracy::high>::exponent(DoublePlace(broadcast<V>(x)), broadcast<V>(x - 0.5));
    const double head = product.head[0] - x;
    return head + (((product.head[0] - head) - x) + (product.tail[0] + (half_log_two_pi + 1 / (12 * x))));
}

} // namespace gamma_lanes

struct LGammaLanes : ByRows<log_gamma_double, log_gamma_medium> {
    static constexpr double highest = 0x1p16; // of the tables

    static constexpr bool test_beside = true;
    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        return outside_short_window<top_word(T(rows_from)), top_word(T(highest))>(x);
    }

    [[gnu::always_inline]] static Lanes<double> finish(const OfDouble::Place &at, Lanes<double>) {
        const auto result = OfDouble::parts(at);
        return result.head + result.tail;
    }
    [[gnu::always_inline]] static Lanes<float> finish(const Places &at, Lanes<float>) {
        return narrowed({OfSingle::sum(at.low), OfSingle::sum(at.high)});
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        if (x != x) // before comparisons that raise a flag
            return LGamma::eval(x, r);
        const double v = static_cast<double>(x);
        if (v >= highest && v < 0x1p52)
            return plain_result(gamma_lanes::stirling(v), r);
        if (v <= -rows_from && v > -highest && v != nearest_integer(v)) {
            double result;
            if (!special::log_gamma_near_zero(v, result))
                result = to_double(gamma_lanes::reflected(v));
            return plain_result(result, r);
        }
        return LGamma::eval(x, r);
    }
};

struct TGammaLanes : ExponentialOfRows<log_gamma_double, 0, log_gamma_medium, 3> {
    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        constexpr T limit = sizeof(T) == 8 ? T(168) : T(35);
        return outside_short_window<top_word(T(rows_from)), top_word(limit)>(x);
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        if (x != x)
            return TGamma::eval(x, r);
        const double v = static_cast<double>(x);
        if (v <= -rows_from && v > -165 && v != nearest_integer(v)) {
            const DoubleDouble logarithm = gamma_lanes::reflected(v);
            const double size = ExpDouble::Reduced<Lanes<double>>(Lanes<double>{} + logarithm.hi,
                                                                  Lanes<double>{} + logarithm.lo)
                                    .exponential()[0];
            return checked_result(static_cast<int>(v) % 2 == 0 ? -size : size, r);
        }
        return TGamma::eval(x, r);
    }
};

} // namespace qor::fyn
