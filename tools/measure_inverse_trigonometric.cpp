// Measures the errors of the arcsine, arccosine and arctangent lanes, in units of the last place of the
// result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_inverse_trigonometric.cpp -lmpfr -lgmp -o
//   measure
//   && ./measure
//   ./measure 4          a quarter of the sampled arguments
//   ./measure 4 double   those only
//
// The quick values come from the double-double functions of trigonometric.h, which have another table and
// other series. Single precision is judged by the double lanes, and by MPFR where they are too near a tie.
#include "tools/measuring.h"
#include "vector_math/kernels/arcsine_lanes.h"
#include "vector_math/kernels/arctangent_lanes.h"

#include <cstdlib>

using namespace measuring;

namespace {

// Angles in a unit: of a point, of a sine and of a cosine.
template <class Unit> struct Angles {
    static DoubleDouble of_point(double y, double x) {
        const DoubleDouble angle = arctangent<100>(std::fabs(y), x) * Unit::factor;
        return std::signbit(y) ? -angle : angle;
    }
    static void to_unit(mpfr_t y) {
        if (inverse_lanes::in_radians<Unit>)
            return;
        mpfr_t turn;
        mpfr_init2(turn, 200);
        mpfr_const_pi(turn, MPFR_RNDN);
        mpfr_div(y, y, turn, MPFR_RNDN);
        mpfr_clear(turn);
    }
};

template <class Unit> struct OfTangent {
    static DoubleDouble of(double x) { return Angles<Unit>::of_point(x, 1); }
    static constexpr auto multi_precision = mpfr_atan;
};
template <class Unit> struct OfSine {
    static DoubleDouble of(double x) {
        const DoubleDouble angle = arctangent<100>(std::fabs(x), unit_leg<100>(x)) * Unit::factor;
        return x < 0 ? -angle : angle;
    }
    static constexpr auto multi_precision = mpfr_asin;
};
template <class Unit> struct OfCosine {
    static DoubleDouble of(double x) { return arctangent<100>(unit_leg<100>(x), x) * Unit::factor; }
    static constexpr auto multi_precision = mpfr_acos;
};

template <template <class> class Function, class Unit> struct Subject {
    static long double error(double x, double r) {
        const DoubleDouble y = Function<Unit>::of(x);
        return static_cast<long double>(r) - y.hi - y.lo;
    }
    static void exact(mpfr_t y, double x, double) {
        mpfr_set_d(y, x, MPFR_RNDN);
        Function<Unit>::multi_precision(y, y, MPFR_RNDN);
        Angles<Unit>::to_unit(y);
    }
};

template <class Kernel, template <class> class Function, class Unit> struct Measured {
    using S = Subject<Function, Unit>;
    static void doubles(const char *name, long count, auto spread) {
        sampled<S, Kernel>(name, count, spread);
    }
    static void singles(bool doubles_only) {
        if (!doubles_only)
            every_single<S, Kernel, Kernel>("single, every 13th four", 13);
    }
};

template <class Kernel, class Unit> void measure_tangent(const char *name, long full, bool doubles_only) {
    using M = Measured<Kernel, OfTangent, Unit>;
    std::printf("%s\n", name);
    M::doubles("double, |x| < 4", full, [](double u) { return 8 * u - 4; });
    M::doubles("double, 2^-8 < x < 2^8", full, [](double u) { return std::exp2(16 * u - 8); });
    M::doubles("double, 2^-205 < x < 2^520", full / 4, [](double u) { return std::exp2(725 * u - 205); });
    M::doubles("double, at edges of intervals", full / 4, [](double u) {
        const double rows = 162 * u, row = std::floor(rows);
        const double edge =
            std::ldexp(1 + (static_cast<int>(row) % 16) / 16.0, static_cast<int>(row) / 16 - 5);
        return edge * (1 + 0x1p-12 * (rows - row - 0.5));
    });
    M::singles(doubles_only);
}

template <class Kernel, template <class> class Function, class Unit>
void measure_sine(const char *name, long full, bool doubles_only) {
    using M = Measured<Kernel, Function, Unit>;
    std::printf("%s\n", name);
    M::doubles("double, (-1, 1)", full, [](double u) { return 2 * u - 1; });
    M::doubles("double, 0.4 < |x| < 0.6", full,
               [](double u) { return u < 0.5 ? 0.4 + 0.4 * u : -0.2 - 0.4 * u; });
    M::doubles("double, 2^-65 < x < 1", full / 4, [](double u) { return std::exp2(65 * (u - 1)); });
    M::doubles("double, 2^-53 < 1 - |x| < 1", full / 4, [](double u) {
        const double x = 1 - std::exp2(-53 * std::fabs(2 * u - 1));
        return u < 0.5 ? -x : x;
    });
    M::singles(doubles_only);
}

// Points (x, y), the arguments (y, x) of two single or double variables; y is of either sign.
template <class Kernel, class Unit, class T, class Spread>
void measure_points(const char *name, long count, Spread spread) {
    struct Point {
        double error = 0;
        T y = 0, x = 0;
    } worst[threads];
    in_threads([&](unsigned t) {
        using W = Lanes<T>;
        std::mt19937_64 random(99 + t);
        const auto uniform = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
        for (long k = t; k < count; k += lane_count<W> * threads) {
            W y, x;
            for (int lane = 0; lane < lane_count<W>; ++lane) {
                double height = 0, side = 0;
                spread((static_cast<double>(k) + uniform()) / static_cast<double>(count), uniform(), height,
                       side);
                y[lane] = static_cast<T>(height);
                x[lane] = static_cast<T>(side);
            }
            const W r = Kernel::value(y, x);
            for (int lane = 0; lane < lane_count<W>; ++lane) {
                const DoubleDouble truth =
                    Angles<Unit>::of_point(static_cast<double>(y[lane]), static_cast<double>(x[lane]));
                const int place = std::ilogb(truth.hi) - std::numeric_limits<T>::digits + 1;
                const double error = std::ldexp(std::fabs((truth - static_cast<double>(r[lane])).hi), -place);
                if (!(error <= worst[t].error))
                    worst[t] = {error, y[lane], x[lane]};
            }
        }
    });
    const Point &largest = *std::max_element(
        worst, worst + threads, [](const Point &a, const Point &b) { return a.error < b.error; });
    std::printf("%-36s %11ld  %.9g  (%a, %a)\n", name, count, largest.error, static_cast<double>(largest.y),
                static_cast<double>(largest.x));
    std::fflush(stdout);
}

template <class Kernel, class Unit> void measure_point(const char *name, long full) {
    const auto square = [](double u, double v, double &y, double &x) {
        y = 20 * u - 10;
        x = 20 * v - 10;
    };
    const auto quotients = [](double u, double v, double &y, double &x) {
        x = v < 0.5 ? -1 - 2 * v : 2 * v;
        y = x * std::exp2(14 * u - 7);
    };
    const auto wide = [](double u, double v, double &y, double &x) {
        y = std::exp2(120 * u - 60);
        x = std::exp2(120 * v - 60);
    };
    std::printf("%s\n", name);
    measure_points<Kernel, Unit, double>("double, |x|, |y| < 10", full, square);
    measure_points<Kernel, Unit, double>("double, 2^-7 < |y/x| < 2^7", full, quotients);
    measure_points<Kernel, Unit, double>("double, 2^-60 < x, y < 2^60", full / 4, wide);
    measure_points<Kernel, Unit, float>("single, |x|, |y| < 10", full, square);
    measure_points<Kernel, Unit, float>("single, 2^-7 < |y/x| < 2^7", full, quotients);
    measure_points<Kernel, Unit, float>("single, 2^-60 < x, y < 2^60", full / 4, wide);
}

} // namespace

int main(int argc, char **argv) {
    const long full = 20'000'000 / (argc > 1 ? std::max(1L, std::atol(argv[1])) : 1);
    const bool doubles_only = argc > 2;
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    measure_tangent<AtanLanes, Radians>("arctangent", full, doubles_only);
    measure_sine<AsinLanes, OfSine, Radians>("arcsine", full, doubles_only);
    measure_sine<AcosLanes, OfCosine, Radians>("arccosine", full, doubles_only);
    measure_point<Atan2Lanes, Radians>("arctangent of two", full);
    measure_tangent<AtanpiLanes, HalfTurns>("arctangent in half turns", full, doubles_only);
    measure_sine<AsinpiLanes, OfSine, HalfTurns>("arcsine in half turns", full, doubles_only);
    measure_sine<AcospiLanes, OfCosine, HalfTurns>("arccosine in half turns", full, doubles_only);
    measure_point<Atan2piLanes, HalfTurns>("arctangent of two in half turns", full);
}
