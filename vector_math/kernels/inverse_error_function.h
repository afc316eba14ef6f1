// Inverse error functions: y with erf y = x, y with erfc y = x.
//
// A start of 28 bits or better: x p(x^2) for |x| <= 1/2, elsewhere pieces in s = sqrt(-log t), t = 1 - |x|
// (exact). The high accuracy then takes one step of Halley's method, whose error is of the third order,
//   y - n/(1 + y n),  n = (erf y - x) / erf' y,
// with erf y or erfc y in two doubles. The low accuracy evaluates longer polynomials and takes no step; for
// float the low polynomials serve as the high accuracy.
#pragma once

#include "vector_math/kernels/error_function.h"

namespace qor::fyn {

namespace special {

template <int Degree> inline double erf_inverse_middle_short(double x) noexcept {
    if constexpr (Degree > 8)
        return x * evaluate_short<Degree>(tables::erf_inverse_middle[0], x * x - 0.125);
    else
        return x * evaluate_short<Degree>(tables::erf_inverse_middle_short[0], x * x - 0.125);
}

// y with erfc y = t, 0 < t <= 1/2
template <int Degree, int Bits> inline double erfc_inverse_tail_short(double t) noexcept {
    double s = std::sqrt(-to_double(logarithm<Bits>(t)));
    Place at = octave_place(s, 0, -1);
    return evaluate_short<Degree>(tables::erf_inverse_tail[at.row], at.t);
}

// y with erf y = x, |x| <= 1/2
inline DoubleDouble erf_inverse_middle(double x) noexcept {
    constexpr double half_sqrt_pi = 0x1.c5bf891b4ef6bp-1; // 0.8862269254527580
    double y = erf_inverse_middle_short<7>(x);
    if (x < 0x1p-200 && x > -0x1p-200) // y / x = sqrt(pi)/2, with parts that are not subnormal
        return DoubleDouble(half_sqrt_pi, -0x1.618f13eb7ca89p-55) * x;
    auto e = exponential<54>(y * y);
    DoubleDouble rest = erf_small(y) - x;
    double n = to_double(rest) * half_sqrt_pi * scaled(e.value, e.exponent);
    return fast_two_sum(y, -n / (1 + y * n));
}

// y with erfc y = t, 0 < t <= 1/2. The residue is taken relative to erfc y, which may be tiny:
// n = -(sqrt(pi)/2) erfcx y (1 - t / erfc y).
inline DoubleDouble erfc_inverse_tail(double t) noexcept {
    constexpr double half_sqrt_pi = 0x1.c5bf891b4ef6bp-1;
    double y = erfc_inverse_tail_short<7, 36>(t);
    DoubleDouble ratio = erfcx_positive(y);
    Scaled e = exponential<72>(-two_prod(y, y));
    DoubleDouble value = e.value * ratio;
    Split split = split_exponent(t);
    DoubleDouble rest = value - split.mantissa * power_of_two(split.exponent - e.exponent);
    double n = -half_sqrt_pi * ratio.hi * (to_double(rest) / value.hi);
    return fast_two_sum(y, -n / (1 + y * n));
}

} // namespace special

template <Accuracy A> struct ErfInv {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        if (x > 1 || x < -1)
            return domain_error(r);
        if (x == 1 || x == -1)
            return pole(r, x < 0);
        double v = static_cast<double>(x), size = std::fabs(v), y;
        if constexpr (A == Accuracy::high && std::is_same_v<T, double>) {
            if (size < 0x1p-200)
                y = to_double(special::erf_inverse_middle(size * 0x1p+300)) * 0x1p-300;
            else
                y = to_double(size <= 0.5 ? special::erf_inverse_middle(size)
                                          : special::erfc_inverse_tail(1 - size));
        } else {
            constexpr bool full = std::is_same_v<T, double> ? A == Accuracy::low : A == Accuracy::high;
            constexpr int bits = full ? 54 : std::is_same_v<T, double> || A == Accuracy::low ? 30 : 15;
            constexpr int degree = full ? 14 : bits == 30 ? 7 : 3;
            y = size <= 0.5 ? special::erf_inverse_middle_short<degree>(size)
                            : special::erfc_inverse_tail_short<degree, bits>(1 - size);
        }
        return plain_result(std::copysign(y, v), r);
    }
};

struct ErfcInv {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x != x) {
            r = x + x;
            return status_ok;
        }
        if (x < 0 || x > 2)
            return domain_error(r);
        if (x == 0 || x == 2)
            return pole(r, x == 2);
        double v = static_cast<double>(x);
        DoubleDouble y = v < 0.5   ? special::erfc_inverse_tail(v)
                         : v > 1.5 ? -special::erfc_inverse_tail(2 - v)
                                   : special::erf_inverse_middle(1 - v);
        return plain_result(to_double(y), r);
    }
};

} // namespace qor::fyn
