// What the measure_*.cpp programs share: arguments spread over an interval, the largest errors kept, MPFR's
// verdict on those; and every single-precision argument in turn.
//
// A Subject names a function f and its kernels:
//   static long double error(double x, double r);     r - f(x), good to about 2^-62 of f(x) (x87 arithmetic)
//   static void exact(mpfr_t y, double x, double r);  y = f(x); r is near it
#pragma once

#include "tools/ulps.h"
#include "vector_math/frame/lanes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <mpfr.h>
#include <random>
#include <thread>
#include <vector>

namespace measuring {

using namespace qor::fyn;

inline constexpr unsigned threads = 2;
inline constexpr std::size_t candidates_kept = 64;

// What a kernel gives, special lanes included.
template <class F, class T> Lanes<T> results(Lanes<T> x) {
    const auto special = mask_of(F::special(x));
    Lanes<T> ordinary = x;
    for (int lane = 0; special >> lane != 0; ++lane)
        if (special >> lane & 1)
            ordinary[lane] = T(F::padding);
    Lanes<T> r = F::value(ordinary);
    for (int lane = 0; special >> lane != 0; ++lane)
        if (special >> lane & 1) {
            T one;
            F::eval(x[lane], one);
            r[lane] = one;
        }
    return r;
}

template <class T> double settled_error(mpfr_srcptr y, T r) { return reference::error_in_ulps(y, r, y); }

template <class Subject, class T> double settled_error(double x, T r) {
    mpfr_t y;
    mpfr_init2(y, 200);
    Subject::exact(y, x, static_cast<double>(r));
    const double error = settled_error(y, r);
    mpfr_clear(y);
    return error;
}

struct Candidate {
    double error, argument, result;
    bool operator<(const Candidate &other) const { return error > other.error; }
};

struct Worst {
    std::vector<Candidate> kept;
    double threshold = -1;
    void offer(double error, double x, double r) {
        if (error <= threshold)
            return;
        kept.push_back({error, x, r});
        if (kept.size() < 2 * candidates_kept)
            return;
        std::nth_element(kept.begin(), kept.begin() + candidates_kept, kept.end());
        kept.resize(candidates_kept);
        threshold = std::max_element(kept.begin(), kept.end())->error;
    }
};

template <class Work> void in_threads(Work work) {
    std::vector<std::thread> workers;
    for (unsigned t = 0; t < threads; ++t)
        workers.emplace_back(work, t);
    for (auto &worker : workers)
        worker.join();
}

// Prints the largest error of F over `count` arguments spread(u), u stratified in [0, 1).
template <class Subject, class F, class Spread> void sampled(const char *name, long count, Spread spread) {
    Worst worst[threads];
    in_threads([&](unsigned t) {
        using V = Lanes<double>;
        std::mt19937_64 random(77 + t);
        const auto argument = [&](long k) {
            const double u = static_cast<double>(random() >> 11) * 0x1p-53;
            return spread((static_cast<double>(k) + u) / static_cast<double>(count));
        };
        for (long k = t; k + threads < count; k += 2 * threads) {
            const V x = {argument(k), argument(k + threads)};
            const V r = results<F, double>(x);
            for (int lane = 0; lane < 2; ++lane) {
                const int place = std::max(std::ilogb(r[lane]) - 52, -1074);
                const long double error = std::ldexp(std::fabs(Subject::error(x[lane], r[lane])), -place);
                worst[t].offer(static_cast<double>(error), x[lane], r[lane]);
            }
        }
    });
    Candidate largest{};
    for (const Worst &part : worst)
        for (const Candidate &c : part.kept) {
            const double error = settled_error<Subject>(c.argument, c.result);
            if (!(error <= largest.error))
                largest = {error, c.argument, c.result};
        }
    std::printf("%-36s %11ld  %.6g  %a\n", name, count, largest.error, largest.argument);
    std::fflush(stdout);
}

// Prints the largest error of F over every single-precision argument, or over every stride-th group of four,
// and how many results are not the nearest float. MPFR decides where Wide, the double-precision kernel, is
// too near a tie.
template <class Subject, class F, class Wide> void every_single(const char *name, std::uint64_t stride = 1) {
    struct Count {
        long wrong = 0, nans = 0, bad_nans = 0;
        double largest = 0;
        float argument = 0;
        std::vector<float> misrounded;
    } counts[threads];
    in_threads([&](unsigned t) {
        Count &count = counts[t];
        constexpr std::uint64_t all = std::uint64_t{1} << 32;
        for (std::uint64_t bits = 4 * t * stride; bits < all; bits += 4 * threads * stride) {
            Lanes<float> x;
            for (unsigned lane = 0; lane < 4; ++lane)
                x[lane] = std::bit_cast<float>(static_cast<std::uint32_t>(bits + lane));
            const Lanes<float> r = results<F, float>(x);
            double wide[4];
            for (int lane = 0; lane < 4; lane += 2)
                store(wide + lane, results<Wide, double>(Lanes<double>{static_cast<double>(x[lane]),
                                                                       static_cast<double>(x[lane + 1])}));
            for (int lane = 0; lane < 4; ++lane) {
                const double y = wide[lane];
                if (y != y || std::isinf(y) || y == 0) {
                    count.nans += y != y;
                    count.bad_nans += y != y ? r[lane] == r[lane] : y != static_cast<double>(r[lane]);
                    continue;
                }
                const int place = std::max(std::ilogb(y) - 23, -149);
                double error = std::fabs(std::ldexp(y - static_cast<double>(r[lane]), -place));
                if (std::fabs(error - 0.5) < 0x1p-24)
                    error = settled_error<Subject>(static_cast<double>(x[lane]), r[lane]);
                if (error > 0.5) {
                    ++count.wrong;
                    if (count.misrounded.size() < 8)
                        count.misrounded.push_back(x[lane]);
                }
                if (error > count.largest) {
                    count.largest = error;
                    count.argument = x[lane];
                }
            }
        }
    });
    Count sum = counts[0];
    for (unsigned t = 1; t < threads; ++t) {
        sum.wrong += counts[t].wrong;
        sum.nans += counts[t].nans;
        sum.bad_nans += counts[t].bad_nans;
        sum.misrounded.insert(sum.misrounded.end(), counts[t].misrounded.begin(), counts[t].misrounded.end());
        if (counts[t].largest > sum.largest) {
            sum.largest = counts[t].largest;
            sum.argument = counts[t].argument;
        }
    }
    std::printf("%-36s %11.0f  %.9g  %a\n", name, 0x1p32 / static_cast<double>(stride), sum.largest,
                static_cast<double>(sum.argument));
    std::printf("    not nearest: %ld; NaN results: %ld; wrong NaN, infinity or zero: %ld\n", sum.wrong,
                sum.nans, sum.bad_nans);
    for (std::size_t i = 0; i < sum.misrounded.size() && sum.wrong <= 16; ++i)
        std::printf("    %a\n", static_cast<double>(sum.misrounded[i]));
    std::fflush(stdout);
}

} // namespace measuring
