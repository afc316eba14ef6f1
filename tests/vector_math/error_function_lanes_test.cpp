// Lanes of the error functions, the normal distribution and their inverses against the element functions:
// both ends of every table row, every limit of what the lanes serve, bit patterns of every kind; flags.
#include "tests/support/sse_flags.h"
#include "vector_math/kernels/normal_distribution_lanes.h"

#include "qor_fyn.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;

template <class T> std::vector<T> arguments() {
    std::vector<double> places = {0,     6,        4,        26,          36,          9,
                                  12.75, 127,      26.5,     9.25,        37.5,        0.5,
                                  0.25,  0x1p-960, 0x1p-800, 1 - 0x1p-13, 2 - 0x1p-12, INFINITY};
    for (int k = -192; k <= 192; ++k)
        places.push_back(k / 32.0); // rows of erf
    for (int k = 0; k < 7 * 64; ++k)
        places.push_back(std::ldexp(1 + k % 64 / 64.0, k / 64) - 1); // rows in 1 + x
    for (int k = 0; k < 16 * 14; ++k) {
        const double tail = std::ldexp(1 + k % 16 / 16.0, k / 16 - 14); // rows of inverses
        places.insert(places.end(), {tail, 1 - tail, 2 - tail, tail / 2, 1 - tail / 2});
    }
    std::vector<T> list = {std::numeric_limits<T>::denorm_min(), std::numeric_limits<T>::max(), T(NAN)};
    for (const double place : places) {
        T x = static_cast<T>(place);
        for (int i = 0; i < 3; ++i)
            x = std::nextafter(x, T(-INFINITY));
        for (int i = 0; i < 7; ++i, x = std::nextafter(x, T(INFINITY)))
            list.push_back(x);
    }
    std::mt19937_64 random(5);
    for (int i = 0; i < 20000; ++i) {
        const double u = static_cast<double>(random() >> 11) * 0x1p-53;
        list.insert(list.end(), {static_cast<T>(u), static_cast<T>(40 * u), static_cast<T>(u * u * u),
                                 std::bit_cast<T>(static_cast<IntegerOf<T>>(random()))});
    }
    for (std::size_t i = list.size(); i-- > 0;)
        list.push_back(-list[i]);
    return list;
}

// Within `bound` ulps, both functions' errors together.
template <class Element, class T>
void compare(void (*entry)(std::int32_t, const T *, T *), double bound, double limit) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_NOERR);
    for (const T x : arguments<T>()) {
        T r, expected;
        Element::eval(x, expected);
        test::clear_sse_flags();
        entry(1, &x, &r);
        EXPECT_TRUE((test::raised() & ~test::underflow_flag) == 0 || !std::isfinite(expected))
            << std::hexfloat << x;
        if (!std::isfinite(expected) || expected == 0) {
            EXPECT_TRUE(r == expected ? std::signbit(r) == std::signbit(expected)
                                      : r != r && expected != expected)
                << std::hexfloat << x << " gives " << r << ", not " << expected;
            continue;
        }
        const int place = std::max(std::ilogb(expected), std::numeric_limits<T>::min_exponent - 1) + 1;
        const double error = std::ldexp(std::fabs(static_cast<double>(r) - static_cast<double>(expected)),
                                        std::numeric_limits<T>::digits - place);
        EXPECT_LE(error, bound) << std::hexfloat << x << " gives " << r << ", not " << expected;
        EXPECT_LE(std::fabs(static_cast<double>(r)), limit) << std::hexfloat << x;
    }
    _fynSetMode(old);
}

constexpr double no_limit = INFINITY;

TEST(ErrorFunctionLanes, Double) {
    using enum Accuracy;
    compare<Erf>(_fyndErf, 1, 1);
    compare<Erfc>(_fyndErfc, 1, 2);
    compare<Erfcx>(_fyndErfcx, 1, no_limit);
    compare<ErfcInv>(_fyndErfcInv, 1, no_limit);
    compare<CdfNormInv>(_fyndCdfNormInv, 1, no_limit);
    compare<CdfNorm<high>>(_fyndCdfNorm, 1, 1);
    compare<CdfNorm<high>>(_fyndCdfNorm_50, 3, 1);
    compare<CdfNorm<high>>(_fyndCdfNorm_26, 0x1p26, 1);
}

TEST(ErrorFunctionLanes, Single) {
    using enum Accuracy;
    compare<Erf>(_fynsErf, 1, 1);
    compare<Erfc>(_fynsErfc, 1, 2);
    compare<Erfcx>(_fynsErfcx, 1, no_limit);
    compare<ErfcInv>(_fynsErfcInv, 1, no_limit);
    compare<CdfNormInv>(_fynsCdfNormInv, 1, no_limit);
    compare<CdfNorm<high>>(_fynsCdfNorm, 1, 1);
    compare<CdfNorm<high>>(_fynsCdfNorm_21, 4, 1);
    compare<CdfNorm<high>>(_fynsCdfNorm_11, 2048, 1);
}

} // namespace
