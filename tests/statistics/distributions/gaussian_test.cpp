// Gaussian variates against a model in extended precision over the same uniform numbers.
#include "qor_bex_distributions.h"
#include "qor_fyn.h"
#include "replay_generator.h"
#include "statistic.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <gtest/gtest.h>

namespace {

using test::OwnedStream;
using test::Replay;

constexpr std::int32_t methods[] = {BEX_GAUSSIAN_BOX_MULLER, BEX_GAUSSIAN_BOX_MULLER2, BEX_GAUSSIAN_ICDF};

template <class T> constexpr bool is_double = sizeof(T) == 8;

template <class T>
std::int32_t generate(std::int32_t method, void *stream, std::int32_t n, T *r, T a, T sigma) {
    if constexpr (is_double<T>)
        return _bexdRngGaussian(method, stream, n, r, a, sigma);
    else
        return _bexsRngGaussian(method, stream, n, r, a, sigma);
}

template <class T>
std::vector<T> draw(std::int32_t method, void *stream, std::int32_t n, T a = 0, T sigma = 1) {
    std::vector<T> r(static_cast<std::size_t>(n));
    EXPECT_EQ(generate<T>(method, stream, n, r.data(), a, sigma), 0);
    return r;
}

template <class T> std::vector<T> uniforms(void *stream, std::int32_t n, T a = 0) {
    std::vector<T> u(static_cast<std::size_t>(n));
    if constexpr (is_double<T>)
        _bexdRngUniform(0, stream, n, u.data(), a, 1);
    else
        _bexsRngUniform(0, stream, n, u.data(), a, 1);
    return u;
}

// The standard normals of one method; u2 is rounded to an angle before sine and cosine see it.
template <class T> long double radius(T u) { return std::sqrt(-2 * std::log(static_cast<long double>(u))); }
template <class T> long double angle(T u) { return u * static_cast<T>(6.283185307179586); }

template <class T> class Gaussian : public testing::Test {
  public:
    // The transforms are good to a few units of the last place; the inverse error function to 2^-26.
    static bool is_near(T value, long double expected, bool inverse = false) {
        const long double unit =
            std::ldexp(1.0L, inverse && is_double<T> ? -26 : 1 - (is_double<T> ? 53 : 24));
        return std::abs(value - expected) <= (inverse ? 4 : 5) * unit * std::max(1.0L, std::abs(expected));
    }
};
using BothPrecisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Gaussian, BothPrecisions);

TYPED_TEST(Gaussian, BoxMullerTakesTwoUniformsForEach) {
    using T = TypeParam;
    for (std::int32_t n : {0, 1, 2, 1023, 1024, 1025, 3000}) {
        const OwnedStream stream(BEX_BRNG_MCG59, 31), twin(stream);
        const auto r = draw<T>(0, stream, n, T(0.5), T(2));
        const auto u = uniforms<T>(twin, 2 * n);
        for (std::size_t i = 0; i < r.size(); ++i)
            ASSERT_TRUE(this->is_near((r[i] - T(0.5)) / 2, radius(u[2 * i]) * std::sin(angle(u[2 * i + 1]))))
                << i;
        EXPECT_EQ(uniforms<T>(stream, 1), uniforms<T>(twin, 1));
    }
}

