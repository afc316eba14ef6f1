// Measures the errors of 2^x, 10^x, e^x - 1 and the hyperbolic functions, in units of the last place of the
// result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_hyperbolic.cpp -lmpfr -lgmp -o measure &&
//   ./measure
//   ./measure 4          a quarter of the arguments
//
// The quick values are the system's functions in x87 arithmetic. Single precision is judged by the double
// lanes, and by MPFR where they are too near a tie.
#include "tools/measuring.h"
#include "vector_math/kernels/exponential_lanes.h"
#include "vector_math/kernels/hyperbolic_lanes.h"

#include <cstdlib>

using namespace measuring;

namespace {

template <long double (*quick)(long double), int (*multi_precision)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)>
struct Subject {
    static long double error(double x, double r) { return static_cast<long double>(r) - quick(x); }
    static void exact(mpfr_t y, double x, double) {
        mpfr_set_d(y, x, MPFR_RNDN);
        multi_precision(y, y, MPFR_RNDN);
    }
};

// special() of a kernel that has special_bits().
template <class F> struct WithSpecial : F {
    static Lanes<std::int64_t> special(Lanes<double> x) {
        return Lanes<std::int64_t>{F::special_bits(x[0]), F::special_bits(x[1])};
    }
};

// The kernel with results infinite where those of single precision are.
template <class F> struct InSingleRange : F {
    static double in_range(double r) { return std::fabs(r) < 0x1.ffffffp+127 ? r : r * HUGE_VAL; }
    static Lanes<double> value(Lanes<double> x) {
        const Lanes<double> r = F::value(x);
        return Lanes<double>{in_range(r[0]), in_range(r[1])};
    }
    static Status eval(double x, double &r) {
        const Status status = F::eval(x, r);
        r = in_range(r);
        return status;
    }
};

template <class S, class F> void doubles(const char *name, long count, double end, double narrow) {
    std::printf("%s\n", name);
    const auto between = [](double from, double to) {
        return [from, to](double u) { return from + (to - from) * u; };
    };
    sampled<S, F>("double, all of the lanes", count, between(-end, end));
    sampled<S, F>("double, |x| < 1", count, between(-1, 1));
    sampled<S, F>("double, first steps", count, between(-narrow, narrow));
    sampled<S, F>("double, |x| < 40", count, between(-40, 40));
    sampled<S, F>("double, 2^-62 < |x| < 1", count / 4,
                  [](double u) { return u < 0.5 ? std::exp2(-124 * u) : -std::exp2(-124 * (u - 0.5)); });
}

template <class S, class F> void both(const char *name, long count, double end, double narrow) {
    doubles<S, F>(name, count, end, narrow);
    every_single<S, F, InSingleRange<F>>("single, every 53rd four", 53);
}

} // namespace

int main(int argc, char **argv) {
    const long full = 10'000'000 / (argc > 1 ? std::max(1L, std::atol(argv[1])) : 1);
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    both<Subject<tanhl, mpfr_tanh>, TanhLanes>("hyperbolic tangent", full, 25, 0.1);
    both<Subject<expm1l, mpfr_expm1>, Expm1Lanes>("e^x - 1", full, 639.9, 0.05);
    doubles<Subject<exp2l, mpfr_exp2>, WithSpecial<Exp2Double>>("2^x", full, 1021.9, 0.05);
    doubles<Subject<exp10l, mpfr_exp10>, WithSpecial<Exp10Double>>("10^x", full, 307.5, 0.05);
    both<Subject<sinhl, mpfr_sinh>, SinhLanes>("hyperbolic sine", full, 639.9, 0.05);
    both<Subject<coshl, mpfr_cosh>, CoshLanes>("hyperbolic cosine", full, 639.9, 0.05);
}
