// Rounding to integers: Ceil, Floor, Trunc, Round, Rint, NearbyInt, and the parts Frac and Modf.
//
// Below 2^52 (2^23 in single precision) adding and subtracting that power, with the argument's sign, rounds
// to an integer by the current rounding direction, exactly. From there on, and for NaN, the argument is its
// own result, bit for bit. The directed roundings step from that integer to the wanted one, which makes them
// independent of the direction; the argument's sign is put back at the end, so that zeros keep theirs.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"

#include <bit>

namespace qor::fyn {

template <class V> V with_sign(V positive, IntegersOf<V> sign) {
    return from_bits<V>(bits_of(positive) | sign);
}
template <class V> V magnitude(V x) { return from_bits<V>(bits_of(x) & ~sign_bit<ElementOf<V>>); }

// Rounds in lanes by a rule on the argument, an integer beside it and its sign. No lane is special and
// nothing is reported.
template <class Rule, SseGuard guard> struct RoundingFunction {
    static constexpr int pass = 8;
    static constexpr double padding = 0.75;
    static constexpr SseGuard sse_guard = guard;

    template <class V> static IntegersOf<V> special(V) { return IntegersOf<V>{}; }

    template <class V> static V value(V x) {
        using T = ElementOf<V>;
        const auto sign = bits_of(x) & sign_bit<T>;
        const V shifter = from_bits<V>(bits_of(broadcast<V>(integers_from<T>)) | sign);
        const V nearest = (x + shifter) - shifter;
        const V rounded = Rule::template step<V>(x, nearest, sign);
        const V chosen = magnitude(x) < integers_from<T> ? rounded : x;
        return from_bits<V>(bits_of(chosen) | sign);
    }

    // One element, for functions built on this one; no lane is special.
    template <class T> static Status eval(T x, T &r) noexcept {
        r = value(broadcast<Lanes<T>>(x))[0];
        return status_ok;
    }
};

struct CeilRule {
    template <class V> static V step(V x, V nearest, IntegersOf<V>) {
        return nearest + (nearest < x ? broadcast<V>(1) : V{});
    }
};
struct FloorRule {
    template <class V> static V step(V x, V nearest, IntegersOf<V>) {
        return nearest - (nearest > x ? broadcast<V>(1) : V{});
    }
};
struct TruncRule {
    template <class V> static V step(V x, V nearest, IntegersOf<V> sign) {
        return nearest - (magnitude(nearest) > magnitude(x) ? with_sign(broadcast<V>(1), sign) : V{});
    }
};
// Halves away from zero: nearest may have taken them to it.
struct RoundRule {
    template <class V> static V step(V x, V nearest, IntegersOf<V> sign) {
        const V half = with_sign(broadcast<V>(0.5), sign);
        return nearest + (x - nearest == half ? with_sign(broadcast<V>(1), sign) : V{});
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
