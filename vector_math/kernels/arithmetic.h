// Plain arithmetic: the processor's operations, lane by lane. Only a zero divisor is reported.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/kernels/lane_bits.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace qor::fyn {

// Rounding is the caller's. Denormals too in double precision; in single precision they go by the mode.
struct StreamingFunction {
    static constexpr int pass = 8;
    static constexpr float padding = 1;
    template <class T>
    static constexpr SseGuard sse_guard_for = sizeof(T) == 4 ? SseGuard::mode_driven : SseGuard::masks_only;
};
struct Add : StreamingFunction {
    template <class V> static V value(V x, V y) { return x + y; }
};
struct Sub : StreamingFunction {
    template <class V> static V value(V x, V y) { return x - y; }
};
struct Mul : StreamingFunction {
    template <class V> static V value(V x, V y) { return x * y; }
};
struct Sqr : StreamingFunction {
    template <class V> static V value(V x) { return x * x; }
};

// Bit patterns only: a NaN keeps its payload.
struct BitFunction {
    static constexpr int pass = 8;
    static constexpr float padding = 1;
    static constexpr SseGuard sse_guard = SseGuard::masks_only;
};
struct Abs : BitFunction {
    template <class V> static V value(V x) { return magnitude(x); }
};
struct CopySign : BitFunction {
    template <class V> static V value(V x, V y) { return with_sign(magnitude(x), sign_of(y)); }
};

// A zero divisor of a finite dividend is a pole, also under a zero.
struct Quotient {
    static constexpr int pass = 8;
    static constexpr float padding = 1;
    static constexpr X87Guard x87_guard = X87Guard::double_precision;
    static constexpr SseGuard sse_guard = SseGuard::masks_only;

    // Divisors with an empty upper word; eval looks closer.
    template <class V> static IntegersOf<V> maybe_zero(V y) {
        const auto words = std::bit_cast<Lanes<std::int32_t>>(y);
        return std::bit_cast<IntegersOf<V>>(wrapping_sum(words, words) == 0);
    }
    // By the bits: with denormals taken as zero a comparison would call a denormal zero.
    template <class T> static bool is_zero(T x) {
        return (std::bit_cast<IntegerOf<T>>(x) & ~sign_bit<T>) == 0;
    }
};
struct Div : Quotient {
    template <class V> static IntegersOf<V> special(V, V y) { return maybe_zero(y); }
    template <class V> static V value(V x, V y) { return x / y; }
    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T y, T &r) noexcept {
        r = x / y;
        return is_zero(y) && std::isfinite(x) ? status_singularity : status_ok;
    }
};
struct Inv : Quotient {
    template <class V> static IntegersOf<V> special(V x) { return maybe_zero(x); }
    template <class V> static V value(V x) { return broadcast<V>(1) / x; }
    template <class T> static Status eval(T x, T &r) noexcept { return Div::eval(T(1), x, r); }
};

// x - y where that is positive, +0 elsewhere; nothing is subtracted there, so no flag is raised.
struct Fdim {
    static constexpr int pass = 8;
    static constexpr float padding = 1;
    template <class V> static V value(V x, V y) {
        const V not_larger = from_bits<V>(x <= y);
        return where_not(not_larger, x) - where_not(not_larger, y);
    }
};

// (scale_a * a + shift_a) / (scale_b * b + shift_b)
template <class T> struct LinearFrac {
    static constexpr int pass = 8;
    static constexpr T padding =
        std::numeric_limits<T>::quiet_NaN(); // the one that no constants make divide by zero
    T scale_a, shift_a, scale_b, shift_b;
    template <class V> V value(V a, V b) const { return (scale_a * a + shift_a) / (scale_b * b + shift_b); }
};

} // namespace qor::fyn
