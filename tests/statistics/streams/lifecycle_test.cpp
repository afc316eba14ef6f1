// Streams from creation to deletion, with the library's generators and one of the test's own.
#include "generator_rows.h"
#include "user_generator.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using qor::bex::state_of;
using test::UserState;

// A stream that the test owns.
struct OwnedStream {
    void *handle = nullptr;
    ~OwnedStream() { __bexDeleteStream(&handle); }
    operator void *() const { return handle; }
    void **operator&() { return &handle; }
};

std::vector<std::uint32_t> draw(void *stream, std::size_t n) {
    std::vector<std::uint32_t> values(n);
    BexBrngProperties row;
    EXPECT_EQ(__bexGetBrngProperties(__bexGetStreamStateBrng(stream), &row), 0);
    EXPECT_EQ(row.out_uint(stream, static_cast<std::int32_t>(n), values.data()), 0);
    return values;
}

TEST(Lifecycle, RefusesIdsWithoutStreams) {
    for (std::uint32_t id : {279u, 280u, 281u, 511u, 0xFFFFFu, 0x100001u, 0x500111u, 0x900000u + 6024,
                             0xA00000u, 0xB00000u, 0xC00000u, 0x20100000u, 0xFFFFFFFFu}) {
        int old;
        void *stream = &old;
        EXPECT_EQ(__bexNewStreamEx(&stream, id, 0, nullptr), BEX_STATUS_BAD_ID) << id;
        EXPECT_EQ(stream, nullptr);
        std::uint32_t index, member;
        const auto *table = __bexGetBrngBaseOffset(id, &index, &member);
        const bool is_abstract = id == 0xA00000 || id == 0xB00000 || id == 0xC00000;
        EXPECT_EQ(__bexAllocateStream(&stream, table, id, index, member), is_abstract ? 0 : BEX_STATUS_BAD_ID)
            << id;
        EXPECT_EQ(__bexDeleteStream(&stream), 0);
    }
    // Records that no creating call makes: nothing is called for them.
    for (std::uint32_t id : {279u, 280u, 20000u, 0x20000000u, 0xFFFFFFFFu}) {
        qor::bex::Stream record = {id, 1, nullptr};
        void *copy;
        EXPECT_EQ(__bexSkipAheadStream(&record, 1), BEX_STATUS_BAD_ID);
        EXPECT_EQ(__bexLeapfrogStream(&record, 0, 1), BEX_STATUS_BAD_ID);
        EXPECT_EQ(__bexCopyStream(&copy, &record), BEX_STATUS_BAD_ID);
        EXPECT_EQ(copy, nullptr);
    }
}

// What every generator says to each method, now and when it is built.
TEST(Lifecycle, MethodsOfTheGenerators) {
    constexpr std::int32_t refusals[] = {BEX_STATUS_NO_LEAPFROG, BEX_STATUS_NO_SKIP_AHEAD,
                                         BEX_STATUS_NO_SKIP_AHEAD_EXTENDED};
    for (const auto &row : test::generator_rows()) {
        SCOPED_TRACE(row.name);
        const bool is_abstract = row.name.ends_with("Abstract");
        OwnedStream stream;
        std::uint32_t index, member, buffer[4];
        const auto *found = __bexGetBrngBaseOffset(row.id, &index, &member) + index;
        const std::int32_t created = is_abstract
                                         ? __bexAllocateStream(&stream, found - index, row.id, index, member)
                                         : __bexNewStreamEx(&stream, row.id, 0, nullptr);
        ASSERT_NE(stream, nullptr);
        EXPECT_TRUE(created == 0 || created == BEX_STATUS_NOT_AVAILABLE) << created;
        const auto &header = *static_cast<qor::bex::Stream *>(stream.handle);
        EXPECT_EQ(__bexGetStreamStateBrng(stream), row.id);
        EXPECT_EQ(header.reserved_one, 1u);
        EXPECT_EQ(header.chunks, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(stream.handle) % 128, 0u);
        const std::uint64_t skip[] = {1, 0};
        const std::int32_t statuses[] = {__bexLeapfrogStream(stream, 0, 1), __bexSkipAheadStream(stream, 1),
                                         __bexSkipAheadStreamEx(stream, 2, skip)};
        for (int i = 0; i < 3; ++i) {
            if (row.supported[i] != '?') {
                EXPECT_EQ(statuses[i], row.supported[i] == '-' ? refusals[i] : created);
            }
        }
        EXPECT_EQ(__bexLeapfrogStream(stream, 0, -1), BEX_STATUS_BAD_STREAM_COUNT);
        for (std::int32_t method : {-1, 4, 0x7FFFFFFF})
            EXPECT_EQ(found->init_stream(method, stream, 2, skip), BEX_STATUS_BAD_METHOD);
        float single;
        double real;
        const std::int32_t drawn[] = {found->out_uint(stream, 1, buffer),
                                      found->out_double(stream, 1, &real, 0, 1),
                                      found->out_float(stream, 1, &single, 0, 1)};
        for (int i = 0; i < 3; ++i) {
            const bool no_such_output = is_abstract && row.name[0] != "ids"[i];
            EXPECT_EQ(drawn[i], no_such_output ? BEX_STATUS_NO_SUCH_OUTPUT
                                : is_abstract  ? BEX_STATUS_NOT_AVAILABLE
                                               : created);
        }
    }
}

