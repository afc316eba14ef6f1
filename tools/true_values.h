// The true values of the real functions of vector math, by MPFR, to nearly reference::precision bits.
//
// Most are MPFR's own. erfcx is a product, the inverses of the error functions are found by Newton's method
// on MPFR's erf and erfc, I0 and I1 are summed from their power series.
#pragma once

#include "big.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace reference {

using Unary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using Binary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

inline int pow_2_3(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    Big square;
    mpfr_sqr(square, x, rounding);
    return mpfr_cbrt(r, square, rounding);
}

inline int pow_3_2(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) { // +0 at -0; no value left of 0
    Big three_halves(1.5);
    if (mpfr_cmp_ui(x, 0) < 0) {
        mpfr_set_nan(r);
        return 0;
    }
    return mpfr_pow(r, x, three_halves, rounding);
}

inline int inverse_cube_root(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    Big root;
    mpfr_cbrt(root, x, rounding);
    return mpfr_ui_div(r, 1, root, rounding);
}

inline int inverse_square_root(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) { // minus infinity at -0
    Big root;
    mpfr_sqrt(root, x, rounding);
    return mpfr_ui_div(r, 1, root, rounding);
}

inline int exponent_of(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    if (mpfr_nan_p(x)) {
        mpfr_set_nan(r);
    } else if (mpfr_inf_p(x)) {
        mpfr_set_inf(r, 1);
    } else if (mpfr_zero_p(x)) {
        mpfr_set_inf(r, -1);
        mpfr_set_divby0();
    } else {
        mpfr_set_si(r, mpfr_get_exp(x) - 1, rounding);
    }
    return 0;
}

template <int (*function)(mpfr_ptr, mpfr_srcptr, unsigned long, mpfr_rnd_t)>
int of_degrees(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    return function(r, x, 360, rounding);
}

// MPFR takes powr(1, NaN) for 1; in IEEE 754 every NaN argument gives NaN.
inline int powr(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t rounding) {
    if (mpfr_nan_p(x) || mpfr_nan_p(y)) {
        mpfr_set_nan(r);
        return 0;
    }
    return mpfr_powr(r, x, y, rounding);
}

inline int erfcx(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    Big a;
    if (mpfr_cmp_d(x, 1e4) > 0) { // 1/(x sqrt pi) (1 - 1/(2x^2) + 3/(4x^4) - ...), 45 terms leave 1e-300
        Big sum(1.0), term(1.0), square;
        mpfr_sqr(square, x, rounding);
        for (int k = 1; k < 45; ++k) {
            mpfr_mul_d(term, term, -(2 * k - 1) / 2.0, rounding);
            mpfr_div(term, term, square, rounding);
            mpfr_add(sum, sum, term, rounding);
        }
        mpfr_const_pi(a, rounding);
        mpfr_sqrt(a, a, rounding);
        mpfr_mul(a, a, x, rounding);
        return mpfr_div(r, sum, a, rounding);
    }
    mpfr_sqr(a, x, rounding);
    mpfr_exp(a, a, rounding);
    mpfr_erfc(r, x, rounding);
    return mpfr_mul(r, r, a, rounding);
}

// After a step this small the next would be below the last bit: Newton's method squares the relative error,
// times less than 2^11 here.
inline bool newton_done(mpfr_srcptr step, mpfr_srcptr y) {
    return mpfr_zero_p(step) || mpfr_get_exp(step) < mpfr_get_exp(y) - (precision / 2 + 10);
}

