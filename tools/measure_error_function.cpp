// Measures the errors of the error functions, the normal distribution and their inverses, in units of the
// last place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_error_function.cpp -lmpfr -lgmp
//   ./a.out
//   ./a.out 4            a quarter of the arguments
#include "tools/measuring.h"
#include "tools/true_values.h"
#include "vector_math/kernels/normal_distribution_lanes.h"

#include <cstdlib>

namespace {

using namespace qor::fyn;
using Extended = long double;

constexpr Extended two_over_root_pi = 1.12837916709551257390L;

// 1 / sqrt 2 in three parts, the first of 11 bits, whose product with a double is exact
constexpr Extended root_first = 0x1.6ap-1L, root_second = 0x9.e667f3bcc908b3p-17L;

// erfc(w + rest)
Extended erfc_of(Extended w, Extended rest) {
    return std::erfc(w) - two_over_root_pi * std::exp(-w * w) * rest;
}

// P(x)
Extended normal(double x) {
    const Extended first = -x * root_first, second = -x * root_second, w = first + second;
    return erfc_of(w, (first - w) + second) / 2;
}

// e^(x^2) times f: the square as a number of 48 bits and its rest
Extended times_exponential(double x, Extended f) {
    const double upper = static_cast<float>(x);
    const Extended rest = (Extended{x} - upper) * (Extended{x} + upper);
    return std::exp(static_cast<Extended>(upper) * upper) * f * (1 + rest + rest * rest / 2);
}

template <class True> void settle(True function, mpfr_t y, double x) {
    reference::Big argument(x), result;
    function(result, argument, MPFR_RNDN);
    mpfr_set(y, result, MPFR_RNDN);
}

struct ErrorFunction {
    static Extended error(double x, double r) { return Extended{r} - std::erf(Extended{x}); }
    static void exact(mpfr_t y, double x, double) { settle(mpfr_erf, y, x); }
};

struct Complementary {
    static Extended error(double x, double r) { return Extended{r} - std::erfc(Extended{x}); }
    static void exact(mpfr_t y, double x, double) { settle(mpfr_erfc, y, x); }
};

struct ScaledComplementary {
    static Extended error(double x, double r) {
        return Extended{r} - times_exponential(x, std::erfc(Extended{x}));
    }
    static void exact(mpfr_t y, double x, double) { settle(reference::erfcx, y, x); }
};

struct Normal {
    static Extended error(double x, double r) { return Extended{r} - normal(x); }
    static void exact(mpfr_t y, double x, double) { settle(reference::cdf_norm, y, x); }
};

// Of inverse functions: what is wrong in the argument, by the slope.
struct ComplementaryInverse {
    static Extended error(double x, double r) {
        const Extended rest = x < 0.5   ? x - std::erfc(Extended{r})
                              : x < 1.5 ? std::erf(Extended{r}) - (1 - x)
                                        : std::erfc(-Extended{r}) - (2 - x);
        return rest / two_over_root_pi * std::exp(Extended{r} * r);
    }
    static void exact(mpfr_t y, double x, double) { settle(reference::erfc_inv, y, x); }
};

struct NormalInverse {
    static Extended error(double p, double r) {
        const Extended first = r * root_first, second = r * root_second, w = first + second,
                       w_rest = (first - w) + second, slope = two_over_root_pi * std::exp(-w * w);
        const Extended rest = p < 0.25   ? normal(r) - p
                              : p > 0.75 ? (1 - p) - normal(-r)
                                         : (std::erf(w) + slope * w_rest) / 2 - (Extended{p} - 0.5L);
        return rest / slope * 2 / root_2;
    }
    static void exact(mpfr_t y, double p, double) { settle(reference::cdf_norm_inv, y, p); }

  private:
    static constexpr Extended root_2 = 1.41421356237309504880L;
};

// erfcx, infinite where its float is.
struct OverflowingErfcx {
    static constexpr double padding = 0;
    static Lanes<std::int64_t> special(Lanes<double>) { return Lanes<std::int64_t>{} - 1; }
    static Lanes<double> value(Lanes<double> x) { return x; }
    static void eval(double x, double &r) {
        Erfcx::eval(x, r);
        if (r >= 0x1.ffffffp+127)
            r = std::numeric_limits<double>::infinity();
    }
};

} // namespace

