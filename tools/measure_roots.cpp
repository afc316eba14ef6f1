// Measures the errors of the roots, their inverses and the powers 2/3 and 3/2, and of the length of a vector,
// in units of the last place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_roots.cpp -lmpfr -lgmp -o measure &&
//   ./measure
//   ./measure 8          eight times the double-precision arguments, and every single-precision one
#include "tools/measuring.h"
#include "vector_math/kernels/hypotenuse_lanes.h"
#include "vector_math/kernels/roots_lanes.h"

#include <cstdlib>

namespace {

using namespace measuring;

// x^(numerator/denominator)
template <int numerator, int denominator> struct Power {
    static long double error(double x, double r) {
        const auto wide = static_cast<long double>(x);
        const long double root = denominator == 3 ? std::cbrt(wide) : std::sqrt(wide);
        const long double y = numerator == -1  ? 1 / root
                              : numerator == 1 ? root
                              : numerator == 2 ? root * root
                                               : wide * root;
        return static_cast<long double>(r) - y;
    }
    static void exact(mpfr_t y, double x, double) {
        mpfr_set_d(y, x, MPFR_RNDN);
        mpfr_rootn_ui(y, y, denominator, MPFR_RNDN);
        mpfr_pow_si(y, y, numerator, MPFR_RNDN);
    }
};

// The double-precision kernel, infinite where the nearest single-precision number is.
template <class F> struct Wide {
    static constexpr double padding = 1;
    static Lanes<std::int64_t> special(Lanes<double> x) { return F::special(x); }
    static Lanes<double> value(Lanes<double> x) {
        return Lanes<double>{clipped(F::value(x)[0]), clipped(F::value(x)[1])};
    }
    static void eval(double x, double &r) {
        F::eval(x, r);
        r = clipped(r);
    }

  private:
    static double clipped(double y) {
        return y >= 0x1.ffffffp127 ? std::numeric_limits<double>::infinity() : y;
    }
};

template <class Subject, class F> void root(const char *name, long part, double low, double high) {
    std::printf("%s\n", name);
    const long count = 5'000'000 * part;
    sampled<Subject, F>("    double, [1/8, 1)", count, [](double u) { return 0.125 + 0.875 * u; });
    sampled<Subject, F>("    double, every binade", count,
                        [=](double u) { return std::exp2(low + (high - low) * u); });
    if (low < -1000) // results of the others are subnormal as well, or zero
        sampled<Subject, F>("    double, subnormal (special)", count / 100,
                            [](double u) { return 0x1p-1022 * (u + 0x1p-40); });
    every_single<Subject, F, Wide<F>>("    single", part > 1 ? 1 : 201);
}

// Lengths of vectors (x, y), x from 1/2 to 8 times 2^place, y from 2^-spread to 1 of it.
template <class T> void lengths(const char *name, long count, double place, double spread) {
    std::mt19937_64 random(5);
    const auto uniform = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    double largest = 0;
    T at[2]{};
    long wrong = 0;
    for (long k = 0; k < count; ++k) {
        const double xd =
            std::exp2(place - 1 + 4 * (static_cast<double>(k) + uniform()) / static_cast<double>(count));
        T x = static_cast<T>(xd), y = static_cast<T>(xd * std::exp2(-spread * uniform()));
        if (k % 2 != 0)
            std::swap(x, y);
        const auto a = broadcast<Lanes<T>>(x), b = broadcast<Lanes<T>>(-y);
        T r = HypotLanes::value(a, b)[0];
        if (mask_of(HypotLanes::special(a, b)) != 0)
            HypotLanes::eval(x, y, r);
        const long double truth = std::hypot(static_cast<long double>(x), static_cast<long double>(y));
        const int last = std::max(std::ilogb(truth) + 1 - std::numeric_limits<T>::digits,
                                  std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits);
        const auto error =
            static_cast<double>(std::ldexp(std::fabs(static_cast<long double>(r) - truth), -last));
        wrong += error > 0.5 + 0x1p-9;
        if (error > largest) {
            largest = error;
            at[0] = x;
            at[1] = y;
        }
    }
    std::printf("    %-32s %11ld  %.9g  (%a, %a); above 0.502: %ld\n", name, count, largest,
                static_cast<double>(at[0]), static_cast<double>(at[1]), wrong);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv) {
    const long part = argc > 1 ? std::max(1L, std::atol(argv[1])) : 1;
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    root<Power<1, 3>, CbrtLanes>("cube root", part, -1021.9, 1023.9);
    root<Power<-1, 3>, InvCbrtLanes>("inverse cube root", part, -1021.9, 1023.9);
    root<Power<2, 3>, Pow2o3Lanes>("x^(2/3)", part, -1021.9, 1023.9);
    root<Power<-1, 2>, InvSqrtLanes>("inverse square root", part, -1021.9, 1023.9);
    root<Power<3, 2>, Pow3o2Lanes>("x^(3/2)", part, -681, 682.5);
    std::printf("length\n");
    lengths<double>("double, y from x/4 to x", 5'000'000 * part, 0, 2);
    lengths<double>("double, y from 2^-30 x", 5'000'000 * part, 0, 30);
    lengths<double>("double, at 2^-438", 1'000'000 * part, -438, 30);
    lengths<double>("double, at 2^-800 (special)", 50'000 * part, -800, 30);
    lengths<double>("double, at 2^496", 1'000'000 * part, 496, 30);
    lengths<float>("single, y from x/4 to x", 10'000'000 * part, 0, 2);
    lengths<float>("single, y from 2^-15 x", 10'000'000 * part, 0, 15);
    lengths<float>("single, at 2^-128", 1'000'000 * part, -128, 15);
}
