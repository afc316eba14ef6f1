// Exponentials: e^x, 2^x, 10^x, e^x - 1.
//
// x = k ln 2 + r with k the nearest integer to x / ln 2, so |r| <= ln 2 / 2, and e^x = 2^k e^r with e^r by
// its Taylor series. The head of ln 2 (of log10 2) has 42 bits, so that k * head is exact for |k| < 2^11;
// the difference x - k * head is then exact but for the last bits of a double-double.
//
// Largest errors measured against MPFR (tools/reference_elementary.cpp, 2000 to 3000 random arguments a
// function and type under each of four seeds): 0.501 ulp,
// double and float.
#pragma once

#include "vector_math/frame/double_double.h"

namespace qor::fyn {

// (e^r - 1) / r = sum r^i / (i+1)!, |r| <= ln 2 / 2 (a little more after rounding).
struct ExponentialSeries {
    static constexpr double bound = 0.347;
    static constexpr DoubleDouble coefficient(int i) noexcept { return reciprocal_factorial(i + 1); }
};

// value * 2^exponent
template <int Bits> struct ScaledValue {
    Real<Bits> value;
    int exponent;
};

struct ExponentialConstants {
    static constexpr double log2_e = 0x1.71547652b82fep+0;  // 1.4426950408889634
    static constexpr double log2_10 = 0x1.a934f0979a371p+1; // 3.3219280948873622
    static constexpr double ln_2_head = 0x1.62e42fefa38p-1; // 0.693147180559890...
    static constexpr DoubleDouble ln_2_tail{0x1.ef35793c7673p-45, 0x1.f97b57a079a19p-103};
    static constexpr double log10_2_head = 0x1.34413509f78p-2; // 0.301029995663952...
    static constexpr DoubleDouble log10_2_tail{0x1.fef311f12b358p-46, 0x1.6f922f04d5a62p-102};
    static constexpr DoubleDouble ln_10{0x1.26bb1bbb55516p+1, -0x1.f48ad494ea3e9p-53};
};

// e^r - 1 for |r| <= ln 2 / 2, with small relative error down to r = 0.
template <int Bits> inline Real<Bits> expm1_reduced(Real<Bits> r) noexcept {
    return r * power_series<ExponentialSeries, Bits>(r);
}

// e^x for |x| <= 1100; the argument may be of a wider working type than the result.
template <int Bits, class R> inline ScaledValue<Bits> exponential(R x) noexcept {
    using C = ExponentialConstants;
    double k = nearest_integer(to_double(x) * C::log2_e);
    R r = (x - k * C::ln_2_head) - k * narrowed<R>(C::ln_2_tail);
    return {1.0 + expm1_reduced<Bits>(narrowed<Real<Bits>>(r)), static_cast<int>(k)};
}

template <int Bits> inline ScaledValue<Bits> exponential_2(double x) noexcept {
    double k = nearest_integer(x);
    Real<Bits> r = (x - k) * narrowed<Real<Bits>>(ln_2);
    return {1.0 + expm1_reduced<Bits>(r), static_cast<int>(k)};
}

template <int Bits> inline ScaledValue<Bits> exponential_10(double x) noexcept {
    using C = ExponentialConstants;
    using R = Real<Bits>;
    double k = nearest_integer(x * C::log2_10);
    R r = ((R(x) - k * C::log10_2_head) - k * narrowed<R>(C::log10_2_tail)) * narrowed<R>(C::ln_10);
    return {1.0 + expm1_reduced<Bits>(r), static_cast<int>(k)};
}

// e^x - 1 for |x| <= 1100, as a scaled value.
template <int Bits> inline ScaledValue<Bits> exponential_minus_1(Real<Bits> x) noexcept {
    using C = ExponentialConstants;
    double k = nearest_integer(to_double(x) * C::log2_e);
    if (k == 0)
        return {expm1_reduced<Bits>(x), 0};
    if (k < -120)
        return {Real<Bits>(-1.0), 0};
    ScaledValue<Bits> e = exponential<Bits>(x);
    if (k < 120) // beyond, 1 is no part of the result
        e.value = e.value - power_of_two(-static_cast<int>(k));
    return e;
}

// The parts that the exponentials share: not-a-number and infinite arguments, clamping, rounding.
template <class T, class Compute> inline Status exponential_frame(T x, T &r, Compute compute) noexcept {
    constexpr T infinity = std::numeric_limits<T>::infinity();
    if (x != x || x == infinity) {
        r = x + x;
        return status_ok;
    }
    if (x == -infinity) {
        r = 0;
        return status_ok;
    }
    double clamped = x > T(1100) ? 1100.0 : x < T(-1100) ? -1100.0 : static_cast<double>(x);
    auto e = compute(clamped);
    return checked_result(scaled(e.value, e.exponent), r);
}

struct Exp {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        return exponential_frame(x, r, [](double v) { return exponential<bits>(Real<bits>(v)); });
    }
};

struct Exp2 {
    template <class T> static Status eval(T x, T &r) noexcept {
        return exponential_frame(x, r, [](double v) { return exponential_2<working_bits<T>>(v); });
    }
};

struct Exp10 {
    template <class T> static Status eval(T x, T &r) noexcept {
        return exponential_frame(x, r, [](double v) { return exponential_10<working_bits<T>>(v); });
    }
};

struct Expm1 {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr T infinity = std::numeric_limits<T>::infinity();
        constexpr int bits = working_bits<T>;
        if (x != x || x == infinity) {
            r = x + x;
            return status_ok;
        }
        if (std::fabs(x) < T(0x1p-60)) { // x + x^2/2 + ... rounds to x
            r = x;
            return status_ok;
        }
        double clamped = x > T(1100) ? 1100.0 : x < T(-1100) ? -1100.0 : static_cast<double>(x);
        ScaledValue<bits> e = exponential_minus_1<bits>(clamped);
        return checked_result(scaled(e.value, e.exponent), r);
    }
};

} // namespace qor::fyn
