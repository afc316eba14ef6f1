// Box-Muller2 keeps a pair with the stream; everything else asks for no memory at all.
#include "laws.h"
#include "qor_bex_distributions.h"
#include "replay_generator.h"
#include "substitute_core/control.h"

#include <gtest/gtest.h>

namespace {

using test::OwnedStream;

TEST(DistributionMemory, PairOfBoxMuller2) {
    qor_test_reset();
    const std::uint64_t at_start = qor_test_live_blocks();
    {
        const OwnedStream stream(BEX_BRNG_MCG59, 5), fresh(BEX_BRNG_MCG59, 5);
        for (std::uint64_t k : {1u, 2u}) { // the pair, the chunk
            double d[3] = {-7, -7, -7};
            float f[3] = {-7, -7, -7};
            qor_test_fail_allocation(k);
            EXPECT_EQ(_bexdRngGaussian(BEX_GAUSSIAN_BOX_MULLER2, stream, 3, d, 0, 1), BEX_STATUS_NO_MEMORY);
            qor_test_fail_allocation(k);
            EXPECT_EQ(_bexsRngGaussian(BEX_GAUSSIAN_BOX_MULLER2, stream, 3, f, 0, 1), BEX_STATUS_NO_MEMORY);
            EXPECT_EQ(d[0], -7);
            EXPECT_EQ(f[0], -7);
            EXPECT_EQ(__bexGetNumChunks(stream), 0);
        }
        double r[2][3]; // no uniform number was taken
        EXPECT_EQ(_bexdRngGaussian(BEX_GAUSSIAN_BOX_MULLER2, stream, 3, r[0], 0, 1), 0);
        EXPECT_EQ(_bexdRngGaussian(BEX_GAUSSIAN_BOX_MULLER2, fresh, 3, r[1], 0, 1), 0);
        EXPECT_TRUE(std::equal(r[0], r[0] + 3, r[1]));
        EXPECT_EQ(qor_test_last_alignment(), 128u);
    }
    EXPECT_EQ(qor_test_live_blocks(), at_start);
}

TEST(DistributionMemory, NothingElseAllocates) {
    const OwnedStream stream(BEX_BRNG_MCG59, 5);
    std::vector<double> d(3000);
    std::vector<std::int32_t> i(3000);
    const std::uint64_t before = qor_test_allocation_requests();
    for (const auto &law : test::laws<double>())
        EXPECT_EQ(law.generate(0, stream, 3000, d.data()), 0);
    _bexdRngGaussian(BEX_GAUSSIAN_BOX_MULLER, stream, 3000, d.data(), 0, 1);
    _bexdRngGaussian(BEX_GAUSSIAN_ICDF, stream, 3000, d.data(), 0, 1);
    _bexdRngLognormal(BEX_LOGNORMAL_ICDF, stream, 3000, d.data(), 0, 1, 0, 1);
    _bexiRngGeometric(0, stream, 3000, i.data(), 0.5);
    _bexiRngUniform(0, stream, 3000, i.data(), 0, 9);
    EXPECT_EQ(qor_test_allocation_requests(), before);
}

} // namespace
