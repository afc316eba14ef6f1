// What complex functions are worked out in, and the few real functions they are made of.
//
// Every function is one text over the number of bits it is worked out to. Single-precision functions work
// in double; double-precision ones in a sum of two doubles, so that what is lost to cancellation and
// composition stays far below the last bit. Nothing but IEEE additions, multiplications, divisions, square
// roots and integer operations is used, so the bits are the same wherever this is compiled.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "vector_math/frame/double_double.h"
#include "vector_math/frame/element.h"

namespace qor::fyn::complex_ops {

// Bits that leave the rounding to T nearly all of the error.
template <class T> inline constexpr int full_bits = std::is_same_v<T, float> ? 54 : 84;

constexpr double leading(double a) { return a; }
constexpr double leading(DoubleDouble a) { return a.hi; } // keeps the sign of a zero

// x 2^k for any k, rounded once.
constexpr double shifted(double x, int k) {
    if (x == 0 || x - x != 0)
        return x;
    Split split = split_exponent(x);
    int e = split.exponent + k;
    e = e > 1100 ? 1100 : e < -1100 ? -1100 : e;
    return split.mantissa * power_of_two(e / 2) * power_of_two(e - e / 2);
}

constexpr DoubleDouble shifted(DoubleDouble x, int k) { return {shifted(x.hi, k), shifted(x.lo, k)}; }

// The product rounded, with the sign that a zero should have.
template <class N> double rounded_product(N a, N b) {
    double product = leading(a) * leading(b);
    return leading(a) == 0 || leading(b) == 0 ? product : leading(a * b);
}

// floor(log2 |x|) of a finite x; far below every exponent for zero.
constexpr int exponent_of(double x) { return x == 0 ? -5000 : split_exponent(x).exponent; }

constexpr bool is_nan(double x) { return x != x; }
constexpr bool is_infinite(double x) { return x - x != 0 && x == x; }
constexpr bool is_finite(double x) { return x - x == 0; }
inline double sign_from(double magnitude, double sign) { return std::copysign(magnitude, sign); }

inline constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
inline constexpr double infinity = std::numeric_limits<double>::infinity();

// The NaN among two numbers, quieted; a new one if there is none.
inline double nan_of(double a, double b) { return is_nan(a) ? a + a : is_nan(b) ? b + b : not_a_number; }

// To 107 bits and beyond, from the binary expansions.
inline constexpr DoubleDouble half_pi{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54}; // 1.5707963...

// Power series of the functions below; w stands for the square of the argument, either sign.
struct OfExponential {
    static constexpr double bound = 0.35; // half of ln 2, and a little
    static constexpr DoubleDouble coefficient(int i) { return reciprocal_factorial(i); }
};
struct OfSine {
    static constexpr double bound = 0.625; // (pi/4)^2
    static constexpr DoubleDouble coefficient(int i) { return reciprocal_factorial(2 * i + 1); }
};
struct OfCosine {
    static constexpr double bound = 0.625;
    static constexpr DoubleDouble coefficient(int i) { return reciprocal_factorial(2 * i); }
};
struct OfLogarithm { // atanh of t / (2 + t), at most 0.1765, for 1 + t in [0.7, 1.42]
    static constexpr double bound = 0.0313;
    static constexpr DoubleDouble coefficient(int i) { return reciprocal_of_integer(2 * i + 1); }
};
struct OfAngle { // atan of up to 1/32
    static constexpr double bound = 0.001;
    static constexpr DoubleDouble coefficient(int i) { return reciprocal_of_integer(2 * i + 1); }
};

// atan(k/16) by Euler's series x/(1+x^2) sum (2n)!!/(2n+1)!! (x^2/(1+x^2))^n, whose ratio is at most 1/2.
constexpr auto arctangents_of_sixteenths() {
    std::array<DoubleDouble, 17> a{};
    for (int k = 1; k <= 16; ++k) {
        DoubleDouble x = k * 0.0625, d = DoubleDouble(1) + x * x, ratio = x * x / d, term = x / d, sum = term;
        for (int n = 1; n <= 110; ++n) {
            term = term * ratio * (2.0 * n) / DoubleDouble(2 * n + 1);
            sum = sum + term;
        }
        a[static_cast<std::size_t>(k)] = sum;
    }
    return a;
}

inline constexpr auto arctangent_table = arctangents_of_sixteenths();

// e^x = m 2^e for |x| up to 2^20: x = e ln 2 + r, |r| <= 0.35, and the power series of e^r.
template <class N> struct Scaled {
    N m;
    int e;
};

template <int B> Scaled<Real<B>> exponential(DoubleDouble x) {
    double k = std::floor(x.hi * 0x1.71547652b82fep+0 + 0.5); // 1/ln 2 = 1.4426950...
    DoubleDouble r = x - ln_2 * DoubleDouble(k);
    return {power_series<OfExponential, B>(narrowed<Real<B>>(r)), static_cast<int>(k)};
}

// sin x and cos x for any finite x. The sine is s 2^e: e is nonzero for tiny x only, whose sine is x.
template <class N> struct SineCosine {
    N s, c;
    int e;
};

struct Reduced {
    DoubleDouble r; // |r| <= pi/4
    unsigned quadrant;
};

// 2/pi, 1280 bits after the point.
inline constexpr std::uint64_t two_over_pi[20] = {
    0xa2f9836e4e441529, 0xfc2757d1f534ddc0, 0xdb6295993c439041, 0xfe5163abdebbc561, 0xb7246e3a424dd2e0,
    0x06492eea09d1921c, 0xfe1deb1cb129a73e, 0xe88235f52ebb4484, 0xe99c7026b45f7e41, 0x3991d639835339f4,
    0x9c845f8bbdf9283b, 0x1ff897ffde05980f, 0xef2f118b5a0a6d1f, 0x6d367ecf27cb09b7, 0x4f463f669e5fea2d,
    0x7527bac7ebe5f17b, 0x3d0739f78a5292ea, 0x6bfb5fb11f8d5d08, 0x56033046fc7b6bab, 0xf0cfbc209af4361d};

// Reduction with as many bits of 2/pi as matter (Payne and Hanek, SIGNUM Newsletter 18, 1983). x = m 2^e;
// bits of 2/pi whose product with x is a multiple of 4 are left out, the next 256 are multiplied by m.
// What is cut off is below 2^-200 of a quadrant, and no double is nearer than 2^-62 to a multiple of pi/2.
inline Reduced reduced(double x) {
    if (std::fabs(x) <= 0x1.921fb54442d18p-1)
        return {x, 0};
    std::uint64_t pattern = std::bit_cast<std::uint64_t>(x);
    int e = static_cast<int>(pattern >> 52 & 0x7ff) - 1075;
    std::uint64_t m = (pattern & 0xfffffffffffff) | 0x10000000000000;

    int skipped = e > 2 ? e - 2 : 0, word = skipped / 64, shift = skipped % 64;
    std::uint64_t product[5];
    std::uint64_t carry = 0;
    for (int i = 4; i > 0; --i) {
        std::uint64_t bits = two_over_pi[word + i - 1] << shift;
        if (shift)
            bits |= two_over_pi[word + i] >> (64 - shift);
        unsigned __int128 t = static_cast<unsigned __int128>(bits) * m + carry;
        product[i] = static_cast<std::uint64_t>(t);
        carry = static_cast<std::uint64_t>(t >> 64);
    }
    product[0] = carry;

    // The point stands after 64 + (e - skipped) bits. Move it to the top, keeping the two bits before it.
    auto shift_left = [&product](int count) {
        for (int i = 0; i < 5; ++i) {
            std::uint64_t next = i < 4 ? product[i + 1] : 0;
            product[i] = count == 64 ? next : product[i] << count | next >> (64 - count);
        }
    };
    shift_left(62 + e - skipped);
    unsigned quadrant = static_cast<unsigned>(product[0] >> 62);
    shift_left(2);
    bool above_half = product[0] >> 63;
    if (above_half) {
        ++quadrant;
        bool borrow = true;
        for (int i = 4; i >= 0; --i) {
            product[i] = ~product[i] + borrow;
            borrow = borrow && product[i] == 0;
        }
    }
    int leading = 0;
    while (product[0] == 0 && leading < 256) {
        shift_left(64);
        leading += 64;
    }
    if (int zeros = std::countl_zero(product[0]); zeros > 0 && zeros < 64) {
        shift_left(zeros);
        leading += zeros;
    }
    double high = static_cast<double>(static_cast<std::int64_t>(product[0] >> 11));
    std::uint64_t below = (product[0] & 0x7ff) << 51 | product[1] >> 13;
    double low = static_cast<double>(static_cast<std::int64_t>(below));
    DoubleDouble fraction = fast_two_sum(shifted(high, -53 - leading), shifted(low, -115 - leading));
    DoubleDouble r = fraction * half_pi;
    if (above_half != (x < 0))
        r = -r;
    return {r, x < 0 ? 0 - quadrant : quadrant};
}

// The same of a sum of two doubles.
inline Reduced reduced(DoubleDouble x) {
    Reduced a = reduced(x.hi);
    if (x.lo == 0)
        return a;
    Reduced b = reduced(x.lo);
    a.quadrant += b.quadrant;
    a.r = a.r + b.r;
    if (std::fabs(a.r.hi) > half_pi.hi / 2) {
        a.quadrant += a.r.hi > 0 ? 1 : 3;
        a.r = a.r.hi > 0 ? a.r - half_pi : a.r + half_pi;
    }
    return a;
}

// x sin(sqrt(w))/sqrt(w) and so on: w = -x^2 for the circular, +x^2 for the hyperbolic functions, |x| < 0.79.
template <int B> Real<B> odd_part(Real<B> x, Real<B> w) { return x * power_series<OfSine, B>(w); }
template <int B> Real<B> even_part(Real<B> w) { return power_series<OfCosine, B>(w); }

inline constexpr double tiny = 0x1p-600; // the sine, sinh and tangent of less is the argument

template <int B, class X> SineCosine<Real<B>> sine_cosine(X x) {
    using N = Real<B>;
    if (std::fabs(leading(x)) < tiny)
        return {shifted(leading(x), 600), 1.0, -600};
    Reduced reduction = reduced(x);
    N r = narrowed<N>(reduction.r), w = -(r * r);
    N s = odd_part<B>(r, w), c = even_part<B>(w);
    switch (reduction.quadrant & 3) {
    case 0:
        return {s, c, 0};
    case 1:
        return {c, -s, 0};
    case 2:
        return {-s, -c, 0};
    default:
        return {-c, s, 0};
    }
}

// sinh x = s 2^es, cosh x = c 2^ec.
template <class N> struct HyperbolicSineCosine {
    N s, c;
    int es, ec;
};

template <int B> HyperbolicSineCosine<Real<B>> hyperbolic_sine_cosine(double x) {
    using N = Real<B>;
    double magnitude = std::fabs(x);
    if (magnitude < tiny)
        return {shifted(x, 600), 1.0, -600, 0};
    // e^3000 times the smallest sine of a double overflows, so does anything larger.
    Scaled<N> grown = exponential<B>(std::fmin(magnitude, 3000));
    if (magnitude > 40) // e^-2x is beyond 106 bits
        return {x < 0 ? -grown.m : grown.m, grown.m, grown.e - 1, grown.e - 1};
    N p = shifted(grown.m, grown.e), q = N(1) / p, half = 0.5;
    N s = magnitude < 0.5 ? odd_part<B>(magnitude, N(x) * N(x)) : half * (p - q);
    return {x < 0 ? -s : s, half * (p + q), 0, 0};
}

// log(1 + t) for 1 + t in [0.7, 1.42]: 2 atanh(t / (2 + t)).
template <int B> Real<B> logarithm_near_1(Real<B> t) {
    using N = Real<B>;
    N s = t / (N(2) + t);
    return N(2) * s * power_series<OfLogarithm, B>(s * s);
}

// log(x 2^k), x positive and normal. An x wider than the result keeps its low part through x - 1.
template <int B, class X> Real<B> logarithm(X x, int k = 0) {
    using N = Real<B>;
    int e = exponent_of(leading(x));
    x = shifted(x, -e);
    if (leading(x) > 0x1.6a09e667f3bcdp+0) { // sqrt 2
        x = shifted(x, -1);
        ++e;
    }
    return narrowed<N>(ln_2) * N(k + e) + logarithm_near_1<B>(narrowed<N>(x - X(1)));
}

// log(1 + t), t >= 0.
template <int B> Real<B> logarithm_of_1_plus(Real<B> t) {
    using N = Real<B>;
    return leading(t) < 0.4 ? logarithm_near_1<B>(t) : logarithm<B>(N(1) + t);
}

// The angle of the point (x, y), finite, with the signs of zeros as atan2 has them.
// atan(n/d) = atan(k/16) + atan((n - k/16 d) / (d + k/16 n)), k/16 next to n/d.
template <int B> Real<B> angle(Real<B> y, Real<B> x) {
    using N = Real<B>;
    N n = std::signbit(leading(y)) ? -y : y, d = std::signbit(leading(x)) ? -x : x;
    bool steep = leading(n) > leading(d);
    if (steep) {
        N t = n;
        n = d;
        d = t;
    }
    N a = 0.0;
    if (leading(n) != 0) {
        int gap = exponent_of(leading(n)) - exponent_of(leading(d));
        if (gap < -500) {
            int e = exponent_of(leading(d));
            a = shifted(shifted(n, -gap - e) / shifted(d, -e), gap);
        } else {
            int e = exponent_of(leading(d));
            n = shifted(n, -e);
            d = shifted(d, -e);
            int k = static_cast<int>(leading(n) / leading(d) * 16 + 0.5);
            N c = k * 0.0625, t = (n - c * d) / (d + c * n);
            a = narrowed<N>(arctangent_table[static_cast<std::size_t>(k)]) +
                t * power_series<OfAngle, B>(-(t * t));
        }
    }
    if (steep)
        a = narrowed<N>(half_pi) - a;
    if (std::signbit(leading(x)))
        a = narrowed<N>(pi) - a;
    return std::signbit(leading(y)) ? -a : a;
}

// The ends of every function: widen the arguments, round the result once to T, find the status.

using Z = Complex<double>;

template <class T> constexpr Z widened(Complex<T> x) {
    return {static_cast<double>(x.re), static_cast<double>(x.im)};
}

template <class T> constexpr bool all_finite(T x) { return is_finite(static_cast<double>(x)); }
template <class T> constexpr bool all_finite(Complex<T> x) { return all_finite(x.re) && all_finite(x.im); }
template <class T> constexpr bool any_nan(T x) { return x != x; }
template <class T> constexpr bool any_nan(Complex<T> x) { return any_nan(x.re) || any_nan(x.im); }

// Finite arguments and an infinite component: overflow (poles are for the function to find first). Two
// NaNs that no argument brought: outside the domain. One NaN beside an infinity or a zero is a limit whose
// direction is not known, and reports nothing.
template <class T, class... Arguments> Status delivered(Z exact, Complex<T> &r, Arguments... arguments) {
    r = {static_cast<T>(exact.re), static_cast<T>(exact.im)};
    if ((all_finite(arguments) && ...) && (std::isinf(r.re) || std::isinf(r.im)))
        return status_overflow;
    if (r.re != r.re && r.im != r.im && !(any_nan(arguments) || ...))
        return status_domain;
    return status_ok;
}

} // namespace qor::fyn::complex_ops
