// Lane functions of logarithm, inverse error function, square root and single exponentials: tables, special
// lanes, reports, flags and the accuracy at places where it is easily lost.
#include "vector_math/kernels/inverse_error_function_lanes.h"
#include "vector_math/kernels/logarithm_lanes.h"

#include "qor_fyn.h"

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <tuple>
#include <vector>

namespace {

using namespace qor::fyn;

constexpr double inf = std::numeric_limits<double>::infinity();

// 1/c short enough for exact products, ln c on its grid and as near as the kernel's bound needs it, against
// the double-double logarithm; the interval's ends within reach of the polynomial.
TEST(LogarithmTable, PairsFitTheirIntervals) {
    for (std::uint64_t i = 0; i < std::size(logarithm_pairs); ++i) {
        const auto [reciprocal, log_c] = logarithm_pairs[i];
        EXPECT_EQ(std::bit_cast<std::uint64_t>(reciprocal) & 0x1FFFF, 0u) << i;
        EXPECT_EQ(log_c * 0x1p43, std::nearbyint(log_c * 0x1p43)) << i;
        double smallest = inf;
        for (std::uint64_t end : {i, i + 1}) {
            const auto bits = LogarithmReduction::one - LogarithmReduction::below_one + (end << 44);
            const double z = std::bit_cast<double>(bits);
            EXPECT_LT(std::fabs(z * reciprocal - 1), 0x1.2p-9) << i;
            smallest = std::min(smallest, std::fabs(std::log(z)));
        }
        const DoubleDouble rest = logarithm<100>(DoubleDouble(reciprocal)) + log_c;
        EXPECT_LE(std::fabs(to_double(rest)), reciprocal == 1 ? 0 : std::ldexp(smallest, -59)) << i;
    }
}

// The single table: scale times a mantissa is exact, ln c belongs to the reciprocal, the interval's ends are
// within reach of the cubic.
TEST(LogarithmTable, SingleRowsFitTheirIntervals) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(logarithm_scale) % (std::uint64_t{1} << 25), 0u);
    const std::int32_t start = std::bit_cast<std::int32_t>(1.0f) - (1237 << 12);
    for (std::int32_t i = 0; i < std::ssize(logarithm_single); ++i) {
        const auto [reciprocal, log_c] = logarithm_single[i];
        const DoubleDouble rest =
            logarithm<100>(DoubleDouble(reciprocal)) - logarithm<100>(DoubleDouble(logarithm_scale)) + log_c;
        EXPECT_LE(std::fabs(to_double(rest)), reciprocal == logarithm_scale ? 0 : 0x1p-53 * std::fabs(log_c))
            << i;
        for (std::int32_t end : {i << 13, (i + 1) << 13}) {
            const auto z = static_cast<double>(std::bit_cast<float>(start + end));
            EXPECT_LT(std::fabs(z * (reciprocal / logarithm_scale) - 1), 0x1.001p-11) << i;
        }
    }
}

// Every argument's bits lie in one table entry's interval: the ends of all intervals, and of the binades
// around 1, where the exponent changes, against the double-double logarithm.
TEST(LogarithmLanes, IntervalEnds) {
    double worst = 0;
    for (std::uint64_t i = 0; i <= 2 * std::size(logarithm_pairs); ++i)
        for (int step = -1; step <= 1; ++step)
            for (int k : {-1021, -1, 0, 1, 1022}) {
                const auto bits = LogarithmReduction::one - LogarithmReduction::below_one + (i << 43);
                const double x =
                    std::ldexp(std::bit_cast<double>(bits + static_cast<std::uint64_t>(step)), k);
                double r;
                _fyndLn(1, &x, &r);
                if (x == 1) {
                    EXPECT_TRUE(r == 0 && !std::signbit(r));
                    continue;
                }
                const DoubleDouble truth = logarithm<100>(DoubleDouble(x));
                worst =
                    std::max(worst, std::ldexp(std::fabs(to_double(truth - r)), 52 - std::ilogb(truth.hi)));
            }
    EXPECT_LT(worst, 0.52);
    EXPECT_GT(worst, 0.4); // measured at all
}

// erf of the result, by a long-double function: pieces' ends of every octave, both kernels.
TEST(InverseErrorLanes, PieceEnds) {
    double worst = 0, worst_short = 0;
    for (int octave = 1; octave <= 20; ++octave)
        for (int piece = 0; piece < 32; ++piece)
            for (int step = -1; step <= 1; ++step) {
                const double t = std::ldexp(1 + piece / 32.0, -octave) + step * 0x1p-53, x = t - 1;
                double r, s;
                _fyndErfInv(1, &x, &r);
                _fyndErfInv_26(1, &x, &s);
                if (t <= 0.5)
                    worst = std::max(worst, std::fabs(r / -special::erfc_inverse_tail(t).hi - 1));
                worst_short = std::max(worst_short, std::fabs(s / r - 1));
            }
    EXPECT_LT(worst, 0x1.8p-52);
    EXPECT_LT(worst_short, 0x1p-29);
    EXPECT_GT(worst_short, 0x1p-40); // a kernel of its own
}

