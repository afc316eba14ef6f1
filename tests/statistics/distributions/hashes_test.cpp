// Hashes of what every generator and distribution gives, for the comparison of builds and systems.
#include "laws.h"
#include "replay_generator.h"
#include "support/result_hash.h"

#include <gtest/gtest.h>

namespace {

using test::OwnedStream;

constexpr std::int32_t count = 2001;

template <class T, class Draw>
void write(test::HashFile &file, const std::string &name, std::uint32_t id, const Draw &draw) {
    const OwnedStream stream(id, 20261121);
    std::vector<T> r(static_cast<std::size_t>(count));
    if (stream.status != 0) // a generator that is not built yet
        return;
    ASSERT_EQ(draw(stream, r.data()), 0) << name;
    test::ResultHash hash;
    hash.add(r);
    file.write(name, hash);
}

template <class T> void write_laws(test::HashFile &file, const std::string &precision) {
    for (const auto &law : test::laws<T>())
        write<T>(file, precision + law.name, BEX_BRNG_MCG59,
                 [&](void *stream, T *r) { return law.generate(0, stream, count, r); });
    for (std::int32_t method = 0; method < 3; ++method)
        write<T>(file, precision + "Gaussian " + std::to_string(method), BEX_BRNG_MCG59,
                 [=](void *stream, T *r) {
                     if constexpr (sizeof(T) == 8)
                         return _bexdRngGaussian(method, stream, count, r, 1, 2);
                     else
                         return _bexsRngGaussian(method, stream, count, r, 1, 2);
                 });
    for (std::int32_t method = 0; method < 2; ++method)
        write<T>(file, precision + "Lognormal " + std::to_string(method), BEX_BRNG_MCG59,
                 [=](void *stream, T *r) {
                     if constexpr (sizeof(T) == 8)
                         return _bexdRngLognormal(method, stream, count, r, 0, 1, 0, 1);
                     else
                         return _bexsRngLognormal(method, stream, count, r, 0, 1, 0, 1);
                 });
}

TEST(Distributions, WriteResultHashes) {
    test::HashFile file;
    if (!file.wanted())
        GTEST_SKIP() << "QOR_HASH_FILE is not set";
    ASSERT_TRUE(file.is_open());
    for (std::uint32_t row = 1; row <= 16; ++row) {
        const std::uint32_t id = row << 20;
        const std::string name = "generator " + std::to_string(row);
        write<double>(file, name + " d", id,
                      [](void *stream, double *r) { return _bexdRngUniform(0, stream, count, r, -1, 3); });
        write<float>(file, name + " s", id,
                     [](void *stream, float *r) { return _bexsRngUniform(0, stream, count, r, -1, 3); });
    }
    write_laws<double>(file, "d");
    write_laws<float>(file, "s");
    for (std::int32_t storage = 0; storage < 3; ++storage)
        write<double>(file, "dGaussianMV " + std::to_string(storage), BEX_BRNG_MCG59,
                      [storage](void *stream, double *r) {
                          const double mean[3] = {1, 2, 3}, t[9] = {1, 0, 0, 0.5, 2, 0, 0.25, 0.75, 3};
                          return _bexdRngGaussianMV(0, stream, count / 3, r, 3, storage, mean, t);
                      });
    write<std::int32_t>(file, "integers", BEX_BRNG_MCG59, [](void *stream, std::int32_t *r) {
        return _bexiRngUniform(0, stream, count, r, -1000000, 1000000);
    });
    for (const std::uint32_t id : {BEX_BRNG_MCG59, BEX_BRNG_MT19937}) {
        write<std::uint32_t>(
            file, "bits 32 of " + std::to_string(id), id,
            [](void *stream, std::uint32_t *r) { return _bexiRngUniformBits32(0, stream, count, r); });
        write<std::uint64_t>(
            file, "bits 64 of " + std::to_string(id), id,
            [](void *stream, std::uint64_t *r) { return _bexiRngUniformBits64(0, stream, count, r); });
    }
    for (double p : {0.3, 0.01}) {
        write<std::int32_t>(
            file, "geometric " + std::to_string(p), BEX_BRNG_MCG59,
            [p](void *stream, std::int32_t *r) { return _bexiRngGeometric(0, stream, count, r, p); });
        write<std::int32_t>(
            file, "Bernoulli " + std::to_string(p), BEX_BRNG_MCG59,
            [p](void *stream, std::int32_t *r) { return _bexiRngBernoulli(0, stream, count, r, p); });
    }
}

} // namespace
