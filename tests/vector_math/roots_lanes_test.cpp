// Lane functions of roots and lengths: every row of the table, both sides of every power of two (all limits
// of the lanes are such), exact lengths, and powers of positive numbers.
#include "vector_math/kernels/hypotenuse_lanes.h"
#include "vector_math/kernels/roots_lanes.h"

#include "qor_fyn.h"

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;

template <class T> using Entry = void (*)(std::int32_t, const T *, T *);
template <class T> using PairEntry = void (*)(std::int32_t, const T *, const T *, T *);

// value * 2^exponent
struct Scaled {
    DoubleDouble value;
    int exponent;
};

template <class T> struct Root {
    const char *name;
    Entry<T> entry;
    Scaled (*truth)(double);
    double bound;
    bool odd;
};

Scaled cube_root_of(double x) {
    const CubeSplit at = split_for_cube_root(x);
    return {cube_root<100>(at.m), at.third};
}
Scaled inverse_cube_root_of(double x) {
    const Scaled root = cube_root_of(x);
    return {1.0 / root.value, -root.exponent};
}
Scaled square_of_cube_root_of(double x) {
    const Scaled root = cube_root_of(x);
    return {root.value * root.value, 2 * root.exponent};
}
Scaled inverse_square_root_of(double x) {
    const SquareSplit at = split_for_square_root(x);
    return {1.0 / square_root(DoubleDouble(at.m)), -at.half};
}
Scaled three_halves_of(double x) {
    const SquareSplit at = split_for_square_root(x);
    return {at.m * square_root(DoubleDouble(at.m)), 3 * at.half};
}

const Root<double> double_roots[] = {{"Cbrt", _fyndCbrt, cube_root_of, 0.52, true},
                                     {"InvCbrt", _fyndInvCbrt, inverse_cube_root_of, 0.54, true},
                                     {"Pow2o3", _fyndPow2o3, square_of_cube_root_of, 0.52, false},
                                     {"InvSqrt", _fyndInvSqrt, inverse_square_root_of, 0.505, false},
                                     {"Pow3o2", _fyndPow3o2, three_halves_of, 0.505, false}};
const Root<float> single_roots[] = {{"Cbrt", _fynsCbrt, cube_root_of, 0.50001, true},
                                    {"InvCbrt", _fynsInvCbrt, inverse_cube_root_of, 0.50001, true},
                                    {"Pow2o3", _fynsPow2o3, square_of_cube_root_of, 0.50001, false},
                                    {"InvSqrt", _fynsInvSqrt, inverse_square_root_of, 0.50001, false},
                                    {"Pow3o2", _fynsPow3o2, three_halves_of, 0.50001, false}};

// In units of the last place of a normal result.
template <class T> double error(T r, const Scaled &truth) {
    const double scaled_result = std::ldexp(std::fabs(static_cast<double>(r)), -truth.exponent);
    const double distance = std::fabs(to_double(truth.value - scaled_result));
    return std::ldexp(distance, std::numeric_limits<T>::digits - 1 - std::ilogb(truth.value.hi));
}

// Values, statuses and flags; subnormal and infinite results by their status alone.
template <class T> void check(const Root<T> &root, const std::vector<T> &arguments) {
    using Limits = std::numeric_limits<T>;
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_IGNORE | FYN_DENORM_FLUSH_OFF);
    double worst = 0;
    for (const T x : arguments) {
        const Scaled truth = root.truth(static_cast<double>(x));
        const int exponent = truth.exponent + std::ilogb(truth.value.hi);
        const int status = exponent >= Limits::max_exponent      ? status_overflow
                           : exponent < Limits::min_exponent - 1 ? status_underflow
                                                                 : status_ok;
        T r;
        _fynClearErrStatus();
        std::feclearexcept(FE_ALL_EXCEPT);
        root.entry(1, &x, &r);
        ASSERT_EQ(_fynClearErrStatus(), status) << root.name << std::hexfloat << " " << x;
        if (status == status_ok) {
            ASSERT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW), 0) << root.name << " " << x;
            ASSERT_LE(error(r, truth), root.bound) << root.name << std::hexfloat << " " << x;
            worst = std::max(worst, error(r, truth));
        }
        if (root.truth == inverse_square_root_of || root.truth == three_halves_of)
            continue;
        const T negative = -x;
        T mirrored;
        root.entry(1, &negative, &mirrored);
        ASSERT_EQ(mirrored, root.odd ? -r : r) << root.name << std::hexfloat << " " << negative;
    }
    EXPECT_GT(worst, 0.45) << root.name; // measured at all
    _fynSetMode(old);
}

// Ends, middles and inner points of every interval, and the neighbours of every power of two.
template <class T> std::vector<T> arguments() {
    using Limits = std::numeric_limits<T>;
    constexpr T infinity = Limits::infinity();
    std::vector<T> all;
    const auto with_neighbours = [&](T x) {
        for (const T v : {std::nextafter(x, T(0)), x, std::nextafter(x, infinity)})
            if (v > 0 && v < infinity)
                all.push_back(v);
    };
    for (int binades : {-30, 0, 30})
        for (int i = 0; i < 3 * 64 * 8; ++i)
            with_neighbours(static_cast<T>(std::ldexp(1 + i % 512 / 512.0, i / 512 - 3 + binades)));
    for (int e = Limits::min_exponent - Limits::digits; e < Limits::max_exponent; ++e)
        with_neighbours(std::ldexp(T(1), e));
    return all;
}

