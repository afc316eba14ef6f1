// Measures the errors of the sine, cosine and tangent lanes, in units of the last place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_trigonometric.cpp -lmpfr -lgmp -o measure
//   && ./measure
//   ./measure 4          a quarter of the double-precision arguments
//   ./measure 4 double   those only
//
// The quick values come from the double-double functions of trigonometric.h: another reduction, other parts
// of pi and another table of its bits.
#include "tools/measuring.h"
#include "vector_math/kernels/tangent_lanes.h"

#include <cstdlib>

using namespace measuring;

namespace {

DoubleDouble shifted_sine(const ReducedAngle<DoubleDouble> &angle, int quarters) {
    const int quadrant = angle.quadrant + quarters;
    const DoubleDouble size = quadrant & 1 ? cosine_reduced<100>(angle.rest) : sine_reduced<100>(angle.rest);
    return quadrant & 2 ? -size : size;
}

struct SineSubject {
    using Kernel = SinLanes;
    static constexpr const char *name = "sine";
    static constexpr auto multi_precision = mpfr_sin;
    static DoubleDouble of(const ReducedAngle<DoubleDouble> &angle) { return shifted_sine(angle, 0); }
};

struct CosineSubject {
    using Kernel = CosLanes;
    static constexpr const char *name = "cosine";
    static constexpr auto multi_precision = mpfr_cos;
    static DoubleDouble of(const ReducedAngle<DoubleDouble> &angle) { return shifted_sine(angle, 1); }
};

struct TangentSubject {
    using Kernel = TanLanes;
    static constexpr const char *name = "tangent";
    static constexpr auto multi_precision = mpfr_tan;
    static DoubleDouble of(const ReducedAngle<DoubleDouble> &angle) {
        return shifted_sine(angle, 0) / shifted_sine(angle, 1);
    }
};

template <class Function> struct Subject : Function {
    static long double error(double x, double r) {
        const DoubleDouble y = Function::of(reduce_angle(x));
        return static_cast<long double>(r) - y.hi - y.lo;
    }
    static void exact(mpfr_t y, double x, double) {
        mpfr_set_d(y, x, MPFR_RNDN);
        Function::multi_precision(y, y, MPFR_RNDN);
    }
};

// The double lanes, with the quick value for special arguments: single precision is judged by a reduction
// that is not its own.
template <class Function> struct Judge : Function::Kernel {
    static Status eval(double x, double &r) noexcept {
        const bool finite = x - x == 0;
        r = finite ? Function::of(reduce_angle(x)).hi : x - x;
        return status_ok;
    }
};

constexpr double end_of_lanes = 0x1.92p21;
constexpr double nearest_to_quarters(double place) {
    return nearest_integer(place / half_pi.hi) * half_pi.hi;
}
// The ends of the reduced interval, within 2^-14 of its length.
double near_odd_steps(double place) {
    const double step = pi.hi / 64, steps = std::floor(place / step);
    return (steps + 0.5 + 0x1p-13 * (place / step - steps - 0.5)) * step;
}

template <class Function> void measure(long full, bool doubles_only) {
    const auto doubles = [&](const char *name, long count, auto spread) {
        sampled<Subject<Function>, typename Function::Kernel>(name, count, spread);
    };
    std::printf("%s\n", Function::name);
    doubles("double, |x| < pi", full, [](double u) { return 6.283 * u - 3.1415; });
    doubles("double, |x| < 1e5", full, [](double u) { return 2e5 * u - 1e5; });
    doubles("double, |x| < 3.29e6", full, [](double u) { return end_of_lanes * (2 * u - 1); });
    doubles("double, 2^-30 < x < 2^21.6", full, [](double u) { return std::exp2(51.6 * u - 30); });
    doubles("double, near odd pi/128", full, [](double u) { return near_odd_steps(8 * u - 4); });
    doubles("double, the same, |x| < 3.29e6", full,
            [](double u) { return near_odd_steps(3.2931e6 * (2 * u - 1)); });
    doubles("double, nearest to k pi/2", full / 4,
            [](double u) { return nearest_to_quarters(3.2931e6 * u); });
    doubles("double, special, every binade", full, [](double u) { return std::exp2(21.66 + 1002.33 * u); });
    doubles("double, special, nearest to k pi/2", full / 4,
            [](double u) { return nearest_to_quarters(3.2932e6 + 0x1p32 * u); });
    if (!doubles_only)
        every_single<Subject<Function>, typename Function::Kernel, Judge<Function>>("single, every argument");
}

} // namespace

int main(int argc, char **argv) {
    const long full = 20'000'000 / (argc > 1 ? std::max(1L, std::atol(argv[1])) : 1);
    const bool doubles_only = argc > 2;
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    measure<SineSubject>(full, doubles_only);
    measure<CosineSubject>(full, doubles_only);
    measure<TangentSubject>(full, doubles_only);
}