// y with erfc y = t, 0 < t <= 1/2: Newton on log erfc, which is concave, from a point on its safe side; in
// double precision first, where erfc is a normal number.
inline void erfc_inverse(mpfr_ptr y, const Big &t) {
    Big log_t, value, slope, step, root_pi;
    mpfr_log(log_t, t, MPFR_RNDN);
    mpfr_const_pi(root_pi, MPFR_RNDN);
    mpfr_sqrt(root_pi, root_pi, MPFR_RNDN);
    const double goal = mpfr_get_d(log_t, MPFR_RNDN);
    double start = std::sqrt(-goal);
    for (int i = 0; i < 8 && start < 26; ++i)
        start +=
            (std::log(std::erfc(start)) - goal) * std::erfc(start) * std::exp(start * start) / M_2_SQRTPI;
    mpfr_set_d(y, start, MPFR_RNDN);
    for (int i = 0; i < 200; ++i) {
        mpfr_erfc(value, y, MPFR_RNDN);
        mpfr_sqr(slope, y, MPFR_RNDN);
        mpfr_neg(slope, slope, MPFR_RNDN);
        mpfr_exp(slope, slope, MPFR_RNDN);
        mpfr_mul_ui(slope, slope, 2, MPFR_RNDN);
        mpfr_div(slope, slope, root_pi, MPFR_RNDN);
        mpfr_div(slope, slope, value, MPFR_RNDN); // less the derivative of log erfc
        mpfr_log(step, value, MPFR_RNDN);
        mpfr_sub(step, step, log_t, MPFR_RNDN);
        mpfr_div(step, step, slope, MPFR_RNDN);
        mpfr_add(y, y, step, MPFR_RNDN);
        if (newton_done(step, y))
            break;
    }
}

// y with erf y = x, |x| < 1
inline void erf_inverse(mpfr_ptr y, mpfr_srcptr x) {
    if (mpfr_cmpabs(x, Big(0.5)) >= 0) {
        Big t;
        mpfr_abs(t, x, MPFR_RNDN);
        mpfr_ui_sub(t, 1, t, MPFR_RNDN);
        erfc_inverse(y, t);
        mpfr_copysign(y, y, x, MPFR_RNDN);
        return;
    }
    Big root_pi, slope, step;
    mpfr_const_pi(root_pi, MPFR_RNDN);
    mpfr_sqrt(root_pi, root_pi, MPFR_RNDN);
    const double goal = mpfr_get_d(x, MPFR_RNDN);
    double start = goal / M_2_SQRTPI;
    for (int i = 0; i < 4; ++i)
        start -= (std::erf(start) - goal) * std::exp(start * start) / M_2_SQRTPI;
    mpfr_set_d(y, start, MPFR_RNDN);
    for (int i = 0; i < 50 && mpfr_regular_p(y); ++i) {
        mpfr_sqr(slope, y, MPFR_RNDN);
        mpfr_exp(slope, slope, MPFR_RNDN);
        mpfr_mul(slope, slope, root_pi, MPFR_RNDN);
        mpfr_div_ui(slope, slope, 2, MPFR_RNDN);
        mpfr_erf(step, y, MPFR_RNDN);
        mpfr_sub(step, step, x, MPFR_RNDN);
        mpfr_mul(step, step, slope, MPFR_RNDN);
        mpfr_sub(y, y, step, MPFR_RNDN);
        if (newton_done(step, y))
            break;
    }
}

inline int erf_inv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) {
    erf_inverse(r, x);
    return 0;
}

inline int erfc_inv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    Big t;
    if (mpfr_cmp_d(x, 0.5) < 0) {
        mpfr_set(t, x, rounding);
        erfc_inverse(r, t);
    } else {
        mpfr_ui_sub(t, 1, x, rounding);
        erf_inverse(r, t);
    }
    return 0;
}

inline int cdf_norm(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    Big a, root(2.0);
    mpfr_sqrt(root, root, rounding);
    mpfr_div(a, x, root, rounding);
    mpfr_neg(a, a, rounding);
    mpfr_erfc(r, a, rounding);
    return mpfr_div_ui(r, r, 2, rounding);
}

inline int cdf_norm_inv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    Big root(2.0), doubled;
    mpfr_sqrt(root, root, rounding);
    mpfr_neg(root, root, rounding);
    mpfr_mul_ui(doubled, x, 2, rounding);
    erfc_inv(r, doubled, rounding);
    return mpfr_mul(r, r, root, rounding);
}

inline int exp_int1(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    Big minus;
    mpfr_neg(minus, x, rounding);
    mpfr_eint(r, minus, rounding);
    return mpfr_neg(r, r, rounding);
}

template <int order> int modified_bessel(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    Big term(1.0), quarter;
    mpfr_sqr(quarter, x, rounding);
    mpfr_div_ui(quarter, quarter, 4, rounding);
    if (order == 1)
        mpfr_div_ui(term, x, 2, rounding);
    mpfr_set(r, term, rounding);
    for (unsigned long k = 1; k < 10000 && mpfr_regular_p(term.value); ++k) {
        mpfr_mul(term, term, quarter, rounding);
        mpfr_div_ui(term, term, k * (k + static_cast<unsigned long>(order)), rounding);
        mpfr_add(r, r, term, rounding);
        if (mpfr_get_exp(term) < mpfr_get_exp(r) - precision)
            break;
    }
    return 0;
}

