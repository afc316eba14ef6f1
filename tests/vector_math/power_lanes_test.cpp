// Lane functions of the power and of the single-precision exponentials: tables, errors against double-double
// values, the edges of what the lanes serve, special values, reports and flags.
#include "vector_math/kernels/power_lanes.h"

#include "qor_fyn.h"

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;

constexpr double inf = std::numeric_limits<double>::infinity();

// Reciprocals short enough for exact products, leading logarithms on their grid, the rest against the
// double-double logarithm; the ends of every interval within reach of the polynomials.
TEST(PowerTables, PairsFitTheirIntervals) {
    for (std::uint64_t i = 0; i < std::size(power_pairs); ++i) {
        const auto [reciprocal, log_c] = power_pairs[i];
        EXPECT_EQ(reciprocal * 0x1p11, std::nearbyint(reciprocal * 0x1p11)) << i;
        EXPECT_EQ(log_c * 0x1p42, std::nearbyint(log_c * 0x1p42)) << i;
        const auto [long_reciprocal, binary_log_c] = power_binary_pairs[i];
        for (std::uint64_t end : {i, i + 1}) {
            const auto bits = LogarithmReduction::one - LogarithmReduction::below_one + (end << 44);
            EXPECT_LT(std::fabs(std::bit_cast<double>(bits) * reciprocal - 1), 0.00218) << i;
            EXPECT_LE(std::fabs(std::bit_cast<double>(bits) * long_reciprocal - 1), 0.0019532) << i;
        }
        const DoubleDouble log = -logarithm<100>(DoubleDouble(reciprocal));
        EXPECT_NEAR(power_rests[i], to_double(log - log_c), 0x1p-96) << i;
        EXPECT_EQ(long_reciprocal * 0x1p24, std::nearbyint(long_reciprocal * 0x1p24)) << i;
        const DoubleDouble long_log = -logarithm<100>(DoubleDouble(long_reciprocal));
        EXPECT_EQ(binary_log_c, to_double(long_log / ln_2 * log_unit)) << i;
    }
}

TEST(PowerTables, Roots) {
    constexpr std::uint64_t steps = 2048;
    const double step = to_double(ln_2) / steps;
    for (std::uint64_t j = 0; j < steps; ++j) {
        const double root = exponential<72>(ln_2 * (static_cast<double>(j) / steps)).value.hi;
        const double scaled = root < 1 ? 2 * root : root;
        if (j % 16 == 0) {
            EXPECT_NEAR((roots<double, 128>.value[j / 16]), scaled, 0x1p-51) << j;
        }
        EXPECT_NEAR((roots<float, steps>.value[j]), scaled * (1 - step * step / 16), 0x1.00001p-24) << j;
    }
}

template <class T> struct Entries;
template <> struct Entries<double> {
    static constexpr auto powx = {_fyndPowx_50, _fyndPowx, _fyndPowx_26};
    static constexpr auto pow = _fyndPow;
    static constexpr double bounds[] = {3, 0.53, 0x1p26}, at_least[] = {0.9, 0.45, 1000};
};
template <> struct Entries<float> {
    static constexpr auto powx = {_fynsPowx_21, _fynsPowx, _fynsPowx_11};
    static constexpr auto pow = _fynsPow;
    static constexpr double bounds[] = {2, 0.50001, 2048}, at_least[] = {0.55, 0.45, 30};
};

// |x|^y to about 70 bits as value * 2^exponent
ScaledValue<72> true_power(double x, double y) { return exponential<72>(y * logarithm<74>(std::fabs(x))); }

template <class T> double error_in_ulp(T result, double x, double y) {
    const ScaledValue<72> truth = true_power(x, y);
    const int place = std::ilogb(truth.value.hi) + 1 - std::numeric_limits<T>::digits;
    const double scaled_result = std::ldexp(std::fabs(static_cast<double>(result)), -truth.exponent - place);
    return std::fabs(to_double(by_power_of_two(truth.value, -place) - scaled_result));
}

