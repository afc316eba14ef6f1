// Sine, cosine, tangent and their inverses, in radians.
//
// Arguments are reduced to x - k pi/2, |.| <= pi/4. Up to |x| = 2^20 by subtracting k times the parts of
// pi/2 (W. J. Cody and W. Waite, Software Manual for the Elementary Functions, 1980): 33 bits each, so
// that k * part is exact, 205 bits in all. Beyond, by multiplying with the bits of 2/pi that matter
// (M. Payne and R. Hanek, "Radian reduction for trigonometric functions", SIGNUM Newsletter 18, 1983), in
// integers. No double comes nearer than 2^-62 to a multiple of pi/2, relatively, so that the result keeps
// over 70 bits.
//
// The inverses are arctangents of quotients: with c the multiple of 1/8 nearest to y/x,
// arctan(y/x) = arctan c + arctan((y - c x) / (x + c y)), and the last quotient is at most 1/16.
//
// Largest errors measured against MPFR (tools/reference_elementary.cpp, 2000 to 3000 random arguments a
// function and type under each of four seeds): 0.501 ulp,
// double and float.
#pragma once

#include "vector_math/frame/double_double.h"

namespace qor::fyn {

// sin(r) / r and cos(r), in u = r^2 <= (pi/4)^2, a little more after rounding.
struct SineSeries {
    static constexpr double bound = 0.617;
    static constexpr DoubleDouble coefficient(int i) noexcept {
        DoubleDouble c = reciprocal_factorial(2 * i + 1);
        return i % 2 != 0 ? -c : c;
    }
};

struct CosineSeries {
    static constexpr double bound = 0.617;
    static constexpr DoubleDouble coefficient(int i) noexcept {
        DoubleDouble c = reciprocal_factorial(2 * i);
        return i % 2 != 0 ? -c : c;
    }
};

// arctan(t) / t in u = t^2 <= 1/256, a little more after rounding.
struct ArctangentSeries {
    static constexpr double bound = 0.00392;
    static constexpr DoubleDouble coefficient(int i) noexcept {
        DoubleDouble c = reciprocal_of_integer(2 * i + 1);
        return i % 2 != 0 ? -c : c;
    }
};

inline constexpr DoubleDouble half_pi{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54};

// An angle less `quadrant` right angles; only quadrant modulo 4 counts.
template <class R> struct ReducedAngle {
    R rest;
    int quadrant;
};

inline ReducedAngle<DoubleDouble> reduce_huge_angle(double x) noexcept {
    // 64 zeros, then the first 1280 bits of 2/pi (MPFR).
    static constexpr std::uint64_t bits_of_2_over_pi[21] = {
        0,
        0xa2f9836e4e441529u,
        0xfc2757d1f534ddc0u,
        0xdb6295993c439041u,
        0xfe5163abdebbc561u,
        0xb7246e3a424dd2e0u,
        0x06492eea09d1921cu,
        0xfe1deb1cb129a73eu,
        0xe88235f52ebb4484u,
        0xe99c7026b45f7e41u,
        0x3991d639835339f4u,
        0x9c845f8bbdf9283bu,
        0x1ff897ffde05980fu,
        0xef2f118b5a0a6d1fu,
        0x6d367ecf27cb09b7u,
        0x4f463f669e5fea2du,
        0x7527bac7ebe5f17bu,
        0x3d0739f78a5292eau,
        0x6bfb5fb11f8d5d08u,
        0x56033046fc7b6babu,
        0xf0cfbc209af4361du,
    };
    // x = m 2^e with an integer m of 53 bits. Bits of 2/pi down to weight 2^(2-e) make multiples of 4 and
    // are left out; the window starts with the next, number e-1 after the point, and is 192 bits long.
    Split split = split_exponent(std::fabs(x));
    std::uint64_t m = static_cast<std::uint64_t>(split.mantissa * 0x1p52);
    int first = (split.exponent - 52) - 2 + 64; // counted from 0, the zeros included
    int word = first / 64, shift = first % 64;
    std::uint64_t product[3], carry = 0;
    for (int i = 2; i >= 0; --i) {
        std::uint64_t high = bits_of_2_over_pi[word + i], low = bits_of_2_over_pi[word + i + 1];
        std::uint64_t window = shift == 0 ? high : (high << shift | low >> (64 - shift));
        // window * m + carry in halves: m < 2^53
        std::uint64_t bottom = (window & 0xffffffffu) * (m & 0xffffffffu) + (carry & 0xffffffffu);
        std::uint64_t middle_a = (window & 0xffffffffu) * (m >> 32) + (bottom >> 32);
        std::uint64_t middle_b =
            (window >> 32) * (m & 0xffffffffu) + (middle_a & 0xffffffffu) + (carry >> 32);
        product[i] = middle_b << 32 | (bottom & 0xffffffffu);
        carry = (window >> 32) * (m >> 32) + (middle_a >> 32) + (middle_b >> 32);
    }
    int quadrant = static_cast<int>(product[0] >> 62);
    std::uint64_t fraction[3] = {product[0] << 2 | product[1] >> 62, product[1] << 2 | product[2] >> 62,
                                 product[2] << 2};
    bool negative = fraction[0] >> 63 != 0; // nearer to the next quadrant
    if (negative) {
        ++quadrant;
        for (std::uint64_t &f : fraction)
            f = ~f; // off by one unit of 2^-192, below the error of the window
    }
    DoubleDouble sum = 0;
    double weight = 0x1p-192;
    for (int i = 2; i >= 0; --i) {
        sum = DoubleDouble(static_cast<double>(fraction[i] & 0xffffffffu) * weight) + sum;
        weight *= 0x1p32;
        sum = DoubleDouble(static_cast<double>(fraction[i] >> 32) * weight) + sum;
        weight *= 0x1p32;
    }
    if (negative != (x < 0))
        sum = -sum;
    return {sum * half_pi, x < 0 ? -quadrant : quadrant};
}

inline ReducedAngle<DoubleDouble> reduce_angle(double x) noexcept {
    constexpr double half_pi_1 = 0x1.921fb544p+0, half_pi_2 = 0x1.0b4611a6p-34, half_pi_3 = 0x1.3198a2ep-69;
    constexpr DoubleDouble half_pi_4{0x1.b839a252049c1p-104, 0x1.14cf98e804178p-160};
    constexpr double two_over_pi = 0x1.45f306dc9c883p-1;
    if (std::fabs(x) >= 0x1p20)
        return reduce_huge_angle(x);
    double k = nearest_integer(x * two_over_pi);
    if (k == 0)
        return {x, 0};
    DoubleDouble rest = DoubleDouble(x - k * half_pi_1) - k * half_pi_2; // the first difference is exact
    return {(rest - k * half_pi_3) - k * half_pi_4.hi, static_cast<int>(k)};
}

template <int Bits> inline Real<Bits> sine_reduced(Real<Bits> r) noexcept {
    return r * power_series<SineSeries, Bits>(r * r);
}

template <int Bits> inline Real<Bits> cosine_reduced(Real<Bits> r) noexcept {
    return power_series<CosineSeries, Bits>(r * r);
}

// The functions of an angle given by what is left of it: one text for radians, half turns and degrees.
template <int Bits> inline double sine_of(Real<Bits> r, int quadrant) noexcept {
    double size = to_double(quadrant & 1 ? cosine_reduced<Bits>(r) : sine_reduced<Bits>(r));
    return quadrant & 2 ? -size : size;
}

template <int Bits> inline double cosine_of(Real<Bits> r, int quadrant) noexcept {
    return sine_of<Bits>(r, quadrant + 1);
}

template <int Bits> inline double tangent_of(Real<Bits> r, int quadrant) noexcept {
    Real<Bits> s = sine_reduced<Bits>(r), c = cosine_reduced<Bits>(r);
    return to_double(quadrant & 1 ? -(c / s) : s / c);
}

// Of two components, without the sign of y: the angle of (x, y), y >= 0, both scaled to near 1 at most and
// not both 0, from 0 to pi.
template <int Bits> inline Real<Bits> arctangent(Real<Bits> y, Real<Bits> x) noexcept {
    static constexpr DoubleDouble arctangent_of_eighths[9] = {
        {0x0p+0, 0x0p+0},
        {0x1.fd5ba9aac2f6ep-4, -0x1.cd37686760c17p-59},
        {0x1.f5b75f92c80ddp-3, 0x1.8ab6e3cf7afbdp-57},
        {0x1.6f61941e4def1p-2, -0x1.c63aae6f6e918p-56},
        {0x1.dac670561bb4fp-2, 0x1.a2b7f222f65e2p-56},
        {0x1.1e00babdefeb4p-1, -0x1.928df287a668fp-58},
        {0x1.4978fa3269ee1p-1, 0x1.2419a87f2a458p-56},
        {0x1.700a7c5784634p-1, -0x1.8c34d25aadef6p-56},
        {0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55},
    };
    using R = Real<Bits>;
    bool left = narrowed<double>(x) < 0;
    R size = left ? -x : x;
    bool steep = narrowed<double>(y) > narrowed<double>(size);
    R numerator = steep ? size : y, denominator = steep ? y : size;
    double eighths = nearest_integer(8 * (narrowed<double>(numerator) / narrowed<double>(denominator)));
    R angle;
    if (eighths == 0) {
        R t = numerator / denominator;
        angle = t * power_series<ArctangentSeries, Bits>(t * t);
    } else {
        double c = eighths * 0.125;
        R t = (numerator - c * denominator) / (denominator + c * numerator);
        angle = narrowed<R>(arctangent_of_eighths[static_cast<int>(eighths)]) +
                t * power_series<ArctangentSeries, Bits>(t * t);
    }
    if (steep)
        angle = left ? narrowed<R>(half_pi) + angle : narrowed<R>(half_pi) - angle;
    else if (left)
        angle = narrowed<R>(pi) - angle;
    return angle;
}

// The other leg of a right triangle of hypotenuse 1; exact factors 1 - x and 1 + x keep the digits.
template <int Bits> inline Real<Bits> unit_leg(double x) noexcept {
    using R = Real<Bits>;
    return square_root((1.0 - R(x)) * (1.0 + R(x)));
}

// The parts that sine, cosine and tangent share: what is no finite number, and what is so small that the
// function is its first term. Infinities are outside the domain.
template <class T> inline bool angle_is_infinite_or_nan(T x, T &r, Status &status) noexcept {
    if (x - x == 0)
        return false;
    status = x != x ? status_ok : domain_error(r);
    if (x != x)
        r = x + x;
    return true;
}

template <class T> inline constexpr T tiny_angle = T(0x1p-30); // x - x^3/6 rounds to x

struct Asin {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        T size = std::fabs(x);
        if (size > 1)
            return domain_error(r);
        r = x + x;
        if (x != x)
            return status_ok;
        r = x;
        if (size < tiny_angle<T>)
            return status_ok;
        double sized = static_cast<double>(size);
        double angle = to_double(arctangent<bits>(sized, unit_leg<bits>(sized)));
        return plain_result(x < 0 ? -angle : angle, r);
    }
};

