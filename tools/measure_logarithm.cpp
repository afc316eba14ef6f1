// Measures the error of the logarithm's kernels, in units of the last place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_logarithm.cpp -lmpfr -lgmp -o measure &&
//   ./measure
//   ./measure 4          a quarter of the double-precision arguments
#include "tools/measuring.h"
#include "vector_math/kernels/logarithm_lanes.h"

#include <cstdlib>

namespace {

struct Logarithm {
    static long double error(double x, double r) {
        return static_cast<long double>(r) - std::log(static_cast<long double>(x));
    }
    static void exact(mpfr_t y, double x, double) {
        mpfr_set_d(y, x, MPFR_RNDN);
        mpfr_log(y, y, MPFR_RNDN);
    }
};

} // namespace

int main(int argc, char **argv) {
    using namespace measuring;
    const long full = 40'000'000 / (argc > 1 ? std::max(1L, std::atol(argv[1])) : 1);
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    const auto doubles = [&]<class Spread>(const char *name, long count, Spread spread) {
        sampled<Logarithm, LnDouble>(name, count, spread);
    };
    doubles("double, (0, 1]", full, [](double u) { return 1 - u; });
    doubles("double, [0.698, 1.397)", full, [](double u) { return 0.698 + 0.699 * u; });
    doubles("double, [0.99, 1.01]", full, [](double u) { return 0.99 + 0.02 * u; });
    doubles("double, 1 + 2^-k, 9 <= k < 52", full / 4, [](double u) { return 1 + std::exp2(-9 - 43 * u); });
    doubles("double, 1 - 2^-k, 9 <= k < 53", full / 4, [](double u) { return 1 - std::exp2(-9 - 44 * u); });
    doubles("double, every binade", full, [](double u) { return std::exp2(-1021.9 + 2045.8 * u); });
    doubles("double, subnormal (special path)", full / 40,
            [](double u) { return 0x1p-1022 * (u + 0x1p-40); });
    every_single<Logarithm, LnSingle, LnDouble>("single, every argument");
}
