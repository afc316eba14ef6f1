// Arithmetic, comparisons, parts and remainders against computation in integers, and the flags they raise.
#include "support/library.h"

#include "qor_fyn.h"

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <emmintrin.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

template <class T> using Bits = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;
template <class T> using Limits = std::numeric_limits<T>;
template <class T> using Binary = void (*)(std::int32_t, const T *, const T *, T *);
template <class T> using Unary = void (*)(std::int32_t, const T *, T *);

template <class T, template <class> class Kernel> Kernel<T> kernel(const char *name) {
    return test::entry<Kernel<T>>(std::string("_fyn") + (sizeof(T) == 8 ? "d" : "s") + name);
}
template <class T> auto bits(T x) { return std::bit_cast<Bits<T>>(x); }

std::vector<int> reported;
std::int32_t note_report(FynErrorContext *context) {
    reported[static_cast<std::size_t>(context->index)] = context->code;
    return 0;
}

// Calls a kernel of two arguments with its reports noted.
template <class T> std::vector<T> run(const char *name, const std::vector<T> &a, const std::vector<T> &b) {
    std::vector<T> r(a.size());
    reported.assign(a.size(), 0);
    _fynSetMode(FYN_ERRMODE_CALLBACK | FYN_DENORM_FLUSH_OFF);
    _fynSetErrorCallBack(note_report);
    kernel<T, Binary>(name)(static_cast<std::int32_t>(a.size()), a.data(), b.data(), r.data());
    _fynClearErrorCallBack();
    return r;
}

// |x| = m 2^e.
template <class T> std::pair<std::uint64_t, int> parts(T x) {
    int e;
    const T m = std::frexp(std::fabs(x), &e);
    return {static_cast<std::uint64_t>(std::ldexp(m, Limits<T>::digits)), e - Limits<T>::digits};
}

// The remainder of finite x and nonzero y, one bit of the quotient at a time.
template <class T> T remainder_by_bits(T x, T y, bool nearest) {
    auto [m, e] = parts(x);
    auto [d, f] = parts(y);
    if (m == 0 || e < f - 1) // less than half of y
        return x;
    if (e < f) {
        d *= 2;
        --f;
    }
    std::uint64_t rest = m % d;
    bool odd = (m / d) % 2 != 0;
    for (; e > f; --e) {
        rest *= 2;
        odd = rest >= d;
        rest -= odd ? d : 0;
    }
    bool negative = std::signbit(x);
    if (nearest && (2 * rest > d || (2 * rest == d && odd))) {
        rest = d - rest;
        negative = !negative;
    }
    const T size = static_cast<T>(std::ldexp(static_cast<T>(rest), f));
    return negative ? -size : size;
}

template <class T> void check_remainders() {
    std::mt19937_64 random(3);
    std::vector<T> a, b;
    const auto number = [&random](int exponent) {
        const T m = static_cast<T>(random() >> (64 - Limits<T>::digits)) + T(1);
        return std::ldexp(random() % 2 ? m : -m, exponent - Limits<T>::digits);
    };
    for (int i = 0; i < 40000; ++i) {
        const int base = static_cast<int>(random() % (Limits<T>::max_exponent - 60));
        T y = number(i % 3 == 0 ? Limits<T>::min_exponent - 20 + base % 25 : base % 100 - 50);
        y = y == 0 ? T(1) : y; // a number below the smallest
        T x = number(i % 5 == 0 ? static_cast<int>(random() % Limits<T>::max_exponent)
                                : std::ilogb(y) + static_cast<int>(random() % 56) - 2);
        if (i % 4 == 1) // about half way between multiples, and on them
            x = std::nextafter(y * static_cast<T>(static_cast<double>(random() % 4096) / 2),
                               random() % 2 ? Limits<T>::max() : T(0));
        if (i % 4 == 2)
            x = y * static_cast<T>(static_cast<double>(random() % 64) / 2);
        a.push_back(std::isfinite(x) ? x : T(1));
        b.push_back(y);
    }
    for (const T y :
         {Limits<T>::max(), Limits<T>::min(), Limits<T>::denorm_min(), Limits<T>::max() / 8, T(3)})
        for (const T x : {Limits<T>::max(), Limits<T>::max() / 2, T(0), T(-0.0), Limits<T>::denorm_min()}) {
            a.push_back(x);
            b.push_back(y);
        }
    for (const bool nearest : {false, true}) {
        const auto r = run(nearest ? "Remainder" : "Fmod", a, b);
        for (std::size_t i = 0; i < a.size(); ++i) {
            ASSERT_EQ(bits(r[i]), bits(remainder_by_bits(a[i], b[i], nearest)))
                << std::hexfloat << a[i] << " " << b[i] << " gives " << r[i];
            ASSERT_EQ(reported[i], 0);
        }
    }
    const T inf = Limits<T>::infinity(), nan = Limits<T>::quiet_NaN();
    const std::vector<T> x = {inf, 1, -inf, 0, nan, 1, -2, -0.0}, y = {1, 0, inf, -0.0, 0, nan, -inf, inf};
    const int codes[] = {1, 1, 1, 1, 0, 0, 0, 0};
    for (const char *name : {"Fmod", "Remainder"}) {
        const auto r = run(name, x, y);
        for (std::size_t i = 0; i < x.size(); ++i) {
            EXPECT_EQ(reported[i], codes[i]) << name << " " << i;
            EXPECT_TRUE(i < 6 ? r[i] != r[i] : bits(r[i]) == bits(x[i])) << name << " " << i;
        }
    }
}

