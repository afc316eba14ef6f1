// Properties of every kernel: position and length do not matter, nothing outside is touched; and the exact
// members against independent computation.
#include "support/functions.h"
#include "support/result_hash.h"
#include "support/sse_flags.h"

#include "qor_fyn.h"
#include "vector_math/kernels/exponential_tables.h"

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

using test::FunctionRow;

constexpr double inf = std::numeric_limits<double>::infinity();

// Interesting reals of the row's precision, as bytes.
std::vector<char> arguments(const FunctionRow &row, std::size_t count, unsigned seed) {
    std::mt19937_64 random(seed);
    std::vector<char> bytes(count * row.real_bytes());
    const double special[] = {0.0, -0.0, 1.0, -1.0, inf, -inf, NAN, 0.5, 800, -800, 1e-310, 3e38, 100, -2.5};
    for (std::size_t i = 0; i < count; ++i) {
        const double u = std::ldexp(static_cast<double>(random() >> 11), -53);
        const double x = random() % 6 == 0 ? special[random() % std::size(special)]
                                           : std::ldexp(2 * u - 1, static_cast<int>(random() % 12) - 4);
        const float f = static_cast<float>(x);
        row.real_bytes() == 4 ? std::memcpy(&bytes[4 * i], &f, 4) : std::memcpy(&bytes[8 * i], &x, 8);
    }
    return bytes;
}

// Every length up to twice the longest pass, shifted starts, in place and strided: the same bits as one
// element at a time, and not a byte beyond.
TEST(Kernels, SameBitsEverywhere) {
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_NOERR);
    constexpr std::size_t longest = 37;
    for (const FunctionRow &row : test::function_rows()) {
        if (row.is_pack() || row.is("lin") || row.strided)
            continue;
        FunctionRow strided = row;
        strided.strided = true;
        const std::size_t as = row.argument_parts() * row.real_bytes(),
                          rs = row.result_parts() * row.real_bytes();
        const auto a = arguments(row, longest * row.argument_parts(), 1),
                   b = arguments(row, longest * row.argument_parts(), 2);
        const bool fixed_b = row.is("v-s");
        for (int slot = 0; slot < 3; ++slot) {
            std::vector<char> one(longest * rs), two(longest * rs);
            for (std::size_t i = 0; i < longest; ++i)
                test::call(row, slot, 1, &a[i * as], 1, fixed_b ? b.data() : &b[i * as], 1, &one[i * rs], 1,
                           &two[i * rs], 1);
            for (std::size_t n = 0; n <= longest; n += n < 19 ? 1 : 6) {
                const std::size_t from = longest - n;
                std::vector<char> r1((n + 2) * rs, 0x5A), r2 = r1, e1 = r1, e2 = r1;
                std::copy_n(&one[from * rs], n * rs, &e1[rs]);
                if (row.results() == 2)
                    std::copy_n(&two[from * rs], n * rs, &e2[rs]);
                const char *av = a.data() + from * as, *bv = fixed_b ? b.data() : b.data() + from * as;
                const auto count = static_cast<std::int32_t>(n);
                test::call(row, slot, count, av, 1, bv, 1, &r1[rs], 1, &r2[rs], 1);
                ASSERT_TRUE(r1 == e1 && r2 == e2) << row.stem() << " slot " << slot << " n " << n;
                if (as == rs) { // in place
                    std::vector<char> v(av, av + n * as);
                    v.resize(n * as + 1);
                    test::call(row, slot, count, v.data(), 1, bv, 1, v.data(), 1, &r2[rs], 1);
                    ASSERT_EQ(std::memcmp(v.data(), &e1[rs], n * rs), 0)
                        << row.stem() << " in place, n " << n;
                }
            }
            if (row.stem() == "sCospi" && slot == 2)
                continue; // the strided twin has a kernel of its own in this slot
            // Backwards: results at every second element from the end.
            std::vector<char> s1(2 * longest * rs, 0x5A), s2 = s1, e1 = s1, e2 = s1;
            for (std::size_t i = 0; i < longest; ++i) {
                std::copy_n(&one[(longest - 1 - i) * rs], rs, &e1[(2 * longest - 1 - 2 * i) * rs]);
                if (row.results() == 2)
                    std::copy_n(&two[(longest - 1 - i) * rs], rs, &e2[(2 * longest - 1 - 2 * i) * rs]);
            }
            test::call(strided, slot, longest, &a[(longest - 1) * as], -1,
                       fixed_b ? b.data() : &b[(longest - 1) * as], -1, &s1[(2 * longest - 1) * rs], -2,
                       &s2[(2 * longest - 1) * rs], -2);
            ASSERT_TRUE(s1 == e1 && s2 == e2) << row.stem() << " slot " << slot << " strided";
        }
    }
    _fynSetMode(old);
}

