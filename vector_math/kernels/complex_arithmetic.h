// Arithmetic of complex numbers: Add, Sub, Mul, MulByConj, Div, Conj, Abs, Arg, Sqrt.
//
// Mul and Div give each component nearly correctly rounded: products are exact (single precision: in
// double; double precision: as sums of two doubles), so cancellation between them loses nothing, and
// arguments near the ends of the range are brought to the middle first. Special values are those of
// C11 Annex G: an infinite factor makes an infinite product even beside a NaN.
// Statuses: 2 for a finite nonzero number divided by zero; 3 for finite arguments with an infinite
// component in the result; 1 when a result of two NaNs comes from arguments without one (0/0, inf * 0).
// Add, Sub and Conj report nothing.
//
// Componentwise exactness of Mul and Div is given up only where a component is smaller than 2^-900 of its
// companion.
#pragma once

#include "vector_math/kernels/complex_working.h"

namespace qor::fyn::complex_ops {

template <Accuracy A> struct Add {
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        r = {x.re + y.re, x.im + y.im};
        return status_ok;
    }
};

template <Accuracy A> struct Sub {
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        r = {x.re - y.re, x.im - y.im};
        return status_ok;
    }
};

struct Conj {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        r = {x.re, -x.im};
        return status_ok;
    }
};

inline bool finite(Z x) { return is_finite(x.re) && is_finite(x.im); }
inline bool infinite(Z x) { return is_infinite(x.re) || is_infinite(x.im); }
inline bool zero(Z x) { return x.re == 0 && x.im == 0; }

// The larger exponent of the two components.
inline int exponent_of(Z x) {
    int a = exponent_of(x.re), b = exponent_of(x.im);
    return a > b ? a : b;
}

inline Z shifted(Z x, int k) { return {shifted(x.re, k), shifted(x.im, k)}; }

// Whether products and their rounding errors stay well inside the range.
inline bool moderate(Z x) {
    auto inside = [](double v) { return v == 0 || (std::fabs(v) > 0x1p-200 && std::fabs(v) < 0x1p+200); };
    return inside(x.re) && inside(x.im);
}

// Shift that makes the larger component about 1, if that is needed at all.
inline int balancing_shift(Z x) { return moderate(x) || zero(x) ? 0 : -exponent_of(x); }

// a b + c d of doubles. A sum of two zeros goes by their signs.
template <class N> N sum_of_products(double a, double b, double c, double d) {
    if constexpr (std::is_same_v<N, DoubleDouble>) {
        DoubleDouble p = two_prod(a, b), q = two_prod(c, d);
        return p.hi == 0 && q.hi == 0 ? DoubleDouble(p.hi + q.hi) : p + q;
    } else {
        return a * b + c * d;
    }
}

// An infinity as a number of size one with the same direction, everything else beside it as nothing.
inline Z direction_of_infinity(Z x) {
    return {sign_from(is_infinite(x.re) ? 1 : 0, x.re), sign_from(is_infinite(x.im) ? 1 : 0, x.im)};
}

inline Z without_nans(Z x) {
    return {is_nan(x.re) ? sign_from(0, x.re) : x.re, is_nan(x.im) ? sign_from(0, x.im) : x.im};
}

template <class T> Z product(Z x, Z y) {
    using N = Real<full_bits<T>>;
    if (finite(x) && finite(y)) {
        int kx = balancing_shift(x), ky = balancing_shift(y);
        x = kx ? shifted(x, kx) : x;
        y = ky ? shifted(y, ky) : y;
        Z r = {leading(sum_of_products<N>(x.re, y.re, -x.im, y.im)),
               leading(sum_of_products<N>(x.re, y.im, x.im, y.re))};
        return kx || ky ? shifted(r, -kx - ky) : r;
    }
    Z r = {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
    if (is_nan(r.re) && is_nan(r.im) && (infinite(x) || infinite(y))) {
        Z u = without_nans(infinite(x) ? direction_of_infinity(x) : x);
        Z v = without_nans(infinite(y) ? direction_of_infinity(y) : y);
        double re = u.re * v.re - u.im * v.im, im = u.re * v.im + u.im * v.re;
        if (!(is_nan(re) || is_nan(im)) && !(zero(u) || zero(v)))
            return {infinity * re, infinity * im};
    }
    return r;
}

struct Mul {
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        return delivered(product<T>(widened(x), widened(y)), r, x, y);
    }
};

// x times the conjugate of y.
struct MulByConj {
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        Z w = widened(y);
        return delivered(product<T>(widened(x), {w.re, -w.im}), r, x, y);
    }
};