TEST(Arithmetic, RemaindersAreExact) {
    check_remainders<double>();
    check_remainders<float>();
}

// Every number has a place in the order of bit patterns; the neighbour's is one off.
template <class T> void check_neighbours() {
    using Place = std::make_signed_t<Bits<T>>;
    const auto place = [](T x) {
        const auto magnitude = static_cast<Place>(bits(std::fabs(x)));
        return std::signbit(x) ? -magnitude : magnitude;
    };
    std::vector<T> values = {0,
                             -0.0,
                             1,
                             -1,
                             2,
                             Limits<T>::infinity(),
                             -Limits<T>::infinity(),
                             Limits<T>::max(),
                             -Limits<T>::max(),
                             Limits<T>::min(),
                             -Limits<T>::min(),
                             2 * Limits<T>::min(),
                             Limits<T>::denorm_min(),
                             -Limits<T>::denorm_min(),
                             T(1.5),
                             Limits<T>::max() / 2,
                             std::nextafter(Limits<T>::min(), T(0)),
                             std::nextafter(T(1), T(0))};
    std::mt19937_64 random(5);
    for (int i = 0; i < 60; ++i)
        if (const T x = std::bit_cast<T>(static_cast<Bits<T>>(random())); x == x)
            values.push_back(x);
    std::vector<T> a, b;
    for (const T x : values)
        for (const T y : values) {
            a.push_back(x);
            b.push_back(y);
        }
    const auto r = run("NextAfter", a, b);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const Place step = a[i] < b[i] ? 1 : a[i] > b[i] ? -1 : 0;
        ASSERT_EQ(place(r[i]), place(a[i]) + step) << std::hexfloat << a[i] << " " << b[i];
        if (step == 0) {
            ASSERT_EQ(bits(r[i]), bits(b[i]));
        }
        const bool overflow = std::isinf(r[i]) && !std::isinf(a[i]);
        const bool underflow = step != 0 && std::fabs(r[i]) < Limits<T>::min();
        ASSERT_EQ(reported[i], overflow ? 3 : underflow ? 4 : 0) << std::hexfloat << a[i] << " " << b[i];
    }
}

TEST(Arithmetic, NeighboursInTheOrderOfPatterns) {
    check_neighbours<double>();
    check_neighbours<float>();
}

