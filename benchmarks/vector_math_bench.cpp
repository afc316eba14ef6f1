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
    {"dSqrt", "ours", _fyndSqrt, 0, 100},
    {"dSin", "ours", _fyndSin, -10, 10},
    {"dSin", "glibc_scalar", in_turn<scalar_sin>, -10, 10},
    {"dSin_to_1e5", "ours", _fyndSin, -1e5, 1e5},
    {"dSin_over_1e20", "ours", _fyndSin, 1e20, 1e30},
    {"dSinCos", "ours", with_second<double, _fyndSinCos>, -10, 10},
    {"dSinCos", "glibc_scalar", scalar_sin_cos, -10, 10},
    {"dTan", "ours", _fyndTan, -10, 10},
    {"dTan", "glibc_scalar", in_turn<scalar_tan>, -10, 10},
#ifdef QOR_BENCH_MVEC
    {"dExp", "glibc_vector", in_lanes<mvec_exp>, -50, 50},
    {"dLn", "glibc_vector", in_lanes<mvec_ln>, 0, 100},
    {"dTan", "glibc_vector", in_lanes<mvec_tan>, -10, 10},
#endif
#ifdef QOR_BENCH_SLEEF
    {"dExp", "sleef", in_lanes<Sleef_expd2_u10sse2>, -50, 50},
    {"dPowx", "sleef", in_lanes<sleef_pow>, 0, 100},
    {"dLn", "sleef", in_lanes<Sleef_logd2_u10sse2>, 0, 100},
    {"dSin", "sleef", in_lanes<Sleef_sind2_u10sse2>, -10, 10},
    {"dSin_to_1e5", "sleef", in_lanes<Sleef_sind2_u10sse2>, -1e5, 1e5},
    {"dSin_over_1e20", "sleef", in_lanes<Sleef_sind2_u10sse2>, 1e20, 1e30},
    {"dSinCos", "sleef", in_lanes<Sleef_sincosd2_u10sse2>, -10, 10},
    {"dTan", "sleef", in_lanes<Sleef_tand2_u10sse2>, -10, 10},
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
    {"sSqrt", "ours", _fynsSqrt, 0, 100},
    {"sSin", "ours", _fynsSin, -10, 10},
    {"sSin", "glibc_scalar", in_turn<scalar_sin>, -10, 10},
    {"sSinCos", "ours", with_second<float, _fynsSinCos>, -10, 10},
    {"sTan", "ours", _fynsTan, -10, 10},
    {"sTan", "glibc_scalar", in_turn<scalar_tan>, -10, 10},
#ifdef QOR_BENCH_MVEC
    {"sLn", "glibc_vector", in_lanes<mvec_lnf>, 0, 100},
    {"sSin", "glibc_vector", in_lanes<mvec_sinf>, -10, 10},
    {"sTan", "glibc_vector", in_lanes<mvec_tanf>, -10, 10},
#endif
#ifdef QOR_BENCH_SLEEF
    {"sExp", "sleef", in_lanes<Sleef_expf4_u10sse2>, -50, 50},
    {"sPowx", "sleef", in_lanes<sleef_powf>, 0, 100},
    {"sLn", "sleef", in_lanes<Sleef_logf4_u10sse2>, 0, 100},
    {"sSin", "sleef", in_lanes<Sleef_sinf4_u10sse2>, -10, 10},
    {"sSinCos", "sleef", in_lanes<Sleef_sincosf4_u10sse2>, -10, 10},
    {"sTan", "sleef", in_lanes<Sleef_tanf4_u10sse2>, -10, 10},
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
