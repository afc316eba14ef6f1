// The congruential generators beside their recurrence in 128-bit integers.
#include "statistics/streams/generator.h"
#include "tests/support/library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace qor::bex;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using u128 = unsigned __int128;

struct Record {
    Stream header{};
    u64 state[2] = {};
    bool operator==(const Record &other) const { return std::memcmp(state, other.state, sizeof state) == 0; }
};

struct Generator {
    const char *name;
    u64 modulus, multiplier;
    std::size_t word_bytes;
    double scale;
    InitEntry init = test::entry<InitEntry>(std::string("__bexBRng") + name + "InitStream");
    IntegerEntry integers = test::entry<IntegerEntry>(std::string("__bexiBRng") + name);
    DoubleEntry doubles = test::entry<DoubleEntry>(std::string("__bexdBRng") + name);
    FloatEntry floats = test::entry<FloatEntry>(std::string("__bexsBRng") + name);

    Record seeded(const std::vector<u32> &seed) const {
        Record record;
        EXPECT_EQ(init(initialise, &record, static_cast<std::int32_t>(seed.size()), seed.data()), 0);
        return record;
    }
    Record skipped(Record record, u64 count) const {
        EXPECT_EQ(init(skip_ahead, &record, 2, &count), 0);
        return record;
    }
    // Written behind `offset` bytes, so that words lie anywhere.
    std::vector<u64> draw(Record &record, int n, std::size_t offset = 0) const {
        const auto count = static_cast<std::size_t>(n);
        std::vector<char> bytes(offset + count * word_bytes + 8, 0x5A);
        EXPECT_EQ(integers(&record, n, bytes.data() + offset), 0);
        EXPECT_TRUE(std::all_of(bytes.end() - 8, bytes.end(), [](char c) { return c == 0x5A; })) << name << n;
        std::vector<u64> words(count);
        for (std::size_t i = 0; i < count; ++i)
            std::memcpy(&words[i], bytes.data() + offset + i * word_bytes, word_bytes);
        return words;
    }
    u64 times(u64 a, u64 b) const { return static_cast<u64>(u128{a} * b % modulus); }
    std::vector<u64> expected(u64 x, std::size_t n) const {
        std::vector<u64> words(n);
        for (u64 &word : words) {
            word = x;
            x = times(multiplier, x);
        }
        return words;
    }
};

const Generator &mcg31m1() {
    static const Generator g = {"MCG31M1", 0x7FFFFFFF, 1132489760, 4, 1.0 / 0x7FFFFFFF};
    return g;
}
const Generator &mcg59() {
    static const Generator g = {"MCG59", u64{1} << 59, 302875106592253, 8, 0x1p-59};
    return g;
}
const Generator *const both[] = {&mcg31m1(), &mcg59()};

TEST(Congruential, SeedIsTheFirstWord) {
    const struct {
        const Generator &generator;
        std::vector<u32> seed;
        u64 first;
    } cases[] = {
        {mcg31m1(), {}, 1},
        {mcg31m1(), {0}, 1},
        {mcg31m1(), {2147483647}, 1},
        {mcg31m1(), {2147483648}, 1},
        {mcg31m1(), {4294967295}, 1},
        {mcg31m1(), {2147483646, 9}, 2147483646},
        {mcg59(), {}, 1},
        {mcg59(), {0}, 1},
        {mcg59(), {4294967295}, 4294967295},
        {mcg59(), {0, 0x08000000}, 1},
        {mcg59(), {0xFFFFFFFF, 0xFFFFFFFF, 3}, (u64{1} << 59) - 1},
    };
    for (const auto &c : cases) {
        Record record = c.generator.seeded(c.seed);
        EXPECT_EQ(c.generator.draw(record, 40), c.generator.expected(c.first, 40))
            << c.generator.name << c.first;
    }
}

TEST(Congruential, EveryLengthOffsetAndSplit) {
    constexpr int total = 3000;
    for (const Generator *g : both) {
        const Record start = g->seeded({7777777, 12345});
        Record record = start;
        const auto all = g->draw(record, total);
        const Record end = record;
        u64 x;
        std::memcpy(&x, start.state, sizeof x);
        ASSERT_EQ(all, g->expected(x & (g->word_bytes == 4 ? 0xFFFFFFFF : ~u64{0}), total)) << g->name;
        for (int n = 0; n <= 70; ++n) { // a call of n, one of the rest
            record = start;
            auto words = g->draw(record, n, static_cast<std::size_t>(n) * g->word_bytes % 32);
            const auto rest = g->draw(record, total - n);
            words.insert(words.end(), rest.begin(), rest.end());
            ASSERT_EQ(words, all) << g->name << n;
            ASSERT_EQ(record, end);
        }
        record = start;
        EXPECT_EQ(g->integers(&record, -1, nullptr), 0);
        EXPECT_EQ(record, start);
    }
}

