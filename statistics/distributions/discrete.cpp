// Bernoulli and geometric variates. Both work in single precision: the probability of success is rounded
// to a float.
#include "qor_bex_distributions.h"
#include "statistics/distributions/frame.h"
#include "vector_math/kernels/logarithm.h"

#include <bit>
#include <cstring>
#include <emmintrin.h>

namespace qor::bex {

namespace {

// 1 where a uniform number is below `limit`, else 0, over the uniform numbers themselves. Non-negative floats
// order as their bit patterns do.
void compare_in_place(std::int32_t n, std::int32_t *r, float limit) {
    const auto limit_bits = std::bit_cast<std::int32_t>(limit);
    const __m128i limits = _mm_set1_epi32(limit_bits);
    std::int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        auto *const place = reinterpret_cast<__m128i *>(r + i);
        _mm_storeu_si128(place, _mm_srli_epi32(_mm_cmpgt_epi32(limits, _mm_loadu_si128(place)), 31));
    }
    for (; i < n; ++i) {
        std::int32_t bits;
        std::memcpy(&bits, r + i, sizeof bits);
        r[i] = bits < limit_bits;
    }
}

// floor(ln(u) c) for the logarithms of uniform numbers; whole registers of them are read.
void store_floors(std::int32_t n, const float *logarithms, float c, std::int32_t *r) {
    for (std::int32_t i = 0; i < n; i += 4) {
        const __m128 x = _mm_mul_ps(_mm_loadu_ps(logarithms + i), _mm_set1_ps(c));
        const __m128i truncated = _mm_cvttps_epi32(x);
        const __m128i above = _mm_castps_si128(_mm_cmpgt_ps(_mm_cvtepi32_ps(truncated), x));
        const __m128i floors = _mm_add_epi32(truncated, above);
        std::memcpy(r + i, &floors, sizeof(std::int32_t) * static_cast<std::size_t>(std::min(n - i, 4)));
    }
}

} // namespace

} // namespace qor::bex

using namespace qor::bex;

extern "C" {

std::int32_t _bexiRngBernoulli(std::int32_t, void *stream, std::int32_t n, std::int32_t *r, double p) {
    const std::int32_t status =
        uniform(*static_cast<Stream *>(stream), n, reinterpret_cast<float *>(r), 0.0F, 1.0F);
    if (status >= 0)
        compare_in_place(n, r, static_cast<float>(p));
    return status;
}

// The number of failures is the integral part of an exponential variate of scale -1 / ln(1 - p).
std::int32_t _bexiRngGeometric(std::int32_t, void *stream, std::int32_t n, std::int32_t *r, double p) {
    double log_of_failure;
    qor::fyn::Ln::eval(1 - p, log_of_failure);
    const auto c = static_cast<float>(1 / log_of_failure);
    const VectorMathBracket bracket(replace_by_log_of_zero<float>);
    float logarithms[block] = {};
    std::int32_t status = status_ok;
    for (std::int32_t done = 0; done < n;) {
        const std::int32_t count = std::min(n - done, block);
        status = uniform(*static_cast<Stream *>(stream), count, logarithms, 0.0F, 1.0F);
        if (status < 0)
            return status;
        apply(logarithm, count, logarithms, logarithms);
        store_floors(count, logarithms, c, r + done);
        done += count;
    }
    return status;
}

} // extern "C"
