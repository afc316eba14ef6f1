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

using Loop = void (*)(std::int32_t n, const double *a, double *r);

void scalar_exp(std::int32_t n, const double *a, double *r) {
    for (std::int32_t i = 0; i < n; ++i)
        r[i] = std::exp(a[i]);
}

void scalar_ln(std::int32_t n, const double *a, double *r) {
    for (std::int32_t i = 0; i < n; ++i)
        r[i] = std::log(a[i]);
}

void scalar_sin(std::int32_t n, const double *a, double *r) {
    for (std::int32_t i = 0; i < n; ++i)
        r[i] = std::sin(a[i]);
}

// The second results of functions with two.
double second_results[1000002]; // pairs store a whole last pair

void ours_sin_cos(std::int32_t n, const double *a, double *r) { _fyndSinCos(n, a, r, second_results); }

void scalar_sin_cos(std::int32_t n, const double *a, double *r) {
    for (std::int32_t i = 0; i < n; ++i) {
        r[i] = std::sin(a[i]);
        second_results[i] = std::cos(a[i]);
    }
}

// A loop over a function of two lanes; a last odd element runs with a copy of itself.
template <class TwoLanes> void in_pairs(std::int32_t n, const double *a, double *r, TwoLanes two_lanes) {
    std::int32_t i = 0;
    for (; i + 2 <= n; i += 2)
        _mm_storeu_pd(r + i, two_lanes(_mm_loadu_pd(a + i)));
    if (i < n)
        _mm_store_sd(r + i, two_lanes(_mm_load1_pd(a + i)));
}

#ifdef QOR_BENCH_MVEC
extern "C" __m128d mvec_exp(__m128d) asm("_ZGVbN2v_exp"); // the name by the x86-64 vector function ABI
void glibc_vector_exp(std::int32_t n, const double *a, double *r) {
    in_pairs(n, a, r, [](__m128d x) { return mvec_exp(x); });
}
extern "C" __m128d mvec_ln(__m128d) asm("_ZGVbN2v_log");
void glibc_vector_ln(std::int32_t n, const double *a, double *r) {
    in_pairs(n, a, r, [](__m128d x) { return mvec_ln(x); });
}
#endif

#ifdef QOR_BENCH_SLEEF
void sleef_ln(std::int32_t n, const double *a, double *r) {
    in_pairs(n, a, r, [](__m128d x) { return Sleef_logd2_u10sse2(x); });
}
void sleef_exp(std::int32_t n, const double *a, double *r) {
    in_pairs(n, a, r, [](__m128d x) { return Sleef_expd2_u10sse2(x); });
}
#endif

#ifdef QOR_BENCH_SLEEF
void sleef_sin(std::int32_t n, const double *a, double *r) {
    in_pairs(n, a, r, [](__m128d x) { return Sleef_sind2_u10sse2(x); });
}
void sleef_sin_cos(std::int32_t n, const double *a, double *r) {
    double *second = second_results;
    in_pairs(n, a, r, [&second](__m128d x) {
        const auto both = Sleef_sincosd2_u10sse2(x);
        _mm_storeu_pd(second, both.y);
        second += 2;
        return both.x;
    });
}
#endif

// The least a correct ceiling costs at this processor level.
void bare_ceil(std::int32_t n, const double *a, double *r) {
    const __m128d sign_mask = _mm_set1_pd(-0.0), big = _mm_set1_pd(0x1p52), one = _mm_set1_pd(1.0);
    in_pairs(n, a, r, [=](__m128d x) {
        const __m128d sign = _mm_and_pd(x, sign_mask);
        const __m128d shifter = _mm_or_pd(big, sign);
        const __m128d nearest = _mm_sub_pd(_mm_add_pd(x, shifter), shifter);
        const __m128d up = _mm_add_pd(nearest, _mm_and_pd(_mm_cmplt_pd(nearest, x), one));
        const __m128d small = _mm_cmplt_pd(_mm_andnot_pd(sign_mask, x), big);
        return _mm_or_pd(_mm_or_pd(_mm_and_pd(small, up), _mm_andnot_pd(small, x)), sign);
    });
}

struct Contestant {
    const char *function, *name;
    Loop loop;
    double from, to; // arguments, uniform
};

constexpr Contestant contestants[] = {
    {"dExp", "ours", _fyndExp, -50, 50},
    {"dExp", "glibc_scalar", scalar_exp, -50, 50},
#ifdef QOR_BENCH_MVEC
    {"dExp", "glibc_vector", glibc_vector_exp, -50, 50},
#endif
#ifdef QOR_BENCH_SLEEF
    {"dExp", "sleef", sleef_exp, -50, 50},
#endif
    {"dLn", "ours", _fyndLn, 0, 100},
    {"dLn", "glibc_scalar", scalar_ln, 0, 100},
#ifdef QOR_BENCH_MVEC
    {"dLn", "glibc_vector", glibc_vector_ln, 0, 100},
#endif
#ifdef QOR_BENCH_SLEEF
    {"dLn", "sleef", sleef_ln, 0, 100},
#endif
    {"dErfInv", "ours", _fyndErfInv, -1, 1},
    {"dErfInv_26", "ours", _fyndErfInv_26, -1, 1},
    {"dSqrt", "ours", _fyndSqrt, 0, 100},
    {"dSin", "ours", _fyndSin, -10, 10},
    {"dSin", "glibc_scalar", scalar_sin, -10, 10},
    {"dSin_to_1e5", "ours", _fyndSin, -1e5, 1e5},
    {"dSin_over_1e20", "ours", _fyndSin, 1e20, 1e30},
    {"dSinCos", "ours", ours_sin_cos, -10, 10},
    {"dSinCos", "glibc_scalar", scalar_sin_cos, -10, 10},
#ifdef QOR_BENCH_SLEEF
    {"dSin", "sleef", sleef_sin, -10, 10},
    {"dSin_to_1e5", "sleef", sleef_sin, -1e5, 1e5},
    {"dSin_over_1e20", "sleef", sleef_sin, 1e20, 1e30},
    {"dSinCos", "sleef", sleef_sin_cos, -10, 10},
#endif
    {"dCeil", "ours", _fyndCeil, -1000, 1000},
    {"dCeil", "bare_loop", bare_ceil, -1000, 1000},
};

constexpr std::int32_t lengths[] = {1, 100, 1000, 1000000};

void run(benchmark::State &state, const Contestant &contestant, std::int32_t n) {
    std::vector<double> a(static_cast<std::size_t>(n)), r(a.size());
    std::mt19937_64 random(2024);
    std::uniform_real_distribution<double> uniform(contestant.from, contestant.to);
    std::generate(a.begin(), a.end(), [&] { return uniform(random); });
    for (auto _ : state) {
        contestant.loop(n, a.data(), r.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

double minimum(const std::vector<double> &times) { return *std::min_element(times.begin(), times.end()); }

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    for (const std::int32_t n : lengths)
        for (const Contestant &contestant : contestants) {
            const auto name = std::string(contestant.function) + "/" + contestant.name + "/" + std::to_string(n);
            benchmark::RegisterBenchmark(name.c_str(), run, contestant, n)
                ->ComputeStatistics("min", minimum)
                ->Unit(benchmark::kNanosecond);
        }
    benchmark::RunSpecifiedBenchmarks();
}
