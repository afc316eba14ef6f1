// The Wichmann-Hill set: what its table promises, and its sequences beside plain remainders. The figures
// noted in the table and the order of its rows are checked by tools/wichmann_hill_members.py.
#include "statistics/streams/wichmann_hill_members.h"
#include "tests/statistics/streams/generator_entries.h"

#include <cfenv>
#include <numeric>
#include <random>
#include <set>

namespace {

using test::Record;
using test::Words;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using qor::bex::wichmann_hill_members;

constexpr u32 first_id = 0x500000, last_id = 0x500110;

const test::GeneratorEntries &wh() {
    static const test::GeneratorEntries g = {"WH", 4};
    return g;
}

Words model(const u32 (&m)[4], Record record, std::size_t n) {
    Words words;
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = 0; k < 4; ++k) {
            u32 &x = record.state[k];
            words.push_back(x);
            x = static_cast<u32>(u64{x} * record.state[4 + k] % m[k]);
        }
    return words;
}

auto mapped(const u32 (&m)[4]) {
    return [&m](const u32 *x, double a, double b) {
        double u = x[0] * (1.0 / m[0]) + x[1] * (1.0 / m[1]) + x[2] * (1.0 / m[2]) + x[3] * (1.0 / m[3]);
        u -= static_cast<int>(u);
        return u * (b - a) + a;
    };
}

void check(const u32 (&m)[4], const Record &start, std::size_t n) {
    const auto in_double = mapped(m);
    wh().check_sequence(start, model(m, start, n), in_double, [&](const u32 *x, float a, float b) {
        return static_cast<float>(in_double(x, double{a}, double{b}));
    });
}

u64 power(u64 a, u32 e, u64 m) {
    u64 result = 1;
    for (; e > 0; e >>= 1, a = a * a % m)
        result = e & 1 ? result * a % m : result;
    return result;
}

// The order of a modulo m is m - 1. It is so only for primes, and only for their primitive roots (Lucas).
bool has_full_order(u32 a, u32 m) {
    bool full = power(a, m - 1, m) == 1;
    u32 rest = m - 1;
    for (u32 q = 2; rest > 1; q = q * q > rest ? rest : q + 1)
        if (rest % q == 0) {
            full = full && power(a, (m - 1) / q, m) != 1;
            while (rest % q == 0)
                rest /= q;
        }
    return full;
}

TEST(WichmannHill, Table) {
    std::set<std::pair<u32, u32>> components, together;
    std::size_t losing = 0;
    for (const auto &[m, a] : wichmann_hill_members) {
        u64 loss = 1; // to the period, of factors the (m - 1)/2 have in common
        for (std::size_t c = 0; c < 4; ++c) {
            EXPECT_TRUE(components.insert({m[c], a[c]}).second) << m[c] << " twice with " << u32{a[c]};
            EXPECT_TRUE(m[c] >= 16766231 && m[c] <= 16770647) << m[c];
            EXPECT_TRUE(a[c] >= 112 && a[c] <= 127) << m[c];
            EXPECT_TRUE(has_full_order(a[c], m[c])) << m[c];
            for (std::size_t other = 0; other < c; ++other) {
                EXPECT_LT(m[c], m[other]);
                EXPECT_TRUE(together.insert({m[c], m[other]}).second) << m[c] << " twice with " << m[other];
                loss *= std::gcd((m[c] - 1) / 2, (m[other] - 1) / 2);
            }
        }
        EXPECT_LE(loss, 2u) << m[0] << ' ' << m[1] << ' ' << m[2] << ' ' << m[3];
        losing += loss == 2;
    }
    EXPECT_EQ(losing, 100u);
    const struct {
        std::size_t row;
        Words moduli, multipliers;
    } given[] = {{0, {16770647, 16770643, 16770623, 16770617}, {125, 117, 127, 126}},
                 {1, {}, {127, 126, 125, 123}},
                 {272, {16766363, 16766359, 16766327, 16766231}, {126, 127, 125, 124}}};
    for (const auto &[row, row_moduli, multipliers] : given) {
        const auto &member = wichmann_hill_members[row];
        EXPECT_TRUE(std::equal(row_moduli.begin(), row_moduli.end(), member.moduli)) << row;
        EXPECT_TRUE(std::equal(multipliers.begin(), multipliers.end(), member.multipliers)) << row;
    }
}

TEST(WichmannHill, Seeding) {
    const auto &[m, a] = wichmann_hill_members[272];
    const std::pair<Words, Words> cases[] = {
        {{}, {1, 1, 1, 1}},
        {{0}, {1, 1, 1, 1}},
        {{7}, {7, 1, 1, 1}},
        {{m[0] + 9, m[1]}, {9, 1, 1, 1}},
        {{5, m[1] - 1, 2 * m[2] + 3}, {5, m[1] - 1, 3, 1}},
        {{m[0], 0, 3, 0xFFFFFFFF, 8}, {1, 1, 3, 0xFFFFFFFF % m[3], a[0]}},
    };
    for (u32 id : {last_id, 276u})
        for (const auto &[seed, x] : cases) {
            const Record record = wh().seeded(seed, id);
            EXPECT_TRUE(std::equal(record.state, record.state + 4, x.begin()))
                << testing::PrintToString(seed);
            EXPECT_TRUE(std::equal(record.state + 4, record.state + 8, a));
        }
    wh().check_refusals(wh().seeded({3}, first_id), {{3, -1004}, {4, -2}, {-1, -2}});
    void *stream = &stream;
    EXPECT_EQ(test::entry<decltype(&__bexNewStreamEx)>("__bexNewStreamEx")(&stream, last_id + 1, 0, nullptr),
              -1000);
    EXPECT_EQ(stream, nullptr);
}

