// Measures the errors of the kernels of logarithms to base 2 and 10, of ln(1 + x) and of the inverse
// hyperbolic functions, in units of the last place.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_logarithm_bases.cpp -lmpfr -lgmp -o
//   measure
//   ./measure
//   ./measure 4          a quarter of the double-precision arguments
#include "tools/measuring.h"
#include "vector_math/kernels/inverse_hyperbolic_lanes.h"
#include "vector_math/kernels/logarithm_bases_lanes.h"

#include <cstdlib>

namespace {

using namespace measuring;

template <long double (*function)(long double), int (*big)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)>
struct Subject {
    static long double error(double x, double r) {
        return static_cast<long double>(r) - function(static_cast<long double>(x));
    }
    static void exact(mpfr_t y, double x, double) {
        mpfr_set_d(y, x, MPFR_RNDN);
        big(y, y, MPFR_RNDN);
    }
};

template <class S, class Kernel> void measure_logarithm(const char *name, long full) {
    std::printf("%s\n", name);
    const auto doubles = [&](const char *group, long count, auto spread) {
        sampled<S, Kernel>(group, count, spread);
    };
    if (std::is_same_v<Kernel, Log1pLanes>) {
        doubles("double, (-1, 0]", full, [](double u) { return u - 1; });
        doubles("double, [0, 10)", full, [](double u) { return 10 * u; });
        doubles("double, |x| < 0.01", full, [](double u) { return 0.02 * u - 0.01; });
        doubles("double, 2^-k, 0 < k < 100", full, [](double u) { return std::exp2(-100 * u); });
        doubles("double, -2^-k, 0 < k < 100", full, [](double u) { return -std::exp2(-100 * u); });
        doubles("double, 1 < x < 2^999", full, [](double u) { return std::exp2(999.9 * u); });
    } else {
        doubles("double, (0, 1]", full, [](double u) { return 1 - u; });
        doubles("double, [0.698, 1.397)", full, [](double u) { return 0.698 + 0.699 * u; });
        doubles("double, [0.99, 1.01]", full, [](double u) { return 0.99 + 0.02 * u; });
        doubles("double, 1 + 2^-k, 9 <= k < 52", full, [](double u) { return 1 + std::exp2(-9 - 43 * u); });
        doubles("double, 1 - 2^-k, 9 <= k < 53", full, [](double u) { return 1 - std::exp2(-9 - 44 * u); });
        doubles("double, every binade", full, [](double u) { return std::exp2(-1021.9 + 2045.8 * u); });
    }
    every_single<S, Kernel, Kernel>("single, every 101st four", 101);
}

template <class S, class Kernel> void measure_inverse(const char *name, long full) {
    std::printf("%s\n", name);
    const auto doubles = [&](const char *group, long count, auto spread) {
        sampled<S, Kernel>(group, count, spread);
    };
    if (std::is_same_v<Kernel, AcoshLanes>) {
        doubles("double, [1, 2)", full, [](double u) { return 1 + u; });
        doubles("double, [1, 20)", full, [](double u) { return 1 + 19 * u; });
        doubles("double, 1 + 2^-k, 0 < k < 52", full, [](double u) { return 1 + std::exp2(-52 * u); });
        doubles("double, 1 < x < 2^500", full, [](double u) { return std::exp2(500 * u); });
    } else {
        doubles("double, (-1, 1)", full, [](double u) { return 2 * u - 1; });
        doubles("double, 2^-k, 0 < k < 100", full, [](double u) { return std::exp2(-100 * u); });
        doubles("double, 2^-k, 0 < k < 12", full, [](double u) { return std::exp2(-12 * u); });
    }
    if (std::is_same_v<Kernel, AsinhLanes>) {
        doubles("double, [1, 20)", full, [](double u) { return 1 + 19 * u; });
        doubles("double, 1 < x < 2^500", full, [](double u) { return std::exp2(500 * u); });
    } else if (std::is_same_v<Kernel, AtanhLanes>) {
        doubles("double, 1 - 2^-k, 1 < k < 53", full, [](double u) { return 1 - std::exp2(-1 - 52 * u); });
    }
    every_single<S, Kernel, Kernel>("single, every 101st four", 101);
}

} // namespace

int main(int argc, char **argv) {
    const long full = 2'000'000 / (argc > 1 ? std::max(1L, std::atol(argv[1])) : 1);
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    measure_logarithm<Subject<std::log2, mpfr_log2>, Log2Lanes>("logarithm to base 2", full);
    measure_logarithm<Subject<std::log10, mpfr_log10>, Log10Lanes>("logarithm to base 10", full);
    measure_logarithm<Subject<std::log1p, mpfr_log1p>, Log1pLanes>("ln(1 + x)", full);
    measure_inverse<Subject<std::asinh, mpfr_asinh>, AsinhLanes>("inverse hyperbolic sine", full);
    measure_inverse<Subject<std::acosh, mpfr_acosh>, AcoshLanes>("inverse hyperbolic cosine", full);
    measure_inverse<Subject<std::atanh, mpfr_atanh>, AtanhLanes>("inverse hyperbolic tangent", full);
}