int main(int argc, char **argv) {
    using namespace measuring;
    const long share = argc > 1 ? std::max(1L, std::atol(argv[1])) : 1, full = 5'000'000 / share;
    const auto stride = static_cast<std::uint64_t>(50 * share);
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    const auto between = [](double low, double high) {
        return [=](double u) { return low + (high - low) * u; };
    };
    const auto power = [](double low, double high) {
        return [=](double u) { return std::exp2(low + (high - low) * u); };
    };
    sampled<ErrorFunction, ErfLanes>("erf, (-1, 1)", full, between(-1, 1));
    sampled<ErrorFunction, ErfLanes>("erf, (-6, 6)", full, between(-6, 6));
    sampled<ErrorFunction, ErfLanes>("erf, 2^-k, k < 100", full / 5, power(-100, 0));
    every_single<ErrorFunction, ErfLanes, ErfLanes>("erf, single", stride);

    sampled<Complementary, ErfcLanes>("erfc, (-1, 1)", full, between(-1, 1));
    sampled<Complementary, ErfcLanes>("erfc, (-6, 6)", full, between(-6, 6));
    sampled<Complementary, ErfcLanes>("erfc, (5, 26)", full, between(5, 26));
    every_single<Complementary, ErfcLanes, ErfcLanes>("erfc, single", stride);

    const auto distribution = [&]<Accuracy A>() {
        using Kernel = CdfNormLanes<A>;
        sampled<Normal, Kernel>("normal, (-1, 1)", full, between(-1, 1));
        sampled<Normal, Kernel>("normal, (-9, 9)", full, between(-9, 9));
        sampled<Normal, Kernel>("normal, (-36, -5)", full, between(-36, -5));
        every_single<Normal, Kernel, CdfNormLanes<Accuracy::high>>("normal, single", stride);
    };
    distribution.operator()<Accuracy::high>();
    std::printf("Low accuracy\n");
    distribution.operator()<Accuracy::low>();
    std::printf("Enhanced performance\n");
    distribution.operator()<Accuracy::enhanced_performance>();
    std::printf("\n");

    sampled<NormalInverse, CdfNormInvLanes>("inverse normal, (0, 1)", full, between(0x1p-54, 1));
    sampled<NormalInverse, CdfNormInvLanes>("inverse normal, 2^-k, 1 < k < 13", full / 2, power(-13, -1));
    sampled<NormalInverse, CdfNormInvLanes>("inverse normal, 1/2 + 2^-k, k < 50", full / 2,
                                            [](double u) { return 0.5 + std::exp2(-2 - 48 * u); });
    sampled<NormalInverse, CdfNormInvLanes>("inverse normal, 2^-k, 13 < k < 40", full / 500, power(-40, -13));
    every_single<NormalInverse, CdfNormInvLanes, CdfNormInvLanes>("inverse normal, single", stride);

    sampled<ComplementaryInverse, ErfcInvLanes>("inverse erfc, (0, 2)", full, between(0x1p-53, 2));
    sampled<ComplementaryInverse, ErfcInvLanes>("inverse erfc, 2^-k, 0 < k < 12", full / 2, power(-12, 0));
    sampled<ComplementaryInverse, ErfcInvLanes>("inverse erfc, 1 + 2^-k, k < 50", full / 2,
                                                [](double u) { return 1 + std::exp2(-1 - 49 * u); });
    sampled<ComplementaryInverse, ErfcInvLanes>("inverse erfc, 2^-k, 12 < k < 40", full / 500,
                                                power(-40, -12));
    every_single<ComplementaryInverse, ErfcInvLanes, ErfcInvLanes>("inverse erfc, single", stride);

    sampled<ScaledComplementary, ErfcxLanes>("erfcx, (-1, 1)", full, between(-1, 1));
    sampled<ScaledComplementary, ErfcxLanes>("erfcx, (-26.5, 0)", full, between(-26.5, 0));
    sampled<ScaledComplementary, ErfcxLanes>("erfcx, (0, 30)", full, between(0, 30));
    sampled<ScaledComplementary, ErfcxLanes>("erfcx, (30, 100)", full / 5, between(30, 100));
    every_single<ScaledComplementary, ErfcxLanes, OverflowingErfcx>("erfcx, single", stride);
}