TEST(Lifecycle, UserGeneratorServesEveryEntry) {
    const std::uint32_t seed = 0x87654321;
    OwnedStream stream, other;
    ASSERT_EQ(__bexNewStreamEx(&stream, test::user_id(), 1, &seed), 0);
    ASSERT_EQ(__bexNewStreamEx(&other, test::user_id(), 1, &seed), 0);
    const auto sequence = draw(stream, 64);
    const auto part = [&](std::size_t first, std::size_t stride) {
        std::vector<std::uint32_t> values;
        for (std::size_t i = first; i < 32; i += stride)
            values.push_back(sequence[i]);
        return values;
    };
    EXPECT_EQ(__bexSkipAheadStream(other, 3), 0);
    EXPECT_EQ(draw(other, 29), part(3, 1));
    // Two extended words and a leapfrog by 5 from its element 2 on, from a fresh copy each.
    for (bool extended : {false, true}) {
        OwnedStream fresh;
        const std::uint64_t words[] = {4, 7};
        ASSERT_EQ(__bexNewStreamEx(&fresh, test::user_id(), 1, &seed), 0);
        EXPECT_EQ(extended ? __bexSkipAheadStreamEx(fresh, 2, words) : __bexLeapfrogStream(fresh, 2, 5), 0);
        EXPECT_EQ(draw(fresh, extended ? 21 : 6), extended ? part(11, 1) : part(2, 5));
    }
    OwnedStream copy;
    ASSERT_EQ(__bexCopyStream(&copy, stream), 0);
    EXPECT_EQ(draw(copy, 9), draw(stream, 9));
    EXPECT_NE(draw(copy, 2), draw(other, 2));
    EXPECT_EQ(__bexCopyStreamState(copy, other), 0);
    EXPECT_EQ(draw(copy, 9), draw(other, 9));
    EXPECT_EQ(__bexCopyStreamState(copy, copy), 0);
    EXPECT_EQ(draw(copy, 9), draw(other, 9));
    OwnedStream unusable;
    EXPECT_EQ(__bexNewStreamEx(&unusable, test::user_id(), test::refusing_seed, nullptr),
              test::refusing_seed);
    ASSERT_NE(unusable, nullptr);
    EXPECT_EQ(__bexGetStreamStateBrng(unusable), test::user_id());
}

// The length copied is that of the seed: seed_words * word_bytes, less or more than the state.
TEST(Lifecycle, CopiedStateLength) {
    const auto make = [](std::int32_t state_bytes, std::int32_t seed_words, std::int32_t word_bytes) {
        BexBrngProperties row = test::user_row();
        row.init_stream = [](std::int32_t, void *, std::int32_t, const void *) { return 0; };
        row.state_bytes = state_bytes;
        row.seed_words = seed_words;
        row.word_bytes = word_bytes;
        return static_cast<std::uint32_t>(__bexRegisterBrng(&row));
    };
    const struct {
        std::uint32_t from, to;
        std::size_t copied, room; // bytes behind the header
    } cases[] = {
        {make(16 + 40, 3, 4), make(16 + 40, 3, 4), 12, 40},    // less than the state
        {make(16 + 8, 3, 16), make(16 + 8, 3, 16), 48, 48},    // more
        {make(0, 2, 4), make(0, 2, 4), 8, 8},                  // no state at all
        {make(16 + 400, 100, 4), make(16 + 16, 4, 4), 16, 16}, // as much as the destination holds
        {make(16 + 16, 1, 8), make(16 + 400, 100, 4), 8, 400}, // generators are not compared
    };
    for (const auto &c : cases) {
        OwnedStream from, to;
        ASSERT_EQ(__bexNewStreamEx(&from, c.from, 0, nullptr), 0);
        ASSERT_EQ(__bexNewStreamEx(&to, c.to, 0, nullptr), 0);
        std::memset(&state_of<char>(from), 'f', c.copied);
        std::memset(&state_of<char>(to), 't', c.room);
        EXPECT_EQ(__bexCopyStreamState(to, from), 0);
        EXPECT_EQ(__bexGetStreamStateBrng(to), c.to);
        EXPECT_EQ(std::string(&state_of<char>(to), c.room),
                  std::string(c.copied, 'f') + std::string(c.room - c.copied, 't'));
        OwnedStream copy;
        EXPECT_EQ(__bexCopyStream(&copy, from), 0);
        EXPECT_EQ(__bexGetStreamStateBrng(copy), c.from);
    }
}

} // namespace
