// Measures the errors of the gamma function, its logarithm and the exponential integral, in units of the last
// place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_gamma.cpp -lmpfr -lgmp
//   ./a.out
//   ./a.out 4            a quarter of the arguments
//
// The judges of the first pass share the methods of the element functions; MPFR settles the candidates, and
// is the only judge left of 0.
#include "tools/measuring.h"
#include "tools/true_values.h"
#include "vector_math/kernels/exponential_integral_lanes.h"
#include "vector_math/kernels/gamma_lanes.h"

#include <cstdlib>

namespace {

using namespace qor::fyn;
using Extended = long double;

template <class True> void settle(True function, mpfr_t y, double x) {
    reference::Big argument(x), result;
    function(result, argument, MPFR_RNDN);
    mpfr_set(y, result, MPFR_RNDN);
}

Extended extended(const DoubleDouble &v) { return Extended{v.hi} + v.lo; }

// r - y by MPFR
template <class Subject> Extended exact_error(double x, double r) {
    mpfr_t y;
    mpfr_init2(y, 120);
    Subject::exact(y, x, r);
    mpfr_d_sub(y, r, y, MPFR_RNDN);
    const Extended difference = mpfr_get_ld(y, MPFR_RNDN);
    mpfr_clear(y);
    return difference;
}

struct LogGamma {
    static Extended error(double x, double r) {
        int sign;
        return x > 0 ? r - lgammal_r(x, &sign) : exact_error<LogGamma>(x, r);
    }
    static void exact(mpfr_t y, double x, double) { settle(reference::log_gamma, y, x); }
};

struct Gamma {
    static Extended error(double x, double r) {
        if (x < 0)
            return exact_error<Gamma>(x, r);
        const auto scaled = special::gamma_positive(x);
        return r - std::ldexp(extended(scaled.value), scaled.exponent);
    }
    static void exact(mpfr_t y, double x, double) { settle(mpfr_gamma, y, x); }
};

struct Integral {
    static Extended error(double x, double r) { // as ExpInt1 has it
        if (x < 0.5) {
            const Extended rest = Extended{x} * x * special::evaluate(tables::e1_series[0], x - 0.25).hi;
            return r - (x + rest - extended(special::euler_gamma) - std::log(Extended{x}));
        }
        const Extended e = std::exp(-Extended{x});
        if (x >= 16)
            return r - e * extended(special::evaluate(tables::e1_tail[0], 1 / x - 0x1p-5)) / x;
        const special::Place at = special::octave_place(x, 0, -1);
        return r - e * extended(special::evaluate(tables::e1_pieces[at.row], at.t));
    }
    static void exact(mpfr_t y, double x, double) { settle(reference::exp_int1, y, x); }
};

// F, infinite where its float is.
template <class F> struct Overflowing {
    static constexpr double padding = 1;
    static Lanes<std::int64_t> special(Lanes<double>) { return Lanes<std::int64_t>{} - 1; }
    static Lanes<double> value(Lanes<double> x) { return x; }
    static void eval(double x, double &r) {
        F::eval(x, r);
        if (std::fabs(r) >= 0x1.ffffffp+127)
            r = std::copysign(std::numeric_limits<double>::infinity(), r);
    }
};

} // namespace

int main(int argc, char **argv) {
    using namespace measuring;
    const long share = argc > 1 ? std::max(1L, std::atol(argv[1])) : 1, full = 2'000'000 / share;
    const auto stride = static_cast<std::uint64_t>(200 * share);
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    const auto between = [](double low, double high) {
        return [=](double u) { return low + (high - low) * u; };
    };
    const auto power = [](double low, double high) {
        return [=](double u) { return std::exp2(low + (high - low) * u); };
    };
    sampled<LogGamma, LGammaLanes>("log gamma, (1/2, 3)", full, between(0.5, 3));
    sampled<LogGamma, LGammaLanes>("log gamma, 2^-k, 0 < k < 12", full / 2, power(-12, 0));
    sampled<LogGamma, LGammaLanes>("log gamma, 2^k, 0 < k < 16", full, power(0, 16));
    sampled<LogGamma, LGammaLanes>("log gamma, 2^k, 16 < k < 52", full / 4, power(16, 52));
    sampled<LogGamma, LGammaLanes>("log gamma, 1 and 2 -+ 2^-k, k < 50", full / 4, [](double u) {
        const double v = 4 * u, whole = std::floor(v), small = std::exp2(-50 * (v - whole));
        return (whole < 2 ? 1 : 2) + (static_cast<int>(whole) % 2 ? small : -small / 2);
    });
    sampled<LogGamma, LGammaLanes>("log gamma, (-4, -2)", full / 50, between(-4, -2));
    sampled<LogGamma, LGammaLanes>("log gamma, (-40, 0)", full / 50, between(-40, 0));
    // around the zeros, outward from each
    sampled<LogGamma, LGammaLanes>("log gamma, zeros left of 0", full / 20, [](double u) {
        const double v = u * static_cast<double>(std::size(log_gamma_zeros)), whole = std::floor(v);
        const LogGammaZero &zero = log_gamma_zeros[static_cast<std::size_t>(whole)];
        const double t = 2 * (v - whole) - 1;
        return zero.hi + std::copysign(2 / zero.inverse_scale * std::exp2(-50 * std::fabs(t)), t);
    });
    every_single<LogGamma, LGammaLanes, Overflowing<LGamma>>("log gamma, single", stride);

    sampled<Gamma, TGammaLanes>("gamma, (0, 5)", full, between(0x1p-12, 5));
    sampled<Gamma, TGammaLanes>("gamma, (5, 168)", full, between(5, 168));
    sampled<Gamma, TGammaLanes>("gamma, 2^-k, 0 < k < 12", full / 2, power(-12, 0));
    sampled<Gamma, TGammaLanes>("gamma, (-165, 0)", full / 50, between(-165, 0));
    every_single<Gamma, TGammaLanes, Overflowing<TGamma>>("gamma, single", stride);

    const auto integral = [&]<Accuracy A>() {
        using Kernel = ExpInt1Lanes<A>;
        sampled<Integral, Kernel>("E1, (0, 20)", full, between(0x1p-12, 20));
        sampled<Integral, Kernel>("E1, 2^-k, 0 < k < 12", full / 2, power(-12, 0));
        sampled<Integral, Kernel>("E1, (20, 700)", full, between(20, 700));
        every_single<Integral, Kernel, ExpInt1Lanes<Accuracy::high>>("E1, single", stride);
    };
    integral.operator()<Accuracy::high>();
    std::printf("Enhanced performance\n");
    integral.operator()<Accuracy::enhanced_performance>();
}
