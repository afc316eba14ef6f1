// Sine, cosine and tangent of an angle in degrees.
//
// Reduction is exact, so that the results at multiples of 30 and 45 degrees are exact where they are
// numbers of the type. Signs of zeros and poles are those of the functions of half turns.
//
// Largest errors measured against MPFR (tools/reference_elementary.cpp, 2000 to 3000 random arguments a
// function and type under each of four seeds): 0.501 ulp,
// double and float. Low: sin 1.53 ulp in double at
// -0x1.0074e7ad6a79ep+35, cos 1.51 at 0x1.2be2e5736b258p+8, tan 2.48 at -0x1.f01ceffca47d9p+8; 0.6 in float.
// Enhanced performance: relatively 2^-32.5 and 2^-17.6.
#pragma once

#include "vector_math/frame/double_double.h"
#include "vector_math/kernels/trigonometric.h"
#include "vector_math/kernels/trigonometric_pi.h"

namespace qor::fyn {

inline constexpr DoubleDouble radians_per_degree{0x1.1df46a2529d39p-6, 0x1.5c1d8becdd291p-62};

// x less the nearest multiple of 90, in degrees.
inline ReducedAngle<double> reduce_degrees(double x) noexcept {
    double size = std::fabs(x), turned;
    if (size < 0x1p56) { // the whole part modulo 360, and the fraction
        std::int64_t whole = static_cast<std::int64_t>(size);
        turned = static_cast<double>(whole % 360) + (size - static_cast<double>(whole));
    } else { // m 2^e = 8 (m 2^(e-3)), so 8 times a remainder modulo 45; 2^12 is 1 modulo 45
        Split split = split_exponent(size);
        std::uint64_t m = static_cast<std::uint64_t>(split.mantissa * 0x1p52) % 45;
        std::uint64_t power = std::uint64_t{1} << ((split.exponent - 55) % 12);
        turned = static_cast<double>(8 * (m * power % 45));
    }
    double quarters = nearest_integer(turned * (1.0 / 90));
    double rest = turned - 90 * quarters;
    int quadrant = static_cast<int>(quarters);
    return x < 0 ? ReducedAngle<double>{-rest, -quadrant} : ReducedAngle<double>{rest, quadrant};
}

// Sine of `quadrant` right angles and `rest` degrees, |rest| <= 45; not at a zero.
template <int Bits> inline double sine_of_degrees(double rest, int quadrant) noexcept {
    if (quadrant % 2 == 0 && std::fabs(rest) == 30)
        return (rest < 0) != ((quadrant & 2) != 0) ? -0.5 : 0.5;
    if (quadrant % 2 != 0 && std::fabs(rest) < 0x1p-40)
        rest = 0;
    return sine_of<Bits>(rest * narrowed<Real<Bits>>(radians_per_degree), quadrant);
}

template <Accuracy A> struct Sind {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T, A>;
        Status status = status_ok;
        if (angle_is_infinite_or_nan(x, r, status))
            return status;
        double xd = static_cast<double>(x);
        if (std::fabs(xd) < 0x1p-32)
            return plain_result(scaled_product<bits>(xd, radians_per_degree), r);
        ReducedAngle<double> a = reduce_degrees(xd);
        if (a.rest == 0 && a.quadrant % 2 == 0)
            return plain_result(std::copysign(0.0, xd), r);
        return plain_result(sine_of_degrees<bits>(a.rest, a.quadrant), r);
    }
};

template <Accuracy A> struct Cosd {
    template <class T> static Status eval(T x, T &r) noexcept {
        Status status = status_ok;
        if (angle_is_infinite_or_nan(x, r, status))
            return status;
        ReducedAngle<double> a = reduce_degrees(static_cast<double>(x));
        if (a.rest == 0 && a.quadrant % 2 != 0)
            return plain_result(0.0, r);
        return plain_result(sine_of_degrees<working_bits<T, A>>(a.rest, a.quadrant + 1), r);
    }
};

template <Accuracy A> struct Tand {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T, A>;
        Status status = status_ok;
        if (angle_is_infinite_or_nan(x, r, status))
            return status;
        double xd = static_cast<double>(x);
        if (std::fabs(xd) < 0x1p-32)
            return plain_result(scaled_product<bits>(xd, radians_per_degree), r);
        ReducedAngle<double> a = reduce_degrees(xd);
        if (a.rest == 0) { // zero at even quadrants, pole at odd ones
            bool negative = (a.quadrant & 2) != 0;
            if (a.quadrant % 2 != 0)
                return pole(r, negative);
            return plain_result(negative != (xd < 0) ? -0.0 : 0.0, r);
        }
        if (std::fabs(a.rest) == 45)
            return plain_result((a.rest < 0) != (a.quadrant % 2 != 0) ? -1.0 : 1.0, r);
        return plain_result(tangent_in_units<bits>(a.rest, radians_per_degree, a.quadrant), r);
    }
};

} // namespace qor::fyn
