// The substitute core library does what its controls say, and otherwise serves as the real one.

#include "core_interface/core.h"
#include "tests/substitute_core/control.h"
#include "tests/support/system_file.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

class SubstituteCore : public testing::Test {
  protected:
    void SetUp() override { qor_test_reset(); }
    void TearDown() override { qor_test_reset(); }
};

TEST_F(SubstituteCore, FailsTheChosenAllocationOnce) {
    for (std::uint64_t k = 0; k <= 4; ++k) {
        qor_test_fail_allocation(k);
        for (std::uint64_t request = 1; request <= 5; ++request) {
            void *const block = qor_serv_allocate(10, 128);
            EXPECT_EQ(block == nullptr, request == k) << "k " << k << " request " << request;
            qor_serv_deallocate(block);
        }
    }
    EXPECT_EQ(qor_test_allocation_requests(), 25u);
}

TEST_F(SubstituteCore, CountsLiveBlocks) {
    const std::uint64_t blocks = qor_test_live_blocks(), bytes = qor_test_live_bytes();
    void *some[3];
    const std::uint64_t alignments[] = {1, 32, 4096};
    for (int i = 0; i < 3; ++i) {
        some[i] = qor_serv_allocate(100, alignments[i]);
        ASSERT_NE(some[i], nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(some[i]) % alignments[i], 0u);
        EXPECT_EQ(static_cast<unsigned char *>(some[i])[99], 0xA5);
        std::memset(some[i], 0, 100);
    }
    EXPECT_EQ(qor_test_last_alignment(), 4096u);
    EXPECT_EQ(qor_test_last_size(), 100u);
    EXPECT_EQ(qor_serv_allocate(100, 3), nullptr);
    EXPECT_EQ(qor_serv_allocate(~std::uint64_t{0}, 128), nullptr);
    EXPECT_EQ(qor_test_live_blocks(), blocks + 3);
    EXPECT_EQ(qor_test_live_bytes(), bytes + 300);
    for (int i : {1, 0, 2}) // the middle, an end, the last
        qor_serv_deallocate(some[i]);
    EXPECT_EQ(qor_test_live_blocks(), blocks);
    EXPECT_EQ(qor_test_live_bytes(), bytes);
    EXPECT_EQ(qor_test_bad_releases(), 0u);
    qor_serv_deallocate(some[1]);
    EXPECT_EQ(qor_test_bad_releases(), 1u);
}

TEST_F(SubstituteCore, ReplacesTheEnvironment) {
    char buffer[8] = "###";
    ASSERT_TRUE(qor::test::set_environment("QOR_CORE_TEST_VARIABLE", "real"));
    EXPECT_EQ(qor_serv_getenv("QOR_CORE_TEST_VARIABLE", buffer, 8), 4);
    EXPECT_STREQ(buffer, "real");
    qor_test_environment(QOR_TEST_ENVIRONMENT_SET, "longer!");
    qor_serv_lock(2);
    EXPECT_EQ(qor_serv_getenv("QOR_CORE_TEST_VARIABLE", buffer, 8), 7);
    qor_serv_unlock(2);
    EXPECT_STREQ(buffer, "longer!");
    EXPECT_EQ(qor_test_locks_held_at_read(), 1u << 2);
    EXPECT_EQ(qor_serv_getenv("QOR_CORE_TEST_VARIABLE", buffer, 7), -1);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(qor_test_locks_held_at_read(), 0u);
    qor_test_environment(QOR_TEST_ENVIRONMENT_FAILS, nullptr);
    EXPECT_EQ(qor_serv_getenv("QOR_CORE_TEST_VARIABLE", buffer, 8), -1);
    EXPECT_EQ(qor_test_environment_reads(), 4u);
    qor::test::set_environment("QOR_CORE_TEST_VARIABLE", nullptr);
}

TEST_F(SubstituteCore, RecordsLocks) {
    qor_serv_lock(0);
    qor_serv_lock(5);
    EXPECT_EQ(qor_test_locks_held(), (1u << 0) | (1u << 5));
    qor_serv_unlock(0);
    qor_serv_unlock(5);
    EXPECT_EQ(qor_test_locks_held(), 0u);
    EXPECT_EQ(qor_test_lock_count(5), 1u);
    EXPECT_EQ(qor_test_unlock_count(5), 1u);
    EXPECT_EQ(qor_test_lock_count(1), 0u);
    EXPECT_EQ(qor_test_lock_errors(), 0u);
    qor_serv_unlock(5);
    qor_serv_lock(16);
    EXPECT_EQ(qor_test_lock_errors(), 2u);
}

TEST_F(SubstituteCore, RecordsMessages) {
    qor::test::SystemPipe pipe;
    ASSERT_TRUE(pipe.open());
    EXPECT_EQ(qor_serv_print(pipe.write_end(), 750, "vdName", 0.0), 0);
    EXPECT_EQ(qor_serv_print(pipe.write_end(), 755, nullptr, 2.5), 0);
    ASSERT_EQ(qor_test_message_count(), 2u);
    EXPECT_EQ(qor_test_message_number(0), 750);
    EXPECT_STREQ(qor_test_message_text(0), "vdName");
    EXPECT_EQ(qor_test_message_number(1), 755);
    EXPECT_STREQ(qor_test_message_text(1), "");
    EXPECT_EQ(qor_test_message_value(1), 2.5);
    EXPECT_NE(pipe.read_all().find("vdName"), std::string::npos);
}

TEST(SubstituteCoreDeathTest, ExitSaysItsCode) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(qor_serv_exit(3), testing::ExitedWithCode(3), "exit 3");
}

} // namespace
