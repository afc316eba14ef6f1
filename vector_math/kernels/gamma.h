// Gamma function and the logarithm of its size.
//
// gamma: pieces on [1, 2]; x below 12 is brought there by gamma(x+1) = x gamma(x), from 12 on
//   log gamma x = (x - 1/2) log x - x + log(2 pi)/2 + 1/(12x) - 1/(360x^3) + ...       (Stirling)
// whose first term left out is below 2^-59 at 12. Negative arguments by reflection,
//   gamma(x) gamma(-x) = -pi / (x sin pi x).
// log gamma: on [3/4, 5/2] pieces with the zeros at 1 and 2 taken out, so that small results are accurate
// relative to themselves; at negative arguments, where reflection errs by some 2^-57 absolutely, polynomials
// around each zero do the same down to -16. From there on no number is near enough to a zero to need them.
#pragma once

#include "vector_math/kernels/gamma_tables.h"
#include "vector_math/kernels/special_pieces.h"

#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>

namespace qor::fyn {

namespace special {

// log gamma x for x >= 12, x below 2^60
inline DoubleDouble stirling(double x) noexcept {
    constexpr DoubleDouble half_log_two_pi{0x1.d67f1c864beb5p-1, -0x1.65b5a1b7ff5dfp-55};
    double u = 1 / (x * x), p = -3617.0 / 122400; // B(2k) / (2k (2k-1))
    for (double c : {1.0 / 156, -691.0 / 360360, 1.0 / 1188, -1.0 / 1680, 1.0 / 1260, -1.0 / 360, 1.0 / 12})
        p = p * u + c;
    return (two_sum(x, -0.5) * logarithm<72>(DoubleDouble(x)) - x) + (half_log_two_pi + p / x);
}

// gamma x for 2^-60 <= x < 190
inline Scaled gamma_positive(double x) noexcept {
    if (x >= 12)
        return exponential<72>(stirling(x));
    DoubleDouble factor(1.0);
    double low = 0;
    bool below = x < 1;
    if (below) {
        DoubleDouble next = two_sum(1.0, x);
        factor = x;
        x = next.hi;
        low = next.lo;
    }
    while (x > 2) {
        x -= 1;
        factor = factor * x;
    }
    Place at = uniform_place(x, 1, 0.125, 8);
    DoubleDouble piece = evaluate(tables::gamma_pieces[at.row], at.t, low);
    return {below ? piece / factor : piece * factor, 0};
}

// log gamma x for x >= 3/4, x below 2^60
inline DoubleDouble log_gamma_positive(double x, double x_lo = 0) noexcept {
    if (x < 1.5) {
        Place at = uniform_place(x, 0.75, 0.125, 6);
        return evaluate(tables::log_gamma_one[at.row], at.t, x_lo) * two_sum(x - 1, x_lo);
    }
    if (x < 2.5) {
        Place at = uniform_place(x, 1.5, 0.125, 8);
        return evaluate(tables::log_gamma_two[at.row], at.t, x_lo) * two_sum(x - 2, x_lo);
    }
    return x < 12 ? logarithm<72>(gamma_positive(x).value) : stirling(x);
}

// log gamma x for x >= 2^-60, x below 2^60
inline DoubleDouble log_gamma_any_positive(double x) noexcept {
    if (x >= 0.75)
        return log_gamma_positive(x);
    DoubleDouble next = two_sum(1.0, x);
    return log_gamma_positive(next.hi, next.lo) - logarithm<72>(DoubleDouble(x));
}

// log |gamma x| where x < 0 is near one of its zeros
inline bool log_gamma_near_zero(double x, double &r) noexcept {
    if (x < -17)
        return false;
    const double pole = nearest_integer(x); // the zeros are beside poles, the first one left of -2
    const int index = static_cast<int>(-2 * pole) - 5 + (x < pole);
    if (index < 0 || index >= static_cast<int>(std::size(log_gamma_zeros)))
        return false;
    const LogGammaZero &zero = log_gamma_zeros[index];
    const DoubleDouble s = two_sum(x - zero.hi, -zero.lo) * zero.inverse_scale;
    if (!(std::fabs(s.hi) < 1))
        return false;
    double rest = 0;
    for (std::size_t i = std::size(zero.c); i-- > 1;)
        rest = (rest + zero.c[i]) * s.hi;
    r = to_double(s * two_sum(zero.c[0], rest));
    return true;
}

// |sin(pi x)| for finite x >= 0, x not an integer
inline DoubleDouble sine_size(double x) noexcept {
    return sine_of_half_turns(std::fabs(x - nearest_integer(x)));
}

} // namespace special

struct LGamma {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr T limit = std::numeric_limits<T>::infinity();
        if (x != x || x == limit || x == -limit) {
            r = x == -limit ? limit : x + x; // no ordered comparison with a NaN
            return status_ok;
        }
        double v = static_cast<double>(x), y = std::fabs(v);
        if (v == 0 || (v < 0 && (y >= 0x1p+52 || y == std::floor(y))))
            return pole(r);
        if (y < 0x1p-60)
            return plain_result(-to_double(logarithm<72>(DoubleDouble(y))), r);
        if (v < 0) {
            if (double near_zero; special::log_gamma_near_zero(v, near_zero))
                return plain_result(near_zero, r);
            DoubleDouble product = special::sine_size(y) * y;
            return plain_result(to_double(logarithm<72>(pi / product) - special::log_gamma_any_positive(y)),
                                r);
        }
        if (y >= 0x1p+60) { // x (log x - 1); the half of a logarithm is far below
            Split split = split_exponent(y);
            DoubleDouble product = (logarithm<72>(DoubleDouble(y)) - 1.0) * split.mantissa;
            return special::checked_result(special::Scaled{product, split.exponent}, r);
        }
        return plain_result(to_double(special::log_gamma_any_positive(y)), r);
    }
};

struct TGamma {
    template <class T> static Status eval(T x, T &r) noexcept {
        constexpr T limit = std::numeric_limits<T>::infinity();
        if (x != x || x == limit) {
            r = x + x;
            return status_ok;
        }
        if (x == 0)
            return pole(r, std::signbit(x));
        double v = static_cast<double>(x), y = std::fabs(v);
        if (v < 0 && (y >= 0x1p+52 || y == std::floor(y)))
            return domain_error(r);
        if (y < 0x1p-60) // 1/x - gamma
            return qor::fyn::checked_result(1 / v, r);
        if (v > 0)
            return special::checked_result(special::gamma_positive(y < 185 ? y : 185), r);
        bool negative = std::fmod(std::floor(y), 2.0) == 0;
        if (y > 189)
            return plain_result(negative ? -0.0 : 0.0, r), status_underflow;
        special::Scaled g = special::gamma_positive(y);
        g.value = pi / (special::sine_size(y) * y * g.value);
        if (negative)
            g.value = -g.value;
        g.exponent = -g.exponent;
        return special::checked_result(g, r);
    }
};

} // namespace qor::fyn
