// Uniform variates against the generators' own entries and written-down numbers.
#include "qor_bex_distributions.h"
#include "replay_generator.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using test::OwnedStream;
using test::Replay;

TEST(Uniform, RealIsTheGeneratorsOutput) {
    for (std::uint32_t id : {BEX_BRNG_MCG31M1, BEX_BRNG_MCG59}) {
        const OwnedStream stream(id, 12345), twin(stream);
        BexBrngProperties row;
        ASSERT_EQ(__bexGetBrngProperties(id, &row), 0);
        std::vector<double> r(1000), expected(r);
        std::vector<float> f(1000), expected_f(f);
        EXPECT_EQ(_bexdRngUniform(0, stream, 1000, r.data(), -2.5, 7.0), 0);
        EXPECT_EQ(row.out_double(twin, 1000, expected.data(), -2.5, 7.0), 0);
        EXPECT_EQ(r, expected);
        EXPECT_EQ(_bexsRngUniform(0, stream, 1000, f.data(), -2.5F, 7.0F), 0);
        EXPECT_EQ(row.out_float(twin, 1000, expected_f.data(), -2.5F, 7.0F), 0);
        EXPECT_EQ(f, expected_f);
    }
}

template <class T> void check_clamp(std::int32_t (*generate)(std::int32_t, void *, std::int32_t, T *, T, T)) {
    const OwnedStream stream(Replay::id());
    const std::vector<double> outside = {-0.5, 0, 0.25, 1, 1.5};
    const std::vector<T> as_drawn = {1, 2, 2.5, 4, 5}, clamped = {2, 2, 2.5, 4, 4};
    for (std::int32_t method : {0, BEX_ACCURATE}) {
        Replay::start(outside);
        std::vector<T> r(6, 99);
        EXPECT_EQ(generate(method, stream, 5, r.data(), T(2), T(4)), 0);
        EXPECT_EQ(std::vector<T>(r.begin(), r.end() - 1), method == 0 ? as_drawn : clamped);
        EXPECT_EQ(r[5], 99);
        EXPECT_EQ(generate(method, stream, 3, r.data(), T(3), T(3)), 0);
        EXPECT_EQ(r[0], 3);
        EXPECT_EQ(generate(method, stream, -4, r.data(), T(0), T(1)), 0);
        EXPECT_EQ(Replay::requests, (std::vector<std::int32_t>{5, 3, -4}));
        Replay::start(outside, 1);
        EXPECT_EQ(generate(method, stream, 5, r.data(), T(2), T(4)), Replay::refusal);
    }
}

TEST(Uniform, AccurateFlagClamps) {
    check_clamp(_bexdRngUniform);
    check_clamp(_bexsRngUniform);
}

TEST(Uniform, IntegersAreFloors) {
    const OwnedStream stream(BEX_BRNG_MCG59, 777);
    for (auto [a, b] : {std::pair{-3, 2}, {0, 10}, {-2147483647 - 1, 2147483647}, {-1000000, -999990}}) {
        for (std::int32_t n : {0, 1, 2, 3, 1023, 1024, 1025, 2500}) {
            const auto count = static_cast<std::size_t>(n);
            const OwnedStream copy(stream), twin(stream);
            std::vector<std::int32_t> r(count + 1, 12345678);
            std::vector<double> real(count);
            EXPECT_EQ(_bexiRngUniform(0, copy, n, r.data(), a, b), 0);
            EXPECT_EQ(_bexdRngUniform(0, twin, n, real.data(), a, b), 0);
            for (std::size_t i = 0; i < count; ++i)
                ASSERT_EQ(r[i], static_cast<std::int32_t>(std::floor(real[i]))) << a << ' ' << b << ' ' << i;
            EXPECT_EQ(r[count], 12345678);
        }
    }
    const OwnedStream replay(Replay::id());
    Replay::start({0, 0.1, 0.2, 0.5, 0.9999});
    std::int32_t r[2500];
    EXPECT_EQ(_bexiRngUniform(0, replay, 2500, r, -1, 0), 0);
    EXPECT_EQ(Replay::requests, (std::vector<std::int32_t>{1024, 1024, 452}));
    for (std::int32_t value : r)
        ASSERT_EQ(value, -1);
    Replay::start({0.5}, 2); // a finished block stays
    EXPECT_EQ(_bexiRngUniform(0, replay, 2500, r, 10, 20), Replay::refusal);
    EXPECT_EQ(r[1023], 15);
    EXPECT_EQ(r[1024], -1);
}

