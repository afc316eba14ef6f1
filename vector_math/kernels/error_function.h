// Error functions: erf x, erfc x, erfcx x = e^(x^2) erfc x.
//
// For |x| < 1/2, erf x = x p(x^2). Elsewhere all three come from erfcx on x >= 0, which is smooth and falls
// like 1/x: pieces for x < 15, beyond it x erfcx x as a polynomial in 1/x^2; erfc x = e^(-x^2) erfcx x
// with the square exact.
#pragma once

#include "vector_math/kernels/special_pieces.h"

namespace qor::fyn {

namespace special {

// erf x for |x| <= 1/2 and not tiny
inline DoubleDouble erf_small(double x) noexcept { return evaluate(tables::erf_ratio[0], x * x - 0.125) * x; }

// erfcx(x + x_lo) for x >= 0
inline DoubleDouble erfcx_positive(double x, double x_lo = 0) noexcept {
    if (x < 15) {
        Place at = octave_place(x, 1, 0);
        return evaluate(tables::erfcx_pieces[at.row], at.t + x_lo, x_lo - ((at.t + x_lo) - at.t));
    }
    if (x > 0x1p+60)
        return inverse_sqrt_pi / DoubleDouble(x);
    double u = 1 / (x * x);
    return evaluate(tables::erfcx_tail[0], u - 0.5 / 225) / DoubleDouble(x, x_lo);
}

// erfcx x for x >= 0 in doubles; Degree 12 is full accuracy
template <int Degree> inline double erfcx_short(double x) noexcept {
    if (x < 15) {
        Place at = octave_place(x, 1, 0);
        return evaluate_short<Degree>(tables::erfcx_pieces[at.row], at.t);
    }
    double u = 1 / (x * x);
    return evaluate_short<Degree>(tables::erfcx_tail[0], u - 0.5 / 225) / x;
}

// erfc x for 0 <= x < 32
inline Scaled erfc_positive(double x) noexcept {
    Scaled e = exponential<72>(-two_prod(x, x));
    return {e.value * erfcx_positive(x), e.exponent};
}

inline DoubleDouble to_pair(Scaled a) noexcept {
    double factor = power_of_two(a.exponent);
    return {a.value.hi * factor, a.value.lo * factor};
}

} // namespace special

struct Erf {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        double size = std::fabs(static_cast<double>(x)), value;
        if (size < 0x1p-100) // 2/sqrt(pi) x, in a range where no part is subnormal
            value = scaled(2.0 * special::inverse_sqrt_pi * (size * 0x1p+1000), -1000);
        else if (size < 0.5)
            value = to_double(special::erf_small(size));
        else if (size < 6.5)
            value = to_double(1.0 - special::to_pair(special::erfc_positive(size)));
        else
            value = 1;
        return plain_result(x < 0 || std::signbit(x) ? -value : value, r);
    }
};

struct Erfc {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        double v = static_cast<double>(x);
        if (v == special::infinity)
            return plain_result(0, r);
        if (v >= 0.5)
            return special::checked_result(special::erfc_positive(v < 30 ? v : 30), r);
        if (v > -0.5)
            return plain_result(std::fabs(v) < 0x1p-100 ? 1.0 : to_double(1.0 - special::erf_small(v)), r);
        if (v > -6.5)
            return plain_result(to_double(2.0 - special::to_pair(special::erfc_positive(-v))), r);
        return plain_result(2, r);
    }
};

struct Erfcx {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr T limit = std::numeric_limits<T>::infinity();
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        if (x == limit || x == -limit) {
            r = x > 0 ? T(0) : limit;
            return status_ok;
        }
        double v = static_cast<double>(x);
        if (v >= 0) {
            if (v > 0x1p+900) // the result may be subnormal
                return qor::fyn::checked_result(
                    scaled(special::inverse_sqrt_pi / DoubleDouble(v * 0x1p-1000), -1000), r);
            return qor::fyn::checked_result(to_double(special::erfcx_positive(v)), r);
        }
        v = v > -30 ? v : -30;
        special::Scaled e = exponential<72>(two_prod(v, v));
        DoubleDouble twice = 2.0 * e.value;
        if (v > -7)
            twice = twice - special::erfcx_positive(-v) * power_of_two(-e.exponent);
        return special::checked_result(special::Scaled{twice, e.exponent}, r);
    }
};

} // namespace qor::fyn