TEST(Kernels, WriteResultHashes) {
    test::HashFile file;
    if (!file.wanted())
        GTEST_SKIP() << "QOR_HASH_FILE is not set";
    ASSERT_TRUE(file.is_open());
    const std::uint32_t old = _fynSetMode(FYN_ERRMODE_NOERR);
    constexpr std::size_t count = 500;
    for (const FunctionRow &row : test::function_rows()) {
        if (row.is_pack() || row.is("lin"))
            continue;
        const std::size_t as = row.argument_parts(), rs = row.result_parts(), size = row.real_bytes();
        const auto a = arguments(row, count * as, 3), b = arguments(row, count * as, 4);
        for (int slot = 0; slot < 3; ++slot) {
            std::vector<char> r1(count * rs * size), r2(r1.size());
            test::call(row, slot, count, a.data(), 1, b.data(), 1, r1.data(), 1, r2.data(), 1);
            test::ResultHash hash;
            hash.add(r1.data(), r1.size(), size);
            hash.add(r2.data(), r2.size(), size);
            file.write(row.stem() + test::slot_suffix(row, slot), hash);
        }
    }
    _fynSetMode(old);
}

// The exponential's table against itself: the square of 2^(j/64) is 2^(2j/64), six times over to a power of
// two, in double-double arithmetic; and the two forms of the table agree.
TEST(Kernels, ExponentialTable) {
    using namespace qor::fyn;
    for (int j = 0; j < 64; ++j) {
        const ExponentialPair entry = exponential_absolute[j], relative = exponential_relative[j];
        long double hi = entry.hi, lo = entry.lo;
        for (int doubling = 1; doubling <= 6; ++doubling) {
            // (hi + lo)^2, its leading product split exactly into two numbers of 32 bits each way
            const long double upper = static_cast<float>(hi), rest = hi - upper;
            const long double square = hi * hi;
            const long double error = ((upper * upper - square) + 2 * upper * rest) + rest * rest;
            const long double low = error + 2 * hi * lo + lo * lo;
            hi = square + low;
            lo = (square - hi) + low;
        }
        EXPECT_EQ(hi, std::ldexp(1.0L, j)) << j;
        EXPECT_LT(std::fabs(lo), std::ldexp(1.0L, j - 95)) << j;
        EXPECT_EQ(relative.hi, entry.hi);
        EXPECT_NEAR(relative.lo, entry.lo / entry.hi, 0x1p-105) << j;
    }
}

double from_bits(std::uint64_t bits) { return std::bit_cast<double>(bits); }

// Rounding by integers alone, as an independent model.
double round_down(double x) {
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const int exponent = static_cast<int>(bits >> 52 & 0x7FF) - 1023;
    if (exponent >= 52 || x == 0)
        return x;
    const std::uint64_t sign = bits >> 63 << 63;
    if (exponent < 0)
        return sign ? -1.0 : 0.0;
    const std::uint64_t fraction = (1ull << (52 - exponent)) - 1;
    return std::bit_cast<double>(((sign ? bits + fraction : bits) & ~fraction) | sign);
}

TEST(Kernels, DirectedRoundingBitForBitWithoutFlags) {
    std::vector<double> a = {-0.5,
                             0.5,
                             -0.0,
                             0.0,
                             2.5,
                             -2.5,
                             0x1.0000000000001p52,
                             1e300,
                             inf,
                             -inf,
                             from_bits(0x7FF4000000000001),
                             from_bits(0xFFF8000000000123),
                             0x1p-1074,
                             -0x1p-1074,
                             0x1.fffffffffffffp-1,
                             -0x1.fffffffffffffp-1,
                             0x1.fffffffffffffp51,
                             -0x1.fffffffffffffp51,
                             0x1p21,
                             0x1.fffffffffffffp20,
                             -1,
                             1,
                             0x1.0000000000001p0};
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i)
        a.push_back(from_bits((random() & 0x800FFFFFFFFFFFFF) | (random() % 70 + 1010) << 52));
    auto reference = [](const char *name, double x) {
        if (x != x)
            return x;
        switch (name[0]) {
        case 'F':
            return round_down(x);
        case 'C':
            return -round_down(-x);
        default:
            return std::signbit(x) ? -round_down(-x) : round_down(x);
        }
    };
    using Kernel = void (*)(std::int32_t, const double *, double *);
    for (const char *name : {"Ceil", "Floor", "Trunc"})
        for (int direction : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
            std::vector<double> r(a.size());
            const auto kernel = test::entry<Kernel>(std::string("_fynd") + name);
            std::fesetround(direction);
            test::clear_sse_flags();
            kernel(static_cast<std::int32_t>(a.size()), a.data(), r.data());
            const unsigned flags = test::sse_flags();
            std::fesetround(FE_TONEAREST);
            EXPECT_EQ(flags, 0u) << name;
            for (std::size_t i = 0; i < a.size(); ++i) {
                const double expected = reference(name, a[i]);
                ASSERT_EQ(std::bit_cast<std::uint64_t>(r[i]), std::bit_cast<std::uint64_t>(expected))
                    << name << " " << std::hexfloat << a[i] << " gives " << r[i];
            }
        }
}

