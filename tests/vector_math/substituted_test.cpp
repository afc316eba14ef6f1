// The finished library with the substitute core library in place of its own.
#include "substitute_core/control.h"

#include "qor_fyn.h"

#include <cmath>
#include <gtest/gtest.h>
#include <thread>

namespace {

TEST(SubstitutedCore, ServesTheLibrary) {
    qor_test_reset();
    qor_test_environment(QOR_TEST_ENVIRONMENT_SET, "FYN_LA,FYN_ERRMODE_STDERR");
    std::thread([] {
        EXPECT_EQ(_fynGetMode(), 0x401u);
        const double a[2] = {1, 0};
        double r[2];
        _fyndLn(2, a, r);
        EXPECT_EQ(r[0], 0);
        EXPECT_EQ(r[1], -INFINITY);
        EXPECT_EQ(_fynGetErrStatus(), FYN_STATUS_SINGULARITY);
    }).join();
    ASSERT_EQ(qor_test_message_count(), 3u);
    EXPECT_EQ(qor_test_message_number(0), 751);
    EXPECT_STREQ(qor_test_message_text(0), "vdLn");
    EXPECT_EQ(qor_test_message_number(2), 756);
    EXPECT_EQ(qor_test_message_value(2), -INFINITY);
    EXPECT_EQ(qor_test_environment_reads(), 1u);
    EXPECT_EQ(qor_test_locks_held(), 0u);
    qor_test_reset();
}

} // namespace