// The floating entries give the mapping of the integers, in any cut, and leave the same state.
template <class Real, class Entry>
void check_mapping(const Generator &g, Entry entry, Real a, Real b, bool below_b) {
    constexpr int total = 2000;
    const auto s = static_cast<Real>((double{b} - double{a}) * g.scale);
    // The second start makes words of few bits and words whose lower bits are all that matter to the
    // rounding.
    for (Record start : {g.seeded({99, 0x1234567}), g.seeded({1}), g.seeded({0, 0x4000000}),
                         g.seeded({0x7FFFFFFE, 0x7FFFFFF})}) {
        Record integer_record = start;
        const auto words = g.draw(integer_record, total);
        std::vector<Real> expected(total);
        for (std::size_t i = 0; i < words.size(); ++i) {
            const volatile Real product = static_cast<Real>(words[i]) * s;
            const Real sum = a + product;
            expected[i] = below_b && sum >= b ? std::nextafter(b, a) : sum;
        }
        std::vector<Real> r(total + 1);
        for (int n : {total, 1, 2, 3, 15, 16, 17, 18, 19, 31, 33, 100}) {
            Record record = start;
            ASSERT_EQ(entry(&record, n, r.data() + 1, a, b), 0);
            ASSERT_EQ(entry(&record, total - n, r.data() + 1 + n, a, b), 0);
            ASSERT_EQ(0, std::memcmp(r.data() + 1, expected.data(), total * sizeof(Real)))
                << g.name << ' ' << n;
            ASSERT_EQ(record, integer_record);
        }
    }
}

TEST(Congruential, FloatingEntries) {
    for (const Generator *g : both) {
        for (const auto &[a, b] :
             {std::pair{0.0, 1.0}, {-1e300, 1e300}, {3.0, -5.0}, {0.1, 0.1}, {0.0, 1e-310}})
            check_mapping<double>(*g, g->doubles, a, b, false);
        for (const auto &[a, b] : {std::pair{0.0F, 1.0F},
                                   {-1.0F, 0.0F},
                                   {-FLT_MAX, FLT_MAX},
                                   {1.0F, 1.0F + FLT_EPSILON},
                                   {3.0F, -5.0F}})
            check_mapping<float>(*g, g->floats, a, b, g == &mcg31m1() && a < b);
    }
}

// Words that lie around a halfway point between floats, in every lane: a float made by way of a double that
// has already rounded would be wrong.
TEST(Congruential, FloatsRoundOnce) {
    std::mt19937_64 random(59);
    for (const Generator *g : both) {
        const int bits = g == &mcg31m1() ? 31 : 59;
        // The order of the multiplier: a skip of `order - lane` goes back by `lane` words.
        const u64 order = g == &mcg31m1() ? 0x7FFFFFFE : u64{1} << 57;
        for (int size = 25; size <= bits; ++size)
            for (int i = 0; i < 64; ++i) {
                const int spare = size - 24;
                const u64 head = (random() >> 41 | 1 << 23) << spare;
                const u64 half = u64{1} << (spare - 1);
                const u64 word = head + half + static_cast<u64>(i % 3 - 1) * (random() % 3);
                if (word == 0 || word >= g->modulus - (g == &mcg31m1()))
                    continue;
                Record wanted = g->seeded({static_cast<u32>(word), static_cast<u32>(word >> 32)});
                const u64 lane = static_cast<u64>(i) % 32;
                Record record = g->skipped(wanted, order - lane);
                float r[64];
                ASSERT_EQ(g->floats(&record, 64, r, 0.0F, 0x1p59F), 0);
                const auto s = static_cast<float>(0x1p59 * g->scale);
                const volatile float x = static_cast<float>(word);
                ASSERT_EQ(r[lane], std::min(x * s, std::nextafter(0x1p59F, 0.0F))) << g->name << ' ' << word;
            }
    }
}

