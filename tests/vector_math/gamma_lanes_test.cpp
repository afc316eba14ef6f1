// Lanes of the gamma function, its logarithm and the exponential integral against the element functions: both
// ends of every table row, every limit of what the lanes serve, bit patterns of every kind; flags. The rows
// around the zeros left of 0 against each other.
#include "vector_math/kernels/exponential_integral_lanes.h"
#include "vector_math/kernels/gamma_lanes.h"

#include "qor_fyn.h"

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;

template <class T> bool quiet_nan(T x) {
    return x != x && (std::bit_cast<IntegerOf<T>>(x) >> (std::numeric_limits<T>::digits - 2) & 1) != 0;
}

template <class T> std::vector<T> arguments() {
    std::vector<double> places = {168, 171.624, 35, 35.04, 672, 701.8, 82, 86, 0x1p16, 0x1p52, 0x1p60, 1e305};
    for (int k = 0; k < 29 * 32; ++k) // rows' middles and ends
        places.push_back(std::ldexp(1 + k % 32 / 32.0, k / 32 - 12));
    std::vector<T> list = {0, std::numeric_limits<T>::max(), std::numeric_limits<T>::infinity(), T(NAN)};
    for (const double place : places) {
        T below = static_cast<T>(place), above = below;
        list.push_back(below);
        for (int i = 0; i < 3; ++i) {
            list.push_back(below = std::nextafter(below, T(0)));
            list.push_back(above = std::nextafter(above, T(INFINITY)));
        }
    }
    std::mt19937_64 random(5);
    for (int i = 0; i < 20000; ++i) {
        const double u = static_cast<double>(random() >> 11) * 0x1p-53;
        list.insert(list.end(), {static_cast<T>(3 * u), static_cast<T>(200 * u), static_cast<T>(-20 * u),
                                 std::bit_cast<T>(static_cast<IntegerOf<T>>(random()))});
    }
    return list;
}

// Within `bound` ulps, both functions' errors together.
template <class Element, class T>
void compare(const char *name, void (*entry)(std::int32_t, const T *, T *), double bound) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_NOERR);
    int shown = 0;
    for (const T x : arguments<T>()) {
        T r, expected;
        Element::eval(x, expected);
        std::feclearexcept(FE_ALL_EXCEPT);
        entry(1, &x, &r);
        const bool raised = std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW) != 0;
        bool right =
            r == expected ? std::signbit(r) == std::signbit(expected) : r != r && expected != expected;
        if (quiet_nan(x))
            right = right && !raised;
        if (std::isfinite(expected)) {
            const int place = std::max(std::ilogb(expected), std::numeric_limits<T>::min_exponent - 1) + 1;
            const double off = static_cast<double>(r) - static_cast<double>(expected);
            right = !raised && (r == expected ||
                                std::ldexp(std::fabs(off), std::numeric_limits<T>::digits - place) <= bound);
        }
        EXPECT_TRUE(right || ++shown > 8)
            << name << std::hexfloat << ' ' << x << " gives " << r << ", not " << expected;
    }
    EXPECT_LE(shown, 8) << name;
    _fynSetMode(old);
}

TEST(GammaLanes, AgreeWithElements) {
    using enum Accuracy;
    compare<LGamma>("LGamma", _fyndLGamma, 1.1);
    compare<LGamma>("LGamma", _fynsLGamma, 1);
    compare<TGamma>("TGamma", _fyndTGamma, 1.1);
    compare<TGamma>("TGamma", _fynsTGamma, 1);
    compare<ExpInt1<high>>("ExpInt1", _fyndExpInt1, 1.1);
    compare<ExpInt1<high>>("ExpInt1", _fynsExpInt1, 1);
    compare<ExpInt1<high>>("ExpInt1_26", _fyndExpInt1_26, 0x1p26);
    compare<ExpInt1<high>>("ExpInt1_11", _fynsExpInt1_11, 1024);
}

// A zero's polynomial against reflection, which is right beside the value's size a little away from the zero,
// and its sign against the zero's place.
TEST(GammaLanes, ZerosLeftOfZero) {
    for (const LogGammaZero &zero : log_gamma_zeros) {
        double before = 0, after = 0;
        LGamma::eval(std::nextafter(zero.hi, -INFINITY), before);
        LGamma::eval(std::nextafter(zero.hi, 0.0), after);
        EXPECT_LT(before * after, 0) << zero.hi;
        for (const double s : {-0.6, -0.3, 0.3, 0.6}) {
            const double x = zero.hi + s / zero.inverse_scale;
            double near_zero = 0;
            ASSERT_TRUE(special::log_gamma_near_zero(x, near_zero)) << zero.hi;
            const DoubleDouble product = special::sine_size(-x) * -x;
            const double reflected =
                to_double(logarithm<72>(pi / product) - special::log_gamma_any_positive(-x));
            EXPECT_NEAR(near_zero, reflected, 0x1p-55) << std::hexfloat << x;
        }
    }
}

} // namespace
