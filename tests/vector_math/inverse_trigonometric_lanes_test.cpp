// Arcsine, arccosine and arctangent lanes: the table recomputed; both sides of every threshold, and bit
// patterns of every kind, against double-double values; what the element functions are left with; flags.
#include "tests/support/sse_flags.h"
#include "vector_math/kernels/arcsine_lanes.h"
#include "vector_math/kernels/arctangent_lanes.h"

#include "qor_fyn.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;
using test::raised, test::same;

constexpr double infinity = std::numeric_limits<double>::infinity();

// A table is right where the angles are: numbers only have to stand in their intervals and be short.
template <class Unit> void check_table(const ArctangentPair (&table)[162]) {
    EXPECT_EQ(table[0].tangent, 0);
    EXPECT_EQ(table[0].angle, 0);
    for (int i = 1; i < 162; ++i) {
        const auto [tangent, angle] = table[i];
        EXPECT_EQ(std::bit_cast<std::uint64_t>(tangent) << 33, 0u) << "22 bits, row " << i;
        const double from = std::ldexp(1 + (i - 1) % 16 / 16.0, (i - 1) / 16 - 5);
        EXPECT_GE(tangent, from) << i;
        EXPECT_TRUE(i == 161 || tangent <= from + std::ldexp(1, (i - 1) / 16 - 9)) << i;
        const DoubleDouble off = arctangent<100>(tangent, 1.0) * Unit::factor - angle;
        EXPECT_LE(std::fabs(off.hi), std::ldexp(1, std::ilogb(angle) - 62)) << i;
    }
    EXPECT_EQ(table[161].angle, Unit::quarter);
}

TEST(InverseTrigonometricLanes, Tables) {
    check_table<Radians>(arctangents_in_radians);
    check_table<HalfTurns>(arctangents_in_half_turns);
}

DoubleDouble of_sine(double x) {
    const DoubleDouble angle = arctangent<100>(std::fabs(x), unit_leg<100>(x));
    return x < 0 ? -angle : angle;
}
DoubleDouble of_cosine(double x) { return arctangent<100>(unit_leg<100>(x), x); }
DoubleDouble of_point(double y, double x) {
    const DoubleDouble angle = arctangent<100>(std::fabs(y), x);
    return y < 0 ? -angle : angle;
}
DoubleDouble of_tangent(double x) { return of_point(x, 1); }

// The bounds of the list of functions; of the element functions where the lanes leave an argument to them.
template <class T>
void expect_near(T result, DoubleDouble truth, double bound, T expected, const char *where) {
    const int place = std::ilogb(truth.hi) - std::numeric_limits<T>::digits + 1;
    EXPECT_LT(std::fabs((truth - static_cast<double>(result)).hi), std::ldexp(bound, place))
        << where << std::hexfloat << " gives " << result << ", not " << expected;
}

template <class T> std::vector<T> arguments_of_one() {
    std::mt19937_64 random(12);
    std::vector<T> a = {0, 1, std::numeric_limits<T>::denorm_min(), std::numeric_limits<T>::max(),
                        T(infinity)};
    std::vector<double> thresholds = {0.5, 1.0, 0x1p-60, 0x1p-120, 0x1p-200, 0x1p512, 0x1p120};
    for (int i = 0; i <= 160; ++i)
        thresholds.push_back(std::ldexp(1 + i % 16 / 16.0, i / 16 - 5));
    for (const double threshold : thresholds) {
        T x = static_cast<T>(threshold);
        if (x <= 0 || x - x != 0)
            continue;
        for (int i = 0; i < 3; ++i)
            x = std::nextafter(x, T(0));
        for (int i = 0; i < 7; ++i, x = std::nextafter(x, T(infinity)))
            a.push_back(x);
    }
    for (int i = 0; i < 20000; ++i) {
        const double u = static_cast<double>(random() >> 11) * 0x1p-53;
        a.push_back(static_cast<T>(u));
        a.push_back(static_cast<T>(std::exp2(20 * u - 10)));
        a.push_back(static_cast<T>(1 - std::exp2(-53 * u)));
        a.push_back(std::bit_cast<T>(static_cast<IntegerOf<T>>(random())));
    }
    for (std::size_t n = a.size(), i = 0; i < n; ++i)
        a.push_back(-a[i]);
    return a;
}

template <class T> struct OneArgument {
    const char *name;
    void (*entry)(std::int32_t, const T *, T *);
    Status (*element)(T, T &) noexcept;
    DoubleDouble (*truth)(double);
    DoubleDouble factor;
    double bound;
};

