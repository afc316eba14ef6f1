// The transforms of uniform numbers against their formulae, and against their distribution functions.
#include "laws.h"
#include "qor_fyn.h"
#include "replay_generator.h"
#include "statistic.h"

#include <gtest/gtest.h>

namespace {

using test::OwnedStream;
using test::Replay;

template <class T> std::vector<T> uniforms(void *stream, std::int32_t n) {
    std::vector<T> u(static_cast<std::size_t>(n));
    if constexpr (sizeof(T) == 8)
        _bexdRngUniform(0, stream, n, u.data(), 0, 1);
    else
        _bexsRngUniform(0, stream, n, u.data(), 0, 1);
    return u;
}

template <class T> class InverseTransform : public testing::Test {};
using BothPrecisions = testing::Types<float, double>;
TYPED_TEST_SUITE(InverseTransform, BothPrecisions);

TYPED_TEST(InverseTransform, FollowsItsFormula) {
    using T = TypeParam;
    for (const auto &law : test::laws<T>())
        for (std::int32_t n : {0, 1, 2, 1023, 1024, 1025, 3000}) {
            SCOPED_TRACE(law.name + " " + std::to_string(n));
            const OwnedStream stream(BEX_BRNG_MCG31M1, 1234567), twin(stream);
            std::vector<T> r(static_cast<std::size_t>(n) + 1, T(-77));
            ASSERT_EQ(law.generate(0, stream, n, r.data()), 0);
            const auto u = uniforms<T>(twin, n * law.uniforms_each);
            for (std::size_t i = 0; law.model && i + 1 < r.size(); ++i) {
                const long double expected = law.model(&u[i * static_cast<std::size_t>(law.uniforms_each)]);
                ASSERT_LE(std::abs(r[i] - expected), law.accuracy * std::max(1.0L, std::abs(expected))) << i;
            }
            EXPECT_EQ(r.back(), T(-77));
            EXPECT_EQ(uniforms<T>(stream, 1), uniforms<T>(twin, 1)); // as many uniforms as it says
        }
}

// The tangent, which has no closed form in a uniform of [0, 1): back through the arctangent.
TYPED_TEST(InverseTransform, CauchyIsTheTangent) {
    using T = TypeParam;
    const auto cauchy = test::laws<T>()[2];
    const OwnedStream replay(Replay::id());
    const std::vector<double> script = {0, 0.1, 0.25, 0.4375, 0.5, 0.75, 0.999};
    Replay::start(script);
    std::vector<T> r(script.size());
    ASSERT_EQ(cauchy.generate(0, replay, static_cast<std::int32_t>(r.size()), r.data()), 0);
    const T half_pi = static_cast<T>(1.5707963267948966);
    for (std::size_t i = 0; i < r.size(); ++i) {
        const T v = -half_pi + (half_pi - -half_pi) * static_cast<T>(script[i]);
        // tan v = -1 / tan(v + pi/2), since some tangents are poor beside the pole
        const long double beyond = (v + 0x1.921fb54442d18p+0L) + 6.123233995736766e-17L;
        const long double expected = 0.5L - 2 / std::tan(beyond);
        EXPECT_LE(std::abs(r[i] - expected), cauchy.accuracy * std::abs(expected) + 0x1p-20L) << script[i];
    }
}

TYPED_TEST(InverseTransform, EndsFlagsAndRequests) {
    using T = TypeParam;
    const FynErrorCallBack intruder = [](FynErrorContext *) {
        ADD_FAILURE() << "the caller's callback ran";
        return 0;
    };
    const FynErrorCallBack old = _fynSetErrorCallBack(intruder);
    const std::uint32_t mode = _fynGetMode();
    const OwnedStream replay(Replay::id());
    for (const auto &law : test::laws<T>()) {
        SCOPED_TRACE(law.name);
        std::vector<T> r(2500);
        if (law.of_zero != 0) { // a uniform of 0
            Replay::start({0, 0.25});
            ASSERT_EQ(law.generate(0, replay, 1, r.data()), 0);
            EXPECT_NEAR(r[0], law.of_zero, 1e-6 * std::abs(law.of_zero));
        }
        // Uniform numbers beyond 1 leave the support; the accurate flag keeps inside where the law honours
        // it.
        Replay::start({1.25, 0.25});
        ASSERT_EQ(law.generate(0, replay, 1, r.data()), 0);
        const T free = r[0];
        Replay::start({1.25, 0.25});
        ASSERT_EQ(law.generate(BEX_ACCURATE, replay, 1, r.data()), 0);
        if (law.name == "Exponential" || law.name == "Weibull of shape 1") {
            EXPECT_LT(free, law.lowest);
            EXPECT_EQ(r[0], law.lowest);
        } else if (!std::isnan(free)) {
            EXPECT_EQ(r[0], free);
        }
        // One request for all, or blocks of 1024 pairs; a refusal is passed on.
        Replay::start({0.3, 0.6, 0.2});
        ASSERT_EQ(law.generate(0, replay, 2500, r.data()), 0);
        const auto expected = law.uniforms_each == 1 ? std::vector<std::int32_t>{2500}
                                                     : std::vector<std::int32_t>{2048, 2048, 904};
        EXPECT_EQ(Replay::requests, expected);
        for (std::size_t refuse = 1; refuse <= expected.size(); ++refuse) {
            Replay::start({0.3}, refuse);
            EXPECT_EQ(law.generate(0, replay, 2500, r.data()), Replay::refusal);
            EXPECT_EQ(Replay::requests.size(), refuse);
        }
        Replay::start({0.3});
        Replay::answer = 5;
        EXPECT_EQ(law.generate(0, replay, 1, r.data()), 5);
        Replay::answer = 0;
        EXPECT_EQ(_fynGetErrorCallBack(), intruder);
        EXPECT_EQ(_fynGetMode() & ~0x3C0000u, mode & ~0x3C0000u);
    }
    _fynSetErrorCallBack(old);
    _fynClearErrStatus();
}

TYPED_TEST(InverseTransform, Distribution) {
    using T = TypeParam;
    for (const auto &law : test::laws<T>()) {
        const OwnedStream stream(BEX_BRNG_MCG59, 20261122);
        std::vector<T> r(1000000);
        ASSERT_EQ(law.generate(0, stream, 1000000, r.data()), 0);
        test::expect_distribution(std::move(r), law.distribution, law.name);
    }
}

} // namespace
