// The core library's locks, environment, memory, messages and exit.

#include "core_interface/core.h"
#include "tests/support/system_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

// Locks

TEST(CoreLocks, OneThreadAtATime) {
    constexpr int rounds = 20000;
    for (std::int32_t lock : {0, 2, 15}) {
        long counter = 0; // not atomic: only the lock keeps additions from being lost
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&counter, lock] {
                for (int i = 0; i < rounds; ++i) {
                    qor_serv_lock(lock);
                    ++counter;
                    qor_serv_unlock(lock);
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(counter, 4L * rounds) << "lock " << lock;
    }
}

// Would hang if two numbers shared a lock, or if a number outside the range were a lock.
TEST(CoreLocks, AreSixteenAndSeparate) {
    for (std::int32_t lock = 0; lock < 16; ++lock)
        qor_serv_lock(lock);
    for (std::int32_t outside : {-1, 16, 1000, std::numeric_limits<std::int32_t>::min()}) {
        qor_serv_lock(outside);
        qor_serv_lock(outside);
        qor_serv_unlock(outside);
    }
    for (std::int32_t lock = 15; lock >= 0; --lock)
        qor_serv_unlock(lock);
    qor_serv_lock(7);
    qor_serv_unlock(7);
}

// Environment

TEST(CoreEnvironment, ReadsWhatFits) {
    const char name[] = "QOR_CORE_TEST_VARIABLE";
    struct Case {
        const char *value; // null: missing
        std::int32_t size, length;
        const char *copied;
    };
    const Case cases[] = {
        {nullptr, 8, 0, ""}, {"", 8, 0, ""},     {"abc", 8, 3, "abc"},     {"abc", 4, 3, "abc"},
        {"abc", 3, -1, ""},  {"abc", 1, -1, ""}, {"a=b c", 8, 5, "a=b c"}, {nullptr, 1, 0, ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << (c.value ? c.value : "(missing)") << " into " << c.size);
        ASSERT_TRUE(qor::test::set_environment(name, c.value));
        char buffer[16];
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(qor_serv_getenv(name, buffer, c.size), c.length);
        EXPECT_STREQ(buffer, c.copied);
        for (std::size_t i = static_cast<std::size_t>(c.size); i < sizeof buffer; ++i)
            EXPECT_EQ(buffer[i], '#') << "written past the end at " << i;
    }
    qor::test::set_environment(name, nullptr);
}

TEST(CoreEnvironment, RefusesNoNameAndNoRoom) {
    char buffer[4] = "###";
    EXPECT_EQ(qor_serv_getenv("PATH", buffer, 0), -1);
    EXPECT_EQ(qor_serv_getenv("PATH", buffer, -5), -1);
    EXPECT_STREQ(buffer, "###");
    EXPECT_EQ(qor_serv_getenv("PATH", nullptr, 100), -1);
    EXPECT_EQ(qor_serv_getenv(nullptr, buffer, 4), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(qor_serv_getenv("", buffer, 4), 0);
}

// Memory

TEST(CoreMemory, BlocksAreAlignedAndApart) {
    struct Block {
        unsigned char *data;
        std::uint64_t bytes;
    };
    std::vector<Block> blocks;
    for (std::uint64_t alignment = 1; alignment <= 65536; alignment *= 2) {
        for (std::uint64_t bytes : {0u, 1u, 7u, 8u, 128u, 1000u, 100000u}) {
            void *const block = qor_serv_allocate(bytes, alignment);
            ASSERT_NE(block, nullptr) << bytes << " bytes aligned to " << alignment;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u);
            blocks.push_back({static_cast<unsigned char *>(block), bytes});
            std::memset(block, static_cast<int>(blocks.size() & 255), bytes);
        }
    }
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        for (std::uint64_t k = 0; k < blocks[i].bytes; ++k)
            ASSERT_EQ(blocks[i].data[k], (i + 1) & 255) << "block " << i << " byte " << k;
        qor_serv_deallocate(blocks[i].data);
    }
    qor_serv_deallocate(nullptr);
}

TEST(CoreMemory, ImpossibleRequestsGiveNull) {
    constexpr std::uint64_t all = ~std::uint64_t{0};
    constexpr std::uint64_t half = std::uint64_t{1} << 63;
    struct Case {
        std::uint64_t bytes, alignment;
    };
    // Sizes whose sum with the alignment wraps round, sizes past the address space, and alignments
    // that are no power of two.
    const Case cases[] = {{all, 128},      {all - 127, 128}, {all - 135, 128}, {all - 200, 128}, {half, 128},
                          {half - 1, 128}, {1, half},        {half, half},     {1, half / 2},    {64, 0},
                          {64, 3},         {64, 96},         {64, all}};
    for (const Case &c : cases) {
        void *const block = qor_serv_allocate(c.bytes, c.alignment);
        EXPECT_EQ(block, nullptr) << c.bytes << " bytes aligned to " << c.alignment;
        qor_serv_deallocate(block);
    }
}

