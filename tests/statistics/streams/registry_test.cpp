// Rows, ids and registration.
#include "generator_rows.h"
#include "support/library.h"
#include "user_generator.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int32_t bad_id = BEX_STATUS_BAD_ID;

// The generator's four entries and its numbers, wherever an id of it leads.
void expect_row(const BexBrngProperties &found, const test::GeneratorRow &row) {
    const std::int32_t properties[] = {found.state_bytes, found.seed_words, found.zero_possible,
                                       found.word_bytes, found.result_bits};
    EXPECT_EQ(std::vector(properties, properties + 5), std::vector(row.properties, row.properties + 5));
    EXPECT_EQ(found.init_stream, test::entry<BexInitStream>("__bexBRng" + row.name + "InitStream"));
    EXPECT_EQ(found.out_float, test::entry<BexFloatOutput>("__bexsBRng" + row.name));
    EXPECT_EQ(found.out_double, test::entry<BexDoubleOutput>("__bexdBRng" + row.name));
    EXPECT_EQ(found.out_uint, test::entry<BexIntegerOutput>("__bexiBRng" + row.name));
}

TEST(Registry, HoldsTheGenerators) {
    const auto rows = test::generator_rows();
    ASSERT_EQ(rows.size(), 16u);
    EXPECT_GE(__bexGetNumRegBrngs(), 16);
    std::uint32_t index, member, compact_rows = 0;
    BexBrngProperties found;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        expect_row(__RegBrngsNew[row.index], row);
        const std::uint32_t last = row.id + row.members - 1;
        EXPECT_EQ(__bexGetBrngBaseOffset(last, &index, &member), __RegBrngsNew);
        EXPECT_EQ(index, row.index);
        EXPECT_EQ(member, row.members - 1);
        EXPECT_EQ(__bexGetBrngProperties(last, &found), 0);
        expect_row(found, row);
        EXPECT_EQ(__bexIsBrngValid(__RegBrngsNew, index, member), 0);
        EXPECT_EQ(__bexIsBrngValid(__RegBrngsNew, index, member + 1), bad_id);
        EXPECT_EQ(__bexGetBrngProperties(last + 1, &found), bad_id);
        for (auto id = row.first_compact; id >= 0 && id <= row.last_compact; ++id, ++compact_rows) {
            EXPECT_EQ(__bexGetBrngBaseOffset(static_cast<std::uint32_t>(id), &index, &member), __RegBrngs);
            EXPECT_EQ(index, row.first_compact);
            EXPECT_EQ(member, id - row.first_compact);
            EXPECT_EQ(__bexGetBrngProperties(static_cast<std::uint32_t>(id), &found), 0);
            expect_row(found, row);
            expect_row(__RegBrngs[id], row);
        }
    }
    EXPECT_EQ(compact_rows, 279u);
}

TEST(Registry, EmptyAndMissingRows) {
    std::uint32_t index, member;
    BexBrngProperties found;
    for (std::uint32_t id : {279u, 280u}) {
        found = test::user_row();
        EXPECT_EQ(__bexGetBrngProperties(id, &found), 0);
        EXPECT_EQ(found.state_bytes | found.seed_words | found.zero_possible | found.word_bytes |
                      found.result_bits,
                  0);
        EXPECT_TRUE(!found.init_stream && !found.out_float && !found.out_double && !found.out_uint);
    }
    const std::uint32_t unused = static_cast<std::uint32_t>(__bexGetNumRegBrngs() + 1) << 20;
    for (std::uint32_t id : {281u, 511u, 512u, 0xFFFFFu, unused, 513u << 20, 0xFFFFFFFFu}) {
        const BexBrngProperties *table = __bexGetBrngBaseOffset(id, &index, &member);
        EXPECT_EQ(__bexIsBrngValid(table, index, member), bad_id) << id;
        EXPECT_EQ(__bexGetBrngProperties(id, &found), bad_id) << id;
    }
    EXPECT_EQ(__bexIsBrngValid(__RegBrngs, 280, 12345), 0);
    EXPECT_EQ(__bexIsBrngValid(&found, 0, 0), bad_id);
}

TEST(Registry, RegistrationChecksInOrder) {
    const std::int32_t before = __bexGetNumRegBrngs();
    BexBrngProperties row = {-1, 0, 0, 12, 0, nullptr, nullptr, nullptr, nullptr};
    EXPECT_EQ(__bexRegisterBrng(&row), BEX_STATUS_BAD_STATE_BYTES);
    row.state_bytes = 0;
    for (row.word_bytes = 0; row.word_bytes < 40; ++row.word_bytes) {
        const bool good = row.word_bytes == 4 || row.word_bytes == 8 || row.word_bytes == 16;
        EXPECT_EQ(__bexRegisterBrng(&row), good ? BEX_STATUS_BAD_SEED_WORDS : BEX_STATUS_BAD_WORD_BYTES);
    }
    row = {0, 1, 0, 16, 0, nullptr, nullptr, nullptr, nullptr};
    EXPECT_EQ(__bexRegisterBrng(&row), BEX_STATUS_BAD_RESULT_BITS);
    BexBrngProperties incomplete[4] = {test::user_row(), test::user_row(), test::user_row(),
                                       test::user_row()};
    incomplete[0].init_stream = nullptr;
    incomplete[1].out_float = nullptr;
    incomplete[2].out_double = nullptr;
    incomplete[3].out_uint = nullptr;
    for (const auto &without : incomplete)
        EXPECT_EQ(__bexRegisterBrng(&without), BEX_STATUS_NULL_ENTRY);
    EXPECT_EQ(__bexGetNumRegBrngs(), before);
}

// In a process of its own, since rows stay.
[[noreturn]] void fill_the_table() {
    BexBrngProperties row = test::user_row(), found;
    bool good = __bexGetNumRegBrngs() == 16;
    for (int i = 16; i < 512; ++i) {
        row.seed_words = i;
        const std::int32_t id = __bexRegisterBrng(&row);
        good = good && id == (i + 1) << 20 && __bexGetNumRegBrngs() == i + 1;
        good = good && __bexGetBrngProperties(static_cast<std::uint32_t>(id), &found) == 0 &&
               found.seed_words == i;
        good = good && __bexGetBrngProperties(static_cast<std::uint32_t>(id) + 1, &found) == bad_id;
    }
    good = good && __bexRegisterBrng(&row) == BEX_STATUS_TABLE_FULL && __bexGetNumRegBrngs() == 512;
    row.state_bytes = -1; // the fields are looked at first
    good = good && __bexRegisterBrng(&row) == BEX_STATUS_BAD_STATE_BYTES;
    void *stream;
    good = good && __bexNewStreamEx(&stream, 512u << 20, 0, nullptr) == 0 && __bexDeleteStream(&stream) == 0;
    std::exit(good ? 42 : 1);
}

TEST(RegistryDeathTest, TableFills) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(fill_the_table(), testing::ExitedWithCode(42), "");
}

} // namespace
