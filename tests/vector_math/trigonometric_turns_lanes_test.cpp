// Sine, cosine and tangent of half turns and of degrees: every slot against the element function of high
// accuracy, on both sides of the steps and of the lanes' limits; exact results and flags.
#include "tests/support/sse_flags.h"
#include "vector_math/kernels/trigonometric_turns_lanes.h"

#include "qor_fyn.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::fyn;

template <class T> using Entry = void (*)(std::int32_t, const T *, T *);
template <class T> using Element = Status (*)(T, T &) noexcept;

// Slots in order; bounds in ulp, and of the shortest kernel.
template <class T> struct Row {
    const char *name;
    double unit; // a quarter turn
    Entry<T> entries[3];
    Element<T> element;
    double bounds[3];
};

constexpr double half_digits[] = {2048, 67108864};
constexpr auto high = Accuracy::high;

template <class T> constexpr Row<T> rows[6];
template <>
constexpr Row<double> rows<double>[6] = {
    {"Sinpi", 0.5, {_fyndSinpi_50, _fyndSinpi, _fyndSinpi_26}, Sinpi<high>::eval, {2, 0.55, half_digits[1]}},
    {"Cospi", 0.5, {_fyndCospi_50, _fyndCospi, _fyndCospi_26}, Cospi<high>::eval, {2, 0.55, half_digits[1]}},
    {"Tanpi", 0.5, {_fyndTanpi_50, _fyndTanpi, _fyndTanpi_26}, Tanpi<high>::eval, {4, 0.55, half_digits[1]}},
    {"Sind", 90, {_fyndSind_50, _fyndSind, _fyndSind_26}, Sind<high>::eval, {2, 0.55, half_digits[1]}},
    {"Cosd", 90, {_fyndCosd_50, _fyndCosd, _fyndCosd_26}, Cosd<high>::eval, {2, 0.55, half_digits[1]}},
    {"Tand", 90, {_fyndTand_50, _fyndTand, _fyndTand_26}, Tand<high>::eval, {4, 0.55, half_digits[1]}},
};
template <>
constexpr Row<float> rows<float>[6] = {
    {"Sinpi", 0.5, {_fynsSinpi_21, _fynsSinpi, _fynsSinpi_11}, Sinpi<high>::eval, {2, 0.51, half_digits[0]}},
    {"Cospi", 0.5, {_fynsCospi_21, _fynsCospi, _fynsCospi_11}, Cospi<high>::eval, {2, 0.51, half_digits[0]}},
    {"Tanpi", 0.5, {_fynsTanpi_21, _fynsTanpi, _fynsTanpi_11}, Tanpi<high>::eval, {4, 0.51, half_digits[0]}},
    {"Sind", 90, {_fynsSind_21, _fynsSind, _fynsSind_11}, Sind<high>::eval, {2, 0.51, half_digits[0]}},
    {"Cosd", 90, {_fynsCosd_21, _fynsCosd, _fynsCosd_11}, Cosd<high>::eval, {2, 0.51, half_digits[0]}},
    {"Tand", 90, {_fynsTand_21, _fynsTand, _fynsTand_11}, Tand<high>::eval, {4, 0.51, half_digits[0]}},
};

// Arguments around the steps of the tables, around the limits of the lanes and of every size.
template <class T> std::vector<T> arguments(double quarter) {
    std::mt19937_64 random(3);
    std::vector<T> a;
    for (int step = -300; step <= 300; ++step) { // a 32nd of a quarter turn, and half way to the next
        const T at = static_cast<T>(step * quarter / 64);
        for (const T x : {at, std::nextafter(at, T(1e30)), std::nextafter(at, T(-1e30))})
            a.push_back(x);
    }
    for (const double limit : {0x1p-200, 0x1p-30, 0x1p-32, 0x1p21, 0x1p40, 0x1p53, 0x1p56}) {
        const T at = static_cast<T>(limit);
        for (const T x : {at, std::nextafter(at, T(0)), std::nextafter(at, T(1e30))})
            a.insert(a.end(), {x, -x, x + static_cast<T>(quarter)});
    }
    for (int i = 0; i < 8000; ++i) {
        const double u = static_cast<double>(random() >> 11) * 0x1p-53;
        const double x = std::exp2(70 * u - 30) * (i % 2 != 0 ? 1 : -1);
        a.push_back(static_cast<T>(x));
        a.push_back(static_cast<T>(std::nearbyint(x) * quarter)); // zeros, poles, and 1
    }
    return a;
}