// What generators of full 32-bit words will use.
TEST(Conversions, FullWordsAsTheScalarConversionRoundsThem) {
    std::mt19937_64 random(32);
    for (int i = 0; i < 20000; ++i) {
        u32 words[4];
        for (u32 &word : words) // near powers of two and near halfway points between floats, too
            word = static_cast<u32>(random() >> random() % 64) & ~u32{0} << random() % 9;
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(words));
        float floats[4];
        double doubles[4], wide[2];
        _mm_storeu_ps(floats, four_to_floats<32>(v));
        _mm_storeu_pd(doubles, four_to_doubles(v).low);
        _mm_storeu_pd(doubles + 2, four_to_doubles(v).high);
        _mm_storeu_pd(wide, two_to_doubles(v));
        for (int k = 0; k < 4; ++k) {
            ASSERT_EQ(floats[k], static_cast<float>(words[k]));
            ASSERT_EQ(doubles[k], words[k]);
        }
        for (int k = 0; k < 2; ++k)
            ASSERT_EQ(wide[k], static_cast<double>(words[2 * k] | u64{words[2 * k + 1]} << 32));
    }
}

TEST(Congruential, LeapfrogStreamsInterleaveToTheSequence) {
    for (const Generator *g : both) {
        const Record start = g->seeded({20241, 77});
        Record record = start;
        const auto all = g->draw(record, 1200);
        for (std::int32_t streams : {1, 2, 3, 7, 40})
            for (u32 k = 0; k < static_cast<u32>(streams); ++k) {
                Record own = start;
                ASSERT_EQ(g->init(leapfrog, &own, streams, &k), 0);
                ASSERT_TRUE(streams != 1 || own == start);
                const auto words = g->draw(own, 1200 / streams);
                for (std::size_t i = 0; i < words.size(); ++i)
                    ASSERT_EQ(words[i], all[i * static_cast<std::size_t>(streams) + k]) << g->name << streams;
                // A skip counts elements of the stream that leaps.
                Record before = start;
                g->init(leapfrog, &before, streams, &k);
                ASSERT_EQ(g->skipped(before, words.size()), own);
            }
    }
}

TEST(Congruential, SkipAhead) {
    std::mt19937_64 random(1);
    for (const Generator *g : both) {
        const Record start = g->seeded({5, 1});
        for (int n : {0, 1, 2, 15, 16, 17, 1000}) {
            Record drawn = start;
            g->draw(drawn, n);
            EXPECT_EQ(g->skipped(start, static_cast<u64>(n)), drawn);
        }
        for (int i = 0; i < 50; ++i) {
            const u64 a = random() >> 1, b = random() >> 1;
            EXPECT_EQ(g->skipped(g->skipped(start, a), b), g->skipped(start, a + b));
        }
        // Whole periods bring the state back; the largest counts are no special case.
        const u64 period = g == &mcg31m1() ? 0x7FFFFFFE : u64{1} << 57, most = ~u64{0};
        EXPECT_EQ(g->skipped(start, period), start);
        EXPECT_EQ(g->skipped(start, most), g->skipped(start, most % period));
    }
}

TEST(Congruential, OtherMethodsAreRefused) {
    const u64 words[2] = {3, 0};
    for (const Generator *g : both) {
        const Record start = g->seeded({11});
        Record record = start;
        EXPECT_EQ(g->init(skip_ahead_extended, &record, 2, words), -1004);
        for (std::int32_t method : {4, 100, -1})
            EXPECT_EQ(g->init(method, &record, 2, words), -2);
        EXPECT_EQ(record, start);
    }
}

TEST(PowerHelpers, AgainstWideArithmetic) {
    const auto mod31 = test::entry<u32 (*)(u32, u64)>("__bexiPowMod2P31M1");
    const auto mod59 = test::entry<u64 (*)(u64, u64)>("__bexiPowMod2P59");
    const auto mod = test::entry<u32 (*)(u32, u64, u32)>("__bexiPowMod");
    const auto expected = [](u64 base, u64 e, u64 modulus) { // from the left
        u128 result = 1;
        for (int bit = 63; bit >= 0; --bit)
            result = result * result % modulus * (e >> bit & 1 ? base % modulus : 1) % modulus;
        return e == 0 ? 1 : static_cast<u64>(result);
    };
    std::mt19937_64 random(2);
    std::vector<u64> values = {0,          1,          2,          3,          0x7FFFFFFE,
                               0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF, ~u64{0}};
    for (int i = 0; i < 20; ++i)
        values.push_back(random() >> random() % 64);
    for (u64 base : values)
        for (u64 e : values) {
            const u32 base32 = static_cast<u32>(base);
            EXPECT_EQ(mod31(base32, e), expected(base32, e, 0x7FFFFFFF)) << base << ' ' << e;
            EXPECT_EQ(mod59(base, e), expected(base, e, u64{1} << 59)) << base << ' ' << e;
            for (u32 m : {1U, 2U, 16770647U, 4294967291U, 4294967295U})
                EXPECT_EQ(mod(base32, e, m), expected(base32, e, m)) << base << ' ' << e << ' ' << m;
        }
}

} // namespace