// Random arguments with results all over the range, one scalar exponent with several elements at a time.
template <class T> void check_errors() {
    constexpr double log_limit = sizeof(T) == 8 ? 708.3 : 87.3;
    std::mt19937_64 random(3);
    const auto uniform = [&](double from, double to) {
        return from + (to - from) * static_cast<double>(random() >> 11) * 0x1p-53;
    };
    double worst[3]{};
    for (int i = 0; i < 6000; ++i) {
        const double widest = i % 3 == 0 ? std::numeric_limits<T>::max_exponent - 2 : i % 3 == 1 ? 1 : 0.02;
        const auto first = static_cast<T>(std::exp2(uniform(-widest, widest)));
        const auto bound = std::min(log_limit / std::fabs(std::log(static_cast<double>(first))), 1e6);
        auto y = static_cast<T>(bound * uniform(-1, 1));
        const bool whole = i % 4 == 0;
        if (whole)
            y = std::trunc(y);
        if (y == 0)
            continue;
        std::vector<T> a(17, first), r(17);
        for (T &x : a)
            x = std::pow(first, static_cast<T>(uniform(-1, 1))) * (whole && random() % 2 ? -1 : 1);
        int slot = 0;
        for (const auto entry : Entries<T>::powx) {
            entry(17, a.data(), y, r.data());
            for (std::size_t k = 0; k < 17; ++k) {
                const bool negative = a[k] < 0 && std::fmod(y, T(2)) != 0;
                ASSERT_EQ(std::signbit(r[k]), negative) << std::hexfloat << a[k] << " " << y;
                const double error = error_in_ulp(r[k], static_cast<double>(a[k]), static_cast<double>(y));
                ASSERT_LE(error, Entries<T>::bounds[slot]) << std::hexfloat << a[k] << " " << y;
                worst[slot] = std::max(worst[slot], error);
            }
            ++slot;
        }
    }
    for (int slot = 0; slot < 3; ++slot) // measured at all, and a kernel of its own
        EXPECT_GT(worst[slot], Entries<T>::at_least[slot]);
}

TEST(PowerLanes, Errors) {
    check_errors<double>();
    check_errors<float>();
}

// For many exponents the last x on either side of 1 that the lanes still take, found by bisection: there and
// beyond, in Pow and in Powx, the result is right to a last place and of the right size.
template <class T, class Kernel> void check_edges_of_lanes() {
    using V = Lanes<T>;
    int found = 0;
    for (T y = T(0x1p-9); y < T(0x1p26); y *= T(1.37))
        for (const T sign : {T(1), T(-1)})
            for (const bool above : {false, true}) {
                const auto served = [&](IntegerOf<T> bits) {
                    return mask_of(Kernel::special(broadcast<V>(std::bit_cast<T>(bits)),
                                                   broadcast<V>(sign * y))) == 0;
                };
                auto inside = std::bit_cast<IntegerOf<T>>(T(1));
                auto outside = std::bit_cast<IntegerOf<T>>(above ? std::numeric_limits<T>::infinity() : T(0));
                if (!served(inside))
                    continue;
                ++found;
                while (std::max(inside, outside) - std::min(inside, outside) > 1) {
                    const IntegerOf<T> middle = inside / 2 + outside / 2 + (inside & outside & 1);
                    (served(middle) ? inside : outside) = middle;
                }
                for (const auto bits : {inside, outside, outside + (outside - inside) * 1000}) {
                    const T x = std::bit_cast<T>(bits), a[] = {x}, b[] = {sign * y};
                    T r[1], rx[1], expected;
                    Entries<T>::pow(1, a, b, r);
                    Entries<T>::powx.begin()[1](1, a, sign * y, rx);
                    Pow::eval(x, sign * y, expected);
                    ASSERT_EQ(r[0], rx[0]) << std::hexfloat << x << " " << sign * y;
                    const T apart = expected * std::numeric_limits<T>::epsilon();
                    ASSERT_TRUE(r[0] == expected || std::fabs(r[0] - expected) <= apart)
                        << std::hexfloat << x << " " << sign * y << " gives " << r[0] << ", not " << expected;
                    if (bits == inside) {
                        ASSERT_GE(expected, std::numeric_limits<T>::min());
                        ASSERT_LE(expected, std::numeric_limits<T>::max());
                    }
                }
            }
    EXPECT_GT(found, 200);
}

TEST(PowerLanes, EdgesOfTheLanes) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_NOERR);
    check_edges_of_lanes<double, PowerDouble<Accuracy::high>>();
    check_edges_of_lanes<float, PowerSingle<Accuracy::high>>();
    _fynSetMode(old);
}