TYPED_TEST(Gaussian, BoxMuller2TakesPairsAndOwesTheLastCosine) {
    using T = TypeParam;
    const OwnedStream stream(BEX_BRNG_MCG59, 32), twin(stream);
    std::vector<T> r;
    for (std::int32_t n :
         {1, 1, 0, 3, 1023, 1024, 2, 1025, 1, 0, 2048, 3000, 7, -2}) { // in all an even number
        const auto piece = draw<T>(1, stream, std::max(n, 0));
        r.insert(r.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(generate<T>(1, stream, -3, nullptr, 0, 1), 0);
    ASSERT_EQ(r.size() % 2, 1u);
    r.push_back(draw<T>(1, stream, 1)[0]);
    const auto u = uniforms<T>(twin, static_cast<std::int32_t>(r.size()));
    for (std::size_t i = 0; i < r.size(); i += 2) {
        ASSERT_TRUE(this->is_near(r[i], radius(u[i]) * std::sin(angle(u[i + 1])))) << i;
        ASSERT_TRUE(this->is_near(r[i + 1], radius(u[i]) * std::cos(angle(u[i + 1])))) << i;
    }
    EXPECT_EQ(uniforms<T>(stream, 1), uniforms<T>(twin, 1));
    EXPECT_EQ(__bexGetNumChunks(stream), 1);
    EXPECT_NE(__bexSearchChunk(stream, is_double<T> ? 2 : 1), nullptr);
}

// What is owed takes mean and deviation of the call that pays it, and goes with a copy of the stream.
TYPED_TEST(Gaussian, OwedVariate) {
    using T = TypeParam;
    const OwnedStream stream(BEX_BRNG_MCG31M1, 5), fresh(stream);
    const auto pair = draw<T>(1, fresh, 2);
    EXPECT_EQ(draw<T>(1, stream, 1)[0], pair[0]);
    const OwnedStream copy(stream);
    EXPECT_EQ(draw<T>(1, stream, 1, T(10), T(4))[0], pair[1] * 4 + 10);
    EXPECT_EQ(draw<T>(1, copy, 1)[0], pair[1]);
    draw<T>(1, stream, 1);
    Replay::start({});
    // The two precisions owe separately.
    using Other = std::conditional_t<is_double<T>, float, double>;
    draw<Other>(1, stream, 2);
    EXPECT_EQ(__bexGetNumChunks(stream), 2);
}

TYPED_TEST(Gaussian, InverseDistributionMakesOneRequest) {
    using T = TypeParam;
    const OwnedStream stream(BEX_BRNG_MCG31M1, 33), twin(stream);
    const auto r = draw<T>(2, stream, 2500, T(-3), T(0.25));
    const auto u = uniforms<T>(twin, 2500, T(-1));
    for (std::size_t i = 0; i < r.size(); ++i) { // the distribution function takes a variate back to u
        const long double z = (r[i] + 3.0L) * 4,
                          density = 2 * std::exp(-z * z / 2) / std::sqrt(2 * std::acos(-1.0L));
        const long double error = std::erf(z / std::sqrt(2.0L)) - u[i];
        ASSERT_LE(std::abs(error / density), std::max(1.0L, std::abs(z)) * (is_double<T> ? 0x1p-26 : 0x1p-20))
            << u[i];
    }
    const OwnedStream replay(Replay::id());
    Replay::start({0.3, 0.6});
    draw<T>(2, replay, 2500);
    EXPECT_EQ(Replay::requests, std::vector<std::int32_t>{2500});
}

// Uniforms at the ends of their interval give finite variates, and vector math's errors stay inside.
TYPED_TEST(Gaussian, ExceptionalUniforms) {
    using T = TypeParam;
    static int calls;
    calls = 0;
    const FynErrorCallBack callback = [](FynErrorContext *) { return ++calls; };
    const std::uint32_t mode = _fynSetMode(FYN_ERRMODE_ERRNO | FYN_ERRMODE_STDERR | FYN_HA);
    const FynErrorCallBack old = _fynSetErrorCallBack(callback);
    const std::uint32_t mode_before = _fynGetMode();
    const T log_of_zero = static_cast<T>(is_double<T> ? -744.4400719213812 : -103.2789306640625);
    const T bound = static_cast<T>(is_double<T> ? 5.8635847487551676 : 3.8325068950653076);
    const OwnedStream replay(Replay::id());
    errno = 0;
    const struct {
        std::int32_t method;
        std::vector<double> script;
        T first;
        std::int32_t status;
    } cases[] = {
        {0, {0, 0.25}, std::sqrt(-2 * log_of_zero), FYN_STATUS_SINGULARITY},
        {1, {0, 0.25}, std::sqrt(-2 * log_of_zero), FYN_STATUS_SINGULARITY},
        {2, {0, 0.75}, -bound * T(1.4142135623730951), FYN_STATUS_SINGULARITY},
        {2, {1, 0.75}, bound * T(1.4142135623730951), FYN_STATUS_SINGULARITY},
        {2, {2, 0.75}, bound * T(1.4142135623730951), FYN_STATUS_DOMAIN},
        {0, {0.5, 0.25}, std::sqrt(-2 * std::log(T(0.5))), FYN_STATUS_OK},
        {1,
         {1 - (is_double<T> ? 0x1p-53 : 0x1p-24), 0.25},
         is_double<T> ? T(0x1p-26) : T(0x1.6a09e6p-12),
         FYN_STATUS_OK},
    };
    for (const auto &c : cases) {
        _fynClearErrStatus();
        Replay::start(c.script);
        const auto r = draw<T>(c.method, replay, 2);
        EXPECT_TRUE(this->is_near(r[0], c.first)) << r[0] << " for " << c.script[0] << " by " << c.method;
        EXPECT_TRUE(std::isfinite(r[1]));
        EXPECT_EQ(_fynGetErrStatus(), c.status) << c.script[0];
        EXPECT_EQ(_fynGetMode() & ~0x3C0000u, mode_before & ~0x3C0000u);
        EXPECT_EQ(_fynGetErrorCallBack(), callback);
    }
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(errno, 0);
    _fynSetErrorCallBack(old);
    _fynSetMode(mode);
    _fynClearErrStatus();
}

// A request that fails ends the call with its status; blocks before it stay, so does what is owed.
TYPED_TEST(Gaussian, FailingStream) {
    using T = TypeParam;
    const std::uint32_t mode = _fynGetMode();
    for (std::int32_t method : methods) {
        const OwnedStream replay(Replay::id());
        Replay::start({0.2, 0.4, 0.6, 0.8});
        const auto expected = draw<T>(method, replay, 2500);
        const std::size_t requests = Replay::requests.size();
        for (std::size_t refuse = 1; refuse <= requests; ++refuse) {
            std::vector<T> r(2500, T(99));
            Replay::start({0.2, 0.4, 0.6, 0.8}, refuse);
            EXPECT_EQ(generate<T>(method, replay, 2500, r.data(), 0, 1), Replay::refusal);
            EXPECT_EQ(Replay::requests.size(), refuse);
            const auto finished = static_cast<std::ptrdiff_t>(1024 * (refuse - 1));
            EXPECT_TRUE(std::equal(r.begin(), r.begin() + finished, expected.begin()));
            EXPECT_EQ(_fynGetMode() & ~0x3C0000u, mode & ~0x3C0000u);
            EXPECT_EQ(_fynGetErrorCallBack(), nullptr);
        }
    }
    const OwnedStream replay(Replay::id());
    Replay::start({0.2, 0.4});
    const auto pair = draw<T>(1, replay, 2);
    draw<T>(1, replay, 1);
    Replay::start({0.2, 0.4}, 1);
    T r[3];
    EXPECT_EQ(generate<T>(1, replay, 3, r, 0, 1), Replay::refusal);
    EXPECT_EQ(draw<T>(1, replay, 1)[0], pair[1]);

    Replay::start({0.2, 0.4});
    Replay::answer = 3; // a generator's non-negative status is passed on
    for (std::int32_t method : methods)
        EXPECT_EQ(generate<T>(method, replay, 1, r, 0, 1), 3);
    Replay::answer = 0;
    for (std::int32_t method : {-1, 3, BEX_ACCURATE})
        EXPECT_EQ(generate<T>(method, replay, 1, r, 0, 1), BEX_STATUS_BAD_METHOD);
}

TYPED_TEST(Gaussian, Distribution) {
    using T = TypeParam;
    for (std::int32_t method : methods) {
        const OwnedStream stream(BEX_BRNG_MCG59, 20261121);
        test::expect_distribution(
            draw<T>(method, stream, 1000000, T(3), T(2)),
            [](double x) { return 0.5 * std::erfc((3 - x) / 2 / std::sqrt(2.0)); }, std::to_string(method));
    }
}

} // namespace