// The largest error of a single-precision function against the double-precision one, in units of the last
// place.
double worst_of(void (*single)(std::int32_t, const float *, float *),
                void (*wide)(std::int32_t, const double *, double *), const std::vector<float> &x) {
    const auto n = static_cast<std::int32_t>(x.size());
    const std::vector<double> exact(x.begin(), x.end());
    std::vector<double> y(x.size());
    std::vector<float> r(x.size());
    single(n, x.data(), r.data());
    wide(n, exact.data(), y.data());
    double worst = 0;
    for (std::size_t i = 0; i < x.size(); ++i)
        if (y[i] != 0)
            worst = std::max(worst,
                             std::ldexp(std::fabs(y[i] - static_cast<double>(r[i])), 23 - std::ilogb(y[i])));
        else
            EXPECT_EQ(r[i], 0) << x[i];
    return worst;
}

// Ends, middles and neighbours of every row's interval, in several binades. A wrong entry or a lost bit of
// one exceeds the bounds, which are the kernels' own.
TEST(SingleLanes, EveryRow) {
    std::vector<float> ln, exp, exp2, erf_inverse;
    for (std::int32_t half = 0; half <= 2048; ++half)
        for (std::int32_t step = -1; step <= 1; ++step) {
            for (int k : {-125, -1, 0, 1, 127})
                ln.push_back(std::bit_cast<float>(0x3F800000 + (half - 1237) * 0x1000 + step + k * 0x800000));
            for (int k : {-120, -1, 0, 1, 90}) {
                const double octaves = k + half / 2048.0 + step * 0x1p-20;
                exp2.push_back(static_cast<float>(octaves));
                exp.push_back(static_cast<float>(octaves * std::log(2)));
            }
        }
    for (int octave = 1; octave <= 24; ++octave)
        for (int half = 0; half < 32; ++half)
            for (double step : {-0x1p-24, 0.0, 0x1p-24}) {
                const double x = 1 - std::ldexp(1 + half / 32.0, -octave) + step;
                if (std::fabs(x) < 1)
                    erf_inverse.insert(erf_inverse.end(), {static_cast<float>(x), static_cast<float>(-x)});
            }
    const std::tuple<const char *, double, double> worst[] = {
        {"Ln", worst_of(_fynsLn, _fyndLn, ln), 0.5001},
        {"Exp", worst_of(_fynsExp, _fyndExp, exp), 0.5002},
        {"Exp2", worst_of(_fynsExp2, _fyndExp2, exp2), 0.5002},
        {"ErfInv, high", worst_of(_fynsErfInv, _fyndErfInv, erf_inverse), 0.5005},
        {"ErfInv, low", worst_of(_fynsErfInv_21, _fyndErfInv, erf_inverse), 2.2},
        {"ErfInv, short", worst_of(_fynsErfInv_11, _fyndErfInv, erf_inverse), 540}};
    for (const auto &[name, error, bound] : worst) {
        EXPECT_LT(error, bound) << name;
        EXPECT_GT(error, 0.4) << name; // measured at all
    }
}

template <class T> struct Case {
    const char *entry;
    void (*call)(std::int32_t, const T *, T *);
    T x, result;
    int status;
};

// Among ordinary arguments, at every place: value, status, and no flag but inexact (and invalid or
// division by zero where reported).
template <class T, std::size_t count> void check_cases(const Case<T> (&cases)[count]) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_IGNORE);
    for (const Case<T> &c : cases)
        for (std::size_t place = 0; place < 19; ++place) {
            T a[19], r[19];
            std::fill_n(a, 19, T(0.75));
            a[place] = c.x;
            _fynClearErrStatus();
            std::feclearexcept(FE_ALL_EXCEPT);
            c.call(19, a, r);
            const int flags = std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
            EXPECT_EQ(_fynClearErrStatus(), c.status) << c.entry << " " << c.x;
            // of the smallest arguments low parts underflow
            if (c.status == 0 && !(std::fabs(c.x) < std::ldexp(std::numeric_limits<T>::min(),
                                                               std::numeric_limits<T>::digits + 10))) {
                EXPECT_EQ(flags, 0) << c.entry << " " << c.x;
            }
            const bool same = r[place] == c.result && std::signbit(r[place]) == std::signbit(c.result);
            EXPECT_TRUE(c.result != c.result ? r[place] != r[place] : same)
                << c.entry << " " << c.x << " gives " << r[place];
            EXPECT_EQ(r[(place + 1) % 19], r[(place + 2) % 19]);
        }
    _fynSetMode(old);
}

