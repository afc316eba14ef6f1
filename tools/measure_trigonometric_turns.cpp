// Measures the errors of the sine, cosine and tangent of half turns and of degrees, in units of the last
// place of the result.
//   g++ -std=c++20 -O2 -ffp-contract=off -pthread -I. tools/measure_trigonometric_turns.cpp -lmpfr -lgmp -o
//   measure
//   && ./measure
//   ./measure 4          a quarter of the arguments
//
// The quick values come from the double-double functions of trigonometric.h after the exact reduction to
// quarter turns, which takes multiples of 1/2 or 90 and no table.
#include "tools/measuring.h"
#include "vector_math/kernels/trigonometric_turns_lanes.h"

#include <cstdlib>

using namespace measuring;

namespace {

struct HalfTurnsMeasured {
    static constexpr double turn = 2, lowest_exponent = -30;
    static constexpr DoubleDouble radians = pi;
    static ReducedAngle<double> reduced(double x) { return reduce_half_turns(x); }
};

struct DegreesMeasured {
    static constexpr double turn = 360, lowest_exponent = -25;
    static constexpr DoubleDouble radians = radians_per_degree;
    static ReducedAngle<double> reduced(double x) { return reduce_degrees(x); }
};

// quarters: 0 sine, 1 cosine, 2 tangent
template <class Unit, int quarters> struct Subject {
    static double rest(double x) { return Unit::reduced(x).rest; }
    static DoubleDouble of(double x) {
        const ReducedAngle<double> angle = Unit::reduced(x);
        const DoubleDouble r = angle.rest * Unit::radians;
        const auto shifted_sine = [&](int quadrant) {
            const DoubleDouble size = quadrant & 1 ? cosine_reduced<100>(r) : sine_reduced<100>(r);
            return quadrant & 2 ? -size : size;
        };
        if constexpr (quarters == 2)
            return shifted_sine(angle.quadrant) / shifted_sine(angle.quadrant + 1);
        else
            return shifted_sine(angle.quadrant + quarters);
    }
    static long double error(double x, double r) {
        const DoubleDouble y = of(x);
        return static_cast<long double>(r) - y.hi - y.lo;
    }
    static void exact(mpfr_t y, double x, double) {
        mpfr_t turns;
        mpfr_init2(turns, 300);
        mpfr_const_pi(turns, MPFR_RNDN);
        mpfr_mul_d(turns, turns, 2 * std::fmod(x, Unit::turn), MPFR_RNDN);
        mpfr_div_d(turns, turns, Unit::turn, MPFR_RNDN);
        constexpr auto function = quarters == 0 ? mpfr_sin : quarters == 1 ? mpfr_cos : mpfr_tan;
        function(y, turns, MPFR_RNDN);
        mpfr_clear(turns);
    }
};

// The double lanes of high accuracy, with the quick value for special arguments.
template <class Kernel, class Subject> struct Judge : Kernel {
    static Status eval(double x, double &r) noexcept {
        if (std::fabs(x) >= 0x1p-200 && std::fabs(x) < 0x1p52 && Subject::rest(x) != 0) {
            r = Subject::of(x).hi;
            return status_ok;
        }
        return Kernel::eval(x, r);
    }
};

template <class Unit, int quarters, template <Accuracy> class Kernel>
void measure(const char *name, long scale) {
    using Measured = Subject<Unit, quarters>;
    const auto slot = [&]<Accuracy accuracy>(const char *letter) {
        using F = Kernel<accuracy>;
        const long full = 5'000'000 / scale;
        std::printf("%s %s\n", name, letter);
        sampled<Measured, F>("double, two turns", full,
                             [](double u) { return Unit::turn * (2 * u - 1) * 0.9999; });
        sampled<Measured, F>("double, every binade to 2^40", full, [](double u) {
            const double x = std::exp2(Unit::lowest_exponent + (39.999 - Unit::lowest_exponent) * u);
            return Measured::rest(x) == 0 ? std::nextafter(x, 0) : x;
        });
        sampled<Measured, F>("double, near half steps", full / 4, [](double u) {
            const double step = Unit::turn / 128, steps = 512 * u - 256, whole = std::floor(steps);
            return (whole + 0.5 + 0x1p-13 * (steps - whole - 0.5)) * step;
        });
        every_single<Measured, F, Judge<Kernel<Accuracy::high>, Measured>>(
            "single, a stride", 211 * static_cast<std::uint64_t>(scale));
    };
    slot.template operator()<Accuracy::high>("high");
    slot.template operator()<Accuracy::low>("low");
    slot.template operator()<Accuracy::enhanced_performance>("enhanced performance");
}

} // namespace

int main(int argc, char **argv) {
    const long scale = argc > 1 ? std::max(1L, std::atol(argv[1])) : 1;
    std::printf("%-36s %11s  %-8s %s\n", "group", "arguments", "ulp", "at");
    measure<HalfTurnsMeasured, 0, SinpiLanes>("sine of half turns", scale);
    measure<HalfTurnsMeasured, 1, CospiLanes>("cosine of half turns", scale);
    measure<HalfTurnsMeasured, 2, TanpiLanes>("tangent of half turns", scale);
    measure<DegreesMeasured, 0, SindLanes>("sine of degrees", scale);
    measure<DegreesMeasured, 1, CosdLanes>("cosine of degrees", scale);
    measure<DegreesMeasured, 2, TandLanes>("tangent of degrees", scale);
}