TEST(Kernels, RoundingByTiesAndByDirection) {
    const double a[] = {0.5, -0.5, 1.5, 2.5, -2.5, 0x1.0000000000001p52, -0.4, 0x1.fffffffffffffp-2};
    const double away[] = {1, -1, 2, 3, -3, 0x1.0000000000001p52, -0.0, 0};
    const struct {
        int direction;
        double results[8];
    } directions[] = {
        {FE_TONEAREST, {0, -0.0, 2, 2, -2, 0x1.0000000000001p52, -0.0, 0}},
        {FE_UPWARD, {1, -0.0, 2, 3, -2, 0x1.0000000000001p52, -0.0, 1}},
        {FE_DOWNWARD, {0, -1, 1, 2, -3, 0x1.0000000000001p52, -1, 0}},
        {FE_TOWARDZERO, {0, -0.0, 1, 2, -2, 0x1.0000000000001p52, -0.0, 0}},
    };
    double r[8];
    _fyndRound(8, a, r);
    EXPECT_EQ(std::memcmp(r, away, sizeof r), 0);
    for (const auto &row : directions) {
        for (const auto entry : {_fyndRint, _fyndNearbyInt}) {
            std::fesetround(row.direction);
            entry(8, a, r);
            std::fesetround(FE_TONEAREST);
            EXPECT_EQ(std::memcmp(r, row.results, sizeof r), 0) << row.direction;
        }
    }
}

TEST(Kernels, ExponentialSpecialValues) {
    const struct {
        double x, result;
        int status;
    } cases[] = {
        {0, 1, 0},
        {1e-300, 1, 0},
        {-1e-17, 1, 0},
        {inf, inf, 0},
        {-inf, 0, 0},
        {NAN, NAN, 0},
        {709.782712893384, 0x1.fffffffffff2ap1023, 0},
        {709.7827128933841, inf, 3},
        {1e300, inf, 3},
        {-745.1332191019411, 0x1p-1074, 4},
        {-745.1332191019412, 0, 4},
        {-1e300, 0, 4},
        {-720, -1, 4},
    };
    _fynSetMode(FYN_ERRMODE_IGNORE);
    for (const auto &c : cases)
        for (std::size_t place = 0; place < 16; ++place) {
            double a[16] = {}, r[16];
            a[place] = c.x;
            _fynClearErrStatus();
            _fyndExp(16, a, r);
            EXPECT_EQ(_fynGetErrStatus(), c.status) << c.x;
            if (c.x == -720)
                EXPECT_TRUE(r[place] > 0 && r[place] < 0x1p-1022);
            else if (c.result != c.result)
                EXPECT_NE(r[place], r[place]);
            else
                EXPECT_EQ(r[place], c.result) << c.x;
        }
}

TEST(Kernels, ArithmeticSpecialValues) {
    const double snan1 = from_bits(0x7FF4000000000001), snan2 = from_bits(0x7FF4000000000002);
    const double a[] = {1, 0, -1, inf, NAN}, b[] = {0, 0, -0.0, 0, 0};
    double r[5];
    _fynSetMode(FYN_ERRMODE_IGNORE);
    _fynClearErrStatus();
    _fyndDiv(3, a, b, r);
    EXPECT_EQ(_fynClearErrStatus(), 2);
    EXPECT_TRUE(r[0] == inf && r[1] != r[1] && r[2] == inf);
    _fyndDiv(2, a + 3, b + 3, r);
    EXPECT_EQ(_fynClearErrStatus(), 0);
    const double inverses[] = {-0.0, 2};
    _fyndInv(2, inverses, r);
    EXPECT_TRUE(r[0] == -inf && r[1] == 0.5);
    EXPECT_EQ(_fynClearErrStatus(), 2);
    const double x[] = {NAN, 3, snan1}, y[] = {3, NAN, snan2};
    _fyndFmax(3, x, y, r);
    EXPECT_TRUE(r[0] == 3 && r[1] == 3);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(r[2]), 0x7FFC000000000002u);
    const double negative_nan = from_bits(0xFFF8000000000001);
    _fyndAbs(1, &negative_nan, r);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(r[0]), 0x7FF8000000000001u);
    const double p[] = {1, 2}, q[] = {3, 4};
    _fyndLinearFrac(2, p, q, 2, 1, 3, -1, r);
    EXPECT_TRUE(r[0] == 3.0 / 8 && r[1] == 5.0 / 11);
    float s[2], sp[] = {1, 2}, sq[] = {3, 4};
    _fynsLinearFracI(2, sp + 1, -1, sq + 1, -1, 2, 1, 3, -1, s + 1, -1);
    EXPECT_TRUE(s[0] == 3.0f / 8 && s[1] == 5.0f / 11);
}

} // namespace
