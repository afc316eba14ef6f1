// Speed of vector-math entries beside their peers, every pair over the same arguments in the same run.
//
// Names are function/contestant/length; the time of a benchmark is that of one call over the whole vector.
// Run it through scripts/bench.sh, which mixes the repetitions of all contestants, so that other load on
// the machine hits them alike, and compares the shortest.
#include "qor_fyn.h"

#include <benchmark/benchmark.h>
#ifdef QOR_BENCH_SLEEF
#include <sleef.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <emmintrin.h>
#include <random>
#include <string>
#include <vector>

namespace {

template <class T> using Loop = void (*)(std::int32_t n, const T *a, T *r);

// The second results of functions with two.
template <class T> T second_results[1000000];

template <class T, void (*entry)(std::int32_t, const T *, T *, T *)>
void with_second(std::int32_t n, const T *a, T *r) {
    entry(n, a, r, second_results<T>);
}

// A loop over a function of one element.
template <auto function, class T> void in_turn(std::int32_t n, const T *a, T *r) {
    for (std::int32_t i = 0; i < n; ++i)
        r[i] = function(a[i]);
}

template <class T> void scalar_sin_cos(std::int32_t n, const T *a, T *r) {
    for (std::int32_t i = 0; i < n; ++i) {
        r[i] = std::sin(a[i]);
        second_results<T>[i] = std::cos(a[i]);
    }
}

// Powers with one exponent.
template <class T, void (*entry)(std::int32_t, const T *, T, T *)>
void to_1_7(std::int32_t n, const T *a, T *r) {
    entry(n, a, T(1.7), r);
}

// Angles of points on one vertical line.
template <class T> const std::vector<T> threes(1000000, T(3));
template <class T, void (*entry)(std::int32_t, const T *, const T *, T *)>
void beside_3(std::int32_t n, const T *a, T *r) {
    entry(n, a, threes<T>.data(), r);
}

__m128d load(const double *p) { return _mm_loadu_pd(p); }
__m128 load(const float *p) { return _mm_loadu_ps(p); }
void store(double *p, __m128d v) { _mm_storeu_pd(p, v); }
void store(float *p, __m128 v) { _mm_storeu_ps(p, v); }

// A loop over a function of a register, which gives one or two; the last elements are padded.
template <auto function, class T> void in_lanes(std::int32_t n, const T *a, T *r) {
    constexpr std::int32_t lanes = 16 / sizeof(T);
    const auto pass = [](const T *x, T *u, T *v) {
        const auto result = function(load(x));
        if constexpr (requires { result.x; }) {
            store(u, result.x);
            store(v, result.y);
        } else {
            store(u, result);
        }
    };
    std::int32_t i = 0;
    for (; i + lanes <= n; i += lanes)
        pass(a + i, r + i, second_results<T> + i);
    if (i < n) {
        T x[lanes]{}, u[lanes], v[lanes];
        std::copy(a + i, a + n, x);
        pass(x, u, v);
        std::copy_n(u, n - i, r + i);
    }
}

#ifdef QOR_BENCH_MVEC
// Names by the x86-64 vector function ABI.
extern "C" __m128d mvec_exp(__m128d) asm("_ZGVbN2v_exp");
extern "C" __m128d mvec_ln(__m128d) asm("_ZGVbN2v_log");
extern "C" __m128d mvec_tan(__m128d) asm("_ZGVbN2v_tan");
extern "C" __m128 mvec_lnf(__m128) asm("_ZGVbN4v_logf");
extern "C" __m128 mvec_sinf(__m128) asm("_ZGVbN4v_sinf");
extern "C" __m128 mvec_tanf(__m128) asm("_ZGVbN4v_tanf");
#endif

// The least a correct ceiling costs at this processor level.
__m128d bare_ceil(__m128d x) {
    const __m128d sign_mask = _mm_set1_pd(-0.0), big = _mm_set1_pd(0x1p52), one = _mm_set1_pd(1.0);
    const __m128d sign = _mm_and_pd(x, sign_mask);
    const __m128d shifter = _mm_or_pd(big, sign);
    const __m128d nearest = _mm_sub_pd(_mm_add_pd(x, shifter), shifter);
    const __m128d up = _mm_add_pd(nearest, _mm_and_pd(_mm_cmplt_pd(nearest, x), one));
    const __m128d small = _mm_cmplt_pd(_mm_andnot_pd(sign_mask, x), big);
    return _mm_or_pd(_mm_or_pd(_mm_and_pd(small, up), _mm_andnot_pd(small, x)), sign);
}

constexpr auto scalar_exp = [](auto x) { return std::exp(x); };
constexpr auto scalar_pow = [](auto x) { return std::pow(x, decltype(x)(1.7)); };
#ifdef QOR_BENCH_SLEEF
constexpr auto sleef_pow = [](__m128d x) { return Sleef_powd2_u10sse2(x, _mm_set1_pd(1.7)); };
constexpr auto sleef_powf = [](__m128 x) { return Sleef_powf4_u10sse2(x, _mm_set1_ps(1.7f)); };
#endif
constexpr auto scalar_ln = [](auto x) { return std::log(x); };
constexpr auto scalar_sin = [](auto x) { return std::sin(x); };
constexpr auto scalar_tan = [](auto x) { return std::tan(x); };

constexpr auto scalar_sin_of_half_turns = [](auto x) { return std::sin(decltype(x)(M_PI) * x); };
constexpr auto scalar_tan_of_half_turns = [](auto x) { return std::tan(decltype(x)(M_PI) * x); };

constexpr auto scalar_asin = [](auto x) { return std::asin(x); };
constexpr auto scalar_acos = [](auto x) { return std::acos(x); };
constexpr auto scalar_atan = [](auto x) { return std::atan(x); };
constexpr auto scalar_atan2 = [](auto x) { return std::atan2(x, decltype(x)(3)); };
#ifdef QOR_BENCH_SLEEF
constexpr auto sleef_atan2 = [](__m128d x) { return Sleef_atan2d2_u10sse2(x, _mm_set1_pd(3)); };
constexpr auto sleef_atan2f = [](__m128 x) { return Sleef_atan2f4_u10sse2(x, _mm_set1_ps(3)); };
#endif

constexpr auto scalar_log2 = [](auto x) { return std::log2(x); };
constexpr auto scalar_log10 = [](auto x) { return std::log10(x); };
constexpr auto scalar_log1p = [](auto x) { return std::log1p(x); };
constexpr auto scalar_asinh = [](auto x) { return std::asinh(x); };
constexpr auto scalar_acosh = [](auto x) { return std::acosh(x); };
constexpr auto scalar_atanh = [](auto x) { return std::atanh(x); };

constexpr auto scalar_cbrt = [](auto x) { return std::cbrt(x); };
constexpr auto scalar_hypot = [](auto x) { return std::hypot(x, decltype(x)(3)); };
constexpr auto scalar_inv_sqrt = [](auto x) { return 1 / std::sqrt(x); };
#ifdef QOR_BENCH_SLEEF
constexpr auto sleef_hypot = [](__m128d x) { return Sleef_hypotd2_u05sse2(x, _mm_set1_pd(3)); };
constexpr auto sleef_hypotf = [](__m128 x) { return Sleef_hypotf4_u05sse2(x, _mm_set1_ps(3)); };
#endif

constexpr auto scalar_exp2 = [](auto x) { return std::exp2(x); };
constexpr auto scalar_expm1 = [](auto x) { return std::expm1(x); };
constexpr auto scalar_sinh = [](auto x) { return std::sinh(x); };
constexpr auto scalar_cosh = [](auto x) { return std::cosh(x); };
constexpr auto scalar_tanh = [](auto x) { return std::tanh(x); };

constexpr auto scalar_erf = [](auto x) { return std::erf(x); };
constexpr auto scalar_erfc = [](auto x) { return std::erfc(x); };
constexpr auto scalar_lgamma = [](auto x) { return std::lgamma(x); };
constexpr auto scalar_tgamma = [](auto x) { return std::tgamma(x); };

template <class T> struct Contestant {
    const char *function, *name;
    Loop<T> loop;
    double from, to; // arguments, uniform
};

constexpr Contestant<double> double_contestants[] = {
    {"dExp", "ours", _fyndExp, -50, 50},
    {"dExp", "glibc_scalar", in_turn<scalar_exp>, -50, 50},
    {"dLn", "ours", _fyndLn, 0, 100},
    {"dLn", "glibc_scalar", in_turn<scalar_ln>, 0, 100},
    {"dPowx", "ours", to_1_7<double, _fyndPowx>, 0, 100},
    {"dPowx", "glibc_scalar", in_turn<scalar_pow>, 0, 100},
    {"dPowx_50", "ours", to_1_7<double, _fyndPowx_50>, 0, 100},
    {"dPowx_26", "ours", to_1_7<double, _fyndPowx_26>, 0, 100},
    {"dErfInv", "ours", _fyndErfInv, -1, 1},
    {"dErfInv_26", "ours", _fyndErfInv_26, -1, 1},
    {"dErf", "ours", _fyndErf, -5, 5},
    {"dErf", "glibc_scalar", in_turn<scalar_erf>, -5, 5},
    {"dErfc", "ours", _fyndErfc, -2, 8},
    {"dErfc", "glibc_scalar", in_turn<scalar_erfc>, -2, 8},
    {"dErfcx", "ours", _fyndErfcx, -3, 20},
    {"dErfcInv", "ours", _fyndErfcInv, 0, 2},
    {"dCdfNorm", "ours", _fyndCdfNorm, -6, 6},
    {"dCdfNorm_50", "ours", _fyndCdfNorm_50, -6, 6},
    {"dCdfNorm_26", "ours", _fyndCdfNorm_26, -6, 6},
    {"dCdfNormInv", "ours", _fyndCdfNormInv, 0, 1},
    {"dLGamma", "ours", _fyndLGamma, 0, 20},
    {"dLGamma", "glibc_scalar", in_turn<scalar_lgamma>, 0, 20},
    {"dLGamma_large", "ours", _fyndLGamma, 1e5, 1e6},
    {"dLGamma_negative", "ours", _fyndLGamma, -20, 0},
    {"dTGamma", "ours", _fyndTGamma, 0, 20},
    {"dTGamma", "glibc_scalar", in_turn<scalar_tgamma>, 0, 20},
    {"dExpInt1", "ours", _fyndExpInt1, 0, 20},
    {"dExpInt1_26", "ours", _fyndExpInt1_26, 0, 20},
    {"dSqrt", "ours", _fyndSqrt, 0, 100},
    {"dSin", "ours", _fyndSin, -10, 10},
    {"dSin", "glibc_scalar", in_turn<scalar_sin>, -10, 10},
    {"dSin_to_1e5", "ours", _fyndSin, -1e5, 1e5},
    {"dSin_over_1e20", "ours", _fyndSin, 1e20, 1e30},
    {"dSinCos", "ours", with_second<double, _fyndSinCos>, -10, 10},
    {"dSinCos", "glibc_scalar", scalar_sin_cos, -10, 10},
    {"dTan", "ours", _fyndTan, -10, 10},
    {"dTan", "glibc_scalar", in_turn<scalar_tan>, -10, 10},
    {"dSinpi", "ours", _fyndSinpi, -10, 10},
    {"dSinpi", "glibc_scalar_product", in_turn<scalar_sin_of_half_turns>, -10, 10},
    {"dSinpi_50", "ours", _fyndSinpi_50, -10, 10},
    {"dSinpi_26", "ours", _fyndSinpi_26, -10, 10},
    {"dCospi", "ours", _fyndCospi, -10, 10},
    {"dTanpi", "ours", _fyndTanpi, -10, 10},
    {"dTanpi", "glibc_scalar_product", in_turn<scalar_tan_of_half_turns>, -10, 10},
    {"dTanpi_50", "ours", _fyndTanpi_50, -10, 10},
    {"dTanpi_26", "ours", _fyndTanpi_26, -10, 10},
    {"dSinCospi", "ours", with_second<double, _fyndSinCospi>, -10, 10},
    {"dSind", "ours", _fyndSind, -1000, 1000},
    {"dCosd", "ours", _fyndCosd, -1000, 1000},
    {"dTand", "ours", _fyndTand, -1000, 1000},
    {"dAsin", "ours", _fyndAsin, -1, 1},
    {"dAsin", "glibc_scalar", in_turn<scalar_asin>, -1, 1},
    {"dAcos", "ours", _fyndAcos, -1, 1},
    {"dAcos", "glibc_scalar", in_turn<scalar_acos>, -1, 1},
    {"dAtan", "ours", _fyndAtan, -10, 10},
    {"dAtan", "glibc_scalar", in_turn<scalar_atan>, -10, 10},
    {"dAtan2", "ours", beside_3<double, _fyndAtan2>, -10, 10},
    {"dAtan2", "glibc_scalar", in_turn<scalar_atan2>, -10, 10},
    {"dExp2", "ours", _fyndExp2, -50, 50},
    {"dExp2", "glibc_scalar", in_turn<scalar_exp2>, -50, 50},
    {"dExp10", "ours", _fyndExp10, -50, 50},
    {"dExpm1", "ours", _fyndExpm1, -50, 50},
    {"dExpm1", "glibc_scalar", in_turn<scalar_expm1>, -50, 50},
    {"dSinh", "ours", _fyndSinh, -50, 50},
    {"dSinh", "glibc_scalar", in_turn<scalar_sinh>, -50, 50},
    {"dCosh", "ours", _fyndCosh, -50, 50},
    {"dCosh", "glibc_scalar", in_turn<scalar_cosh>, -50, 50},
    {"dTanh", "ours", _fyndTanh, -5, 5},
    {"dTanh", "glibc_scalar", in_turn<scalar_tanh>, -5, 5},
    {"dCbrt", "ours", _fyndCbrt, 0, 100},
    {"dCbrt", "glibc_scalar", in_turn<scalar_cbrt>, 0, 100},
    {"dInvCbrt", "ours", _fyndInvCbrt, 0, 100},
    {"dHypot", "ours", beside_3<double, _fyndHypot>, -10, 10},
    {"dHypot", "glibc_scalar", in_turn<scalar_hypot>, -10, 10},
    {"dInvSqrt", "ours", _fyndInvSqrt, 0, 100},
    {"dInvSqrt", "one_over_sqrt", in_turn<scalar_inv_sqrt>, 0, 100},
    {"dPow2o3", "ours", _fyndPow2o3, 0, 100},
    {"dPow3o2", "ours", _fyndPow3o2, 0, 100},
    {"dLog2", "ours", _fyndLog2, 0, 100},
    {"dLog2", "glibc_scalar", in_turn<scalar_log2>, 0, 100},
    {"dLog10", "ours", _fyndLog10, 0, 100},
    {"dLog10", "glibc_scalar", in_turn<scalar_log10>, 0, 100},
    {"dLog1p", "ours", _fyndLog1p, -1, 10},
    {"dLog1p", "glibc_scalar", in_turn<scalar_log1p>, -1, 10},
    {"dAsinh", "ours", _fyndAsinh, -10, 10},
    {"dAsinh", "glibc_scalar", in_turn<scalar_asinh>, -10, 10},
    {"dAcosh", "ours", _fyndAcosh, 1, 10},
    {"dAcosh", "glibc_scalar", in_turn<scalar_acosh>, 1, 10},
    {"dAtanh", "ours", _fyndAtanh, -1, 1},
    {"dAtanh", "glibc_scalar", in_turn<scalar_atanh>, -1, 1},
#ifdef QOR_BENCH_MVEC
    {"dExp", "glibc_vector", in_lanes<mvec_exp>, -50, 50},
    {"dLn", "glibc_vector", in_lanes<mvec_ln>, 0, 100},
    {"dTan", "glibc_vector", in_lanes<mvec_tan>, -10, 10},
#endif
#ifdef QOR_BENCH_SLEEF
    {"dExp", "sleef", in_lanes<Sleef_expd2_u10sse2>, -50, 50},
    {"dPowx", "sleef", in_lanes<sleef_pow>, 0, 100},
    {"dErf", "sleef", in_lanes<Sleef_erfd2_u10sse2>, -5, 5},
    {"dLGamma", "sleef", in_lanes<Sleef_lgammad2_u10sse2>, 0, 20},
    {"dTGamma", "sleef", in_lanes<Sleef_tgammad2_u10sse2>, 0, 20},
    {"dErfc", "sleef", in_lanes<Sleef_erfcd2_u15sse2>, -2, 8},
    {"dLn", "sleef", in_lanes<Sleef_logd2_u10sse2>, 0, 100},
    {"dSin", "sleef", in_lanes<Sleef_sind2_u10sse2>, -10, 10},
    {"dSin_to_1e5", "sleef", in_lanes<Sleef_sind2_u10sse2>, -1e5, 1e5},
    {"dSin_over_1e20", "sleef", in_lanes<Sleef_sind2_u10sse2>, 1e20, 1e30},
    {"dSinCos", "sleef", in_lanes<Sleef_sincosd2_u10sse2>, -10, 10},
    {"dTan", "sleef", in_lanes<Sleef_tand2_u10sse2>, -10, 10},
    {"dSinCospi", "sleef", in_lanes<Sleef_sincospid2_u05sse2>, -10, 10},
    {"dAsin", "sleef", in_lanes<Sleef_asind2_u10sse2>, -1, 1},
    {"dAcos", "sleef", in_lanes<Sleef_acosd2_u10sse2>, -1, 1},
    {"dAtan", "sleef", in_lanes<Sleef_atand2_u10sse2>, -10, 10},
    {"dAtan2", "sleef", in_lanes<sleef_atan2>, -10, 10},
    {"dExp2", "sleef", in_lanes<Sleef_exp2d2_u10sse2>, -50, 50},
    {"dExp10", "sleef", in_lanes<Sleef_exp10d2_u10sse2>, -50, 50},
    {"dExpm1", "sleef", in_lanes<Sleef_expm1d2_u10sse2>, -50, 50},
    {"dSinh", "sleef", in_lanes<Sleef_sinhd2_u10sse2>, -50, 50},
    {"dCosh", "sleef", in_lanes<Sleef_coshd2_u10sse2>, -50, 50},
    {"dTanh", "sleef", in_lanes<Sleef_tanhd2_u10sse2>, -5, 5},
    {"dCbrt", "sleef", in_lanes<Sleef_cbrtd2_u10sse2>, 0, 100},
    {"dHypot", "sleef", in_lanes<sleef_hypot>, -10, 10},
    {"dLog2", "sleef", in_lanes<Sleef_log2d2_u10sse2>, 0, 100},
    {"dLog10", "sleef", in_lanes<Sleef_log10d2_u10sse2>, 0, 100},
    {"dLog1p", "sleef", in_lanes<Sleef_log1pd2_u10sse2>, -1, 10},
    {"dAsinh", "sleef", in_lanes<Sleef_asinhd2_u10sse2>, -10, 10},
    {"dAcosh", "sleef", in_lanes<Sleef_acoshd2_u10sse2>, 1, 10},
    {"dAtanh", "sleef", in_lanes<Sleef_atanhd2_u10sse2>, -1, 1},
#endif
    {"dCeil", "ours", _fyndCeil, -1000, 1000},
    {"dCeil", "bare_loop", in_lanes<bare_ceil>, -1000, 1000},
};

constexpr Contestant<float> single_contestants[] = {
    {"sExp", "ours", _fynsExp, -50, 50},
    {"sExp", "glibc_scalar", in_turn<scalar_exp>, -50, 50},
    {"sPowx", "ours", to_1_7<float, _fynsPowx>, 0, 100},
    {"sPowx", "glibc_scalar", in_turn<scalar_pow>, 0, 100},
    {"sPowx_11", "ours", to_1_7<float, _fynsPowx_11>, 0, 100},
    {"sLn", "ours", _fynsLn, 0, 100},
    {"sLn", "glibc_scalar", in_turn<scalar_ln>, 0, 100},
    {"sErf", "ours", _fynsErf, -5, 5},
    {"sErf", "glibc_scalar", in_turn<scalar_erf>, -5, 5},
    {"sErfc", "ours", _fynsErfc, -2, 8},
    {"sErfc", "glibc_scalar", in_turn<scalar_erfc>, -2, 8},
    {"sErfcx", "ours", _fynsErfcx, -3, 20},
    {"sErfcInv", "ours", _fynsErfcInv, 0, 2},
    {"sCdfNorm", "ours", _fynsCdfNorm, -6, 6},
    {"sCdfNorm_21", "ours", _fynsCdfNorm_21, -6, 6},
    {"sCdfNorm_11", "ours", _fynsCdfNorm_11, -6, 6},
    {"sCdfNormInv", "ours", _fynsCdfNormInv, 0, 1},
    {"sLGamma", "ours", _fynsLGamma, 0, 20},
    {"sLGamma", "glibc_scalar", in_turn<scalar_lgamma>, 0, 20},
    {"sLGamma_large", "ours", _fynsLGamma, 1e5, 1e6},
    {"sLGamma_negative", "ours", _fynsLGamma, -20, 0},
    {"sTGamma", "ours", _fynsTGamma, 0, 20},
    {"sTGamma", "glibc_scalar", in_turn<scalar_tgamma>, 0, 20},
    {"sExpInt1", "ours", _fynsExpInt1, 0, 20},
    {"sExpInt1_11", "ours", _fynsExpInt1_11, 0, 20},
    {"sSqrt", "ours", _fynsSqrt, 0, 100},
    {"sSin", "ours", _fynsSin, -10, 10},
    {"sSin", "glibc_scalar", in_turn<scalar_sin>, -10, 10},
    {"sSinCos", "ours", with_second<float, _fynsSinCos>, -10, 10},
    {"sTan", "ours", _fynsTan, -10, 10},
    {"sTan", "glibc_scalar", in_turn<scalar_tan>, -10, 10},
    {"sSinpi", "ours", _fynsSinpi, -10, 10},
    {"sSinpi", "glibc_scalar_product", in_turn<scalar_sin_of_half_turns>, -10, 10},
    {"sSinpi_21", "ours", _fynsSinpi_21, -10, 10},
    {"sSinpi_11", "ours", _fynsSinpi_11, -10, 10},
    {"sCospi", "ours", _fynsCospi, -10, 10},
    {"sTanpi", "ours", _fynsTanpi, -10, 10},
    {"sTanpi", "glibc_scalar_product", in_turn<scalar_tan_of_half_turns>, -10, 10},
    {"sTanpi_21", "ours", _fynsTanpi_21, -10, 10},
    {"sTanpi_11", "ours", _fynsTanpi_11, -10, 10},
    {"sSinCospi", "ours", with_second<float, _fynsSinCospi>, -10, 10},
    {"sSind", "ours", _fynsSind, -1000, 1000},
    {"sCosd", "ours", _fynsCosd, -1000, 1000},
    {"sTand", "ours", _fynsTand, -1000, 1000},
    {"sAsin", "ours", _fynsAsin, -1, 1},
    {"sAsin", "glibc_scalar", in_turn<scalar_asin>, -1, 1},
    {"sAcos", "ours", _fynsAcos, -1, 1},
    {"sAcos", "glibc_scalar", in_turn<scalar_acos>, -1, 1},
    {"sAtan", "ours", _fynsAtan, -10, 10},
    {"sAtan", "glibc_scalar", in_turn<scalar_atan>, -10, 10},
    {"sAtan2", "ours", beside_3<float, _fynsAtan2>, -10, 10},
    {"sAtan2", "glibc_scalar", in_turn<scalar_atan2>, -10, 10},
    {"sExpm1", "ours", _fynsExpm1, -50, 50},
    {"sExpm1", "glibc_scalar", in_turn<scalar_expm1>, -50, 50},
    {"sSinh", "ours", _fynsSinh, -50, 50},
    {"sSinh", "glibc_scalar", in_turn<scalar_sinh>, -50, 50},
    {"sCosh", "ours", _fynsCosh, -50, 50},
    {"sCosh", "glibc_scalar", in_turn<scalar_cosh>, -50, 50},
    {"sTanh", "ours", _fynsTanh, -5, 5},
    {"sTanh", "glibc_scalar", in_turn<scalar_tanh>, -5, 5},
    {"sCbrt", "ours", _fynsCbrt, 0, 100},
    {"sCbrt", "glibc_scalar", in_turn<scalar_cbrt>, 0, 100},
    {"sInvCbrt", "ours", _fynsInvCbrt, 0, 100},
    {"sHypot", "ours", beside_3<float, _fynsHypot>, -10, 10},
    {"sHypot", "glibc_scalar", in_turn<scalar_hypot>, -10, 10},
    {"sInvSqrt", "ours", _fynsInvSqrt, 0, 100},
    {"sInvSqrt", "one_over_sqrt", in_turn<scalar_inv_sqrt>, 0, 100},
    {"sPow2o3", "ours", _fynsPow2o3, 0, 100},
    {"sPow3o2", "ours", _fynsPow3o2, 0, 100},
    {"sLog2", "ours", _fynsLog2, 0, 100},
    {"sLog2", "glibc_scalar", in_turn<scalar_log2>, 0, 100},
    {"sLog10", "ours", _fynsLog10, 0, 100},
    {"sLog10", "glibc_scalar", in_turn<scalar_log10>, 0, 100},
    {"sLog1p", "ours", _fynsLog1p, -1, 10},
    {"sLog1p", "glibc_scalar", in_turn<scalar_log1p>, -1, 10},
    {"sAsinh", "ours", _fynsAsinh, -10, 10},
    {"sAsinh", "glibc_scalar", in_turn<scalar_asinh>, -10, 10},
    {"sAcosh", "ours", _fynsAcosh, 1, 10},
    {"sAcosh", "glibc_scalar", in_turn<scalar_acosh>, 1, 10},
    {"sAtanh", "ours", _fynsAtanh, -1, 1},
    {"sAtanh", "glibc_scalar", in_turn<scalar_atanh>, -1, 1},
#ifdef QOR_BENCH_MVEC
    {"sLn", "glibc_vector", in_lanes<mvec_lnf>, 0, 100},
    {"sSin", "glibc_vector", in_lanes<mvec_sinf>, -10, 10},
    {"sTan", "glibc_vector", in_lanes<mvec_tanf>, -10, 10},
#endif
#ifdef QOR_BENCH_SLEEF
    {"sExp", "sleef", in_lanes<Sleef_expf4_u10sse2>, -50, 50},
    {"sPowx", "sleef", in_lanes<sleef_powf>, 0, 100},
    {"sErf", "sleef", in_lanes<Sleef_erff4_u10sse2>, -5, 5},
    {"sLGamma", "sleef", in_lanes<Sleef_lgammaf4_u10sse2>, 0, 20},
    {"sTGamma", "sleef", in_lanes<Sleef_tgammaf4_u10sse2>, 0, 20},
    {"sErfc", "sleef", in_lanes<Sleef_erfcf4_u15sse2>, -2, 8},
    {"sLn", "sleef", in_lanes<Sleef_logf4_u10sse2>, 0, 100},
    {"sSin", "sleef", in_lanes<Sleef_sinf4_u10sse2>, -10, 10},
    {"sSinCos", "sleef", in_lanes<Sleef_sincosf4_u10sse2>, -10, 10},
    {"sTan", "sleef", in_lanes<Sleef_tanf4_u10sse2>, -10, 10},
    {"sSinCospi", "sleef", in_lanes<Sleef_sincospif4_u05sse2>, -10, 10},
    {"sAsin", "sleef", in_lanes<Sleef_asinf4_u10sse2>, -1, 1},
    {"sAcos", "sleef", in_lanes<Sleef_acosf4_u10sse2>, -1, 1},
    {"sAtan", "sleef", in_lanes<Sleef_atanf4_u10sse2>, -10, 10},
    {"sAtan2", "sleef", in_lanes<sleef_atan2f>, -10, 10},
    {"sExpm1", "sleef", in_lanes<Sleef_expm1f4_u10sse2>, -50, 50},
    {"sSinh", "sleef", in_lanes<Sleef_sinhf4_u10sse2>, -50, 50},
    {"sCosh", "sleef", in_lanes<Sleef_coshf4_u10sse2>, -50, 50},
    {"sTanh", "sleef", in_lanes<Sleef_tanhf4_u10sse2>, -5, 5},
    {"sCbrt", "sleef", in_lanes<Sleef_cbrtf4_u10sse2>, 0, 100},
    {"sHypot", "sleef", in_lanes<sleef_hypotf>, -10, 10},
    {"sLog2", "sleef", in_lanes<Sleef_log2f4_u10sse2>, 0, 100},
    {"sLog10", "sleef", in_lanes<Sleef_log10f4_u10sse2>, 0, 100},
    {"sLog1p", "sleef", in_lanes<Sleef_log1pf4_u10sse2>, -1, 10},
    {"sAsinh", "sleef", in_lanes<Sleef_asinhf4_u10sse2>, -10, 10},
    {"sAcosh", "sleef", in_lanes<Sleef_acoshf4_u10sse2>, 1, 10},
    {"sAtanh", "sleef", in_lanes<Sleef_atanhf4_u10sse2>, -1, 1},
#endif
};

constexpr std::int32_t lengths[] = {1, 100, 1000, 1000000};

template <class T> void run(benchmark::State &state, const Contestant<T> &contestant, std::int32_t n) {
    std::vector<T> a(static_cast<std::size_t>(n)), r(a.size());
    std::mt19937_64 random(2024);
    std::uniform_real_distribution<double> uniform(contestant.from, contestant.to);
    std::generate(a.begin(), a.end(), [&] { return static_cast<T>(uniform(random)); });
    for (auto _ : state) {
        contestant.loop(n, a.data(), r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

double minimum(const std::vector<double> &times) { return *std::min_element(times.begin(), times.end()); }

template <class Contestants> void compete(const Contestants &contestants, std::int32_t n) {
    for (const auto &contestant : contestants) {
        const auto name = std::string(contestant.function) + "/" + contestant.name + "/" + std::to_string(n);
        benchmark::RegisterBenchmark(name.c_str(),
                                     [&contestant, n](benchmark::State &state) { run(state, contestant, n); })
            ->ComputeStatistics("min", minimum)
            ->Unit(benchmark::kNanosecond);
    }
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    for (const std::int32_t n : lengths) {
        compete(double_contestants, n);
        compete(single_contestants, n);
    }
    benchmark::RunSpecifiedBenchmarks();
}