template <class T> void check_against_elements() {
    _fynSetMode(FYN_ERRMODE_IGNORE);
    for (const Row<T> &row : rows<T>) {
        const std::vector<T> a = arguments<T>(row.unit);
        std::vector<T> r(a.size());
        for (int slot = 0; slot < 3; ++slot) {
            row.entries[slot](static_cast<std::int32_t>(a.size()), a.data(), r.data());
            // The element function rounds to half a unit and little more: the nearest result may be its
            // neighbour.
            const double bound = row.bounds[slot] + 0.51;
            for (std::size_t i = 0; i < a.size(); ++i) {
                T expected;
                row.element(a[i], expected);
                if (expected == 0 || expected - expected != 0) {
                    ASSERT_EQ(std::bit_cast<IntegerOf<T>>(r[i]), std::bit_cast<IntegerOf<T>>(expected))
                        << row.name << " slot " << slot << " " << std::hexfloat << a[i];
                    continue;
                }
                const int place = std::max(std::ilogb(expected), std::numeric_limits<T>::min_exponent - 1) -
                                  (std::numeric_limits<T>::digits - 1);
                ASSERT_LE(
                    std::ldexp(std::fabs(static_cast<double>(r[i]) - static_cast<double>(expected)), -place),
                    bound)
                    << row.name << " slot " << slot << " " << std::hexfloat << a[i];
            }
        }
    }
}

TEST(TrigonometricTurnsLanes, NearTheElementFunctions) {
    check_against_elements<double>();
    check_against_elements<float>();
}

// Multiples of 30 and 45 degrees whose results are 0, 1/2 or 1, in every slot, signs of zeros included.
template <class T> void check_exact_results() {
    for (const Row<T> &row : rows<T>)
        for (int step = -48; step <= 48; ++step)
            for (const double fraction : {2.0, 3.0}) {
                if (row.unit < 1 && fraction == 3)
                    continue; // no such number
                const T x = static_cast<T>(step * row.unit / fraction);
                T expected;
                if (row.element(x, expected) != status_ok)
                    continue;
                if (expected != 0 && std::fabs(expected) != 1 && std::fabs(expected) != T(0.5))
                    continue;
                for (const auto entry : row.entries) {
                    T r;
                    entry(1, &x, &r);
                    EXPECT_EQ(std::bit_cast<IntegerOf<T>>(r), std::bit_cast<IntegerOf<T>>(expected))
                        << row.name << " " << x;
                }
            }
}

TEST(TrigonometricTurnsLanes, ExactResults) {
    check_exact_results<double>();
    check_exact_results<float>();
}

// Ordinary, tiny and huge arguments in one pass raise nothing; poles and infinities only their own.
template <class T> void check_flags_and_statuses() {
    constexpr T infinity = std::numeric_limits<T>::infinity(), huge = std::numeric_limits<T>::max();
    _fynSetMode(FYN_ERRMODE_IGNORE);
    for (const Row<T> &row : rows<T>) {
        const bool tangent = row.name[0] == 'T';
        const struct {
            T x;
            int status;
        } cases[] = {{0, 0},
                     {T(sizeof(T) == 8 ? 0x1p-500 : 0x1p-100), 0},
                     {huge, 0},
                     {T(0.3), 0},
                     {infinity, status_domain},
                     {T(3 * row.unit), tangent ? status_singularity : 0}};
        for (const auto entry : row.entries)
            for (const auto &c : cases)
                for (std::size_t place = 0; place < 16; ++place) {
                    T a[16], r[16];
                    std::fill_n(a, 16, T(0.7));
                    a[place] = c.x;
                    _fynClearErrStatus();
                    test::clear_sse_flags();
                    entry(16, a, r);
                    if (c.status == 0) {
                        ASSERT_EQ((test::sse_flags() & test::error_flags), 0u) << row.name << " " << c.x;
                    }
                    ASSERT_EQ(_fynClearErrStatus(), c.status) << row.name << " " << c.x;
                }
    }
}

TEST(TrigonometricTurnsLanes, FlagsAndStatuses) {
    check_flags_and_statuses<double>();
    check_flags_and_statuses<float>();
}

// The pair has the bits of both.
template <class T> void check_pair(auto pair) {
    const std::vector<T> a = arguments<T>(0.5);
    std::vector<T> u(a.size()), v(a.size()), sines(a.size()), cosines(a.size());
    const auto n = static_cast<std::int32_t>(a.size());
    pair(n, a.data(), u.data(), v.data());
    rows<T>[0].entries[1](n, a.data(), sines.data());
    rows<T>[1].entries[1](n, a.data(), cosines.data());
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_EQ(std::bit_cast<IntegerOf<T>>(u[i]), std::bit_cast<IntegerOf<T>>(sines[i])) << a[i];
        ASSERT_EQ(std::bit_cast<IntegerOf<T>>(v[i]), std::bit_cast<IntegerOf<T>>(cosines[i])) << a[i];
    }
}

TEST(TrigonometricTurnsLanes, PairHasTheBitsOfBoth) {
    check_pair<double>(_fyndSinCospi);
    check_pair<float>(_fynsSinCospi);
}

} // namespace
