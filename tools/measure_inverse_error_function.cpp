// Measures the error of the kernels of the inverse error function, in units of the last place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_inverse_error_function.cpp -lmpfr -lgmp
//   ./a.out
//   ./a.out 4            a quarter of the double-precision arguments
//
// A result r is wrong by (erf r - x) / erf' r, or the same with erfc r and 1 - x, which is exact in the tail.
#include "tools/measuring.h"
#include "tools/true_values.h"
#include "vector_math/kernels/inverse_error_function_lanes.h"

#include <cstdlib>

namespace {

struct InverseErrorFunction {
    static long double error(double x, double r) {
        const long double size = std::fabs(r), slope = 1.12837916709551257390L * std::exp(-size * size);
        const double goal = std::fabs(x);
        const long double rest = goal < 0.5 ? std::erf(size) - goal : (1 - goal) - std::erfc(size);
        return std::copysign(1, x) * rest / slope;
    }
    static void exact(mpfr_t y, double x, double) { reference::erf_inverse(y, reference::Big(x)); }
};

} // namespace

int main(int argc, char **argv) {
    using namespace measuring;
    const long full = 20'000'000 / (argc > 1 ? std::max(1L, std::atol(argv[1])) : 1);
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    const auto both = [&]<class Spread>(const char *name, long count, Spread spread) {
        sampled<InverseErrorFunction, ErfInvDouble<Accuracy::high>>(name, count, spread);
        sampled<InverseErrorFunction, ErfInvDouble<Accuracy::enhanced_performance>>("    the same, short",
                                                                                    count, spread);
    };
    both("double, (-1, 1)", full, [](double u) { return 2 * u - 1 + 0x1p-53; });
    both("double, 2^-k, 0 < k < 60", full / 4, [](double u) { return std::exp2(-60 * u - 0x1p-53); });
    both("double, 1 - 2^-k, 1 < k < 12", full / 2, [](double u) { return 1 - std::exp2(-1 - 11 * u); });
    both("double, 1 - 2^-k, 12 < k < 52 (special)", full / 400,
         [](double u) { return 1 - std::exp2(-12 - 40 * u); });
    every_single<InverseErrorFunction, ErfInvSingle<Accuracy::high>, ErfInvDouble<Accuracy::high>>(
        "single, every argument");
    every_single<InverseErrorFunction, ErfInvSingle<Accuracy::low>, ErfInvDouble<Accuracy::high>>(
        "    the same, low");
    every_single<InverseErrorFunction, ErfInvSingle<Accuracy::enhanced_performance>,
                 ErfInvDouble<Accuracy::high>>("    the same, short");
}
