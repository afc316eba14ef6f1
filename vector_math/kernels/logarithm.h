// Logarithms: ln x, log2 x, log10 x, ln(1 + x), and the exponent of x.
//
// x = 2^k m with m in [sqrt(1/2), sqrt(2)), s = (m - 1) / (m + 1), ln m = 2 artanh s by the series of
// artanh: |s| <= 0.1716. With k = 0 nothing is added to ln m, so its relative error is the result's; with
// k other than 0, |ln m| <= |k| ln 2 / 2 and there is no cancellation.
//
// Largest errors measured against MPFR (tools/reference_elementary.cpp, 2000 to 3000 random arguments a
// function and type under each of four seeds): 0.501 ulp,
// double and float.
#pragma once

#include "vector_math/frame/double_double.h"

namespace qor::fyn {

// artanh(s) / s = sum u^i / (2i+1), u = s^2 <= 0.0294373.
struct ArtanhSeries {
    static constexpr double bound = 0.02945;
    static constexpr DoubleDouble coefficient(int i) noexcept { return reciprocal_of_integer(2 * i + 1); }
};

struct LogarithmConstants {
    static constexpr double sqrt_2 = 0x1.6a09e667f3bcdp+0;                               // 1.4142135623730951
    static constexpr DoubleDouble log2_e{0x1.71547652b82fep+0, 0x1.777d0ffda0d24p-56};   // 1.4426950408889634
    static constexpr DoubleDouble log10_e{0x1.bcb7b1526e50ep-2, 0x1.95355baaafad3p-57};  // 0.4342944819032518
    static constexpr DoubleDouble log10_2{0x1.34413509f79ffp-2, -0x1.9dc1da994fd21p-59}; // 0.3010299956639812
};

template <int Bits> inline Real<Bits> artanh_reduced(Real<Bits> s) noexcept {
    return s * power_series<ArtanhSeries, Bits>(s * s);
}

// ln x = exponent * ln 2 + log_mantissa, for positive finite x.
template <int Bits> struct LogarithmParts {
    double exponent;
    Real<Bits> log_mantissa;
};

template <int Bits> inline LogarithmParts<Bits> logarithm_parts(Real<Bits> x) noexcept {
    double high = narrowed<double>(x);
    Split split = split_exponent(high);
    if (split.mantissa >= LogarithmConstants::sqrt_2)
        ++split.exponent;
    Real<Bits> m = x;
    if (split.exponent > -1000 && split.exponent < 1000)
        m = by_power_of_two(m, -split.exponent);
    else // a plain double there: low parts are never used so far out
        m = scaled(high, -split.exponent);
    Real<Bits> s = (m - 1.0) / (m + 1.0);
    return {static_cast<double>(split.exponent), 2.0 * artanh_reduced<Bits>(s)};
}

template <int Bits> inline Real<Bits> logarithm(Real<Bits> x) noexcept {
    LogarithmParts<Bits> parts = logarithm_parts<Bits>(x);
    if (parts.exponent == 0)
        return parts.log_mantissa;
    return parts.exponent * narrowed<Real<Bits>>(ln_2) + parts.log_mantissa;
}

// ln(1 + x) for x > -1, small relative error down to x = 0.
template <int Bits> inline Real<Bits> logarithm_1p(Real<Bits> x) noexcept {
    double high = narrowed<double>(x);
    if (high > -0.2929 && high < 0.4142)
        return 2.0 * artanh_reduced<Bits>(x / (2.0 + x));
    return logarithm<Bits>(1.0 + x);
}

// The parts that ln, log2 and log10 share: the edges of the domain.
template <class T, class Compute> inline Status logarithm_frame(T x, T &r, Compute compute) noexcept {
    if (x != x || x == std::numeric_limits<T>::infinity()) {
        r = x + x;
        return status_ok;
    }
    if (x == 0)
        return pole(r, true);
    if (x < 0)
        return domain_error(r);
    return plain_result(to_double(compute(static_cast<double>(x))), r);
}

struct Ln {
    template <class T> static Status eval(T x, T &r) noexcept {
        return logarithm_frame(x, r, [](double v) { return logarithm<working_bits<T>>(v); });
    }
};

struct Log2 {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        return logarithm_frame(x, r, [](double v) {
            LogarithmParts<bits> parts = logarithm_parts<bits>(v);
            return parts.exponent + parts.log_mantissa * narrowed<Real<bits>>(LogarithmConstants::log2_e);
        });
    }
};

struct Log10 {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        return logarithm_frame(x, r, [](double v) {
            using R = Real<bits>;
            LogarithmParts<bits> parts = logarithm_parts<bits>(v);
            return parts.exponent * narrowed<R>(LogarithmConstants::log10_2) +
                   parts.log_mantissa * narrowed<R>(LogarithmConstants::log10_e);
        });
    }
};

struct Log1p {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x != x || x == std::numeric_limits<T>::infinity()) {
            r = x + x;
            return status_ok;
        }
        if (x == -1)
            return pole(r, true);
        if (x < -1)
            return domain_error(r);
        if (std::fabs(x) < T(0x1p-60)) { // x - x^2/2 + ... rounds to x
            r = x;
            return status_ok;
        }
        return plain_result(to_double(logarithm_1p<working_bits<T>>(static_cast<double>(x))), r);
    }
};

struct Logb {
    template <class T> static Status eval(T x, T &r) noexcept {
        if (x == 0)
            return pole(r, true);
        if (x != x)
            r = x + x;
        else if (std::fabs(x) > std::numeric_limits<T>::max())
            r = std::fabs(x);
        else
            r = static_cast<T>(split_exponent(static_cast<double>(x)).exponent);
        return status_ok;
    }
};

} // namespace qor::fyn
