// The square root: the processor's, correctly rounded. Special: every argument with its sign set, so that a
// negative one is reported.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"

#include <bit>
#include <cmath>

namespace qor::fyn {

struct SqrtLanes {
    static constexpr int pass = 16;
    static constexpr float padding = 1;

    template <class V> static IntegersOf<V> special(V x) { return bits_of(x); }

    template <class V> static V value(V x) {
        if constexpr (sizeof(ElementOf<V>) == 8)
            return std::bit_cast<V>(_mm_sqrt_pd(std::bit_cast<__m128d>(x)));
        else
            return std::bit_cast<V>(_mm_sqrt_ps(std::bit_cast<__m128>(x)));
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        r = std::sqrt(x);
        return r != r && x == x ? status_domain : status_ok; // a comparison that no quiet NaN offends
    }
};

} // namespace qor::fyn