template <class T> constexpr T smallest = std::numeric_limits<T>::denorm_min();

TEST(SpecialLanes, Double) {
    constexpr double erfinv_tiny = 0x1.c5bf891b4ef6bp-971; // sqrt(pi)/2 2^-970
    const Case<double> cases[] = {
        {"Ln", _fyndLn, 0, -inf, 2},
        {"Ln", _fyndLn, -0.0, -inf, 2},
        {"Ln", _fyndLn, -1, NAN, 1},
        {"Ln", _fyndLn, -smallest<double>, NAN, 1},
        {"Ln", _fyndLn, -inf, NAN, 1},
        {"Ln", _fyndLn, inf, inf, 0},
        {"Ln", _fyndLn, NAN, NAN, 0},
        {"Ln", _fyndLn, -NAN, NAN, 0},
        {"Ln", _fyndLn, 1, 0, 0},
        {"Ln", _fyndLn, smallest<double>, -0x1.74385446d71c3p+9, 0},
        {"Ln", _fyndLn, 0x1p-1022, -0x1.6232bdd7abcd2p+9, 0},
        {"Ln", _fyndLn, 0x1.fffffffffffffp+1023, 0x1.62e42fefa39efp+9, 0},
        {"Sqrt", _fyndSqrt, -0.0, -0.0, 0},
        {"Sqrt", _fyndSqrt, -smallest<double>, NAN, 1},
        {"Sqrt", _fyndSqrt, -inf, NAN, 1},
        {"Sqrt", _fyndSqrt, -NAN, NAN, 0},
        {"Sqrt", _fyndSqrt, inf, inf, 0},
        {"Sqrt", _fyndSqrt, smallest<double>, 0x1p-537, 0},
        {"ErfInv", _fyndErfInv, 1, inf, 2},
        {"ErfInv", _fyndErfInv, -1, -inf, 2},
        {"ErfInv", _fyndErfInv, 0x1.0000000000001p0, NAN, 1},
        {"ErfInv", _fyndErfInv, -inf, NAN, 1},
        {"ErfInv", _fyndErfInv, NAN, NAN, 0},
        {"ErfInv", _fyndErfInv, 0, 0, 0},
        {"ErfInv", _fyndErfInv, -0.0, -0.0, 0},
        {"ErfInv", _fyndErfInv, 0x1p-970, erfinv_tiny, 0},
        {"ErfInv", _fyndErfInv, -smallest<double>, -smallest<double>, 0},
        {"ErfInv EP", _fyndErfInv_26, -1, -inf, 2},
        {"ErfInv EP", _fyndErfInv_26, 2, NAN, 1},
        {"ErfInv EP", _fyndErfInv_26, -0.0, -0.0, 0},
    };
    check_cases(cases);
}

TEST(SpecialLanes, Single) {
    constexpr float infinite = std::numeric_limits<float>::infinity();
    std::vector<Case<float>> cases;
    for (const auto call : {_fynsErfInv, _fynsErfInv_21, _fynsErfInv_11})
        for (const auto &[x, result, status] : {std::tuple{1.0f, infinite, 2},
                                                {-1.0f, -infinite, 2},
                                                {1.0000001f, NAN, 1},
                                                {-infinite, NAN, 1},
                                                {NAN, NAN, 0},
                                                {-0.0f, -0.0f, 0},
                                                {smallest<float>, smallest<float>, 0}})
            cases.push_back({"ErfInv", call, x, result, status});
    const Case<float> rest[] = {
        {"Ln", _fynsLn, 0, -infinite, 2},
        {"Ln", _fynsLn, -smallest<float>, NAN, 1},
        {"Ln", _fynsLn, infinite, infinite, 0},
        {"Ln", _fynsLn, NAN, NAN, 0},
        {"Ln", _fynsLn, 1, 0, 0},
        {"Ln", _fynsLn, smallest<float>, -0x1.9d1dap+6f, 0},
        {"Sqrt", _fynsSqrt, -1, NAN, 1},
        {"Sqrt", _fynsSqrt, -0.0f, -0.0f, 0},
        {"Sqrt", _fynsSqrt, 0x1.fffffep127f, 0x1.fffffep63f, 0},
    };
    check_cases(rest);
    for (const auto &c : cases) {
        const Case<float> one[] = {c};
        check_cases(one);
    }
}

} // namespace
