// MRG32k3a beside its recurrences with plain remainders, and beside published numbers and jump matrices.
#include "tests/statistics/streams/generator_entries.h"

#include <cmath>
#include <random>

namespace {

using test::Record;
using test::Words;
using u64 = std::uint64_t;
using u128 = unsigned __int128;

constexpr std::int64_t m1 = 4294967087, m2 = 4294944443;
constexpr double c = 1.0 / 4294967087;

const test::GeneratorEntries &mrg() {
    static const test::GeneratorEntries g = {"MRG32K3A", 1};
    return g;
}

Record skipped(Record record, const std::vector<u64> &count) {
    EXPECT_EQ(
        mrg().init(qor::bex::skip_ahead_extended, &record, static_cast<int>(count.size()), count.data()), 0);
    return record;
}

Words model(const Record &record, std::size_t n) {
    std::int64_t x[3], y[3];
    std::copy_n(record.state, 3, x);
    std::copy_n(record.state + 3, 3, y);
    Words words(n);
    for (std::uint32_t &word : words) {
        const std::int64_t next_x = (1403580 * x[1] - 810728 * x[0]) % m1;
        const std::int64_t next_y = (527612 * y[2] - 1370589 * y[0]) % m2;
        std::copy(x + 1, x + 3, x);
        std::copy(y + 1, y + 3, y);
        x[2] = next_x < 0 ? next_x + m1 : next_x;
        y[2] = next_y < 0 ? next_y + m2 : next_y;
        word = static_cast<std::uint32_t>((x[2] - y[2] + m1) % m1);
    }
    return words;
}

// P. L'Ecuyer, R. Simard, E. J. Chen, W. D. Kelton, "An object-oriented random-number package with many long
// streams and substreams", Oper. Res. 50 (2002): the first numbers of its first stream, which are z / (m1 +
// 1), and its matrices of the jump over 2^127 numbers to the second.
TEST(Mrg32k3a, PublishedNumbersAndJump) {
    const Record start = mrg().seeded({12345, 12345, 12345, 12345, 12345, 12345});
    Record record = start;
    const Words words = mrg().draw(record, 5);
    const double ten_digits[] = {1270111220, 3185275653, 3091860155, 8258468629, 2216299157};
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(std::floor(words[i] / (m1 + 1.0) * 1e10), ten_digits[i]);

    constexpr u64 jump[2][3][3] = {{{2427906178, 3580155704, 949770784},
                                    {226153695, 1230515664, 3580155704},
                                    {1988835001, 986791581, 1230515664}},
                                   {{1464411153, 277697599, 1610723613},
                                    {32183930, 1464411153, 1022607788},
                                    {2824425944, 32183930, 2093834863}}};
    const Record later = skipped(start, {0, u64{1} << 63});
    for (std::size_t i = 0; i < 6; ++i) {
        const u64(&row)[3] = jump[i / 3][i % 3];
        EXPECT_EQ(later.state[i],
                  (u128{row[0]} + row[1] + row[2]) * 12345 % static_cast<u64>(i < 3 ? m1 : m2))
            << i;
    }
}

TEST(Mrg32k3a, Seeding) {
    const auto max = 0xFFFFFFFFu;
    const std::pair<Words, Words> cases[] = {
        {{}, {1, 1, 1, 1, 1, 1}},
        {{0, 0, 0, 0, 0, 0}, {1, 0, 0, 1, 0, 0}},
        {{0, 0, 0, 0}, {1, 0, 0, 0, 1, 1}},
        {{max, max, max, max, max, max, 9}, {208, 208, 208, 22852, 22852, 22852}},
        {{4294967086, 4294967087, 5, 4294944442, 4294944443, 6}, {4294967086, 0, 5, 4294944442, 0, 6}},
        {{4294967087, 4294967087, 4294967087}, {1, 0, 0, 1, 1, 1}},
    };
    for (const auto &[seed, state] : cases)
        EXPECT_TRUE(std::equal(state.begin(), state.end(), mrg().seeded(seed).state))
            << testing::PrintToString(seed);
    mrg().check_refusals(mrg().seeded({3}), {{1, -1002}, {4, -2}, {-1, -2}});
}

TEST(Mrg32k3a, SequenceInAnyCut) {
    const std::uint32_t x = m1 - 1, y = m2 - 1;
    for (const Words &seed :
         {Words{1, 2, 3, 4, 5, 6}, {x, x, x, y, y, y}, {x, 0, x, 0, 0, y}, {0, x, 0, y, 0, 0}}) {
        const Record start = mrg().seeded(seed);
        mrg().check_sequence(start, model(start, 4700), test::mapped_double(c), test::mapped_float(c));
    }
}

// The largest and smallest numbers that the folds have to take, in every lane: a whole period less some steps
// leads to a place just before them.
TEST(Mrg32k3a, ExtremeWords) {
    const std::vector<u64> period = {0xa99e8fe8044fc6ce, 0xa67899fa918bef18, 0x7fff78df2ffa82f4};
    const std::uint32_t x[] = {0, 1, m1 - 1}, y[] = {0, 1, m2 - 1};
    for (int i = 0; i < 729; ++i) {
        const Record extreme =
            mrg().seeded({x[i % 3], x[i / 3 % 3], x[i / 9 % 3], y[i / 27 % 3], y[i / 81 % 3], y[i / 243]});
        std::vector<u64> back = period;
        back[0] -= static_cast<u64>(i * 37 % 2048);
        Record record = skipped(extreme, back);
        EXPECT_EQ(mrg().draw(record, 2200), model(record, 2200)) << i;
        if (i == 400) {
            EXPECT_EQ(skipped(extreme, period), extreme);
        }
    }
}

TEST(Mrg32k3a, SkipAhead) {
    std::mt19937_64 random(191);
    const Record start = mrg().seeded({91, 82, 73, 64, 55, 46});
    for (int n : {0, 1, 2, 3, 63, 64, 5000}) {
        Record drawn = start;
        mrg().draw(drawn, n);
        EXPECT_EQ(mrg().skipped(start, static_cast<u64>(n)), drawn);
    }
    EXPECT_EQ(skipped(start, {}), start);
    EXPECT_EQ(skipped(start, {0, 0, 0}), start);
    for (int i = 0; i < 50; ++i) {
        const u64 a = random(), b = random() >> i, low = a + b, carry = low < a ? 1 : 0;
        EXPECT_EQ(mrg().skipped(mrg().skipped(start, a), b), skipped(start, {low, carry}));
        EXPECT_EQ(skipped(skipped(start, {a, b, 5}), {0, 0, a}), skipped(start, {a, b, a + 5}));
        EXPECT_EQ(mrg().skipped(start, a), skipped(start, {a, 0}));
    }
}

TEST(Vector3Powers, AgainstRepeatedProducts) {
    const auto power = test::entry<decltype(&__bexiVect3PowMod)>("__bexiVect3PowMod");
    const auto array_power = test::entry<decltype(&__bexiVect3PowArrayMod)>("__bexiVect3PowArrayMod");
    std::mt19937_64 random(3);
    for (std::uint32_t m : {1u, 2u, 65537u, 2147483659u, 4294967087u, 4294967295u})
        for (std::uint32_t e = 0; e < 40; ++e) {
            std::uint32_t a[9], x[3];
            for (std::uint32_t &word : a)
                word = e % 3 == 0 ? m - 1 : static_cast<std::uint32_t>(random());
            for (std::uint32_t &word : x)
                word = e % 4 < 2 ? 0xFFFFFFFF : static_cast<std::uint32_t>(random());
            Words expected(x, x + 3);
            for (std::uint32_t k = 0; k < e; ++k) {
                const Words v = expected;
                for (std::size_t i = 0; i < 3; ++i)
                    expected[i] = static_cast<std::uint32_t>(
                        (u128{a[3 * i]} * v[0] + u128{a[3 * i + 1]} * v[1] + u128{a[3 * i + 2]} * v[2]) % m);
            }
            Words r(x, x + 3);
            power(a, e, m, r.data());
            EXPECT_EQ(r, expected) << m << ' ' << e;
            // (e + 2 * 2^64) steps are e, and four times 2^63
            const u64 exponent[] = {e, 2};
            r.assign(x, x + 3);
            array_power(a, 2, exponent, m, r.data());
            for (int k = 0; k < 4; ++k)
                power(a, u64{1} << 63, m, expected.data());
            EXPECT_EQ(r, expected) << m << ' ' << e;
        }
}

TEST(Vector3Powers, ComponentsAdvanceAsTheGenerator) {
    using Component = decltype(&__bexiVect3PowArrayMod_M1);
    const u64 count[] = {0x123456789ABCDEF, 77};
    Record record = mrg().seeded({6, 5, 4, 3, 2, 1});
    const Record later = skipped(record, {count[0], count[1]});
    test::entry<Component>("__bexiVect3PowArrayMod_M1")(2, count, record.state);
    test::entry<Component>("__bexiVect3PowArrayMod_M2")(2, count, record.state + 3);
    EXPECT_EQ(record, later);
}

} // namespace
