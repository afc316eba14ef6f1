// Trigonometric functions of half turns: sin(pi x), cos(pi x), tan(pi x), and the inverses over pi.
//
// Reduction is exact: x less the nearest multiple of 1/2. Zeros and poles are therefore exact; zeros have
// the signs of IEEE 754-2019: sin(pi n) that of n; cos(pi (n + 1/2)) plus; tan(pi n) is plus for even
// positive and odd negative n, minus for the others; the pole of tan at n + 1/2 is plus infinity for even n.
//
// Largest errors measured against MPFR (tools/reference_elementary.cpp, 2000 to 3000 random arguments a
// function and type under each of four seeds): 0.501 ulp,
// double and float. Low: sin 1.81 ulp in double at
// 0x1.63ab0df59d0d6p+7, cos 1.73 at 0x1.37957f0919368p+10, tan 2.60 at -0x1.c2c18a2290fecp+8; 0.6 in float.
// Enhanced performance: relatively 2^-32.5 and 2^-17.6.
#pragma once

#include "vector_math/frame/double_double.h"
#include "vector_math/kernels/trigonometric.h"

namespace qor::fyn {

inline constexpr DoubleDouble one_over_pi{0x1.45f306dc9c883p-2, -0x1.6b01ec5417056p-56};

// x in units of a right angle and what is left of it, exactly, in half turns.
inline ReducedAngle<double> reduce_half_turns(double x) noexcept {
    double size = std::fabs(x);
    if (size >= 0x1p53)
        return {0, 0};
    std::int64_t whole = static_cast<std::int64_t>(size);
    double rest = size - static_cast<double>(whole);
    double halves = nearest_integer(2 * rest);
    rest -= 0.5 * halves;
    int quadrant = static_cast<int>(whole % 2) * 2 + static_cast<int>(halves);
    return x < 0 ? ReducedAngle<double>{-rest, -quadrant} : ReducedAngle<double>{rest, quadrant};
}

// x * factor for x so small that the low part of a product would be lost.
template <int Bits> inline double scaled_product(double x, DoubleDouble factor) noexcept {
    if (x == 0)
        return x;
    Split split = split_exponent(x);
    return scaled(narrowed<Real<Bits>>(factor) * split.mantissa, split.exponent);
}

// Tangent of `quadrant` right angles and `rest` units of angle. Where the product rest * unit would be the
// largest error of all, its low part goes in by the derivative, 1 + tan^2 in every quadrant.
template <int Bits> inline double tangent_in_units(double rest, DoubleDouble unit, int quadrant) noexcept {
    if constexpr (Bits == 54) {
        DoubleDouble r = rest * unit;
        double tangent = tangent_of<Bits>(r.hi, quadrant);
        return tangent + r.lo * (1 + tangent * tangent);
    } else {
        return tangent_of<Bits>(rest * narrowed<Real<Bits>>(unit), quadrant);
    }
}

template <int Bits> inline double sine_of_half_turns(double x) noexcept {
    if (std::fabs(x) < 0x1p-32)
        return scaled_product<Bits>(x, pi);
    ReducedAngle<double> a = reduce_half_turns(x);
    if (a.rest == 0 && a.quadrant % 2 == 0)
        return std::copysign(0.0, x);
    return sine_of<Bits>(a.rest * narrowed<Real<Bits>>(pi), a.quadrant);
}

template <int Bits> inline double cosine_of_half_turns(double x) noexcept {
    ReducedAngle<double> a = reduce_half_turns(x);
    if (a.rest == 0 && a.quadrant % 2 != 0)
        return 0;
    if (std::fabs(a.rest) < 0x1p-32)
        a.rest = a.quadrant % 2 == 0 ? 0 : a.rest;
    return cosine_of<Bits>(a.rest * narrowed<Real<Bits>>(pi), a.quadrant);
}

template <Accuracy A> struct Sinpi {
    template <class T> static Status eval(T x, T &r) noexcept {
        Status status = status_ok;
        if (angle_is_infinite_or_nan(x, r, status))
            return status;
        return plain_result(sine_of_half_turns<working_bits<T, A>>(static_cast<double>(x)), r);
    }
};

template <Accuracy A> struct Cospi {
    template <class T> static Status eval(T x, T &r) noexcept {
        Status status = status_ok;
        if (angle_is_infinite_or_nan(x, r, status))
            return status;
        return plain_result(cosine_of_half_turns<working_bits<T, A>>(static_cast<double>(x)), r);
    }
};

struct SinCospi {
    template <class T> static Status eval(T x, T &sine, T &cosine) noexcept {
        Sinpi<Accuracy::high>::eval(x, sine);
        return Cospi<Accuracy::high>::eval(x, cosine);
    }
};

template <Accuracy A> struct Tanpi {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T, A>;
        Status status = status_ok;
        if (angle_is_infinite_or_nan(x, r, status))
            return status;
        double xd = static_cast<double>(x);
        if (std::fabs(xd) < 0x1p-32)
            return plain_result(scaled_product<bits>(xd, pi), r);
        ReducedAngle<double> a = reduce_half_turns(xd);
        if (a.rest == 0) { // zero at even quadrants, pole at odd ones
            bool negative = (a.quadrant & 2) != 0;
            if (a.quadrant % 2 != 0)
                return pole(r, negative);
            return plain_result(negative != (xd < 0) ? -0.0 : 0.0, r);
        }
        if (std::fabs(a.rest) == 0.25)
            return plain_result((a.rest < 0) != (a.quadrant % 2 != 0) ? -1.0 : 1.0, r);
        return plain_result(tangent_in_units<bits>(a.rest, pi, a.quadrant), r);
    }
};

struct HalfTurns {
    static constexpr DoubleDouble factor = one_over_pi;
    static constexpr double half_turn = 1, quarter = 0.5, eighth = 0.25, three_eighths = 0.75;
};

struct Asinpi {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        double size = std::fabs(static_cast<double>(x));
        if (size > 1)
            return domain_error(r);
        r = x + x;
        if (x != x)
            return status_ok;
        double result =
            size < 0x1p-40
                ? scaled_product<bits>(size, one_over_pi)
                : to_double(arctangent<bits>(size, unit_leg<bits>(size)) * narrowed<Real<bits>>(one_over_pi));
        return plain_result(std::copysign(result, static_cast<double>(x)), r);
    }
};

struct Acospi {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        if (std::fabs(x) > 1)
            return domain_error(r);
        r = x + x;
        if (x != x)
            return status_ok;
        r = 0;
        if (x == 1)
            return status_ok;
        double xd = static_cast<double>(x);
        return plain_result(
            to_double(arctangent<bits>(unit_leg<bits>(xd), xd) * narrowed<Real<bits>>(one_over_pi)), r);
    }
};

struct Atanpi {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        r = x + x;
        if (x != x)
            return status_ok;
        double size = std::fabs(static_cast<double>(x)), result = 0.5;
        if (size < 0x1p-40)
            result = scaled_product<bits>(size, one_over_pi);
        else if (size < 0x1p120)
            result = to_double(arctangent<bits>(size, 1.0) * narrowed<Real<bits>>(one_over_pi));
        return plain_result(std::copysign(result, static_cast<double>(x)), r);
    }
};

struct Atan2pi {
    template <class T> static Status eval(T y, T x, T &r) noexcept {
        return angle_of_point(y, x, HalfTurns{}, r);
    }
};

} // namespace qor::fyn