inline int log_gamma(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rounding) {
    int sign;
    return mpfr_lgamma(r, &sign, x, rounding);
}

template <int (*function)(mpfr_ptr, long, mpfr_srcptr, mpfr_rnd_t)> // J or Y
int of_order(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr order, mpfr_rnd_t rounding) {
    return function(r, mpfr_get_si(order, MPFR_RNDZ), x, rounding);
}

// By a function of one or of two arguments; SinCos and its like have a second result.
struct RealFunction {
    const char *name;
    Unary value, second_value = nullptr;
    Binary value_of_two = nullptr;
};

inline constexpr RealFunction of_two(const char *name, Binary value) {
    return {name, nullptr, nullptr, value};
}

inline constexpr RealFunction real_functions[] = {
    {"Exp", mpfr_exp},
    {"Exp2", mpfr_exp2},
    {"Exp10", mpfr_exp10},
    {"Expm1", mpfr_expm1},
    {"Ln", mpfr_log},
    {"Log2", mpfr_log2},
    {"Log10", mpfr_log10},
    {"Log1p", mpfr_log1p},
    {"Logb", exponent_of},
    {"Pow2o3", pow_2_3},
    {"Pow3o2", pow_3_2},
    {"Cbrt", mpfr_cbrt},
    {"InvCbrt", inverse_cube_root},
    {"InvSqrt", inverse_square_root},
    {"Sin", mpfr_sin},
    {"Cos", mpfr_cos},
    {"Tan", mpfr_tan},
    {"SinCos", mpfr_sin, mpfr_cos},
    {"Asin", mpfr_asin},
    {"Acos", mpfr_acos},
    {"Atan", mpfr_atan},
    {"Sinh", mpfr_sinh},
    {"Cosh", mpfr_cosh},
    {"Tanh", mpfr_tanh},
    {"Asinh", mpfr_asinh},
    {"Acosh", mpfr_acosh},
    {"Atanh", mpfr_atanh},
    {"Sinpi", mpfr_sinpi},
    {"Cospi", mpfr_cospi},
    {"Tanpi", mpfr_tanpi},
    {"SinCospi", mpfr_sinpi, mpfr_cospi},
    {"Asinpi", mpfr_asinpi},
    {"Acospi", mpfr_acospi},
    {"Atanpi", mpfr_atanpi},
    {"Sind", of_degrees<mpfr_sinu>},
    {"Cosd", of_degrees<mpfr_cosu>},
    {"Tand", of_degrees<mpfr_tanu>},
    of_two("Pow", mpfr_pow),
    of_two("Powx", mpfr_pow),
    of_two("Powr", powr),
    of_two("Hypot", mpfr_hypot),
    of_two("Atan2", mpfr_atan2),
    of_two("Atan2pi", mpfr_atan2pi),
    {"Erf", mpfr_erf},
    {"Erfc", mpfr_erfc},
    {"Erfcx", erfcx},
    {"ErfInv", erf_inv},
    {"ErfcInv", erfc_inv},
    {"CdfNorm", cdf_norm},
    {"CdfNormInv", cdf_norm_inv},
    {"LGamma", log_gamma},
    {"TGamma", mpfr_gamma},
    {"ExpInt1", exp_int1},
    {"J0", mpfr_j0},
    {"J1", mpfr_j1},
    {"Y0", mpfr_y0},
    {"Y1", mpfr_y1},
    of_two("Jn", of_order<mpfr_jn>),
    of_two("Yn", of_order<mpfr_yn>),
    {"I0", modified_bessel<0>},
    {"I1", modified_bessel<1>},
};

template <class Function, std::size_t count>
const Function &function_named(const char *name, const Function (&functions)[count]) {
    for (const Function &f : functions)
        if (!std::strcmp(f.name, name))
            return f;
    std::fprintf(stderr, "%s has no true value\n", name);
    std::exit(1);
}

inline const RealFunction &real_function(const char *name) { return function_named(name, real_functions); }

} // namespace reference
