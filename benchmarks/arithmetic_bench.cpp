// Speed of the streaming members of vector math beside what the compiler makes of a plain loop, or beside
// the C library. Names and use as in vector_math_bench.cpp.
#include "qor_fyn.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <emmintrin.h>
#include <random>
#include <string>
#include <vector>

namespace {

// Both arguments, an index or mask vector, the result.
struct Vectors {
    std::int32_t n;
    const double *a, *b;
    const std::int32_t *index, *mask;
    double *r;
    const float *fa, *fb; // the same in single precision
    float *fr;
    const FynComplex16 *za, *zb; // halves as many complex numbers, of a and b
    FynComplex16 *zr;
};
using Loop = void (*)(const Vectors &);

template <class F> void each(const Vectors &v, F f) {
    for (std::int32_t i = 0; i < v.n; ++i)
        v.r[i] = f(v.a[i], v.b[i]);
}
template <class F> void each_single(const Vectors &v, F f) {
    for (std::int32_t i = 0; i < v.n; ++i)
        v.fr[i] = f(v.fa[i], v.fb[i]);
}

// What a complex product costs without any care.
void bare_complex_product(const Vectors &v) {
    for (std::int32_t i = 0; i < v.n / 2; ++i) {
        const FynComplex16 x = v.za[i], y = v.zb[i];
        v.zr[i] = {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re};
    }
}

void bare_nearest(const Vectors &v) {
    const __m128d sign_mask = _mm_set1_pd(-0.0), big = _mm_set1_pd(0x1p52);
    for (std::int32_t i = 0; i < v.n / 2 * 2; i += 2) {
        const __m128d x = _mm_loadu_pd(v.a + i), sign = _mm_and_pd(x, sign_mask);
        const __m128d shifter = _mm_or_pd(big, sign);
        const __m128d small = _mm_cmplt_pd(_mm_andnot_pd(sign_mask, x), big);
        const __m128d near = _mm_sub_pd(_mm_add_pd(x, shifter), shifter);
        _mm_storeu_pd(v.r + i, _mm_or_pd(_mm_or_pd(_mm_and_pd(small, near), _mm_andnot_pd(small, x)), sign));
    }
}

void plain_pack_mask(const Vectors &v) {
    double *y = v.r;
    for (std::int32_t i = 0; i < v.n; ++i)
        if (v.mask[i] != 0)
            *y++ = v.a[i];
}
void plain_unpack_mask(const Vectors &v) {
    const double *a = v.a;
    for (std::int32_t i = 0; i < v.n; ++i)
        if (v.mask[i] != 0)
            v.r[i] = *a++;
}
void plain_pack_index(const Vectors &v) {
    for (std::int32_t i = 0; i < v.n; ++i)
        v.r[i] = v.a[v.index[i]];
}
void plain_unpack_index(const Vectors &v) {
    for (std::int32_t i = 0; i < v.n; ++i)
        v.r[v.index[i]] = v.a[i];
}
[[gnu::noipa]] void plain_pack_increment(std::int32_t n, const double *a, std::int32_t inca, double *y) {
    for (std::int32_t i = 0; i < n; ++i)
        y[i] = a[std::ptrdiff_t{inca} * i];
}
[[gnu::noipa]] void plain_unpack_increment(std::int32_t n, const double *a, double *y, std::int32_t incy) {
    for (std::int32_t i = 0; i < n; ++i)
        y[std::ptrdiff_t{incy} * i] = a[i];
}

struct Contestant {
    const char *function, *name;
    Loop loop;
};

constexpr Contestant contestants[] = {
    {"dAdd", "ours", [](const Vectors &v) { _fyndAdd(v.n, v.a, v.b, v.r); }},
    {"dAdd", "loop", [](const Vectors &v) { each(v, [](double x, double y) { return x + y; }); }},
    {"dSub", "ours", [](const Vectors &v) { _fyndSub(v.n, v.a, v.b, v.r); }},
    {"dSub", "loop", [](const Vectors &v) { each(v, [](double x, double y) { return x - y; }); }},
    {"dMul", "ours", [](const Vectors &v) { _fyndMul(v.n, v.a, v.b, v.r); }},
    {"dMul", "loop", [](const Vectors &v) { each(v, [](double x, double y) { return x * y; }); }},
    {"dSqr", "ours", [](const Vectors &v) { _fyndSqr(v.n, v.a, v.r); }},
    {"dSqr", "loop", [](const Vectors &v) { each(v, [](double x, double) { return x * x; }); }},
    {"dAbs", "ours", [](const Vectors &v) { _fyndAbs(v.n, v.a, v.r); }},
    {"dAbs", "loop", [](const Vectors &v) { each(v, [](double x, double) { return std::fabs(x); }); }},
    {"sAdd", "ours", [](const Vectors &v) { _fynsAdd(v.n, v.fa, v.fb, v.fr); }},
    {"sAdd", "loop", [](const Vectors &v) { each_single(v, [](float x, float y) { return x + y; }); }},
    {"dDiv", "ours", [](const Vectors &v) { _fyndDiv(v.n, v.a, v.b, v.r); }},
    {"dDiv", "loop", [](const Vectors &v) { each(v, [](double x, double y) { return x / y; }); }},
    {"sDiv", "ours", [](const Vectors &v) { _fynsDiv(v.n, v.fa, v.fb, v.fr); }},
    {"sDiv", "loop", [](const Vectors &v) { each_single(v, [](float x, float y) { return x / y; }); }},
    {"dInv", "ours", [](const Vectors &v) { _fyndInv(v.n, v.b, v.r); }},
    {"dInv", "loop", [](const Vectors &v) { each(v, [](double, double y) { return 1 / y; }); }},
    {"dSqrt", "ours", [](const Vectors &v) { _fyndSqrt(v.n, v.b, v.r); }},
    {"dSqrt", "loop",
     [](const Vectors &v) {
         for (std::int32_t i = 0; i < v.n / 2 * 2; i += 2)
             _mm_storeu_pd(v.r + i, _mm_sqrt_pd(_mm_loadu_pd(v.b + i)));
     }},
    {"dFmax", "ours", [](const Vectors &v) { _fyndFmax(v.n, v.a, v.b, v.r); }},
    {"dFmax", "loop", [](const Vectors &v) { each(v, [](double x, double y) { return x > y ? x : y; }); }},
    {"dRint", "ours", [](const Vectors &v) { _fyndRint(v.n, v.a, v.r); }},
    {"dRint", "loop", bare_nearest},
    {"dRound", "ours", [](const Vectors &v) { _fyndRound(v.n, v.a, v.r); }},
    {"dRound", "loop", bare_nearest},
    {"dFmod", "ours", [](const Vectors &v) { _fyndFmod(v.n, v.a, v.b, v.r); }},
    {"dFmod", "libm", [](const Vectors &v) { each(v, [](double x, double y) { return std::fmod(x, y); }); }},
    {"sFmod", "ours", [](const Vectors &v) { _fynsFmod(v.n, v.fa, v.fb, v.fr); }},
    {"sFmod", "libm",
     [](const Vectors &v) { each_single(v, [](float x, float y) { return std::fmod(x, y); }); }},
    {"dRemainder", "ours", [](const Vectors &v) { _fyndRemainder(v.n, v.a, v.b, v.r); }},
    {"dRemainder", "libm",
     [](const Vectors &v) { each(v, [](double x, double y) { return std::remainder(x, y); }); }},
    {"dNextAfter", "ours", [](const Vectors &v) { _fyndNextAfter(v.n, v.a, v.b, v.r); }},
    {"dNextAfter", "libm",
     [](const Vectors &v) { each(v, [](double x, double y) { return std::nextafter(x, y); }); }},
    {"zAdd", "ours", [](const Vectors &v) { _fynzAdd(v.n / 2, v.za, v.zb, v.zr); }},
    {"zAdd", "loop", [](const Vectors &v) { each(v, [](double x, double y) { return x + y; }); }},
    {"zMul", "ours", [](const Vectors &v) { _fynzMul(v.n / 2, v.za, v.zb, v.zr); }},
    {"zMul", "loop", bare_complex_product},
    {"zDiv", "ours", [](const Vectors &v) { _fynzDiv(v.n / 2, v.za, v.zb, v.zr); }},
    {"zAbs", "ours", [](const Vectors &v) { _fynzAbs(v.n / 2, v.za, v.r); }},
    {"zAbs", "libm",
     [](const Vectors &v) {
         for (std::int32_t i = 0; i < v.n / 2; ++i)
             v.r[i] = std::hypot(v.za[i].re, v.za[i].im);
     }},
    {"dPackI", "ours", [](const Vectors &v) { _fyndPackI(v.n / 2, v.a, 2, v.r); }},
    {"dPackI", "loop", [](const Vectors &v) { plain_pack_increment(v.n / 2, v.a, 2, v.r); }},
    {"dPackV", "ours", [](const Vectors &v) { _fyndPackV(v.n, v.a, v.index, v.r); }},
    {"dPackV", "loop", plain_pack_index},
    {"dPackM", "ours", [](const Vectors &v) { _fyndPackM(v.n, v.a, v.mask, v.r); }},
    {"dPackM", "loop", plain_pack_mask},
    {"dUnpackI", "ours", [](const Vectors &v) { _fyndUnpackI(v.n / 2, v.a, v.r, 2); }},
    {"dUnpackI", "loop", [](const Vectors &v) { plain_unpack_increment(v.n / 2, v.a, v.r, 2); }},
    {"dUnpackV", "ours", [](const Vectors &v) { _fyndUnpackV(v.n, v.a, v.r, v.index); }},
    {"dUnpackV", "loop", plain_unpack_index},
    {"dUnpackM", "ours", [](const Vectors &v) { _fyndUnpackM(v.n, v.a, v.r, v.mask); }},
    {"dUnpackM", "loop", plain_unpack_mask},
};

constexpr std::int32_t lengths[] = {1, 1000, 1000000};

template <class T> std::vector<T> numbers(std::size_t n, double from, double to) {
    std::mt19937_64 random(2024);
    std::uniform_real_distribution<double> uniform(from, to);
    std::vector<T> v(n);
    std::generate(v.begin(), v.end(), [&] { return static_cast<T>(uniform(random)); });
    return v;
}

template <class T> std::vector<FynComplex16> pairs(const std::vector<T> &v) {
    std::vector<FynComplex16> z(v.size() / 2);
    for (std::size_t i = 0; i < z.size(); ++i)
        z[i] = {v[2 * i], v[2 * i + 1]};
    return z;
}

// a in [-1000, 1000], b in [0.01, 10]; a random permutation; half of the elements selected at random.
void run(benchmark::State &state, Loop loop, std::int32_t n) {
    const auto size = static_cast<std::size_t>(n);
    const auto a = numbers<double>(size, -1000, 1000), b = numbers<double>(size, 0.01, 10);
    const auto fa = numbers<float>(size, -1000, 1000), fb = numbers<float>(size, 0.01, 10);
    const auto za = pairs(a), zb = pairs(b);
    std::vector<std::int32_t> index(size), mask(size);
    std::mt19937 random(7);
    for (std::size_t i = 0; i < size; ++i) {
        index[i] = static_cast<std::int32_t>(i);
        mask[i] = static_cast<std::int32_t>(random() >> 31);
    }
    std::shuffle(index.begin(), index.end(), random);
    std::vector<double> r(size);
    std::vector<float> fr(size);
    std::vector<FynComplex16> zr(size / 2);
    const Vectors vectors{n,         a.data(),  b.data(),  index.data(), mask.data(), r.data(),
                          fa.data(), fb.data(), fr.data(), za.data(),    zb.data(),   zr.data()};
    for (auto _ : state) {
        loop(vectors);
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
            const auto name =
                std::string(contestant.function) + "/" + contestant.name + "/" + std::to_string(n);
            benchmark::RegisterBenchmark(name.c_str(), run, contestant.loop, n)
                ->ComputeStatistics("min", minimum)
                ->Unit(benchmark::kNanosecond);
        }
    benchmark::RunSpecifiedBenchmarks();
}
