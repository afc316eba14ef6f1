// MT19937 beside std::mt19937, which can take over its state, and beside known answers.
#include "statistics/streams/mt19937_polynomial.h"
#include "statistics/streams/stream.h"
#include "tests/substitute_core/control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

namespace {

using namespace qor::bex;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using Words = std::vector<u32>;

struct Twister {
    Stream header{BEX_BRNG_MT19937, 1, nullptr};
    u32 block[624] = {};
    std::int32_t next = 0, unused = 0;

    explicit Twister(const Words &key) {
        const auto n = static_cast<std::int32_t>(key.size());
        EXPECT_EQ(__bexBRngMT19937InitStream(initialise, this, n, n > 0 ? key.data() : nullptr), 0);
    }
    bool operator==(const Twister &other) const { return std::memcmp(this, &other, sizeof other) == 0; }

    // What `entry` gives in two calls, written behind a few elements so that they lie anywhere.
    template <class T, class Entry> std::vector<T> draw_split(Entry entry, int n, int rest) {
        const T sentinel = 77;
        const int offset = n % 5;
        std::vector<T> r(static_cast<std::size_t>(offset + n + rest + 4), sentinel);
        EXPECT_EQ(entry(this, n, r.data() + offset), 0);
        EXPECT_EQ(std::count(r.end() - 4 - rest, r.end(), sentinel), 4 + rest);
        EXPECT_EQ(entry(this, rest, r.data() + offset + n), 0);
        EXPECT_EQ(std::count(r.end() - 4, r.end(), sentinel), 4) << n << ' ' << rest;
        return {r.begin() + offset, r.end() - 4};
    }
    Words draw(int n, int rest = 0) { return draw_split<u32>(__bexiBRngMT19937, n, rest); }

