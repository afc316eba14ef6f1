// Four single-precision or 32-bit integer lanes as twice two double-precision ones.
#pragma once

#include "vector_math/frame/lanes.h"

#include <bit>
#include <emmintrin.h>

namespace qor::fyn {

inline constexpr int upper_half_first = _MM_SHUFFLE(1, 0, 3, 2); // for shuffles of 32-bit words

struct Halves {
    Lanes<double> low, high;
};

inline Halves widened(Lanes<float> x) {
    const auto v = std::bit_cast<__m128>(x);
    return {std::bit_cast<Lanes<double>>(_mm_cvtps_pd(v)),
            std::bit_cast<Lanes<double>>(_mm_cvtps_pd(_mm_movehl_ps(v, v)))};
}

inline Halves widened(Lanes<std::int32_t> n) {
    const auto v = std::bit_cast<__m128i>(n);
    return {std::bit_cast<Lanes<double>>(_mm_cvtepi32_pd(v)),
            std::bit_cast<Lanes<double>>(_mm_cvtepi32_pd(_mm_shuffle_epi32(v, upper_half_first)))};
}

inline Lanes<float> narrowed(const Halves &x) {
    return std::bit_cast<Lanes<float>>(_mm_movelh_ps(_mm_cvtpd_ps(std::bit_cast<__m128d>(x.low)),
                                                     _mm_cvtpd_ps(std::bit_cast<__m128d>(x.high))));
}

} // namespace qor::fyn