TEST(Uniform, RawWords) {
    const OwnedStream stream(BEX_BRNG_MCG31M1, 99), twin(stream), replay(Replay::id());
    std::vector<std::uint32_t> r(100), expected(100);
    EXPECT_EQ(_bexiRngUniformBits(0, stream, 100, r.data()), 0);
    EXPECT_EQ(__bexiBRngMCG31M1(twin, 100, expected.data()), 0);
    EXPECT_EQ(r, expected);
    Replay::start({1}, 1);
    EXPECT_EQ(_bexiRngUniformBits(0, replay, 100, r.data()), Replay::refusal);
}

TEST(Uniform, WordsOfMCG59) {
    const OwnedStream stream(BEX_BRNG_MCG59, 4711);
    std::vector<std::uint64_t> raw(2 * 2049);
    const OwnedStream source(stream);
    ASSERT_EQ(__bexiBRngMCG59(source, 2 * 2049, raw.data()), 0);
    for (std::int32_t n : {0, 1, 2047, 2048, 2049}) {
        const auto count = static_cast<std::size_t>(n);
        const OwnedStream narrow(stream), wide(stream);
        std::vector<std::uint32_t> words(count + 1, 5);
        std::vector<std::uint64_t> pairs(count + 1, 5);
        EXPECT_EQ(_bexiRngUniformBits32(0, narrow, n, words.data()), 0);
        EXPECT_EQ(_bexiRngUniformBits64(0, wide, n, pairs.data()), 0);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(words[i], raw[i] >> 27 & 0xFFFFFFFF);
            ASSERT_EQ(pairs[i], (raw[2 * i] >> 27 & 0xFFFFFFFF) | raw[2 * i + 1] >> 27 << 32);
        }
        EXPECT_EQ(words[count], 5u);
        EXPECT_EQ(pairs[count], 5u);
        // What follows in the streams: n and 2n words on.
        std::uint64_t next[2];
        __bexiBRngMCG59(narrow, 1, &next[0]);
        __bexiBRngMCG59(wide, 1, &next[1]);
        EXPECT_EQ(next[0], raw[count]);
        if (2 * count < raw.size()) {
            EXPECT_EQ(next[1], raw[2 * count]);
        }
    }
}

// A record without a generator behind it, and generators without uniform bits: nothing is written or called.
TEST(Uniform, WordsRefused) {
    for (std::uint32_t id :
         {0x100000u, 0x200000u, 0x300000u, 0x500000u, 0x500007u, 0x600000u, 0x700000u, 0xA00000u, 0xB00000u,
          0xC00000u, 0u, 1u, 2u, 4u, 276u, 277u, 278u, Replay::id()}) {
        struct {
            std::uint32_t id = 0, one = 1;
            void *chunks = nullptr;
        } record{id};
        std::uint64_t r = 42;
        EXPECT_EQ(_bexiRngUniformBits32(0, &record, 1, reinterpret_cast<std::uint32_t *>(&r)), -1014) << id;
        EXPECT_EQ(_bexiRngUniformBits64(0, &record, 1, &r), -1014) << id;
        EXPECT_EQ(r, 42u);
    }
    for (std::uint32_t id : {279u, 280u, 5000u, 0x1F000000u}) {
        struct {
            std::uint32_t id, one = 1;
            void *chunks = nullptr;
        } record{id};
        double d;
        float f;
        std::int32_t i;
        EXPECT_EQ(_bexdRngUniform(0, &record, 1, &d, 0, 1), BEX_STATUS_BAD_ID);
        EXPECT_EQ(_bexsRngUniform(0, &record, 1, &f, 0, 1), BEX_STATUS_BAD_ID);
        EXPECT_EQ(_bexiRngUniform(0, &record, 1, &i, 0, 1), BEX_STATUS_BAD_ID);
        EXPECT_EQ(_bexiRngUniformBits(0, &record, 1, &i), BEX_STATUS_BAD_ID);
        EXPECT_EQ(_bexdRngGaussian(0, &record, 1, &d, 0, 1), BEX_STATUS_BAD_ID);
    }
}

} // namespace
