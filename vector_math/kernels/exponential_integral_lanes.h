// Exponential integral E1 over lanes, by tables of its logarithm (logarithm_rows.h).
//
// High accuracy: 16 pieces to the octave, degree 9, error of the logarithm 2^-58; in single precision 8
// pieces, degree 7 in double lanes, 2^-42. Enhanced performance: degree 5, and degree 3 in single precision,
// with the shorter exponentials.
//
// Special: x outside [2^-12, 672), or [2^-12, 82) in single precision, towards subnormal results.
//
// Largest errors measured by tools/measure_gamma.cpp, in ulp (docs/accuracy.md): double 0.518508 at
// 0x1.5f1fb9b786442p+8, single 0.500079 at 0x1.0c34c2p+2. Enhanced performance: 2^25.9, single 246.1.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/exponential_integral.h"
#include "vector_math/kernels/exponential_integral_tables.h"
#include "vector_math/kernels/logarithm_rows.h"

#include <type_traits>

namespace qor::fyn {

template <Accuracy A>
struct ExpInt1Lanes
    : std::conditional_t<A == Accuracy::enhanced_performance,
                         ExponentialOfRows<exponential_integral_short, 2, exponential_integral_shorter, 1>,
                         ExponentialOfRows<exponential_integral_double, 0, exponential_integral_medium, 3>> {
    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        constexpr T limit = sizeof(T) == 8 ? T(672) : T(82);
        return outside_short_window<top_word(T(rows_from)), top_word(limit)>(x);
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return ExpInt1<A>::eval(x, r);
    }
};

} // namespace qor::fyn
