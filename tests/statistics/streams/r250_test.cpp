// R250 beside its recurrence word by word.
#include "tests/statistics/streams/generator_entries.h"

#include <numeric>

namespace {

using test::Record;
using test::Words;

const test::GeneratorEntries &r250() {
    static const test::GeneratorEntries g = {"R250", 1};
    return g;
}

Words model(Record record, std::size_t n) {
    std::uint32_t *const w = record.state, *const index = record.state + 250;
    Words words(n);
    for (std::uint32_t &word : words) {
        word = w[index[0]] ^= w[index[1]];
        for (int k : {0, 1})
            index[k] = (index[k] + 1) % 250;
    }
    return words;
}

TEST(R250, PublishedWord) { // GNU Scientific Library 2.7, rng/test.c: r250 from the seed 1
    Record record = r250().seeded({1});
    EXPECT_EQ(r250().draw(record, 10000).back(), 1100653588u);
}

TEST(R250, Seeding) {
    Words given(260);
    std::iota(given.begin(), given.end(), 5);
    const Record whole = r250().seeded(given);
    EXPECT_TRUE(std::equal(whole.state, whole.state + 250, given.begin()));
    EXPECT_EQ(whole.state[250], 0u);
    EXPECT_EQ(whole.state[251], 103u);
    given.resize(249);
    EXPECT_EQ(r250().seeded(given), r250().seeded({5}));
    EXPECT_EQ(r250().seeded({0}), r250().seeded({1}));
    EXPECT_EQ(r250().seeded({}), r250().seeded({1}));
    r250().check_refusals(whole, {{1, -1002}, {2, -1003}, {3, -1004}, {4, -2}, {-1, -2}});
}

// Also from places where the indices turn, and of records whose indices no seeding makes.
TEST(R250, SequenceInAnyCut) {
    constexpr double c = 0x1p-32;
    Record start = r250().seeded({4357});
    for (const auto &[i, j] :
         {std::pair{0u, 103u}, {146u, 249u}, {249u, 102u}, {7u, 6u}, {9u, 6u}, {10u, 6u}, {6u, 6u}}) {
        start.state[250] = i;
        start.state[251] = j;
        r250().check_sequence(start, model(start, 1100), test::mapped_double(c), test::mapped_float(c));
    }
    start.state[250] = 0xFFFFFFFF; // of a damaged image: any words, but inside the record
    start.state[251] = 250;
    r250().draw(start, 1000);
    EXPECT_LT(std::max(start.state[250], start.state[251]), 250u);
}

} // namespace
