// Measures the errors of the power function's kernels, and of the single-precision exponentials, in units of
// the last place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_power.cpp -lmpfr -lgmp -o measure &&
//   ./measure
//   ./measure 4          a quarter of the power function's arguments
//   ./measure 0          the exponentials alone, every argument
#include "tools/measuring.h"
#include "vector_math/kernels/power_lanes.h"

#include <cstdlib>
#include <map>

namespace {

using namespace measuring;

struct Case {
    double x, y, r;
};

constexpr std::size_t cases_kept = 32;

double true_error(const Case &c, bool single) {
    mpfr_t x, y;
    mpfr_inits2(300, x, y, nullptr);
    mpfr_set_d(x, c.x, MPFR_RNDN);
    mpfr_set_d(y, c.y, MPFR_RNDN);
    mpfr_pow(x, x, y, MPFR_RNDN);
    const double error = single ? settled_error(x, static_cast<float>(c.r)) : settled_error(x, c.r);
    mpfr_clears(x, y, nullptr);
    return error;
}

// Arguments in pairs: `place` and `other` are in [0, 1), the first stratified.
template <class F, class T, class Spread> void pairs(const char *name, long count, Spread spread) {
    std::multimap<double, Case> worst[threads];
    long special[threads]{};
    in_threads([&](unsigned t) {
        std::mt19937_64 random(41 + t);
        const auto uniform = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
        for (long k = t; k < count; k += threads) {
            const auto [xd, yd] =
                spread((static_cast<double>(k) + uniform()) / static_cast<double>(count), uniform());
            const T x = static_cast<T>(xd), y = static_cast<T>(yd);
            const auto a = broadcast<Lanes<T>>(x), b = broadcast<Lanes<T>>(y);
            T r = F::value(a, b)[0];
            if constexpr (requires { F::shorter_serves(y); })
                if (F::shorter_serves(y))
                    r = F::Shorter::value(a, b)[0];
            if (mask_of(F::special(a, b)) != 0) {
                F::eval(x, y, r);
                ++special[t];
            }
            const long double truth = std::pow(static_cast<long double>(x), static_cast<long double>(y));
            const int place = std::max(std::ilogb(truth) + 1 - std::numeric_limits<T>::digits,
                                       std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits);
            const auto error =
                static_cast<double>(std::ldexp(std::fabs(static_cast<long double>(r) - truth), -place));
            auto &kept = worst[t];
            if (kept.size() == cases_kept && error <= kept.begin()->first)
                continue;
            kept.emplace(error, Case{x, y, r});
            if (kept.size() > cases_kept)
                kept.erase(kept.begin());
        }
    });
    double largest = 0;
    Case at{};
    for (const auto &kept : worst)
        for (const auto &[estimate, c] : kept)
            if (const double error = true_error(c, sizeof(T) == 4); error > largest)
                largest = error, at = c;
    std::printf("    %-34s %10ld  %5.2f%%  %-11.9g (%a, %a)\n", name, count,
                100.0 * static_cast<double>(special[0] + special[1]) / static_cast<double>(count), largest,
                at.x, at.y);
    std::fflush(stdout);
}

template <class F, class T> void power(const char *name, long count) {
    constexpr double log_limit = sizeof(T) == 8 ? 708.3 : 87.3; // of y ln x
    constexpr double binades = std::numeric_limits<T>::max_exponent - 2, most = sizeof(T) == 8 ? 1e7 : 4e6;
    std::printf("%s\n    %-34s %10s  %6s  %s\n", name, "group", "pairs", "eval", "ulp");
    // an exponent that gives e^(from -limit to limit)
    const auto with_exponent = [&](double x, double v) {
        const double y = log_limit * (2 * v - 1) / std::log(x);
        return std::pair{x, std::clamp(y, -most, most)};
    };
    pairs<F, T>("0 < x < 100, y = 1.7", count, [](double u, double) { return std::pair{100 * u, 1.7}; });
    pairs<F, T>("2^-20 < x < 2^20, |y| < 3", count, [](double u, double v) {
        return std::pair{std::exp2(40 * u - 20), 6 * v - 3};
    });
    pairs<F, T>("every binade, every result", count, [&](double u, double v) {
        return with_exponent(static_cast<T>(std::exp2(binades * (2 * u - 1))), v);
    });
    pairs<F, T>("1/2 < x < 2, every result", count,
                [&](double u, double v) { return with_exponent(static_cast<T>(0.5 + 1.5 * u), v); });
    pairs<F, T>("0.99 < x < 1.01, every result", count,
                [&](double u, double v) { return with_exponent(static_cast<T>(0.99 + 0.02 * u), v); });
    pairs<F, T>("x = 1 +- 2^-k, 9 < k < digits", count, [&](double u, double v) {
        const double step = std::exp2(-9 - (std::numeric_limits<T>::digits - 10) * u);
        const auto x = static_cast<T>(v < 0.5 ? 1 - step : 1 + step);
        return with_exponent(x == 1 ? 0.875 : x, 2 * v - std::floor(2 * v));
    });
    pairs<F, T>("ends of intervals, every result", count, [&](double u, double v) {
        const std::uint64_t at =
            0x3FF0000000000000 - (309ull << 43) + (static_cast<std::uint64_t>(u * 256) << 44);
        const auto x =
            static_cast<T>(std::bit_cast<double>(at) + (u * 4096 - std::floor(u * 4096) - 0.5) * 1e-6);
        return with_exponent(x == 1 ? 0.875 : x, v);
    });
}

// The system's double-precision functions, off by less than 2^-28 of a single-precision last place; infinite
// where the nearest single-precision number is.
template <double (*function)(double)> struct System {
    static constexpr double padding = 0;
    static Lanes<std::int64_t> special(Lanes<double>) { return Lanes<std::int64_t>{}; }
    static Lanes<double> value(Lanes<double> x) { return Lanes<double>{one(x[0]), one(x[1])}; }
    static void eval(double, double &) {}

  private:
    static double one(double x) {
        const double y = function(x);
        return y >= 0x1.ffffffp127 ? std::numeric_limits<double>::infinity() : y;
    }
};

template <int (*function)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)> struct Subject {
    static void exact(mpfr_t y, double x, double) {
        mpfr_set_d(y, x, MPFR_RNDN);
        function(y, y, MPFR_RNDN);
    }
};

} // namespace

int main(int argc, char **argv) {
    const long part = argc > 1 ? std::atol(argv[1]) : 1;
    if (part > 0) {
        const long count = 20'000'000 / part;
        power<PowerDouble<Accuracy::high>, double>("double, high accuracy", count);
        power<PowerDouble<Accuracy::low>, double>("double, low accuracy", count);
        power<PowerDouble<Accuracy::enhanced_performance>, double>("double, enhanced performance", count);
        power<PowerSingle<Accuracy::high>, float>("single, high accuracy", count);
        power<PowerSingle<Accuracy::low>, float>("single, low accuracy", count);
        power<PowerSingle<Accuracy::enhanced_performance>, float>("single, enhanced performance", count);
        return 0;
    }
    every_single<Subject<mpfr_exp>, ExpSingle, System<std::exp>>("exp, single");
    every_single<Subject<mpfr_exp2>, Exp2Single, System<std::exp2>>("exp2, single");
    every_single<Subject<mpfr_exp10>, Exp10Single, System<::exp10>>("exp10, single");
}