template <class T> void check_selections() {
    const T inf = Limits<T>::infinity(), nan = Limits<T>::quiet_NaN(),
            payload = std::bit_cast<T>(bits(nan) | 5);
    const struct {
        const char *name;
        T x, y, r;
    } cases[] = {
        {"Fmax", 1, 2, 2},
        {"Fmax", nan, 3, 3},
        {"Fmax", 3, nan, 3},
        {"Fmax", nan, payload, payload},
        {"Fmax", inf, nan, inf},
        {"Fmax", -0.0, 0, 0},
        {"Fmin", 1, 2, 1},
        {"Fmin", nan, 3, 3},
        {"Fmin", 3, nan, 3},
        {"Fmin", payload, nan, nan},
        {"Fmin", nan, -inf, -inf},
        {"MaxMag", -3, 2, -3},
        {"MaxMag", -3, 3, 3},
        {"MaxMag", 3, -3, 3},
        {"MaxMag", nan, -1, -1},
        {"MaxMag", 2, -inf, -inf},
        {"MinMag", -3, 2, 2},
        {"MinMag", -3, 3, -3},
        {"MinMag", 3, -3, -3},
        {"MinMag", -1, nan, -1},
        {"Fdim", 5, 3, 2},
        {"Fdim", 3, 5, 0},
        {"Fdim", inf, inf, 0},
        {"Fdim", inf, 1, inf},
        {"Fdim", -Limits<T>::max(), Limits<T>::max(), 0},
        {"Fdim", payload, 1, payload},
        {"CopySign", payload, -1, -payload},
        {"CopySign", -2, nan, 2},
    };
    for (const auto &c : cases)
        for (std::size_t place = 0; place < 9; ++place) { // in a full pass and in a tail
            std::vector<T> a(9, T(1)), b(9, T(2));
            a[place] = c.x;
            b[place] = c.y;
            EXPECT_EQ(bits(run(c.name, a, b)[place]), bits(c.r)) << c.name << " " << c.x << " " << c.y;
        }
}

TEST(Arithmetic, SelectionsBesideNaNs) {
    check_selections<double>();
    check_selections<float>();
}

template <class T> void check_parts() {
    const T inf = Limits<T>::infinity(), nan = std::bit_cast<T>(bits(Limits<T>::quiet_NaN()) | 9);
    const T a[] = {2.75, -2.75, -0.25, 0, -0.0, inf, -inf, nan, T(1e30), -3, Limits<T>::denorm_min()};
    const T whole[] = {2, -2, -0.0, 0, -0.0, inf, -inf, nan, T(1e30), -3, 0};
    const T rest[] = {T(0.75), T(-0.75), T(-0.25), 0, -0.0, 0, -0.0, nan, 0, -0.0, Limits<T>::denorm_min()};
    T r1[std::size(a)], r2[std::size(a)], r3[std::size(a)];
    test::entry<void (*)(std::int32_t, const T *, T *, T *)>(sizeof(T) == 8 ? "_fyndModf" : "_fynsModf")(
        std::size(a), a, r1, r2);
    kernel<T, Unary>("Frac")(std::size(a), a, r3);
    for (std::size_t i = 0; i < std::size(a); ++i) {
        EXPECT_EQ(bits(r1[i]), bits(whole[i])) << a[i];
        EXPECT_EQ(bits(r2[i]), bits(rest[i])) << a[i];
        EXPECT_EQ(bits(r3[i]), bits(rest[i])) << a[i];
    }
}

TEST(Arithmetic, PartsKeepTheSign) {
    check_parts<double>();
    check_parts<float>();
}

// A denormal divisor is no pole, whatever a comparison with zero would say.
template <class T> void check_division() {
    const T tiny = Limits<T>::denorm_min(), inf = Limits<T>::infinity(), nan = Limits<T>::quiet_NaN();
    const std::vector<T> a = {1, 0, -1, inf, nan, 6, 1, tiny, 1},
                         b = {0, 0, -0.0, 0, 0, 3, tiny, tiny, -tiny};
    const int codes[] = {2, 2, 2, 0, 0, 0, 0, 0, 0};
    for (const bool denormals_are_zeros : {false, true}) {
        const std::uint32_t old = _mm_getcsr();
        _mm_setcsr(denormals_are_zeros ? old | 0x8040 : old);
        const auto r = run("Div", a, b);
        _mm_setcsr(old);
        for (std::size_t i = 0; i < a.size(); ++i)
            EXPECT_EQ(reported[i], codes[i]) << i;
        EXPECT_TRUE(r[0] == inf && r[1] != r[1] && r[2] == inf && r[3] == inf && r[5] == 2);
        EXPECT_TRUE(r[6] == inf && (denormals_are_zeros ? r[7] != r[7] : r[7] == 1));
    }
}

