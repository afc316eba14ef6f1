// The neighbour of x on the way to y, through the ordering of bit patterns.
//
// Lanes: numbers whose neighbours are normal. Special: all others, with their reports: a finite number whose
// neighbour is infinite overflows, a neighbour that is subnormal or zero underflows.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/lane_bits.h"

#include <bit>
#include <cmath>
#include <limits>

namespace qor::fyn {

struct NextAfter {
    static constexpr int pass = 8;
    static constexpr float padding = 1;

    template <class V> static IntegersOf<V> special(V x, V y) {
        using Limits = std::numeric_limits<ElementOf<V>>;
        constexpr auto from = top_word(2 * Limits::min()), to = top_word(Limits::max() / 2);
        return outside_window(x, from, to, std::numeric_limits<std::int32_t>::max()) | (y != y);
    }

    template <class V> static V value(V x, V y) {
        const V nan = unordered(x, y);
        const V a = where_not(nan, x), b = where_not(nan, y); // so no quiet NaN raises a flag
        const auto grows = (a < b) ^ (a < V{});
        const auto step = ~(grows + grows); // 1 or -1
        return from_bits<V>(wrapping_sum(bits_of(x), step & (x != y)));
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T y, T &r) noexcept {
        if (x != x || y != y) {
            r = x + y;
            return status_ok;
        }
        if (x == y) {
            r = y;
            return status_ok;
        }
        using Bits = IntegerOf<T>;
        if (x == 0) {
            r = std::bit_cast<T>(static_cast<Bits>((std::bit_cast<Bits>(y) & sign_bit<T>) | 1));
            return status_underflow;
        }
        const Bits step = (x < y) == (x > 0) ? 1 : -1;
        r = std::bit_cast<T>(static_cast<Bits>(std::bit_cast<Bits>(x) + step));
        if (std::isinf(r))
            return std::isfinite(x) ? status_overflow : status_ok;
        return std::fabs(r) < std::numeric_limits<T>::min() ? status_underflow : status_ok;
    }
};

} // namespace qor::fyn
