// Inverse circular and hyperbolic functions of complex numbers.
//
// W. Kahan, "Branch cuts for complex elementary functions", in The State of the Art in Numerical Analysis
// (1987): with a = sqrt(1 - z), b = sqrt(1 + z),
//
//   asin z = atan2(x, Re(a b)) + i asinh(Im(conj(a) b))
//   acos z = 2 atan2(Re a, Re b) - i asinh(Im(conj(a) b))
//   atanh z = log(1 + 4x / ((1-x)^2 + y^2)) / 4 + i atan2(2y, (1-x)(1+x) - y^2) / 2
//   asinh z = -i asin(iz)     atan z = -i atanh(iz)     acosh z = |Im acos z| +- i Re acos z
//
// In Re(a b) and Im(conj(a) b) both terms have the same sign, so nothing cancels. Past 2^54 (2^70 for atanh)
// the leading terms in 1/z are exact enough; where |y| is below 2^-800, components proportional to it are
// computed for a larger y and scaled back. Signed zeros choose the side of a branch cut; special values as
// in C11 Annex G. Statuses: 2 for atanh at +-1 and atan at +-i; 1 for a result of two NaNs from arguments
// without one (none of these has such a case); nothing overflows.
#pragma once

#include "vector_math/kernels/complex_trigonometric.h"

namespace qor::fyn::complex_ops {

// asin z: real part in sine; acos z: real part in cosine; |imaginary part| of either.
struct ArcSineCosine {
    double sine, cosine, height;
};

template <int B> ArcSineCosine arc_sine_cosine(Z z) {
    using N = Real<B>;
    double x = z.re, y = std::fabs(z.im);
    if (exponent_of(z) > 54) {
        auto size = modulus<B>(z);
        return {leading(angle<B>(N(x), N(y))), leading(angle<B>(N(y), N(x))),
                leading(logarithm<B>(size.m, size.e + 1))};
    }
    int lift = y < 0x1p-800 && y != 0 && std::fabs(x) != 1 ? 400 : 0;
    y = shifted(y, lift);
    auto a = square_root_of<B>(N(1) - N(x), N(-y)), b = square_root_of<B>(N(1) + N(x), N(y));
    N a_re = shifted(a.re, a.e_re), a_im = shifted(a.im, a.e_im);
    N b_re = shifted(b.re, b.e_re), b_im = shifted(b.im, b.e_im);
    N t = a_re * b_im - a_im * b_re, square = t * t;
    N height = logarithm_of_1_plus<B>(t + square / (N(1) + square_root(N(1) + square)));
    return {leading(angle<B>(N(x), a_re * b_re - a_im * b_im)),
            shifted(leading(N(2) * angle<B>(a_re, b_re)), x > 1 ? -lift : 0),
            shifted(leading(height), std::fabs(x) < 1 ? -lift : 0)};
}

template <int B> Z asin_of(Z z) {
    if (finite(z)) {
        ArcSineCosine w = arc_sine_cosine<B>(z);
        return {sign_from(w.sine, z.re), sign_from(w.height, z.im)};
    }
    if (is_nan(z.re))
        return {z.re == 0 ? z.re : z.re + z.re, is_infinite(z.im) ? z.im : z.re + z.re};
    if (is_nan(z.im)) {
        double nan = z.im + z.im;
        return is_infinite(z.re) ? Z{nan, z.re} : Z{z.re == 0 ? z.re : nan, nan};
    }
    Z direction = direction_of_infinity(z);
    double re = leading(angle<B>(Real<B>(std::fabs(direction.re)), Real<B>(std::fabs(direction.im))));
    return {sign_from(re, z.re), sign_from(infinity, z.im)};
}

template <int B> Z acos_of(Z z) {
    if (finite(z)) {
        ArcSineCosine w = arc_sine_cosine<B>(z);
        return {w.cosine, sign_from(w.height, -z.im)};
    }
    if (is_nan(z.re))
        return {z.re + z.re, is_infinite(z.im) ? -z.im : z.re + z.re};
    if (is_nan(z.im)) {
        double nan = z.im + z.im;
        return is_infinite(z.re) ? Z{nan, infinity} : Z{z.re == 0 ? half_pi.hi : nan, nan};
    }
    Z direction = direction_of_infinity(z);
    return {leading(angle<B>(Real<B>(std::fabs(direction.im)), Real<B>(direction.re))),
            sign_from(infinity, -z.im)};
}

// atanh of a finite z with x >= 0, y >= 0, not 1.
template <int B> Z atanh_of_quadrant(double x, double y) {
    using N = Real<B>;
    int e = exponent_of(Z{x, y});
    if (e > 70) {
        int ex = exponent_of(x);
        double xs = shifted(x, -e), ys = shifted(y, -e);
        N square = sum_of_products<N>(xs, xs, ys, ys);
        return {x == 0 ? x : shifted(leading(N(shifted(x, -ex)) / square), ex - 2 * e), half_pi.hi};
    }
    N gap = N(1) - N(x), square = gap * gap + N(y) * N(y);
    double re = x;
    if (x == 1 && y < 0x1p-400)
        re = leading(N(-0.5) * logarithm<B>(N(y), -1));
    else if (x != 0 && x < tiny)
        re = shifted(leading(N(shifted(x, 600)) / square), -600);
    else if (x != 0)
        re = leading(N(0.25) * logarithm_of_1_plus<B>(N(4) * N(x) / square));
    double im = y;
    if (y != 0 || x > 1)
        im = leading(N(0.5) * angle<B>(N(2) * N(y), gap * (N(1) + N(x)) - N(y) * N(y)));
    return {re, im};
}

template <int B> Z atanh_of(Z z) {
    if (is_infinite(z.im) || (is_infinite(z.re) && !is_nan(z.im)))
        return {sign_from(0, z.re), sign_from(half_pi.hi, z.im)};
    if (!finite(z)) {
        double nan = nan_of(z.re, z.im);
        return {is_infinite(z.re) || z.re == 0 ? sign_from(0, z.re) : nan, nan};
    }
    double x = std::fabs(z.re), y = std::fabs(z.im);
    Z w = x == 1 && y == 0 ? Z{infinity, y} : atanh_of_quadrant<B>(x, y);
    return {sign_from(w.re, z.re), sign_from(w.im, z.im)};
}

struct Asin {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(asin_of<full_bits<T>>(widened(x)), r, x);
    }
};

struct Acos {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(acos_of<full_bits<T>>(widened(x)), r, x);
    }
};

struct Asinh {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(times_minus_i(asin_of<full_bits<T>>(times_i(widened(x)))), r, x);
    }
};

struct Acosh {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        Z z = widened(x), w = acos_of<full_bits<T>>(z);
        return delivered(Z{std::fabs(w.im), is_nan(w.re) ? w.re : sign_from(w.re, z.im)}, r, x);
    }
};

struct Atanh {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        Status status = delivered(atanh_of<full_bits<T>>(widened(x)), r, x);
        return std::fabs(x.re) == 1 && x.im == 0 ? status_singularity : status;
    }
};

struct Atan {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        Status status = delivered(times_minus_i(atanh_of<full_bits<T>>(times_i(widened(x)))), r, x);
        return x.re == 0 && std::fabs(x.im) == 1 ? status_singularity : status;
    }
};

} // namespace qor::fyn::complex_ops
