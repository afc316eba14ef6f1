// Lognormal and multivariate Gaussian against the Gaussian variates they start from; Bernoulli and geometric
// against their uniform numbers.
#include "qor_bex_distributions.h"
#include "qor_fyn.h"
#include "replay_generator.h"
#include "statistic.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

using test::OwnedStream;
using test::Replay;

template <class T> struct Entries;
template <> struct Entries<float> {
    static constexpr auto gaussian = _bexsRngGaussian, exponential = _bexsRngExponential;
    static constexpr auto lognormal = _bexsRngLognormal;
    static constexpr auto multivariate = _bexsRngGaussianMV;
    static constexpr long double exponential_accuracy = 0x1p-21L;
};
template <> struct Entries<double> {
    static constexpr auto gaussian = _bexdRngGaussian, exponential = _bexdRngExponential;
    static constexpr auto lognormal = _bexdRngLognormal;
    static constexpr auto multivariate = _bexdRngGaussianMV;
    static constexpr long double exponential_accuracy = 0x1p-50L;
};

template <class T> class FromGaussian : public testing::Test {};
using BothPrecisions = testing::Types<float, double>;
TYPED_TEST_SUITE(FromGaussian, BothPrecisions);

TYPED_TEST(FromGaussian, Lognormal) {
    using T = TypeParam;
    using E = Entries<T>;
    const T a = T(0.3), sigma = T(0.8), b = T(-1), beta = T(2);
    for (auto [method, gaussian_method] :
         {std::pair{0, 1}, {1, 2}, {BEX_ACCURATE, 2}, {1 | BEX_ACCURATE, 2}}) {
        const OwnedStream stream(BEX_BRNG_MCG59, 8), twin(stream);
        std::vector<T> r(2049), g(2049);
        ASSERT_EQ(E::lognormal(method, stream, 2049, r.data(), a, sigma, b, beta), 0);
        ASSERT_EQ(E::gaussian(gaussian_method, twin, 2049, g.data(), a, sigma), 0);
        for (std::size_t i = 0; i < r.size(); ++i) {
            const long double expected = b + beta * std::exp(static_cast<long double>(g[i]));
            ASSERT_LE(std::abs(r[i] - expected), E::exponential_accuracy * (1 + std::abs(expected)))
                << method;
        }
        const OwnedStream other(BEX_BRNG_MCG59, 9);
        std::vector<T> many(1000000);
        ASSERT_EQ(E::lognormal(method, other, 1000000, many.data(), a, sigma, b, beta), 0);
        test::expect_distribution(
            std::move(many),
            [](double x) {
                return 0.5 *
                       std::erfc(-(std::log((x + 1) / 2) - double{T(0.3)}) / double{T(0.8)} / std::sqrt(2.0));
            },
            "lognormal " + std::to_string(method));
    }
    // Exponentials beyond the range are results, not the caller's errors; the accurate flag keeps above b.
    const FynErrorCallBack old = _fynSetErrorCallBack([](FynErrorContext *) {
        ADD_FAILURE() << "the caller's callback ran";
        return 0;
    });
    const OwnedStream replay(Replay::id());
    Replay::start({0.75});
    T r;
    EXPECT_EQ(E::lognormal(1, replay, 1, &r, T(10000), T(1), b, beta), 0);
    EXPECT_EQ(r, std::numeric_limits<T>::infinity());
    EXPECT_EQ(E::lognormal(1, replay, 1, &r, T(0), T(1), T(3), T(-2)), 0);
    EXPECT_LT(r, 3);
    EXPECT_EQ(E::lognormal(1 | BEX_ACCURATE, replay, 1, &r, T(0), T(1), T(3), T(-2)), 0);
    EXPECT_EQ(r, 3);
    Replay::start({0.75}, 1);
    EXPECT_EQ(E::lognormal(1, replay, 1, &r, T(0), T(1), T(3), T(-2)), Replay::refusal);
    _fynSetErrorCallBack(old);
    _fynClearErrStatus();
}

