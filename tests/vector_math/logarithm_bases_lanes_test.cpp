// Lanes of the logarithms to base 2 and 10, ln(1 + x) and the inverse hyperbolic functions: tables, exact
// results, both sides of every limit, bit patterns of every kind, flags and statuses.
#include "vector_math/kernels/inverse_hyperbolic_lanes.h"
#include "vector_math/kernels/logarithm_bases_lanes.h"

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

constexpr double infinity = std::numeric_limits<double>::infinity();

// scale/c in 36 bits, scale short enough for exact products with the lower part of a mantissa near 1; log c
// on its grid and as near as the kernel's bound needs it; the interval's ends within reach of the polynomial.
template <class Base> void check_table(int grid_bits) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Base::scale) << 28, 0u);
    for (std::uint64_t i = 0; i < std::size(Base::pairs); ++i) {
        const auto [reciprocal, log_c] = Base::pairs[i];
        EXPECT_EQ(std::bit_cast<std::uint64_t>(reciprocal) & 0x1FFFF, 0u) << i;
        const double units = std::ldexp(log_c, grid_bits);
        EXPECT_EQ(units, std::nearbyint(units)) << i;
        double smallest = infinity;
        for (std::uint64_t end : {i, i + 1}) {
            const auto bits = LogarithmReduction::one - LogarithmReduction::below_one + (end << 44);
            const double z = std::bit_cast<double>(bits);
            EXPECT_LT(std::fabs(z * reciprocal / Base::scale - 1), 0x1.2p-9) << i;
            smallest = std::min(smallest, std::fabs(std::log(z) * Base::per_natural.hi));
        }
        const DoubleDouble ln_c =
            logarithm<100>(DoubleDouble(Base::scale)) - logarithm<100>(DoubleDouble(reciprocal));
        const DoubleDouble rest = ln_c * Base::per_natural - log_c;
        EXPECT_LE(std::fabs(to_double(rest)), log_c == 0 ? 0 : std::ldexp(smallest, -59)) << i;
    }
}

TEST(LogarithmBasesLanes, Tables) {
    check_table<Base2>(43);
    check_table<Base10>(44);
    const DoubleDouble log10_2 = LogarithmConstants::log10_2;
    EXPECT_EQ((log10_2 - Base10::log2_hi).hi, Base10::log2_lo);
    EXPECT_EQ(std::ldexp(Base10::log2_hi, 44), std::nearbyint(std::ldexp(Base10::log2_hi, 44)));
}

TEST(LogarithmBasesLanes, PowersOfTheBaseAreExact) {
    for (int k = -1074; k < 1024; ++k) {
        const double x = std::ldexp(1, k);
        double r;
        _fyndLog2(1, &x, &r);
        EXPECT_EQ(r, k);
        const auto single = static_cast<float>(x);
        float s;
        _fynsLog2(1, &single, &s);
        EXPECT_EQ(s, single == 0 || k > 127 ? s : static_cast<float>(k));
    }
    double power = 1;
    for (int k = 0; k <= 22; ++k, power *= 10) {
        double r;
        _fyndLog10(1, &power, &r);
        EXPECT_EQ(r, k);
        const auto single = static_cast<float>(power);
        float s;
        _fynsLog10(1, &single, &s);
        EXPECT_TRUE(k > 10 || s == static_cast<float>(k)) << k;
    }
}

// To about 100 bits, for 2^-100 < |x| < 2^100.
DoubleDouble log_2(double x) {
    const auto parts = logarithm_parts<100>(x);
    return parts.exponent + parts.log_mantissa * LogarithmConstants::log2_e;
}
DoubleDouble log_10(double x) { return logarithm<100>(x) * LogarithmConstants::log10_e; }
DoubleDouble log_1p(double x) { return logarithm_1p<100>(x); }
DoubleDouble arsinh(double x) {
    const DoubleDouble a = std::fabs(x), square = a * a;
    const DoubleDouble r = logarithm_1p<100>(a + square / (1.0 + square_root(1.0 + square)));
    return x < 0 ? -r : r;
}
DoubleDouble arcosh(double x) {
    const DoubleDouble t = DoubleDouble(x) - 1.0;
    return logarithm_1p<100>(t + square_root(t * (t + 2.0)));
}
DoubleDouble artanh(double x) {
    const DoubleDouble a = std::fabs(x);
    const DoubleDouble r = 0.5 * logarithm_1p<100>(2.0 * a / (1.0 - a));
    return x < 0 ? -r : r;
}

