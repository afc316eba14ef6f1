// The lanes whose arguments a lane function does not serve, found by comparing bit patterns: no
// floating-point comparison, so that no NaN raises a flag.
#pragma once

#include "vector_math/frame/lanes.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn {

// The 32 bits of x that hold its sign, its exponent and the top of its fraction.
template <class T> constexpr std::int32_t top_word(T x) {
    if constexpr (sizeof(T) == 8)
        return static_cast<std::int32_t>(std::bit_cast<std::int64_t>(x) >> 32);
    else
        return std::bit_cast<std::int32_t>(x);
}

// Lanes whose top word, `masked` first, is not in [from, to): all of a lane's top word is set, or none.
template <class V>
IntegersOf<V> outside_window(V x, std::int32_t from, std::int32_t to, std::int32_t masked = -1) {
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    const auto words = std::bit_cast<Lanes<std::int32_t>>(x) & masked;
    // from .. to-1 become the lowest numbers
    const auto shift = static_cast<std::int32_t>(0x80000000u - static_cast<std::uint32_t>(from));
    const auto moved = wrapping_sum(words, Lanes<std::int32_t>{} + shift);
    return std::bit_cast<IntegersOf<V>>(moved > lowest + (to - from - 1));
}

// A lane's top word in all of the lane.
template <class I> I whole_lanes(I v) {
    if constexpr (sizeof(v[0]) == 8)
        return std::bit_cast<I>(_mm_shuffle_epi32(std::bit_cast<__m128i>(v), _MM_SHUFFLE(3, 3, 1, 1)));
    else
        return v;
}

} // namespace qor::fyn