TEST(Arithmetic, ZeroDivisorsByTheirBits) {
    check_division<double>();
    check_division<float>();
}

// Double precision keeps the caller's rounding and denormals; single precision rounds to nearest and flushes
// by the mode.
TEST(Arithmetic, EnvironmentByElementType) {
    const double d = 1, e = 0x1p-60, small = Limits<double>::min(), half = 0.5;
    const float f = 1, g = 0x1p-60f, fsmall = Limits<float>::min(), fhalf = 0.5f;
    double dr;
    float fr;
    for (const bool flush : {false, true}) {
        _fynSetMode(flush ? FYN_DENORM_FLUSH_ON : FYN_DENORM_FLUSH_OFF);
        std::fesetround(FE_UPWARD);
        _fyndAdd(1, &d, &e, &dr);
        _fynsAdd(1, &f, &g, &fr);
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(dr, 0x1.0000000000001p0);
        EXPECT_EQ(fr, 1.0f);
        _fyndMul(1, &small, &half, &dr);
        _fynsMul(1, &fsmall, &fhalf, &fr);
        EXPECT_EQ(dr, small / 2);
        EXPECT_EQ(fr, flush ? 0.0f : fsmall / 2);
    }
    _fynSetMode(FYN_DENORM_FLUSH_OFF);
}

// Exact operations and quiet NaNs raise nothing, and neither do lanes without an element.
TEST(Arithmetic, NoFlagWithoutReason) {
    const double nan = Limits<double>::quiet_NaN(), max = Limits<double>::max();
    double r[9], r2[9];
    const auto flags_of = [](auto &&call) {
        _mm_setcsr(_mm_getcsr() & ~0x3Fu);
        call();
        return _mm_getcsr() & 0x3F;
    };
    const struct {
        const char *name;
        double x, y;
        unsigned flags;
    } binary[] = {
        {"Fmod", 1000.3, 0.7, 0},
        {"Fmod", 1e300, 0x1p-1074, 0},
        {"Remainder", 1e10, 0.3, 0},
        {"NextAfter", 1, nan, 0},
        {"NextAfter", nan, 1, 0},
        {"NextAfter", 1, 2, 0},
        {"Fmax", nan, 1, 0},
        {"Fmin", 1, nan, 0},
        {"MaxMag", nan, nan, 0},
        {"Fdim", -max, max, 0},
        {"Div", 6, 3, 0},
        {"CopySign", nan, 1, 0},
        {"Div", 1, 0, _MM_EXCEPT_DIV_ZERO},
    };
    for (const auto &c : binary)
        for (std::int32_t n = 1; n <= 9; ++n) {
            const std::vector<double> x(9, c.x), y(9, c.y);
            _fynSetMode(FYN_ERRMODE_NOERR | FYN_DENORM_FLUSH_OFF);
            EXPECT_EQ(flags_of([&] { kernel<double, Binary>(c.name)(n, x.data(), y.data(), r); }), c.flags)
                << c.name << " " << c.x << " " << c.y << " " << n;
        }
    const std::vector<double> x(9, 2.5), nans(9, nan);
    for (std::int32_t n = 1; n <= 9; ++n) {
        EXPECT_EQ(flags_of([&] { _fyndFrac(n, x.data(), r); }), 0u);
        EXPECT_EQ(flags_of([&] { _fyndModf(n, x.data(), r, r2); }), 0u);
        EXPECT_EQ(flags_of([&] { _fyndRint(n, nans.data(), r); }), 0u);
        EXPECT_EQ(flags_of([&] { _fyndNearbyInt(n, x.data(), r); }), 0u);
        // a lane of ones, or of zeros, would divide by zero
        EXPECT_EQ(flags_of([&] { _fyndLinearFrac(n, x.data(), x.data(), 2, -2, 1, -1, r); }), 0u);
        EXPECT_EQ(flags_of([&] { _fyndLinearFrac(n, x.data(), x.data(), 2, 0, 2, 0, r); }), 0u);
    }
}

} // namespace