    Twister drawn(int n) const {
        Twister result = *this;
        result.draw(n);
        return result;
    }
    Twister skipped(u64 count) const {
        Twister result = *this;
        EXPECT_EQ(__bexBRngMT19937InitStream(skip_ahead, &result, 2, &count), 0);
        return result;
    }
    std::mt19937 standard() const {
        std::stringstream text;
        for (const u32 word : block)
            text << word << ' ';
        text << next;
        std::mt19937 generator;
        text >> generator;
        return generator;
    }
};
static_assert(sizeof(Twister) == 2520);

// The first answer is published with the authors' program of 2002; the others are what CPython's `random`
// gives for the integer whose 32-bit digits are the key, digit i being 2654435761 (i + 1).
TEST(Mt19937, KnownAnswers) {
    EXPECT_EQ(Twister({0x123, 0x234, 0x345, 0x456}).draw(5),
              (Words{1067595299, 955945823, 477289528, 4107218783, 4228976476}));
    EXPECT_EQ(Twister({1}).draw(2), (Words{577090037, 2444712010}));
    EXPECT_EQ(Twister({}), Twister({1}));
    const struct {
        u32 key_length;
        Words words; // 0, 1, 623, 624, 9999
    } cases[] = {
        {2, {2695218524, 770103567, 435443967, 3420453960, 1658210930}},
        {623, {1680255654, 535620588, 3540907689, 1774763594, 4018348694}},
        {624, {4136389835, 10543802, 4140860119, 3795744337, 153158018}},
        {625, {1774280004, 2815230205, 90042752, 3496762975, 732650644}},
        {1500, {2782402855, 1601628192, 1213991995, 3371456449, 2081662439}},
    };
    for (const auto &c : cases) {
        Words key(c.key_length);
        for (u32 i = 0; i < c.key_length; ++i)
            key[i] = 2654435761 * (i + 1);
        const Words r = Twister(key).draw(10000);
        EXPECT_EQ((Words{r[0], r[1], r[623], r[624], r[9999]}), c.words) << c.key_length;
    }
}

TEST(Mt19937, EverySplit) {
    constexpr int total = 4 * 624 + 5;
    const Twister seeded({2024});
    for (const int before : {0, 1, 2, 3, 620, 623, 624}) {
        const Twister start = seeded.drawn(before), end = start.drawn(total);
        Words expected(static_cast<std::size_t>(total));
        std::mt19937 standard = start.standard();
        std::generate(expected.begin(), expected.end(), std::ref(standard));
        for (int n = 0; n <= 1300; n += n < 40 || n % 624 > 610 ? 1 : 7) {
            Twister twister = start;
            ASSERT_EQ(twister.draw(n, total - n), expected) << before << ' ' << n;
            ASSERT_EQ(twister, end) << before << ' ' << n;
        }
    }
    // A position that no call leaves behind stands for a block to be made.
    Twister twister = seeded;
    for (const std::int32_t next : {-1, 625, INT32_MIN, INT32_MAX}) {
        twister.next = next;
        EXPECT_EQ(twister.drawn(10), seeded.drawn(10)) << next;
        EXPECT_EQ(twister.skipped(10), seeded.drawn(10)) << next;
    }
}

// The floating entries give the mapping of the integers, in any cut, and leave the same state.
template <class Real, class Entry> void check_mapping(Entry entry, Real a, Real b) {
    constexpr int total = 30000;
    const Twister start = Twister({99}).drawn(3);
    Twister after = start;
    const Words words = after.draw(total);
    const auto s = static_cast<Real>((double{b} - double{a}) * 0x1p-32);
    std::vector<Real> expected;
    for (const u32 word : words) {
        const volatile Real product = static_cast<Real>(word) * s;
        expected.push_back(a + product);
    }
    const auto mapped = [=](void *stream, std::int32_t n, Real *r) { return entry(stream, n, r, a, b); };
    for (const int n : {0, 1, 3, 620, 622, 623, 1250, 2000}) {
        Twister twister = start;
        const auto r = twister.template draw_split<Real>(mapped, n, total - n);
        ASSERT_EQ(0, std::memcmp(r.data(), expected.data(), total * sizeof(Real))) << n;
        ASSERT_EQ(twister, after);
    }
}

// Widths that are powers of two, at ends that leave room beside them and at ends that do not; other widths.
TEST(Mt19937, FloatingEntries) {
    const double tiny = std::numeric_limits<double>::denorm_min(), infinity = INFINITY;
    const std::pair<double, double> intervals[] = {
        {0, 1},
        {-0.0, 1},
        {-1, 1},
        {1, 2},
        {0.1, 1.1},
        {1e9, 1e9 + 0.5},
        {1 / 3., 4},
        {-3, 1e300},
        {2, -2},
        {7, 7},
        {-0x1p40, -0x1p39},
        {0, 0x1p-900},
        {0, 0x1p-995},
        {0, tiny},
        {0, 0x1p1000},
        {0, 0x1p1010},
        {-0x1p1022, 0},
        {-infinity, 0},
        {0x1p-960, 0x1p-959},
    };
    for (const auto &[a, b] : intervals)
        check_mapping<double>(__bexdBRngMT19937, a, b);
    const std::pair<float, float> singles[] = {
        {0, 1}, {-0.0F, 1},    {-1, 1},       {1, 2},      {0.1F, 1.1F},  {1e9F, 1e9F + 64}, {3, -5.1F},
        {7, 7}, {0, 0x1p-90F}, {0, 0x1p-96F}, {0, 1e-45F}, {0, 0x1p120F}, {-0x1p119F, 0},    {0, 0x1p119F},
    };
    for (const auto &[a, b] : singles)
        check_mapping<float>(__bexsBRngMT19937, a, b);
}

// Tempering is linear, so that whole outputs obey the recurrence, from any seed.
TEST(Mt19937, OutputsObeyThePolynomial) {
    for (const u32 seed : {3U, 0xFFFFFFFFU}) {
        const Words words = Twister({seed, 17}).draw(2 * 19937);
        for (std::size_t n = 0; n + 19937 < words.size(); ++n) {
            u32 sum = 0;
            for (const std::size_t exponent : mt19937_exponents)
                sum ^= words[n + exponent];
            ASSERT_EQ(sum, 0u) << n;
        }
    }
}

// Whichever way the state moves, its bytes are those that drawing leaves.
TEST(Mt19937, SkipEqualsDrawing) {
    const Twister seeded({5489});
    for (const int before : {0, 1, 300, 623, 624}) {
        const Twister start = seeded.drawn(before);
        EXPECT_EQ(start.skipped(0), start);
        for (const int count : {1, 623, 624, 625, 0xFFFFF, 0x100000, 0x100001, 1681 * 624, 3 * 0x100000 + 5})
            EXPECT_EQ(start.skipped(static_cast<u64>(count)), start.drawn(count)) << before << ' ' << count;
    }
    Twister walked = seeded;
    for (int i = 0; i < 300; ++i)
        walked = walked.skipped(0xFFFFF - static_cast<u64>(i));
    EXPECT_EQ(seeded.skipped(300 * 0xFFFFFULL - 299 * 300 / 2), walked);
}

TEST(Mt19937, SkipsAdd) {
    std::mt19937_64 random(7);
    const Twister seeded({1, 2, 3});
    const u64 most = ~u64{0};
    std::vector<std::pair<u64, u64>> counts = {
        {most, 0}, {most - 5, 5}, {most / 2, most / 2 + 1}, {1, most - 1}};
    for (int i = 0; i < 4; ++i)
        counts.emplace_back(random() >> (1 + 12 * i), random() >> (1 + 7 * i));
    for (const auto &[a, b] : counts)
        for (const int before : {0, 1, 624}) {
            const Twister start = seeded.drawn(before);
            EXPECT_EQ(start.skipped(a).skipped(b), start.skipped(a + b)) << a << ' ' << b;
        }
    EXPECT_FALSE(seeded.skipped(most) == seeded.skipped(most - 1));
}

// A stream of the library's own, whose skip runs out of memory.
TEST(Mt19937, FailedSkipLeavesTheState) {
    void *stream;
    const u32 key[] = {8};
    ASSERT_EQ(__bexNewStreamEx(&stream, BEX_BRNG_MT19937, 1, key), 0);
    Words drawn(100), following(100);
    const std::uint64_t blocks = qor_test_live_blocks();
    for (std::uint64_t k = 1; k <= 3; ++k) {
        EXPECT_EQ(__bexiBRngMT19937(stream, 100, drawn.data()), 0);
        qor_test_fail_allocation(k);
        EXPECT_EQ(__bexSkipAheadStream(stream, u64{1} << 40), BEX_STATUS_NO_MEMORY) << k;
    }
    qor_test_fail_allocation(0);
    EXPECT_EQ(qor_test_live_blocks(), blocks);
    EXPECT_EQ(__bexiBRngMT19937(stream, 100, following.data()), 0);
    Words expected = Twister({8}).draw(400);
    expected.erase(expected.begin(), expected.begin() + 300);
    EXPECT_EQ(following, expected);
    __bexDeleteStream(&stream);
}

} // namespace