struct Acos {
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
        return plain_result(to_double(arctangent<bits>(unit_leg<bits>(xd), xd)), r);
    }
};

struct Atan {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        r = x;
        if (std::fabs(x) < tiny_angle<T>)
            return status_ok;
        r = x + x;
        if (x != x)
            return status_ok;
        double size = std::fabs(static_cast<double>(x));
        double angle = size > 0x1p120 ? half_pi.hi : to_double(arctangent<bits>(size, 1.0));
        return plain_result(x < 0 ? -angle : angle, r);
    }
};

// The angle of (x, y) times `factor`, with the sign of y; `factor` and its product with pi and pi/2 come
// from the unit of angle.
template <class T, class Unit> inline Status angle_of_point(T y, T x, Unit, T &r) noexcept {
    constexpr int bits = working_bits<T>;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    using R = Real<bits>;
    if (x != x || y != y) {
        r = x + y;
        return status_ok;
    }
    double size_x = std::fabs(static_cast<double>(x)), size_y = std::fabs(static_cast<double>(y));
    bool left = std::signbit(x);
    double angle;
    if (size_y == 0 || (size_x == infinity && size_y != infinity)) {
        angle = left ? Unit::half_turn : 0.0;
    } else if (size_y == infinity && size_x == infinity) {
        angle = left ? Unit::three_eighths : Unit::eighth;
    } else if (size_x == 0 || size_y == infinity) {
        angle = Unit::quarter;
    } else {
        Split split_x = split_exponent(size_x), split_y = split_exponent(size_y);
        int difference = split_y.exponent - split_x.exponent;
        if (difference > 120) {
            angle = Unit::quarter;
        } else if (difference < -60) { // the angle is y / x, or as little from the half turn
            angle = Unit::half_turn;
            if (!left) {
                R quotient = R(split_y.mantissa) / R(split_x.mantissa) * narrowed<R>(Unit::factor);
                Status status = checked_result(scaled(quotient, difference), r);
                r = std::copysign(r, y);
                return status;
            }
        } else {
            double around_y = scaled(split_y.mantissa, difference);
            R wide = arctangent<bits>(around_y, left ? -split_x.mantissa : split_x.mantissa);
            angle = to_double(wide * narrowed<R>(Unit::factor));
        }
    }
    r = std::copysign(static_cast<T>(angle), y);
    return status_ok;
}

struct Radians {
    static constexpr DoubleDouble factor{1};
    static constexpr double half_turn = pi.hi, quarter = half_pi.hi, eighth = half_pi.hi / 2;
    static constexpr double three_eighths = 0x1.2d97c7f3321d2p+1; // 3 pi / 4
};

struct Atan2 {
    template <class T> static Status eval(T y, T x, T &r) noexcept {
        return angle_of_point(y, x, Radians{}, r);
    }
};

} // namespace qor::fyn