template <class T> std::vector<T> arguments() {
    std::mt19937_64 random(5);
    std::vector<T> a = {0, std::numeric_limits<T>::denorm_min(), std::numeric_limits<T>::max(), T(infinity),
                        T(NAN)};
    std::vector<double> places = {1, 0.5, 2, 10, 1 - 0x1p-20, 1 + 0x1p-17, 0x1p-17, 0x1p-30, 0x1p-53, 0x1p53};
    for (const double limit : {0x1p-1022, 0x1p-126, 0x1p-511, 0x1p500, 0x1p511, 0x1p1000, 0x1p127})
        places.push_back(limit);
    for (std::uint64_t i = 0; i <= 256; ++i)
        places.push_back(
            std::bit_cast<double>(LogarithmReduction::one - LogarithmReduction::below_one + (i << 44)));
    for (const double place : places) {
        T x = static_cast<T>(place);
        for (int i = 0; i < 3; ++i)
            x = std::nextafter(x, T(0));
        for (int i = 0; i < 7; ++i, x = std::nextafter(x, T(infinity)))
            a.push_back(x);
    }
    for (int i = 0; i < 10000; ++i) {
        const double u = static_cast<double>(random() >> 11) * 0x1p-53;
        a.push_back(static_cast<T>(u));
        a.push_back(static_cast<T>(1 + std::exp2(-52 * u)));
        a.push_back(static_cast<T>(std::exp2(90 * u - 60)));
        a.push_back(std::bit_cast<T>(static_cast<IntegerOf<T>>(random())));
    }
    for (std::size_t n = a.size(), i = 0; i < n; ++i)
        a.push_back(-a[i]);
    return a;
}

template <class T> struct Function {
    const char *name;
    void (*entry)(std::int32_t, const T *, T *);
    Status (*element)(T, T &) noexcept;
    DoubleDouble (*truth)(double);
};

constexpr int counted_flags = FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW;

// Near the true value, or what the element function gives, with its status and no flag that it does not
// raise; but for underflow where parts of the square of x underflow.
template <class T> void check(const Function<T> &function, double bound) {
    const std::uint32_t mode = _fynSetMode(FYN_ERRMODE_IGNORE);
    for (const T x : arguments<T>()) {
        T r, expected;
        std::feclearexcept(FE_ALL_EXCEPT);
        const int status = function.element(x, expected);
        const int allowed =
            std::fetestexcept(counted_flags) | (std::fabs(x) < T(0x1p-480) ? FE_UNDERFLOW : 0);
        std::feclearexcept(FE_ALL_EXCEPT);
        _fynClearErrStatus();
        function.entry(1, &x, &r);
        ASSERT_EQ(std::fetestexcept(counted_flags) & ~allowed, 0)
            << function.name << std::hexfloat << " " << x;
        ASSERT_EQ(_fynClearErrStatus(), status) << function.name << std::hexfloat << " " << x;
        const auto wide = static_cast<double>(x);
        if (std::isfinite(expected) && expected != 0 && std::fabs(wide) > 0x1p-100 &&
            std::fabs(wide) < 0x1p100) {
            const DoubleDouble truth = function.truth(wide);
            const int place = std::ilogb(truth.hi) - std::numeric_limits<T>::digits + 1;
            ASSERT_LT(std::fabs((truth - static_cast<double>(r)).hi), std::ldexp(bound, place))
                << function.name << std::hexfloat << " " << x << " gives " << r << ", not " << expected;
        } else {
            const bool same = r == expected ? std::signbit(r) == std::signbit(expected)
                                            : std::fabs(r - expected) <=
                                                  std::fabs(expected) * std::numeric_limits<T>::epsilon() / 2;
            ASSERT_TRUE(same || (r != r && expected != expected))
                << function.name << std::hexfloat << " " << x << " gives " << r << ", not " << expected;
        }
    }
    _fynSetMode(mode);
}

TEST(LogarithmBasesLanes, EveryKindOfArgument) {
    for (const auto &function : {Function<double>{"Log2", _fyndLog2, Log2::eval<double>, log_2},
                                 {"Log10", _fyndLog10, Log10::eval<double>, log_10},
                                 {"Log1p", _fyndLog1p, Log1p::eval<double>, log_1p},
                                 {"Asinh", _fyndAsinh, Asinh::eval<double>, arsinh},
                                 {"Acosh", _fyndAcosh, Acosh::eval<double>, arcosh},
                                 {"Atanh", _fyndAtanh, Atanh::eval<double>, artanh}})
        check(function, 0.52);
    for (const auto &function : {Function<float>{"Log2", _fynsLog2, Log2::eval<float>, log_2},
                                 {"Log10", _fynsLog10, Log10::eval<float>, log_10},
                                 {"Log1p", _fynsLog1p, Log1p::eval<float>, log_1p},
                                 {"Asinh", _fynsAsinh, Asinh::eval<float>, arsinh},
                                 {"Acosh", _fynsAcosh, Acosh::eval<float>, arcosh},
                                 {"Atanh", _fynsAtanh, Atanh::eval<float>, artanh}})
        check(function, 0.5002);
}

} // namespace
