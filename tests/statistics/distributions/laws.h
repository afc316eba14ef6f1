// The laws that transform uniform numbers, as tests go through them: parameters fixed, one row a law.
#pragma once

#include "qor_bex_distributions.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace test {

// In both precisions: `generate` with its parameters bound; what one variate is, in extended precision, of
// its uniform numbers; the distribution function.
template <class T> struct Law {
    std::string name;
    int uniforms_each;
    std::function<std::int32_t(std::int32_t method, void *stream, std::int32_t n, T *r)> generate;
    std::function<long double(const T *u)> model;
    std::function<double(double x)> distribution;
    double lowest;        // end of the support; -infinity for none
    T of_zero;            // the variate of uniforms 0 (0 and 0.25 for Laplace)
    long double accuracy; // relative to the scaled transform
};

template <class T> std::vector<Law<T>> laws() {
    constexpr bool is_double = sizeof(T) == 8;
    const auto pick = [](auto single_entry, auto double_entry) {
        if constexpr (is_double)
            return double_entry;
        else
            return single_entry;
    };
    const auto ln = [](T u) { return std::log(static_cast<long double>(u)); };
    const T log_of_zero = static_cast<T>(is_double ? -744.4400719213812 : -103.2789306640625);
    constexpr long double close = is_double ? 0x1p-50L : 0x1p-21L, coarse = is_double ? 0x1p-24L : 0x1p-20L;
    constexpr double none = -HUGE_VAL;
    const T a = T(0.5), beta = T(2), alpha = T(1.5);
    const auto bound = [=](auto entry) {
        return [=](std::int32_t method, void *stream, std::int32_t n, T *r) {
            return entry(method, stream, n, r, a, beta);
        };
    };
    const auto standard = [=](double x) { return (x - a) / beta; };
    const double pi = std::acos(-1.0);
    return {
        {"Exponential", 1, bound(pick(_bexsRngExponential, _bexdRngExponential)),
         [=](const T *u) { return a - beta * ln(*u); }, [=](double x) { return 1 - std::exp(-standard(x)); },
         a, a - log_of_zero * beta, close},
        {"Gumbel", 1, bound(pick(_bexsRngGumbel, _bexdRngGumbel)),
         [=](const T *u) { return a + beta * std::log(-ln(*u)); },
         [=](double x) { return 1 - std::exp(-std::exp(standard(x))); }, none,
         std::log(-log_of_zero) * beta + a, close},
        {"Cauchy", 1, bound(pick(_bexsRngCauchy, _bexdRngCauchy)), nullptr,
         [=](double x) { return 0.5 + std::atan(standard(x)) / pi; }, none, 0, coarse},
        {"Rayleigh", 1, bound(pick(_bexsRngRayleigh, _bexdRngRayleigh)),
         [=](const T *u) { return a + beta * std::sqrt(-ln(*u)); },
         [=](double x) { return 1 - std::exp(-standard(x) * standard(x)); }, a,
         std::sqrt(-log_of_zero) * beta + a, close},
        {"Weibull", 1,
         [=](std::int32_t method, void *stream, std::int32_t n, T *r) {
             return pick(_bexsRngWeibull, _bexdRngWeibull)(method, stream, n, r, alpha, a, beta);
         },
         [=](const T *u) { return a + beta * std::pow(-ln(*u), static_cast<long double>(1 / alpha)); },
         [=](double x) { return 1 - std::exp(-std::pow(standard(x), double{alpha})); }, a,
         std::pow(-log_of_zero, 1 / alpha) * beta + a, coarse},
        {"Weibull of shape 1", 1,
         [=](std::int32_t method, void *stream, std::int32_t n, T *r) {
             return pick(_bexsRngWeibull, _bexdRngWeibull)(method, stream, n, r, T(1), a, beta);
         },
         [=](const T *u) { return a - beta * ln(*u); }, [=](double x) { return 1 - std::exp(-standard(x)); },
         a, a - log_of_zero * beta, close},
        {"Laplace", 2, bound(pick(_bexsRngLaplace, _bexdRngLaplace)),
         [=](const T *u) { return a + (u[1] <= T(0.5) ? -beta : beta) * ln(u[0]); },
         [=](double x) { return x < a ? std::exp(standard(x)) / 2 : 1 - std::exp(-standard(x)) / 2; }, none,
         -beta * log_of_zero + a, close},
    };
}

} // namespace test