TYPED_TEST(FromGaussian, MultivariateInEveryStorage) {
    using T = TypeParam;
    using E = Entries<T>;
    constexpr T unread = std::numeric_limits<T>::quiet_NaN();
    for (std::int32_t dimen : {1, 2, 3, 10, 11, 25})
        for (std::int32_t method : {0, 1, 2})
            for (std::int32_t storage : {BEX_STORAGE_FULL, BEX_STORAGE_PACKED, BEX_STORAGE_DIAGONAL}) {
                SCOPED_TRACE(testing::Message()
                             << dimen << " by method " << method << ", storage " << storage);
                const auto d = static_cast<std::size_t>(dimen);
                constexpr std::int32_t n = 77;
                const auto factor = [&](std::size_t i, std::size_t j) {
                    const bool outside = storage == BEX_STORAGE_DIAGONAL ? i != j : j > i;
                    return outside ? T(0) : T(1 + 0.25 * double(i) - 0.125 * double(j));
                };
                std::vector<T> t, mean(d);
                for (std::size_t i = 0; i < d; ++i)
                    mean[i] = T(double(i) - 2.5);
                if (storage == BEX_STORAGE_FULL)
                    for (std::size_t k = 0; k < d * d; ++k)
                        t.push_back(k % d > k / d ? unread : factor(k / d, k % d));
                else
                    for (std::size_t j = 0; j < d; ++j)
                        for (std::size_t i = j; i < (storage == BEX_STORAGE_PACKED ? d : j + 1); ++i)
                            t.push_back(factor(i, j));
                const OwnedStream stream(BEX_BRNG_MCG59, 88), twin(stream);
                std::vector<T> r(n * d), z(n * d);
                ASSERT_EQ(E::multivariate(method, stream, n, r.data(), dimen, storage, mean.data(), t.data()),
                          0);
                ASSERT_EQ(E::gaussian(method, twin, n * dimen, z.data(), 0, 1), 0);
                for (std::size_t v = 0; v < n; ++v)
                    for (std::size_t i = 0; i < d; ++i) {
                        long double expected = mean[i], size = std::abs(expected);
                        for (std::size_t j = 0; j <= i; ++j) {
                            expected += static_cast<long double>(factor(i, j)) * z[v * d + j];
                            size += std::abs(factor(i, j) * z[v * d + j]);
                        }
                        ASSERT_LE(std::abs(r[v * d + i] - expected),
                                  16 * std::numeric_limits<T>::epsilon() * size);
                    }
            }
    T r[4] = {7, 7, 7, 7};
    const T mean[2] = {0, 0}, t[4] = {1, 1, 1, 1};
    const OwnedStream replay(Replay::id());
    Replay::start({0.3, 0.6}, 1);
    EXPECT_EQ(E::multivariate(2, replay, 2, r, 2, 0, mean, t), Replay::refusal);
    Replay::start({0.3, 0.6});
    EXPECT_EQ(E::multivariate(2, replay, 2, r, 2, 3, mean, t), BEX_STATUS_BAD_METHOD);
    EXPECT_EQ(E::multivariate(3, replay, 2, r, 2, 0, mean, t), BEX_STATUS_BAD_METHOD);
    EXPECT_TRUE(Replay::requests.empty());
    EXPECT_EQ(E::multivariate(2, replay, 0, r, 2, 0, mean, t), 0);
    EXPECT_EQ(r[0], 7);
}

