// Lane functions of exponentials and hyperbolic functions: the tangent's table recomputed; both sides of
// every limit and of every step, and bit patterns of every kind, against double-double values; statuses and
// flags.
#include "tests/support/sse_flags.h"
#include "vector_math/kernels/exponential_lanes.h"
#include "vector_math/kernels/hyperbolic_lanes.h"

#include "qor_fyn.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;
using test::raised, test::same;

using Scaled = ScaledValue<100>;

Scaled of_two(double x) { return exponential_2<100>(x); }
Scaled of_ten(double x) { return exponential_10<100>(x); }
Scaled less_one(double x) { return exponential_minus_1<100>(x); }

DoubleDouble unscaled(const Scaled &e) { return by_power_of_two(e.value, e.exponent); }
Scaled negated_where(bool negative, const Scaled &e) { return {negative ? -e.value : e.value, e.exponent}; }

Scaled sine(double x) {
    const double size = std::fabs(x);
    if (size > lone_exponential) {
        const Scaled e = exponential<100>(DoubleDouble(size));
        return negated_where(x < 0, {e.value, e.exponent - 1});
    }
    const DoubleDouble m = unscaled(less_one(size));
    return negated_where(x < 0, {m + m / (m + 1.0), -1});
}
Scaled cosine(double x) {
    const Scaled e = exponential<100>(DoubleDouble(std::fabs(x)));
    if (std::fabs(x) > lone_exponential)
        return {e.value, e.exponent - 1};
    return {unscaled(e) + 1.0 / unscaled(e), -1};
}
Scaled tangent(double x) {
    const DoubleDouble m = unscaled(less_one(2 * std::min(std::fabs(x), 100.0)));
    return negated_where(x < 0, {m / (m + 2.0), 0});
}

TEST(ExponentialLanes, TangentTable) {
    constexpr int rows = std::size(tanh_pairs);
    for (int i = 0; i < rows; ++i) {
        const TanhPair row = tanh_pairs[i];
        const DoubleDouble off = tangent(1.0 * i / tanh_steps).value - DoubleDouble(row.hi, row.lo);
        EXPECT_LE(std::fabs(off.hi), 0x1p-98 * row.hi) << i;
        EXPECT_EQ(row.hi + row.lo, row.hi) << i;
    }
    using hyperbolic_lanes::TangentSteps;
    static_assert(TangentSteps<Lanes<double>>::end * tanh_steps < rows);
    EXPECT_EQ(tanh_pairs[rows - 1].hi, 1);
    EXPECT_EQ(std::tanh(TangentSteps<Lanes<float>>::end), 1.0f);
}

template <class T> struct Function {
    const char *name;
    void (*entry)(std::int32_t, const T *, T *);
    Status (*element)(T, T &) noexcept;
    Scaled (*truth)(double);
    double bound;
    bool noted_underflow; // where squares of the tiniest arguments underflow
};

template <class T> std::vector<T> arguments() {
    using Limits = std::numeric_limits<T>;
    std::mt19937_64 random(8);
    std::vector<double> places = {0x1p-60, 0x1p-30, 10,     19.07, 19.5,  22,      40,    87,
                                  88,      88.73,   89.42,  307.6, 308.3, 640,     704,   709.79,
                                  710.476, 1022,    1022.5, 1024,  1075,  0x1p-12, 0x1p-3};
    for (int i = -3; i < 200; ++i)
        for (const double step : {ln_2.hi / 64, DecimalSteps::step_hi, 1.0 / 64, 1.0 / tanh_steps})
            places.push_back((i + 0.5) * step);
    for (int i = 0; i < 641; ++i)
        places.push_back((i + 0.5) / tanh_steps);
    std::vector<T> a = {
        0, Limits::denorm_min(), Limits::min(), Limits::max(), Limits::infinity(), Limits::quiet_NaN()};
    for (const double place : places) {
        T x = static_cast<T>(place);
        for (int i = 0; i < 3; ++i)
            x = std::nextafter(x, T(0));
        for (int i = 0; i < 7; ++i, x = std::nextafter(x, Limits::infinity()))
            a.push_back(x);
    }
    for (int i = 0; i < 20000; ++i) {
        const double u = static_cast<double>(random() >> 11) * 0x1p-53;
        a.push_back(static_cast<T>(u));
        a.push_back(static_cast<T>(50 * u));
        a.push_back(static_cast<T>(std::exp2(70 * u - 60)));
        a.push_back(std::bit_cast<T>(static_cast<IntegerOf<T>>(random())));
    }
    for (std::size_t n = a.size(), i = 0; i < n; ++i)
        a.push_back(-a[i]);
    return a;
}

