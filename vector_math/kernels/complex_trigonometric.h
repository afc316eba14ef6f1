// Circular and hyperbolic sine, cosine and tangent of complex numbers.
//
//   sinh(x+iy) = sinh x cos y + i cosh x sin y
//   cosh(x+iy) = cosh x cos y + i sinh x sin y
//   tanh(x+iy) = (sinh x cosh x + i sin y cos y) / (sinh^2 x + cos^2 y)
//   sin z = -i sinh(iz)     cos z = cosh(iz)     tan z = -i tanh(iz)
//
// No sum in these cancels, so each component is nearly correctly rounded. Large factors carry their
// exponents apart: a component that fits the range comes out though e^|x| alone would not. Special values
// as in C11 Annex G. Statuses: 1 for a result of two NaNs from arguments without one; 3 for finite
// arguments with an infinite component.
#pragma once

#include "vector_math/kernels/complex_arithmetic.h"

namespace qor::fyn::complex_ops {

// A NaN keeps its sign.
inline double negated(double x) { return is_nan(x) ? x : -x; }
inline Z times_i(Z z) { return {negated(z.im), z.re}; }
inline Z times_minus_i(Z z) { return {z.im, negated(z.re)}; }

template <int B> Z sinh_of(Z z) {
    if (finite(z)) {
        auto h = hyperbolic_sine_cosine<B>(z.re);
        auto c = sine_cosine<B>(z.im);
        return {shifted(rounded_product(h.s, c.c), h.es), shifted(rounded_product(h.c, c.s), h.ec + c.e)};
    }
    if (is_nan(z.re))
        return {z.re + z.re, z.im == 0 ? z.im : z.re + z.re};
    if (is_infinite(z.re)) {
        if (z.im == 0)
            return z;
        if (!is_finite(z.im))
            return {z.re, nan_of(z.im, z.im)};
        auto c = sine_cosine<B>(z.im);
        return {z.re * sign_from(1, leading(c.c)), infinity * sign_from(1, leading(c.s))};
    }
    double nan = nan_of(z.im, z.im);
    return {z.re == 0 ? z.re : nan, nan};
}

template <int B> Z cosh_of(Z z) {
    if (finite(z)) {
        auto h = hyperbolic_sine_cosine<B>(z.re);
        auto c = sine_cosine<B>(z.im);
        return {shifted(rounded_product(h.c, c.c), h.ec), shifted(rounded_product(h.s, c.s), h.es + c.e)};
    }
    if (is_nan(z.re))
        return {z.re + z.re, z.im == 0 ? z.im : z.re + z.re};
    if (is_infinite(z.re)) {
        if (z.im == 0)
            return {infinity, z.re > 0 ? z.im : -z.im};
        if (!is_finite(z.im))
            return {infinity, nan_of(z.im, z.im)};
        auto c = sine_cosine<B>(z.im);
        return {infinity * sign_from(1, leading(c.c)), z.re * sign_from(1, leading(c.s))};
    }
    double nan = nan_of(z.im, z.im);
    return {nan, z.re == 0 ? 0 : nan};
}

// (a 2^e) / d, with the sign of a zero.
template <class N> double rounded_quotient(N a, N d, int e) {
    return leading(a) == 0 ? leading(a) : shifted(leading(a / d), e);
}

template <int B> Z tanh_of(Z z) {
    using N = Real<B>;
    if (finite(z)) {
        auto c = sine_cosine<B>(z.im);
        double sine_sign = sign_from(1, leading(c.s)) * leading(c.c);
        if (std::fabs(z.re) > 40) { // 1 to more than 106 bits; the rest is 4 sin y cos y e^-2|x|
            auto fall = exponential<B>(-2 * std::fmin(std::fabs(z.re), 1000));
            N product = c.s * c.c * fall.m;
            double im = shifted(leading(product), fall.e + c.e + 2);
            return {sign_from(1, z.re), sign_from(im, sine_sign)};
        }
        auto h = hyperbolic_sine_cosine<B>(z.re);
        N square = c.c * c.c;
        if (h.es == 0)
            square = square + h.s * h.s;
        double im = rounded_quotient(c.s * c.c, square, c.e);
        return {sign_from(rounded_quotient(h.s * h.c, square, h.es), z.re), sign_from(im, sine_sign)};
    }
    if (is_infinite(z.re)) {
        double im = 0;
        if (is_finite(z.im)) {
            auto c = sine_cosine<B>(z.im);
            im = sign_from(0, sign_from(1, leading(c.s)) * leading(c.c));
        }
        return {sign_from(1, z.re), im};
    }
    if (is_nan(z.re))
        return {z.re + z.re, z.im == 0 ? z.im : z.re + z.re};
    double nan = nan_of(z.im, z.im);
    return {z.re == 0 ? z.re : nan, nan};
}

struct Sinh {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(sinh_of<full_bits<T>>(widened(x)), r, x);
    }
};

struct Cosh {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(cosh_of<full_bits<T>>(widened(x)), r, x);
    }
};

struct Tanh {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(tanh_of<full_bits<T>>(widened(x)), r, x);
    }
};

struct Sin {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(times_minus_i(sinh_of<full_bits<T>>(times_i(widened(x)))), r, x);
    }
};

struct Cos {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(cosh_of<full_bits<T>>(times_i(widened(x))), r, x);
    }
};

struct Tan {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        return delivered(times_minus_i(tanh_of<full_bits<T>>(times_i(widened(x)))), r, x);
    }
};

} // namespace qor::fyn::complex_ops
