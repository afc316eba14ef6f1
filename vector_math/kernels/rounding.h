// Rounding to integers: Ceil, Floor, Trunc, Round, Rint, NearbyInt, and the parts Frac and Modf.
//
// Below 2^52 (2^23 in single precision) adding and subtracting that power rounds a magnitude to an
// integer by the current rounding direction, exactly. From there on, and for NaN, the argument is its own
// result, bit for bit. The directed roundings step from that integer to the wanted one, which makes them
// independent of the direction; the argument's sign is put back at the end, so that zeros keep theirs.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"

#include <bit>

namespace qor::fyn {

// Rounds in lanes by a rule on magnitude and sign. No lane is special and nothing is reported.
template <class Rule, SseGuard guard> struct RoundingFunction {
    static constexpr int pass = 8;
    static constexpr double padding = 0.75;
    static constexpr SseGuard sse_guard = guard;

    template <class V> static unsigned special(V) { return 0; }

    template <class V> static V value(V x) {
        using T = ElementOf<V>;
        const auto sign = bits_of(x) & sign_bit<T>;
        const V magnitude = from_bits<V>(bits_of(x) ^ sign);
        const V nearest = (magnitude + integers_from<T>) - integers_from<T>;
        const V rounded = Rule::template step<V>(magnitude, nearest, sign);
        const V chosen = magnitude < integers_from<T> ? rounded : magnitude;
        return from_bits<V>(bits_of(chosen) | sign);
    }

    // Never called: no lane is special.
    template <class T> static Status eval(T x, T &r) noexcept {
        r = value(broadcast<Lanes<T>>(x))[0];
        return status_ok;
    }
};

// The smallest integer not below the magnitude.
template <class V> V upward(V magnitude, V nearest) {
    return nearest + (nearest < magnitude ? broadcast<V>(1) : V{});
}
// The largest integer not above it.
template <class V> V downward(V magnitude, V nearest) {
    return nearest - (nearest > magnitude ? broadcast<V>(1) : V{});
}

struct CeilRule {
    template <class V> static V step(V magnitude, V nearest, IntegersOf<V> sign) {
        return sign != 0 ? downward(magnitude, nearest) : upward(magnitude, nearest);
    }
};
struct FloorRule {
    template <class V> static V step(V magnitude, V nearest, IntegersOf<V> sign) {
        return sign != 0 ? upward(magnitude, nearest) : downward(magnitude, nearest);
    }
};
struct TruncRule {
    template <class V> static V step(V magnitude, V nearest, IntegersOf<V>) { return downward(magnitude, nearest); }
};
// Halves away from zero.
struct RoundRule {
    template <class V> static V step(V magnitude, V nearest, IntegersOf<V>) {
        return nearest + (magnitude - nearest == 0.5f ? broadcast<V>(1) : V{});
    }
};
using Ceil = RoundingFunction<CeilRule, SseGuard::silent>;
using Floor = RoundingFunction<FloorRule, SseGuard::silent>;
using Trunc = RoundingFunction<TruncRule, SseGuard::silent>;
using Round = RoundingFunction<RoundRule, SseGuard::mode_driven>;

// By the caller's rounding direction: upwards and downwards are directions of the number, not of its
// magnitude, so the power of two takes the number's sign.
struct Rint {
    static constexpr SseGuard sse_guard = SseGuard::masks_only;
    template <class T> static Status eval(T x, T &r) noexcept {
        const T magnitude = x < 0 ? -x : x;
        if (!(magnitude < integers_from<T>)) {
            r = x != x ? x + x : x; // a NaN made quiet, an infinity or an integer
            return status_ok;
        }
        using Bits = IntegerOf<T>;
        const Bits sign = std::bit_cast<Bits>(x) & sign_bit<T>;
        volatile T shifter = std::bit_cast<T>(std::bit_cast<Bits>(integers_from<T>) | sign);
        const T shifted = x + shifter;
        const T rounded = shifted - shifter;
        r = std::bit_cast<T>(static_cast<Bits>((std::bit_cast<Bits>(rounded) & ~sign_bit<T>) | sign));
        return status_ok;
    }
};
using NearbyInt = Rint;

// Integral part and the rest, both with the argument's sign; the rest of an infinity is a zero.
struct Modf {
    template <class T> static Status eval(T x, T &integral, T &fraction) noexcept {
        Trunc::eval(x, integral);
        using Bits = IntegerOf<T>;
        const Bits sign = std::bit_cast<Bits>(x) & sign_bit<T>;
        const T rest = x - integral;
        if (x != x)
            integral = fraction = x + x;
        else if (rest != rest || rest == 0)
            fraction = std::bit_cast<T>(sign);
        else
            fraction = rest;
        return status_ok;
    }
};
struct Frac {
    template <class T> static Status eval(T x, T &r) noexcept {
        T integral;
        return Modf::eval(x, integral, r);
    }
};

} // namespace qor::fyn
