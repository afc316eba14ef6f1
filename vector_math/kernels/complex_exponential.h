// CIS, exponential and logarithms of complex numbers.
//
//   CIS(y) = cos y + i sin y                    e^(x+iy) = e^x cos y + i e^x sin y
//   ln z = ln |z| + i arg z
//
// ln |z| is half of log(1 + t), t = x^2 + y^2 - 1, near the unit circle, with t formed without cancellation
// error (in double precision from exact squares); elsewhere half the logarithm of the square sum. Special
// values as in C11 Annex G. Statuses: 1 for a result of two NaNs from arguments without one (e^(1 + i inf),
// CIS of an infinity); 2 for the logarithm of zero; 3 for finite arguments with an infinite component.
//
// The accuracies of Exp and Ln carry different numbers of bits through the same identities.
#pragma once

#include "vector_math/kernels/complex_arithmetic.h"

namespace qor::fyn::complex_ops {

inline constexpr DoubleDouble log10_of_e{0x1.bcb7b1526e50ep-2, 0x1.95355baaafad3p-57}; // 0.4342944...

struct CIS {
    template <class T> static Status eval(T x, Complex<T> &r) noexcept {
        double angle = x;
        Z w = {not_a_number, not_a_number};
        if (is_nan(angle))
            w = {angle + angle, angle + angle};
        else if (is_finite(angle)) {
            auto circle = sine_cosine<full_bits<T>>(angle);
            w = {leading(circle.c), shifted(leading(circle.s), circle.e)};
        }
        return delivered(w, r, x);
    }
};

// e^(x + iy), finite x and y. Past +-3000 nothing but infinity and zero can come out.
template <int B, class X> Z finite_exponential(X x, X y) {
    auto circle = sine_cosine<B>(y);
    X limit = leading(x) > 0 ? 3000 : -3000;
    auto size = exponential<B>(std::fabs(leading(x)) < 3000 ? x : limit);
    return {shifted(rounded_product(size.m, circle.c), size.e),
            shifted(rounded_product(size.m, circle.s), size.e + circle.e)};
}

template <int B> Z exponential_of(Z z) {
    if (finite(z))
        return finite_exponential<B>(z.re, z.im);
    if (is_nan(z.re)) {
        double nan = z.re + z.re;
        return {nan, z.im == 0 ? z.im : nan};
    }
    if (is_infinite(z.re)) {
        double size = z.re > 0 ? infinity : 0;
        if (z.im == 0)
            return {size, z.im};
        if (is_finite(z.im)) {
            auto circle = sine_cosine<B>(z.im);
            return {sign_from(size, leading(circle.c)), sign_from(size, leading(circle.s))};
        }
        return {size, size == 0 ? 0 : nan_of(z.im, z.im)};
    }
    double nan = nan_of(z.im, z.im);
    return {nan, nan};
}

template <Accuracy A> struct Exp {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        constexpr int B = A == Accuracy::high ? full_bits<T> : working_bits<T, Accuracy::low>;
        return delivered(exponential_of<B>(widened(x)), r, x);
    }
};

// x^2 + y^2 - 1 for a square sum within [0.7, 1.42].
template <class T, int B> Real<B> excess_over_1(double x, double y) {
    if (std::fabs(x) < std::fabs(y)) {
        double t = x;
        x = y;
        y = t;
    }
    if constexpr (std::is_same_v<T, float>)
        return (x * x - 1) + y * y; // exact but for the last addition
    else if constexpr (B < 54)
        return (x - 1) * (x + 1) + y * y;
    else
        return narrowed<Real<B>>((two_prod(x, x) - 1.0) + two_prod(y, y));
}

template <class N> struct Logarithm { N re, im; };

// Finite nonzero z of type T.
template <class T, int B> Logarithm<Real<B>> finite_logarithm(Z z) {
    using N = Real<B>;
    using Square = Real<B == 54 ? full_bits<T> : B>; // doubles lose the last bits of logarithms near 0
    Logarithm<N> w{N(0), angle<B>(N(z.im), N(z.re))};
    int k = balancing_shift(z);
    Z s = k ? shifted(z, k) : z;
    double estimate = s.re * s.re + s.im * s.im;
    if (k == 0 && estimate > 0.71 && estimate < 1.41)
        w.re = N(0.5) * logarithm_near_1<B>(excess_over_1<T, B>(z.re, z.im));
    else
        w.re = N(0.5) * logarithm<B>(sum_of_products<Square>(s.re, s.re, s.im, s.im), -2 * k);
    return w;
}

template <class T, int B> Z logarithm_of(Z z) {
    if (infinite(z))
        return {infinity, argument<B>(z)};
    if (!finite(z))
        return {nan_of(z.re, z.im), nan_of(z.im, z.re)};
    if (zero(z))
        return {-infinity, argument<B>(z)};
    auto w = finite_logarithm<T, B>(z);
    return {leading(w.re), leading(w.im)};
}

template <class T> Status delivered_logarithm(Z w, Complex<T> &r, Complex<T> x) {
    Status status = delivered(w, r, x);
    return x.re == 0 && x.im == 0 ? status_singularity : status;
}

template <Accuracy A> struct Ln {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        constexpr int B = A == Accuracy::high ? full_bits<T> : working_bits<T, A>;
        return delivered_logarithm(logarithm_of<T, B>(widened(x)), r, x);
    }
};

struct Log10 {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        constexpr int B = full_bits<T>;
        using N = Real<B>;
        Z z = widened(x), w = {0, 0};
        N scale = narrowed<N>(log10_of_e);
        if (finite(z) && !zero(z)) {
            auto natural = finite_logarithm<T, B>(z);
            // An angle so small that its product with the scale would underflow is a plain double.
            double im = leading(natural.im);
            w = {rounded_product(natural.re, scale),
                 std::fabs(im) < tiny ? shifted(rounded_product(shifted(natural.im, 300), scale), -300)
                                      : rounded_product(natural.im, scale)};
        } else {
            w = logarithm_of<T, B>(z);
            if (!is_nan(w.im))
                w.im = rounded_product(angle<B>(N(infinite(z) ? direction_of_infinity(z).im : z.im),
                                                N(infinite(z) ? direction_of_infinity(z).re : z.re)),
                                       scale);
        }
        return delivered_logarithm(w, r, x);
    }
};

} // namespace qor::fyn::complex_ops
