// Powers of complex numbers: x^y = e^(y ln x), Pow of two vectors, Powx of a vector and a scalar.
//
// Both precisions work in sums of two doubles. A whole real exponent up to 64 in size is done by repeated
// squaring, so that exact powers come out exactly; a whole exponent of any size on one of the axes turns by
// exact quarters. Otherwise the relative error in norm is about 2^-100 (1 + |y ln x|): the angle has lost
// all digits once |y ln x| reaches 2^100.
//
// x^0 is 1 for every x. A zero base gives 0 for Re y > 0, infinity for Re y < 0. Other arguments with an
// infinity or NaN go through exp(y ln x) with the special values of those functions.
// Statuses: 2 for zero to a power of negative real part; 1 for a result of two NaNs from arguments without
// one (zero to an imaginary power among them); 3 for finite arguments with an infinite component.
#pragma once

#include "vector_math/kernels/complex_exponential.h"

namespace qor::fyn::complex_ops {

inline constexpr int power_bits = full_bits<double>;

struct PreciseComplex {
    DoubleDouble re, im;
};

inline PreciseComplex operator*(PreciseComplex a, PreciseComplex b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

// z^n, 0 < |n| <= 64. The larger component of the base is brought to [1, 2); its power is below 2^96.
inline Z small_whole_power(Z z, int n) {
    int e = exponent_of(z);
    z = shifted(z, -e);
    PreciseComplex base{z.re, z.im}, result{1, 0};
    bool started = false;
    for (int m = n < 0 ? -n : n; m; m >>= 1) {
        if (m & 1) {
            result = started ? result * base : base;
            started = true;
        }
        base = m > 1 ? base * base : base;
    }
    if (n < 0) {
        DoubleDouble square = result.re * result.re + result.im * result.im;
        result = {result.re / square, -result.im / square};
    }
    return {shifted(leading(result.re), n * e), shifted(leading(result.im), n * e)};
}

// i^quarters times m 2^e.
inline Z turned(Scaled<DoubleDouble> size, int quarters) {
    double m = shifted(leading(size.m), size.e);
    switch (quarters & 3) {
    case 0:
        return {m, 0};
    case 1:
        return {0, m};
    case 2:
        return {-m, 0};
    default:
        return {0, -m};
    }
}

inline Z nonzero_power(Z x, Z y) {
    constexpr int B = power_bits;
    bool whole = y.im == 0 && std::fabs(y.re) < 0x1p+53 && std::floor(y.re) == y.re;
    if (whole && std::fabs(y.re) <= 64)
        return small_whole_power(x, static_cast<int>(y.re));

    // y ln x, with y near 1 while multiplying.
    auto log = finite_logarithm<double, B>(x);
    int e = exponent_of(y);
    Z s = shifted(y, -e);
    DoubleDouble re = shifted(log.re * s.re - log.im * s.im, e);
    DoubleDouble im = shifted(log.re * s.im + log.im * s.re, e);
    if (!is_finite(re.hi) || std::fabs(re.hi) > 3000)
        re = re.hi > 0 ? 3000 : -3000;
    if (whole && (x.re == 0 || x.im == 0)) {
        int quarters = x.re > 0 ? 0 : x.re < 0 ? 2 : x.im > 0 ? 1 : 3;
        return turned(exponential<B>(re), quarters * (static_cast<int>(static_cast<long long>(y.re) & 3)));
    }
    if (!is_finite(im.hi) || !is_finite(im.lo))
        im = 0;
    return finite_exponential<B>(re, im);
}

// A positive real base to a real power stays real; its zero keeps to the side of the axis x lies on.
inline Z finite_power(Z x, Z y) {
    Z r = nonzero_power(x, y);
    if (x.re > 0 && x.im == 0 && y.im == 0)
        r.im = sign_from(0, sign_from(1, x.im) * y.re);
    return r;
}

template <class T> Status power(Complex<T> x, Complex<T> y, Complex<T> &r) {
    Z a = widened(x), b = widened(y);
    if (zero(b)) {
        r = {1, 0};
        return status_ok;
    }
    if (zero(a) && finite(b)) {
        Z w = {not_a_number, not_a_number};
        if (b.re > 0)
            w = {0, 0};
        else if (b.re < 0)
            w = {infinity, b.im == 0 ? 0 : not_a_number};
        Status status = delivered(w, r, x, y);
        return b.re < 0 ? status_singularity : status;
    }
    if (finite(a) && finite(b))
        return delivered(finite_power(a, b), r, x, y);
    Z w = exponential_of<power_bits>(product<double>(b, logarithm_of<double, power_bits>(a)));
    return delivered(w, r, x, y);
}

struct Pow {
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        return power(x, y, r);
    }
};

struct Powx {
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        return power(x, y, r);
    }
};

} // namespace qor::fyn::complex_ops