TEST(WichmannHill, SequenceInAnyCut) {
    for (u32 i : {0u, 1u, 100u, 272u})
        for (u32 id : {first_id + i, 4 + i})
            check(wichmann_hill_members[i].moduli, wh().seeded({12345, 0xFFFFFFFF, 3 * i, 77}, id), 300);
}

// Multipliers of 24 bits, as after leapfrog, and products next to a multiple of the modulus, where a quotient
// is nearest to being misjudged; in every direction of rounding.
TEST(WichmannHill, EveryProductIsExact) {
    std::mt19937_64 random(1989);
    for (int direction : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO})
        for (int i = 0; i < 20000; ++i) {
            const auto &m = wichmann_hill_members[i % 273].moduli;
            Record record;
            record.header.brng = first_id + static_cast<u32>(i) % 273;
            for (std::size_t c = 0; c < 4; ++c) {
                u64 x = i / 273 % 4 == 0 ? m[c] - 1 - random() % 3 : 1 + random() % (m[c] - 1);
                const u64 a = i % 3 == 0 ? m[c] - 1 - random() % 2 : 1 + random() % (m[c] - 1);
                if (i % 3 == 1) { // one of the words is 1 or -1
                    x = power(power(a, 1 + static_cast<u32>(i) % 13, m[c]), m[c] - 2, m[c]);
                    x = i % 2 == 0 ? x : m[c] - x;
                }
                record.state[c] = static_cast<u32>(x);
                record.state[4 + c] = static_cast<u32>(a);
            }
            const Words expected = model(m, record, 14);
            std::fesetround(direction);
            const Words words = wh().draw(record, 14);
            std::fesetround(FE_TONEAREST);
            ASSERT_EQ(words, expected) << i << ' ' << direction;
        }
}

TEST(WichmannHill, LeapfrogStreamsInterleaveToTheSequence) {
    for (u32 member : {0u, 1u, 5u, 271u})
        for (std::int32_t streams : {1, 2, 3, 40}) {
            const auto &m = wichmann_hill_members[member].moduli;
            const Record start = wh().seeded({11, 22, 33, 44}, first_id + member);
            const Words all = model(m, start, 1200);
            for (u32 k = 0; k < static_cast<u32>(streams); ++k) {
                Record own = start;
                ASSERT_EQ(wh().init(qor::bex::leapfrog, &own, streams, &k), 0);
                ASSERT_TRUE(streams != 1 || own == start);
                check(m, own, 9);
                const Record before = own;
                const int n = 1200 / streams;
                const Words words = wh().draw(own, n);
                for (std::size_t i = 0; i < words.size(); ++i)
                    ASSERT_EQ(words[i], all[(i / 4 * static_cast<std::size_t>(streams) + k) * 4 + i % 4])
                        << streams;
                ASSERT_EQ(wh().skipped(before, static_cast<u64>(n)), own);
            }
        }
}

// The millionth element of the seed 1, 2, 3, 4, worked out apart.
TEST(WichmannHill, KnownAnswers) {
    const struct {
        u32 member;
        Words words;
        double number;
    } cases[] = {
        {0, {9573965, 13418437, 15753105, 1833105}, 0.41962286985422326},
        {272, {3138620, 16417574, 11066380, 13002543}, 0.60195052717702968},
    };
    for (const auto &[member, words, number] : cases) {
        const Record at = wh().skipped(wh().seeded({1, 2, 3, 4}, first_id + member), 999999);
        Record record = at;
        EXPECT_EQ(wh().draw(record, 1), words) << member;
        record = at;
        double r = 0;
        EXPECT_EQ(wh().doubles(&record, 1, &r, 0, 1), 0);
        EXPECT_NEAR(r, number, 1e-15) << member;
    }
}

TEST(WichmannHill, SkipAhead) {
    std::mt19937_64 random(93);
    for (int i = 0; i < 100; ++i) {
        const u32 member = static_cast<u32>(random() % 273);
        const Record start = wh().seeded({static_cast<u32>(random()), 2, 3, 4}, first_id + member);
        const u64 a = random() >> 1, b = random() >> 1;
        EXPECT_EQ(wh().skipped(wh().skipped(start, a), b), wh().skipped(start, a + b));
        Record drawn = start;
        wh().draw(drawn, i);
        EXPECT_EQ(wh().skipped(start, static_cast<u64>(i)), drawn);
        for (std::size_t c = 0; c < 4;
             ++c) // a component comes back after its own period, and not after half of it
            for (u32 part : {1u, 2u}) {
                const u64 count = (wichmann_hill_members[member].moduli[c] - 1) / part;
                EXPECT_EQ(wh().skipped(start, count).state[c] == start.state[c], part == 1);
            }
    }
}

} // namespace
