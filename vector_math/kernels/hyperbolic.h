// Hyperbolic functions and their inverses, from e^x - 1 and ln(1 + x) of a working precision that makes
// the cancellations in between harmless.
//
// Largest errors measured against MPFR (tools/reference_elementary.cpp, 2000 to 3000 random arguments a
// function and type under each of four seeds): 0.501 ulp,
// double and float.
#pragma once

#include "vector_math/frame/double_double.h"
#include "vector_math/kernels/exponential.h"
#include "vector_math/kernels/logarithm.h"

namespace qor::fyn {

// Beyond this e^-|x| is less than 2^-115 of e^|x|.
inline constexpr double lone_exponential = 40;

struct Sinh {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        double size = std::fabs(static_cast<double>(x));
        r = x;
        if (size < 0x1p-30)
            return status_ok;
        r = x + x;
        if (x - x != 0)
            return status_ok;
        double result;
        if (size > lone_exponential) {
            auto e = exponential<bits>(Real<bits>(size < 1100 ? size : 1100));
            result = scaled(e.value, e.exponent - 1);
        } else { // with E = e^x - 1: (E + E / (E + 1)) / 2
            auto e = exponential_minus_1<bits>(size);
            Real<bits> value = by_power_of_two(e.value, e.exponent);
            result = to_double(0.5 * (value + value / (value + 1.0)));
        }
        return checked_result(x < 0 ? -result : result, r);
    }
};

struct Cosh {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        double size = std::fabs(static_cast<double>(x));
        if (x - x != 0) {
            r = x != x ? x + x : std::fabs(x);
            return status_ok;
        }
        auto e = exponential<bits>(Real<bits>(size < 1100 ? size : 1100));
        if (size > lone_exponential)
            return checked_result(scaled(e.value, e.exponent - 1), r);
        Real<bits> value = by_power_of_two(e.value, e.exponent);
        return checked_result(to_double(0.5 * (value + Real<bits>(1.0) / value)), r);
    }
};

struct Tanh {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        double size = std::fabs(static_cast<double>(x));
        r = x;
        if (size < 0x1p-30)
            return status_ok;
        r = x + x;
        if (x != x)
            return status_ok;
        double result = 1;
        if (size < 22) { // with E = e^2x - 1: E / (E + 2); beyond, less than 2^-62 is missing from 1
            auto e = exponential_minus_1<bits>(2 * size);
            Real<bits> value = by_power_of_two(e.value, e.exponent);
            result = to_double(value / (value + 2.0));
        }
        return plain_result(x < 0 ? -result : result, r);
    }
};

struct Asinh {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        using R = Real<bits>;
        double size = std::fabs(static_cast<double>(x));
        r = x;
        if (size < 0x1p-30)
            return status_ok;
        r = x + x;
        if (x - x != 0)
            return status_ok;
        double result;
        if (size > 0x1p60) { // ln 2x, less than 2^-121 too small
            result = to_double(logarithm<bits>(size) + narrowed<R>(ln_2));
        } else { // ln(1 + x + x^2 / (1 + sqrt(1 + x^2)))
            R square = R(size) * R(size);
            result = to_double(logarithm_1p<bits>(size + square / (1.0 + square_root(1.0 + square))));
        }
        return plain_result(x < 0 ? -result : result, r);
    }
};

struct Acosh {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        using R = Real<bits>;
        if (x < 1)
            return domain_error(r);
        r = x + x;
        if (x - x != 0)
            return status_ok;
        double xd = static_cast<double>(x);
        if (xd > 0x1p60) // ln 2x, less than 2^-121 too large
            return plain_result(to_double(logarithm<bits>(xd) + narrowed<R>(ln_2)), r);
        R t = R(xd) - 1.0; // ln(1 + t + sqrt(t (t + 2)))
        return plain_result(to_double(logarithm_1p<bits>(t + square_root(t * (t + 2.0)))), r);
    }
};

struct Atanh {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr int bits = working_bits<T>;
        using R = Real<bits>;
        double size = std::fabs(static_cast<double>(x));
        if (size == 1)
            return pole(r, x < 0);
        if (size > 1)
            return domain_error(r);
        r = x + x;
        if (x != x)
            return status_ok;
        r = x;
        if (size < 0x1p-30)
            return status_ok;
        double result = size < 0.17 ? to_double(artanh_reduced<bits>(size))
                                    : to_double(0.5 * logarithm<bits>((1.0 + R(size)) / (1.0 - R(size))));
        return plain_result(x < 0 ? -result : result, r);
    }
};

} // namespace qor::fyn