TEST(RootLanes, EveryRowAndBinade) {
    for (const auto &root : double_roots)
        check(root, arguments<double>());
    for (const auto &root : single_roots)
        check(root, arguments<float>());
}

// Both numbers short enough for exact cubes, and near the middle of their intervals.
TEST(RootLanes, Table) {
    for (std::size_t i = 0; i < root_lanes::CubeRows::size; ++i) {
        const auto [root, inverse_cube] = root_lanes::cube_rows.row[i];
        const double inverse = root_lanes::cube_rows.inverse_root[i];
        EXPECT_EQ(std::bit_cast<std::uint64_t>(root) << 28, 0u) << i;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(inverse) << 26, 0u) << i;
        EXPECT_NEAR(inverse_cube * (root * root * root), 1, 0x1p-52) << i;
        for (std::size_t end : {i, i + 1}) {
            const double m =
                std::ldexp(1 + static_cast<double>(end % 64) / 64, static_cast<int>(end / 64) - 3);
            EXPECT_LT(std::fabs(m * inverse_cube - 1), 1 / 127.0) << i;
            EXPECT_LT(std::fabs(m * (inverse * inverse * inverse) - 1), 1 / 127.0) << i;
        }
    }
}

// Pythagorean triples in every binade, whichever leg comes first and whatever the signs; a zero leg.
template <class T> void check_exact_lengths(PairEntry<T> entry) {
    using Limits = std::numeric_limits<T>;
    const int triples[][3] = {{3, 4, 5}, {5, 12, 13}, {20, 21, 29}, {696, 697, 985}, {9, 40, 41}, {0, 7, 7}};
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_IGNORE | FYN_DENORM_FLUSH_OFF);
    for (int e = Limits::min_exponent - Limits::digits; e < Limits::max_exponent - 10; ++e)
        for (const auto &[first, second, length] : triples) {
            const T a = std::ldexp(T(first), e), b = std::ldexp(T(second), e);
            const T x[] = {a, -a, b, -b}, y[] = {b, -b, -a, a};
            T r[4];
            _fynClearErrStatus();
            std::feclearexcept(FE_ALL_EXCEPT);
            entry(4, x, y, r);
            EXPECT_EQ(_fynClearErrStatus(), status_ok);
            EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW), 0) << e;
            for (const T v : r)
                ASSERT_EQ(v, std::ldexp(T(length), e)) << e;
        }
    const T large = Limits::max() / T(1.25), zero = 0;
    T r;
    entry(1, &large, &large, &r);
    EXPECT_EQ(r, Limits::infinity());
    EXPECT_EQ(_fynClearErrStatus(), status_overflow);
    entry(1, &zero, &zero, &r);
    EXPECT_EQ(std::bit_cast<IntegerOf<T>>(r), 0);
    EXPECT_EQ(_fynClearErrStatus(), status_ok);
    _fynSetMode(old);
}

TEST(HypotenuseLanes, ExactLengths) {
    check_exact_lengths<double>(_fyndHypot);
    check_exact_lengths<float>(_fynsHypot);
}

TEST(HypotenuseLanes, Errors) {
    std::mt19937_64 random(9);
    const auto uniform = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    double worst = 0;
    for (int i = 0; i < 20000; ++i) {
        const double x = 0.5 + uniform(), y = x * std::exp2(-30 * uniform());
        double r;
        _fyndHypot(1, &y, &x, &r);
        const DoubleDouble truth = square_root(DoubleDouble(x) * x + DoubleDouble(y) * y);
        worst = std::max(worst, error(r, {truth, 0}));
    }
    EXPECT_LT(worst, 0.505);
    EXPECT_GT(worst, 0.45);
}

// Powr has the bits of Pow where x is positive and neither is infinite, also beside arguments it refuses.
template <class T> void check_powr(PairEntry<T> powr, PairEntry<T> pow) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_IGNORE);
    std::mt19937_64 random(11);
    for (int round = 0; round < 400; ++round) {
        T x[19], y[19], r[19], expected[19];
        for (int i = 0; i < 19; ++i) {
            x[i] = std::ldexp(static_cast<T>(1 + random() % 1000), static_cast<int>(random() % 60) - 40);
            y[i] = static_cast<T>(static_cast<int>(random() % 4001) - 2000) / (round % 2 ? T(1) : T(128));
        }
        const int refused = round % 19;
        x[refused] = round % 3 == 0 ? -x[refused] : x[refused];
        powr(19, x, y, r);
        pow(19, x, y, expected);
        for (int i = 0; i < 19; ++i) {
            if (x[i] < 0) {
                _fynClearErrStatus();
                powr(1, x + i, y + i, r + i);
                EXPECT_EQ(_fynClearErrStatus(), status_domain) << x[i] << " " << y[i];
                EXPECT_TRUE(std::isnan(r[i]));
            } else {
                EXPECT_EQ(r[i], expected[i]) << x[i] << " " << y[i];
            }
        }
    }
    _fynClearErrStatus();
    _fynSetMode(old);
}

TEST(PowerLanes, PositiveBase) {
    check_powr<double>(_fyndPowr, _fyndPow);
    check_powr<float>(_fynsPowr, _fynsPow);
}

} // namespace