template <class T> void check(const Function<T> &function, const std::vector<T> &a) {
    using Limits = std::numeric_limits<T>;
    std::vector<T> r(a.size());
    _fynSetMode(FYN_ERRMODE_IGNORE);
    for (std::size_t i = 0; i < a.size() && !testing::Test::HasFailure(); i += 16) {
        const std::size_t n = std::min<std::size_t>(16, a.size() - i);
        T elements[16];
        int status = 0;
        raised();
        for (std::size_t k = 0; k < n; ++k)
            status = std::max<int>(status, function.element(a[i + k], elements[k]));
        const unsigned allowed = raised() | (function.noted_underflow ? 0x10 : 0);
        _fynClearErrStatus();
        function.entry(static_cast<std::int32_t>(n), &a[i], &r[i]);
        EXPECT_EQ(raised() & ~allowed, 0u) << function.name << " from element " << i;
        EXPECT_EQ(_fynClearErrStatus() != 0, status != 0) << function.name << " from element " << i;
        for (std::size_t k = 0; k < n; ++k) {
            const auto x = static_cast<double>(a[i + k]);
            if (!std::isnormal(elements[k]) || std::fabs(x) < 0x1p-200 || std::fabs(x) > 1100) {
                EXPECT_TRUE(same(r[i + k], elements[k])) << function.name << " at " << std::hexfloat << x;
                continue;
            }
            const Scaled truth = function.truth(x);
            const double result = std::ldexp(static_cast<double>(r[i + k]), -truth.exponent);
            const int place = std::ilogb(truth.value.hi) - Limits::digits + 1;
            EXPECT_LT(std::fabs((truth.value - result).hi), std::ldexp(function.bound, place))
                << function.name << " at " << std::hexfloat << x << " gives " << r[i + k] << ", not "
                << elements[k];
        }
    }
}

TEST(ExponentialLanes, Double) {
    const std::vector<double> a = arguments<double>();
    for (const auto &function : {
             Function<double>{"Exp2", _fyndExp2, Exp2::eval<double>, of_two, 0.54, true},
             {"Exp10", _fyndExp10, Exp10::eval<double>, of_ten, 0.54, true},
             {"Expm1", _fyndExpm1, Expm1::eval<double>, less_one, 0.52, false},
             {"Sinh", _fyndSinh, Sinh::eval<double>, sine, 0.54, false},
             {"Cosh", _fyndCosh, Cosh::eval<double>, cosine, 0.54, true},
             {"Tanh", _fyndTanh, Tanh::eval<double>, tangent, 0.58, false},
         })
        check(function, a);
}

TEST(ExponentialLanes, Single) {
    const std::vector<float> a = arguments<float>();
    for (const auto &function : {
             Function<float>{"Expm1", _fynsExpm1, Expm1::eval<float>, less_one, 0.5001, false},
             {"Sinh", _fynsSinh, Sinh::eval<float>, sine, 0.5001, false},
             {"Cosh", _fynsCosh, Cosh::eval<float>, cosine, 0.5001, false},
             {"Tanh", _fynsTanh, Tanh::eval<float>, tangent, 0.5001, false},
         })
        check(function, a);
}

} // namespace