template <class T> void check(const OneArgument<T> &function, const std::vector<T> &a) {
    std::vector<T> r(a.size());
    _fynSetMode(FYN_ERRMODE_IGNORE);
    for (std::size_t i = 0; i < a.size() && !testing::Test::HasFailure(); i += 16) {
        const std::size_t n = std::min<std::size_t>(16, a.size() - i);
        T elements[16];
        _fynClearErrStatus();
        int status = 0;
        raised();
        for (std::size_t k = 0; k < n; ++k)
            status = std::max<int>(status, function.element(a[i + k], elements[k]));
        const unsigned allowed = raised();
        function.entry(static_cast<std::int32_t>(n), &a[i], &r[i]);
        EXPECT_EQ(raised() & ~allowed, 0u) << function.name << " from element " << i;
        EXPECT_EQ(_fynClearErrStatus(), status) << function.name << " from element " << i;
        for (std::size_t k = 0; k < n; ++k) {
            const auto x = static_cast<double>(a[i + k]);
            if (std::fabs(x) > 0x1p-100 && std::fabs(x) < 0x1p100 && elements[k] == elements[k] &&
                elements[k] != 0)
                expect_near(r[i + k], function.truth(x) * function.factor, function.bound, elements[k],
                            function.name);
            else
                EXPECT_TRUE(same(r[i + k], elements[k]))
                    << function.name << std::hexfloat << x << " " << r[i + k];
        }
    }
}

TEST(InverseTrigonometricLanes, OneArgument) {
    constexpr DoubleDouble one = 1;
    const std::vector<double> a = arguments_of_one<double>();
    for (const auto &function : {
             OneArgument<double>{"Atan", _fyndAtan, Atan::eval<double>, of_tangent, one, 0.57},
             {"Asin", _fyndAsin, Asin::eval<double>, of_sine, one, 0.67},
             {"Acos", _fyndAcos, Acos::eval<double>, of_cosine, one, 0.67},
             {"Atanpi", _fyndAtanpi, Atanpi::eval<double>, of_tangent, one_over_pi, 0.57},
             {"Asinpi", _fyndAsinpi, Asinpi::eval<double>, of_sine, one_over_pi, 0.72},
             {"Acospi", _fyndAcospi, Acospi::eval<double>, of_cosine, one_over_pi, 0.62},
         })
        check(function, a);
    const std::vector<float> b = arguments_of_one<float>();
    for (const auto &function : {
             OneArgument<float>{"Atan", _fynsAtan, Atan::eval<float>, of_tangent, one, 0.501},
             {"Asin", _fynsAsin, Asin::eval<float>, of_sine, one, 0.501},
             {"Acos", _fynsAcos, Acos::eval<float>, of_cosine, one, 0.501},
             {"Atanpi", _fynsAtanpi, Atanpi::eval<float>, of_tangent, one_over_pi, 0.501},
             {"Asinpi", _fynsAsinpi, Asinpi::eval<float>, of_sine, one_over_pi, 0.501},
             {"Acospi", _fynsAcospi, Acospi::eval<float>, of_cosine, one_over_pi, 0.501},
         })
        check(function, b);
}

// Every pair of sizes on both sides of the limits, in every quadrant.
template <class T, class Element>
void check_points(void (*entry)(std::int32_t, const T *, const T *, T *), DoubleDouble factor, double bound) {
    std::vector<T> sizes = {0, std::numeric_limits<T>::min() / 4, std::numeric_limits<T>::max(), T(infinity),
                            T(NAN)};
    for (const double limit :
         {0x1p-400, 0x1p-120, 0x1p-61, 0x1p61, 0x1p120, 0x1p400, 0.1, 1 / 3.0, 1.0, 3.1, 32.0})
        for (const double off : {1 - 0x1p-20, 1.0, 1 + 0x1p-20})
            sizes.push_back(static_cast<T>(limit * off));
    for (int i = 0; i < 160; ++i)
        sizes.push_back(static_cast<T>(std::ldexp(0.7 + (i * 7 % 16 + 0.99) / 16.0, i / 16 - 5)));
    for (const T height : sizes)
        for (const T side : sizes)
            for (const T x : {side, -side}) {
                const T y = (std::bit_cast<IntegerOf<T>>(side) & 8) != 0 ? height : -height;
                T r, expected;
                raised();
                Element::eval(y, x, expected);
                const unsigned allowed = raised();
                entry(1, &y, &x, &r);
                EXPECT_EQ(raised() & ~allowed, 0u) << std::hexfloat << y << " " << x;
                const double quotient = std::fabs(static_cast<double>(y) / static_cast<double>(x));
                if (quotient > 0x1p-100 && quotient < 0x1p100 && std::isfinite(x) && std::isfinite(y)) {
                    const int down = -std::ilogb(x);
                    const DoubleDouble truth = of_point(std::ldexp(static_cast<double>(y), down),
                                                        std::ldexp(static_cast<double>(x), down));
                    expect_near(r, truth * factor, bound, expected, "of a point");
                } else {
                    EXPECT_TRUE(std::fabs(r - expected) <=
                                    std::fabs(expected) * std::numeric_limits<T>::epsilon() ||
                                same(r, expected))
                        << std::hexfloat << y << " " << x << " " << r << " " << expected;
                }
            }
}

TEST(InverseTrigonometricLanes, Points) {
    check_points<double, Atan2>(_fyndAtan2, 1, 0.57);
    check_points<float, Atan2>(_fynsAtan2, 1, 0.501);
    check_points<double, Atan2pi>(_fyndAtan2pi, one_over_pi, 0.57);
    check_points<float, Atan2pi>(_fynsAtan2pi, one_over_pi, 0.501);
}

} // namespace