TEST(CoreMemory, CheckedCopy) {
    const char source[] = "abcdefgh";
    constexpr char untouched = '#';
    struct Case {
        bool destination, source;
        std::uint64_t capacity, count;
        std::int32_t status;
        const char *bytes; // of a destination of 10; '0' stands for a zero byte
    };
    const std::uint64_t all = ~std::uint64_t{0};
    const Case cases[] = {
        {true, true, 8, 3, 0, "abc#######"},    {true, true, 8, 8, 0, "abcdefgh##"},
        {true, true, 8, 0, 0, "##########"},    {true, true, 0, 0, 0, "##########"},
        {true, true, 4, 5, 34, "0000######"},   {true, true, 0, 1, 34, "##########"},
        {true, true, 4, all, 34, "0000######"}, {true, false, 4, 2, 22, "0000######"},
        {true, false, 4, 9, 22, "0000######"},  {false, true, 4, 2, 22, "##########"},
        {false, false, 4, 2, 22, "##########"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message()
                     << "capacity " << c.capacity << " count " << c.count << " -> " << c.bytes);
        char destination[10];
        std::memset(destination, untouched, sizeof destination);
        EXPECT_EQ(qor_serv_memcpy_s(c.destination ? destination : nullptr, c.capacity,
                                    c.source ? source : nullptr, c.count),
                  c.status);
        std::string seen(destination, sizeof destination);
        for (char &byte : seen)
            byte = byte == '\0' ? '0' : byte;
        EXPECT_EQ(seen, c.bytes);
    }
}

// Messages

std::string printed(std::int32_t number, const char *text, double value) {
    qor::test::SystemPipe pipe;
    EXPECT_TRUE(pipe.open());
    EXPECT_EQ(qor_serv_print(pipe.write_end(), number, text, value), 0) << "message " << number;
    return pipe.read_all();
}

bool is_one_line(const std::string &line) { return line.size() > 1 && line.find('\n') == line.size() - 1; }

TEST(CoreMessages, HeadingsNameTheFunctionAndDiffer) {
    std::vector<std::string> seen;
    for (std::int32_t number = 748; number <= 754; ++number) {
        const std::string line = printed(number, "vdSomething", 0.0);
        EXPECT_TRUE(is_one_line(line)) << line;
        EXPECT_NE(line.find("vdSomething"), std::string::npos) << line;
        for (const std::string &other : seen)
            EXPECT_NE(line, other);
        seen.push_back(line);
    }
}

TEST(CoreMessages, ValueLinesSayWhichValue) {
    struct Case {
        std::int32_t first;
        std::vector<const char *> lines;
    };
    const Case cases[] = {
        {755, {"argument 1", "result 1"}},
        {757, {"argument 1", "result 1", "result 2"}},
        {760, {"argument 1", "argument 2", "result 1"}},
        {763, {"argument 1", "argument 2", "result 1", "result 2"}},
    };
    for (const Case &c : cases) {
        std::int32_t number = c.first;
        for (const char *label : c.lines) {
            const std::string line = printed(number++, "not shown", 0.25);
            EXPECT_TRUE(is_one_line(line)) << line;
            EXPECT_NE(line.find(label), std::string::npos) << line;
            EXPECT_EQ(line.find("not shown"), std::string::npos) << line;
            EXPECT_NE(line.find(" = 0.25\n"), std::string::npos) << line;
        }
    }
}

TEST(CoreMessages, ValuesComeBackFromTheirDigits) {
    using Limits = std::numeric_limits<double>;
    for (double value : {0.1, -1.0 / 3.0, 1e22, 3.141592653589793, Limits::max(), -Limits::min(),
                         Limits::denorm_min(), 0.0, -0.0}) {
        const std::string line = printed(755, nullptr, value);
        const double back = std::strtod(line.c_str() + line.find('=') + 1, nullptr);
        EXPECT_EQ(std::memcmp(&back, &value, sizeof value), 0) << value << " in " << line;
    }
    EXPECT_NE(printed(755, nullptr, Limits::infinity()).find("= inf\n"), std::string::npos);
    EXPECT_NE(printed(755, nullptr, -Limits::infinity()).find("= -inf\n"), std::string::npos);
    EXPECT_NE(printed(755, nullptr, Limits::quiet_NaN()).find("= nan\n"), std::string::npos);
    EXPECT_NE(printed(755, nullptr, -Limits::quiet_NaN()).find("= nan\n"), std::string::npos);
}

TEST(CoreMessages, OddTexts) {
    EXPECT_TRUE(is_one_line(printed(773, nullptr, 0.0)));
    EXPECT_TRUE(is_one_line(printed(748, nullptr, 0.0)));
    const std::string percent = printed(750, "%s%n%f", 0.0);
    EXPECT_NE(percent.find("%s%n%f"), std::string::npos) << percent;
    const std::string longest(5000, 'x');
    EXPECT_TRUE(is_one_line(printed(748, longest.c_str(), 0.0)));
}

TEST(CoreMessages, UnknownNumbersWriteNothing) {
    for (std::int32_t number : {-1, 0, 747, 767, 772, 774})
        EXPECT_EQ(printed(number, "text", 1.0), "") << number;
}

TEST(CoreMessages, FailureToWriteIsTold) {
    qor::test::SystemPipe pipe;
    ASSERT_TRUE(pipe.open());
    EXPECT_EQ(qor_serv_print(pipe.read_end(), 748, "name", 0.0), -1);
    EXPECT_EQ(pipe.read_all(), "");
}

// Exit

TEST(CoreExitDeathTest, EndsTheProcessWithTheCode) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (std::int32_t code : {0, 3})
        EXPECT_EXIT(qor_serv_exit(code), testing::ExitedWithCode(code), "");
}

} // namespace
