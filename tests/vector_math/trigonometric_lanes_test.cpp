// Sine, cosine and tangent lanes: their tables recomputed, errors against double-double values, arguments at
// the edges, flags, and the pair against the single functions.
#include "tests/support/sse_flags.h"
#include "vector_math/kernels/tangent_lanes.h"

#include "qor_fyn.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;

constexpr double inf = std::numeric_limits<double>::infinity();

template <class T> struct Entry;
template <> struct Entry<double> {
    static constexpr auto sin = _fyndSin, cos = _fyndCos, tan = _fyndTan;
    static constexpr auto sin_cos = _fyndSinCos;
};
template <> struct Entry<float> {
    static constexpr auto sin = _fynsSin, cos = _fynsCos, tan = _fynsTan;
    static constexpr auto sin_cos = _fynsSinCos;
};

template <class T> std::vector<T> run(void (*entry)(std::int32_t, const T *, T *), const std::vector<T> &a) {
    std::vector<T> r(a.size());
    entry(static_cast<std::int32_t>(a.size()), a.data(), r.data());
    return r;
}

template <class T> auto bits(T x) { return std::bit_cast<IntegerOf<T>>(x); }

// sin(rest + quadrant pi/2) to about 100 bits
DoubleDouble true_sine(DoubleDouble rest, int quadrant) {
    const DoubleDouble size = quadrant & 1 ? cosine_reduced<100>(rest) : sine_reduced<100>(rest);
    return quadrant & 2 ? -size : size;
}

double error_in_ulp(double result, DoubleDouble truth) {
    return std::fabs((truth - result).hi) / std::ldexp(1.0, std::ilogb(truth.hi) - 52);
}

TEST(TrigonometricLanes, Tables) {
    const auto sine_of_step = [](int j) { // j pi/64, from the nearest multiple of pi/2
        return true_sine(pi * ((j % 32 - (j % 32 > 16 ? 32 : 0)) / 64.0), j / 32 + (j % 32 > 16));
    };
    for (int j = 0; j < 160; ++j) {
        const DoubleDouble sine = sine_of_step(j), cosine = sine_of_step(j + 32);
        EXPECT_EQ(angle_sines[j], sine.hi) << j;
        EXPECT_EQ(angle_sines[j + 32], cosine.hi) << j;
        EXPECT_NEAR(angle_excesses[j], -sine.lo, 0x1p-100) << j;
        const double lack = (std::copysign(1.0, angle_sines[j + 32]) - cosine).hi;
        EXPECT_NEAR(angle_lacks[j], lack, std::ldexp(std::fabs(lack), -52)) << j;
    }
    for (int j = 0; j < 32; ++j) {
        const int step = j < 16 ? j : j - 32;
        const DoubleDouble tangent = sine_of_step(step + 128) / sine_of_step(step + 160);
        EXPECT_EQ(angle_tangents[j].leading, tangent.hi) << j;
        EXPECT_NEAR(angle_tangents[j].rest, tangent.lo, 0x1p-98) << j;
    }
    // Few enough bits that products with the number of steps are exact, and together pi/64.
    const double parts[] = {angle_step_1, angle_step_2, angle_step_3};
    for (int i = 0; i < 3; ++i) {
        const double units = std::ldexp(parts[i], 31 + 27 * i);
        EXPECT_EQ(units, std::nearbyint(units));
        EXPECT_LT(std::fabs(units), 0x1p27);
    }
    const DoubleDouble rest = (((pi * 0x1p-6 - angle_step_1) - angle_step_2) - angle_step_3) - angle_step_4;
    EXPECT_LT(std::fabs(rest.hi), 0x1p-108);
    EXPECT_NEAR(angle_step_rest, angle_step_2 + (angle_step_3 + angle_step_4), 0x1p-88);
}

// Within the bound of the function list. The true values come from the reduction of trigonometric.h, which
// has other parts of pi and another table of its bits.
TEST(TrigonometricLanes, ErrorsOfDouble) {
    std::mt19937_64 random(11);
    const auto uniform = [&](double from, double to) {
        return from + (to - from) * static_cast<double>(random() >> 11) * 0x1p-53;
    };
    std::vector<double> a;
    for (int i = 0; i < 20000; ++i) {
        a.push_back(uniform(-10, 10));
        a.push_back(uniform(-3.4e6, 3.4e6));
        a.push_back(std::exp2(uniform(-29, 1024)));
        a.push_back(-std::ldexp(1 + uniform(0, 1), i % 1000 + 20));      // every binade of the special range
        a.push_back(std::floor(std::exp2(uniform(0, 30))) * half_pi.hi); // results near 0 and 1
    }
    // The double nearest, for its size, to a multiple of pi/2 (W. Kahan, nearpi.c, 1983).
    a.push_back(std::ldexp(6381956970095103.0, 797));
    for (int step = -96; step <= 96; ++step) // where the next table entry takes over
        for (double off : {-0x1p-30, 0x1p-30})
            a.push_back((step + 0.5 + off) * (pi.hi / 64));
    const std::vector<double> sines = run<double>(_fyndSin, a), cosines = run<double>(_fyndCos, a),
                              tangents = run<double>(_fyndTan, a);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const ReducedAngle<DoubleDouble> angle = reduce_angle(a[i]);
        const DoubleDouble sine = true_sine(angle.rest, angle.quadrant);
        const DoubleDouble cosine = true_sine(angle.rest, angle.quadrant + 1);
        ASSERT_LT(error_in_ulp(sines[i], sine), 0.55) << std::hexfloat << a[i];
        ASSERT_LT(error_in_ulp(cosines[i], cosine), 0.55) << std::hexfloat << a[i];
        ASSERT_LT(error_in_ulp(tangents[i], sine / cosine), 0.55) << std::hexfloat << a[i];
    }
}