template <class T> Z quotient(Z x, Z y) {
    using N = Real<full_bits<T>>;
    if (zero(y) && !(is_nan(x.re) && is_nan(x.im))) {
        double pole = sign_from(infinity, y.re);
        return {pole * x.re, pole * x.im};
    }
    if (infinite(x) && finite(y)) {
        Z u = direction_of_infinity(x);
        int k = -exponent_of(y);
        y = shifted(y, k);
        return {infinity * (u.re * y.re + u.im * y.im), infinity * (u.im * y.re - u.re * y.im)};
    }
    if (finite(x) && infinite(y)) {
        Z v = direction_of_infinity(y);
        return {0 * (x.re * v.re + x.im * v.im), 0 * (x.im * v.re - x.re * v.im)};
    }
    if (!finite(x) || !finite(y)) {
        double nan = nan_of(nan_of(x.re, x.im), nan_of(y.re, y.im));
        return {nan, nan};
    }
    int kx = balancing_shift(x), ky = balancing_shift(y);
    x = kx ? shifted(x, kx) : x;
    y = ky ? shifted(y, ky) : y;
    N square = sum_of_products<N>(y.re, y.re, y.im, y.im);
    Z r = {leading(sum_of_products<N>(x.re, y.re, x.im, y.im) / square),
           leading(sum_of_products<N>(x.im, y.re, -x.re, y.im) / square)};
    return kx != ky ? shifted(r, ky - kx) : r;
}

struct Div {
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        Z a = widened(x), b = widened(y);
        Status status = delivered(quotient<T>(a, b), r, x, y);
        return zero(b) && finite(a) && !zero(a) ? status_singularity : status;
    }
};

// sqrt(x^2 + y^2), finite arguments, as m 2^e.
template <class N> struct Shifted {
    N m;
    int e;
};

template <int B> Shifted<Real<B>> modulus(Z x) {
    using N = Real<B>;
    if (zero(x))
        return {N(0), 0};
    int k = balancing_shift(x);
    x = k ? shifted(x, k) : x;
    return {square_root(sum_of_products<N>(x.re, x.re, x.im, x.im)), -k};
}

struct Abs {
    template <class T> static Status eval(Complex<T> x, T &r) noexcept {
        Z z = widened(x);
        if (!finite(z)) {
            r = static_cast<T>(infinite(z) ? infinity : nan_of(z.re, z.im));
            return status_ok;
        }
        auto size = modulus<full_bits<T>>(z);
        r = static_cast<T>(shifted(leading(size.m), size.e));
        return std::isinf(r) ? status_overflow : status_ok;
    }
};

// The angle of any point that has one: infinities stand for directions, 45 degrees between two of them.
template <int B> double argument(Z x) {
    if (is_nan(x.re) || is_nan(x.im))
        return nan_of(x.re, x.im);
    if (infinite(x))
        x = direction_of_infinity(x);
    return leading(angle<B>(Real<B>(x.im), Real<B>(x.re)));
}

struct Arg {
    template <class T> static Status eval(Complex<T> x, T &r) noexcept {
        r = static_cast<T>(argument<full_bits<T>>(widened(x)));
        return status_ok;
    }
};

// sqrt of x^2 + y^2 scaled to x near 1: h = sqrt((|x| + |z|) / 2), and the other component is y / 2h.
// The root of the two powers of two is taken by even shifts.
template <int B> struct SquareRoot {
    Real<B> re, im;
    int e_re, e_im;
};

template <int B> SquareRoot<B> square_root_of(Real<B> x, Real<B> y) {
    using N = Real<B>;
    int ex = exponent_of(leading(x)), ey = exponent_of(leading(y)), e = ex > ey ? ex : ey;
    if (e == -5000)
        return {N(0), y, 0, 0};
    e &= ~1;
    N xs = shifted(x, -e), magnitude = std::signbit(leading(x)) ? -xs : xs, h = magnitude;
    if (ey > ex - 70) {
        N ys = shifted(y, -e);
        h = N(0.5) * (magnitude + (ex > ey - 400              ? square_root(xs * xs + ys * ys)
                                   : std::signbit(leading(y)) ? -ys
                                                              : ys));
    }
    h = square_root(h);
    N other = ey == -5000 ? y : N(0.5) * shifted(y, -ey) / h; // y / 2h, off by a shift
    int e_other = ey == -5000 ? 0 : ey - e / 2;
    if (!std::signbit(leading(x)))
        return {h, other, e / 2, e_other};
    bool below = std::signbit(leading(y));
    return {below ? -other : other, below ? -h : h, e_other, e / 2};
}

struct Sqrt {
    template <class T> static Status eval(Complex<T> x, Complex<T> &r) noexcept {
        constexpr int B = full_bits<T>;
        Z z = widened(x), w;
        if (is_infinite(z.im))
            w = {infinity, z.im};
        else if (is_infinite(z.re) && z.re > 0)
            w = {z.re, is_nan(z.im) ? z.im + z.im : sign_from(0, z.im)};
        else if (is_infinite(z.re))
            w = {is_nan(z.im) ? z.im + z.im : 0, sign_from(infinity, z.im)};
        else if (!finite(z))
            w = {nan_of(z.re, z.im), nan_of(z.im, z.re)};
        else if (auto s = square_root_of<B>(z.re, z.im); true)
            w = {shifted(leading(s.re), s.e_re), shifted(leading(s.im), s.e_im)};
        return delivered(w, r, x);
    }
};

} // namespace qor::fyn::complex_ops