TEST(Bernoulli, ComparesWithTheProbabilityAsAFloat) {
    const float below_half = std::nextafter(0.5F, 0.0F);
    for (double p : {0.0, 1.0, 0.5, 0.5 - 1e-12, 0.25, 1e-30, -1.0, 2.0}) {
        for (std::int32_t n : {1, 2, 3, 4, 5, 8, 1001}) {
            const OwnedStream replay(Replay::id());
            const std::vector<double> script = {0.5, below_half, 0.25, 0, 0.75, 0.999, 1e-20};
            Replay::start(script);
            std::vector<std::int32_t> r(static_cast<std::size_t>(n) + 1, 9);
            ASSERT_EQ(_bexiRngBernoulli(0, replay, n, r.data(), p), 0);
            EXPECT_EQ(Replay::requests, std::vector<std::int32_t>{n});
            for (std::size_t i = 0; i + 1 < r.size(); ++i)
                ASSERT_EQ(r[i], float(script[i % script.size()]) < float(p)) << p << ' ' << i;
            EXPECT_EQ(r.back(), 9);
        }
    }
    const OwnedStream stream(BEX_BRNG_MCG59, 3);
    std::vector<std::int32_t> r(1000000);
    ASSERT_EQ(_bexiRngBernoulli(7, stream, 1000000, r.data(), 0.3), 0);
    test::expect_frequencies(r, {0.7, 0.3}, "Bernoulli");
    Replay::start({0.5}, 1);
    const OwnedStream replay(Replay::id());
    EXPECT_EQ(_bexiRngBernoulli(0, replay, 10, r.data(), 0.3), Replay::refusal);
    Replay::start({0.5});
    Replay::answer = 4;
    EXPECT_EQ(_bexiRngBernoulli(0, replay, -1, r.data(), 0.3), 4);
    Replay::answer = 0;
}

TEST(Geometric, FloorsOfLogarithms) {
    for (double p : {0.3, 0.5, 0.9, 1e-3, 1.0}) {
        for (std::int32_t n : {0, 1, 2, 3, 5, 1023, 1024, 1025, 2500}) {
            const OwnedStream stream(BEX_BRNG_MCG31M1, 77777), twin(stream);
            std::vector<std::int32_t> r(static_cast<std::size_t>(n) + 1, -9);
            std::vector<float> u(r.size());
            ASSERT_EQ(_bexiRngGeometric(0, stream, n, r.data(), p), 0);
            _bexsRngUniform(0, twin, n, u.data(), 0, 1);
            const auto c = static_cast<float>(1 / std::log1p(-p));
            for (std::size_t i = 0; i + 1 < r.size(); ++i) {
                const double x = std::log(double{u[i]}) * c;
                // beside an integer the logarithm's last bit decides
                ASSERT_TRUE(r[i] == std::floor(x * (1 - 4e-7)) || r[i] == std::floor(x * (1 + 4e-7)))
                    << p << ' ' << u[i];
            }
            EXPECT_EQ(r.back(), -9);
        }
        const OwnedStream stream(BEX_BRNG_MCG59, 5);
        std::vector<std::int32_t> r(1000000);
        ASSERT_EQ(_bexiRngGeometric(3, stream, 1000000, r.data(), p), 0);
        std::vector<double> probabilities;
        for (double q = p; q * 1e6 > 20 && probabilities.size() < 1000; q *= 1 - p)
            probabilities.push_back(q);
        test::expect_frequencies(r, probabilities, "geometric " + std::to_string(p));
    }
    const OwnedStream replay(Replay::id());
    Replay::start({0});
    std::int32_t r[2500];
    EXPECT_EQ(_bexiRngGeometric(0, replay, 1, r, 0.5), 0);
    EXPECT_EQ(r[0], 149); // ln of the smallest float over ln 1/2
    Replay::start({0.25});
    EXPECT_EQ(_bexiRngGeometric(0, replay, 2500, r, 0.5), 0);
    EXPECT_EQ(Replay::requests, (std::vector<std::int32_t>{1024, 1024, 452}));
    Replay::start({0.25}, 2);
    EXPECT_EQ(_bexiRngGeometric(0, replay, 2500, r, 0.5), Replay::refusal);
    EXPECT_EQ(_fynGetErrorCallBack(), nullptr);
    _fynClearErrStatus();
}

} // namespace