TEST(TrigonometricLanes, RoundingOfSingle) {
    std::vector<float> a;
    for (std::uint32_t word = 1; word < 0x7F800000; word += 9973)
        a.push_back(std::bit_cast<float>(word | (word & 4) << 29));
    const std::vector<float> sines = run<float>(_fynsSin, a), cosines = run<float>(_fynsCos, a),
                             tangents = run<float>(_fynsTan, a);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const ReducedAngle<DoubleDouble> angle = reduce_angle(a[i]);
        const DoubleDouble sine = true_sine(angle.rest, angle.quadrant);
        const DoubleDouble cosine = true_sine(angle.rest, angle.quadrant + 1);
        ASSERT_EQ(sines[i], static_cast<float>(sine.hi)) << std::hexfloat << a[i];
        ASSERT_EQ(cosines[i], static_cast<float>(cosine.hi)) << std::hexfloat << a[i];
        ASSERT_EQ(tangents[i], static_cast<float>((sine / cosine).hi)) << std::hexfloat << a[i];
    }
}

// Each at every place of a pass, beside ordinary arguments: bits, statuses, flags.
template <class T> void check_edges() {
    using Limits = std::numeric_limits<T>;
    constexpr T nan = Limits::quiet_NaN(), infinity = Limits::infinity();
    constexpr T smallest = std::bit_cast<T>(IntegerOf<T>{1});
    struct Case {
        T x, sine, cosine; // the tangent is the sine here
        int status;
    };
    static constexpr Case cases[] = {
        {0, 0, 1, 0},
        {T(-0.0), T(-0.0), 1, 0},
        {smallest, smallest, 1, 0},
        {-Limits::min(), -Limits::min(), 1, 0},
        {T(0x1p-100), T(0x1p-100), 1, 0},
        {T(-0x1p-28), T(-0x1p-28), 1, 0},
        {infinity, nan, nan, 1},
        {-infinity, nan, nan, 1},
        {nan, nan, nan, 0},
    };
    _fynSetMode(FYN_ERRMODE_IGNORE);
    for (const auto &c : cases)
        for (std::size_t place = 0; place < 16; ++place) {
            std::vector<T> a(16, T(1.5)), r1(16), r2(16);
            a[place] = c.x;
            _fynClearErrStatus();
            test::clear_sse_flags();
            Entry<T>::sin_cos(16, a.data(), r1.data(), r2.data());
            const std::vector<T> sines = run<T>(Entry<T>::sin, a), cosines = run<T>(Entry<T>::cos, a),
                                 tangents = run<T>(Entry<T>::tan, a);
            // invalid for a domain error; inexact; the processor also notes denormal operands
            EXPECT_EQ(test::sse_flags() & ~0x22u, c.status == 1 ? 1u : 0u) << c.x;
            EXPECT_EQ(_fynClearErrStatus(), c.status) << c.x;
            for (const T sine : {r1[place], sines[place], tangents[place]})
                EXPECT_TRUE(c.sine != c.sine ? sine != sine : bits(sine) == bits(c.sine))
                    << c.x << " " << sine;
            for (const T cosine : {r2[place], cosines[place]})
                EXPECT_TRUE(c.cosine != c.cosine ? cosine != cosine : bits(cosine) == bits(c.cosine)) << c.x;
        }
}

TEST(TrigonometricLanes, Edges) {
    check_edges<double>();
    check_edges<float>();
    const double signalling = std::numeric_limits<double>::signaling_NaN();
    double r;
    _fyndSin(1, &signalling, &r);
    EXPECT_EQ(bits(r) & (std::int64_t{1} << 51), std::int64_t{1} << 51) << "quiet";
}

// Neighbours of the two limits of the lanes, and arguments of every size: SinCos has the bits of Sin and Cos,
// and no finite argument raises anything but inexact.
template <class T> void check_pair() {
    std::mt19937_64 random(5);
    std::vector<T> a;
    for (const T limit : {angle_lanes::lanes_end<T>, angle_lanes::lanes_from<T>, T(0x1p-12)})
        for (T x = limit * (1 - 8 * std::numeric_limits<T>::epsilon());
             x < limit * (1 + 8 * std::numeric_limits<T>::epsilon()); x = std::nextafter(x, T(inf)))
            a.push_back(x), a.push_back(-x);
    while (a.size() < 50000) {
        const T x = std::bit_cast<T>(static_cast<IntegerOf<T>>(random()));
        if (x - x == 0)
            a.push_back(x);
    }
    std::vector<T> r1(a.size()), r2(a.size());
    test::clear_sse_flags();
    Entry<T>::sin_cos(static_cast<std::int32_t>(a.size()), a.data(), r1.data(), r2.data());
    const std::vector<T> sines = run<T>(Entry<T>::sin, a), cosines = run<T>(Entry<T>::cos, a);
    run<T>(Entry<T>::tan, a);
    EXPECT_EQ(test::sse_flags() & ~0x22u, 0u);
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_EQ(bits(r1[i]), bits(sines[i])) << std::hexfloat << a[i];
        ASSERT_EQ(bits(r2[i]), bits(cosines[i])) << std::hexfloat << a[i];
    }
}

TEST(TrigonometricLanes, PairHasTheBitsOfBoth) {
    check_pair<double>();
    check_pair<float>();
}

} // namespace