// Among ordinary arguments, at every place: value, status, and no flag but inexact and what is reported.
template <class T> void check_special_values() {
    constexpr T infinite = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
    constexpr T smallest = std::numeric_limits<T>::denorm_min(), largest = std::numeric_limits<T>::max();
    struct Case {
        T x, y, result;
        int status;
    };
    static constexpr Case cases[] = {
        {0, 2, 0, 0},
        {0, 3, 0, 0},
        {T(-0.0), 3, T(-0.0), 0},
        {T(-0.0), -3, -infinite, 2},
        {T(-0.0), -2, infinite, 2},
        {0, T(-0.5), infinite, 2},
        {0, 0, 1, 0},
        {nan, 0, 1, 0},
        {1, nan, 1, 0},
        {2, nan, nan, 0},
        {nan, 2, nan, 0},
        {nan, T(-2.5), nan, 0},
        {infinite, T(0.5), infinite, 0},
        {infinite, -3, 0, 0},
        {-infinite, 3, -infinite, 0},
        {-infinite, T(-3), T(-0.0), 0},
        {T(0.5), infinite, 0, 0},
        {2, infinite, infinite, 0},
        {-1, -infinite, 1, 0},
        {-2, T(0.5), nan, 1},
        {-1, T(1.5), nan, 1},
        {-2, 3, -8, 0},
        {-2, 2, 4, 0},
        {-4, -1, T(-0.25), 0},
        {-1, largest, 1, 0},
        {5, smallest, 1, 0},
        {largest, 2, infinite, 3},
        {-largest, 3, -infinite, 3},
        {largest, 1, largest, 0},
        {T(0.5), largest, 0, 4},
        {smallest, 2, 0, 4},
        {smallest, 1, smallest, 4},
        {5, T(0x1p-100), 1, 0},
        {smallest, T(-0.5), sizeof(T) == 8 ? T(0x1p537) : T(0x1.6a09e6p74), 0},
        {4, -1, T(0.25), 0},
        {1, T(123.5), 1, 0},
        {10, 3, 1000, 0},
    };
    for (const Case &c : cases)
        for (std::size_t place = 0; place < 19; ++place)
            for (const bool scalar : {false, true}) {
                T a[19], b[19], r[19];
                std::fill_n(a, 19, T(2));
                std::fill_n(b, 19, T(1.5));
                a[place] = c.x;
                b[place] = c.y;
                _fynClearErrStatus();
                std::feclearexcept(FE_ALL_EXCEPT);
                if (scalar)
                    Entries<T>::powx.begin()[1](1, a + place, c.y, r + place);
                else
                    Entries<T>::pow(19, a, b, r);
                const int flags = std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
                EXPECT_EQ(_fynClearErrStatus(), c.status) << c.x << " " << c.y;
                if (c.status == 0) {
                    EXPECT_EQ(flags, 0) << c.x << " " << c.y;
                }
                const bool same = r[place] == c.result && std::signbit(r[place]) == std::signbit(c.result);
                EXPECT_TRUE(c.result != c.result ? r[place] != r[place] : same)
                    << c.x << " " << c.y << " gives " << r[place];
            }
}

TEST(PowerLanes, SpecialValues) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_IGNORE);
    check_special_values<double>();
    check_special_values<float>();
    _fynSetMode(old);
}

// Every several thousandth float, and the neighbours of the lanes' limits: the nearest float to a
// number within 2^-36 of the double-precision value, the element function's status, and no flag but inexact
// from lanes that are not shown.
template <class Element>
void check_exponential(void (*entry)(std::int32_t, const float *, float *), float limit) {
    std::vector<float> a;
    for (std::uint32_t word = 0; word < 0x7F800000; word += 7919)
        a.push_back(std::bit_cast<float>(word | (word & 1) << 31));
    for (float x = limit * 0.99999f; x < limit * 1.00001f; x = std::nextafter(x, 1e9f))
        a.insert(a.end(), {x, -x});
    a.insert(a.end(), {static_cast<float>(inf), -static_cast<float>(inf), -0.0f});
    std::vector<float> r(a.size());
    entry(static_cast<std::int32_t>(a.size()), a.data(), r.data());
    for (std::size_t i = 0; i < a.size(); ++i) {
        double truth;
        float single;
        Element::eval(static_cast<double>(a[i]), truth);
        const int status = Element::eval(a[i], single);
        const auto from = static_cast<float>(truth * (1 - 0x1p-36)),
                   to = static_cast<float>(truth * (1 + 0x1p-36));
        ASSERT_TRUE(from <= r[i] && r[i] <= to) << std::hexfloat << a[i] << " gives " << r[i];
        if (i % 64 == 0) {
            _fynClearErrStatus();
            entry(1, &a[i], &single);
            EXPECT_EQ(_fynClearErrStatus(), status) << std::hexfloat << a[i];
        }
    }
    const float unshown[] = {-static_cast<float>(inf), std::numeric_limits<float>::quiet_NaN(), 1, -0.0f,
                             static_cast<float>(inf)};
    std::feclearexcept(FE_ALL_EXCEPT);
    entry(5, unshown, r.data());
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT & ~FE_INEXACT), 0);
}

TEST(ExponentialSingle, NearestFloat) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_IGNORE);
    check_exponential<Exp>(_fynsExp, 87.3365f);
    check_exponential<Exp2>(_fynsExp2, 126.0f);
    check_exponential<Exp10>(_fynsExp10, 37.9297f);
    _fynSetMode(old);
}

} // namespace
