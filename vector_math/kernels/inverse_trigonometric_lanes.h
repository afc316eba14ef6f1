// What the lanes of arcsine, arccosine and arctangent share, in radians and in half turns.
#pragma once

#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/trigonometric.h"
#include "vector_math/kernels/trigonometric_pi.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qor::fyn::inverse_lanes {

using V = Lanes<double>;
using Integers = Lanes<std::int64_t>;

inline V negated_by(Integers sign, V v) { return from_bits<V>(bits_of(v) ^ sign); }

// The sum of c[i] u^i in the unit, even and odd powers apart: they do not wait for each other.
template <class Unit, std::size_t size>
[[gnu::always_inline]] inline V polynomial(const double (&c)[size], V u) {
    const auto term = [&c](std::size_t i) { return V{} + c[i] * Unit::factor.hi; };
    if constexpr (size == 2)
        return term(0) + u * term(1);
    const V square = u * u;
    V last = term(size - 1), other = term(size - 2);
    for (std::size_t i = size - 2; i-- > 0;) {
        const V next = last * square + term(i);
        last = other;
        other = next;
    }
    return other + u * last;
}

// A sum of two: the leading one rounds nothing away, or has few enough bits for an exact product.
struct Parts {
    V leading, rest;
};

template <class Unit> inline constexpr bool in_radians = std::is_same_v<Unit, Radians>;

// An angle in radians, its leading part of 26 bits, in the unit.
template <class Unit> [[gnu::always_inline]] inline Parts in_unit(const Parts &angle) {
    if constexpr (in_radians<Unit>)
        return angle;
    constexpr double factor = Unit::factor.hi;
    constexpr double upper =
        std::bit_cast<double>(std::bit_cast<std::uint64_t>(factor) & ~((std::uint64_t{1} << 27) - 1));
    constexpr double lower = (factor - upper) + Unit::factor.lo;
    return {angle.leading * upper, angle.rest * factor + angle.leading * lower};
}

// rest, and what `base`, a multiple of the right angle, has lost by rounding.
template <class Unit> [[gnu::always_inline]] inline V with_lost(V rest, V base) {
    if constexpr (in_radians<Unit>)
        rest += base * (pi.lo / pi.hi);
    return rest;
}

} // namespace qor::fyn::inverse_lanes
