// Rounding to integers: Ceil, Floor, Trunc, Round, Rint, NearbyInt, and the parts Frac and Modf.
//
// Below 2^52 (2^23 in single precision) adding and subtracting that power, with the argument's sign, rounds
// to an integer by the current rounding direction, exactly. From there on, and for NaN, the argument is its
// own result, bit for bit. The directed roundings step from that integer to the wanted one, which makes them
// independent of the direction; the argument's sign is put back at the end, so that zeros keep theirs.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/lane_bits.h"

#include <bit>
#include <limits>

namespace qor::fyn {

// Rounds in lanes by a rule on the argument, an integer beside it and its sign.
template <class Rule, SseGuard guard> struct RoundingFunction {
    static constexpr int pass = 8;
    static constexpr double padding = 0.75;
    static constexpr SseGuard sse_guard = guard;

    template <class V> static V value(V x) {
        using T = ElementOf<V>;
        const auto sign = sign_of(x);
        const V shifter = from_bits<V>(bits_of(broadcast<V>(integers_from<T>)) | sign);
        const V nearest = (x + shifter) - shifter;
        const V rounded = Rule::template step<V>(x, nearest, sign);
        const V chosen = magnitude(x) < integers_from<T> ? rounded : x;
        return from_bits<V>(bits_of(chosen) | sign);
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

// By the caller's rounding direction, which is one of the number, not of its magnitude: the power of two has
// the number's sign. Where it is not wanted it is a zero, which makes NaNs quiet.
struct Rint {
    static constexpr int pass = 8;
    static constexpr float padding = 1;
    static constexpr SseGuard sse_guard = SseGuard::masks_only;

    template <class V> static V value(V x) {
        using T = ElementOf<V>;
        const auto sign = sign_of(x);
        const auto integral = whole_lanes(
            outside_window(x, 0, top_word(integers_from<T>), std::numeric_limits<std::int32_t>::max()));
        const V shifter = with_sign(where_not(from_bits<V>(integral), broadcast<V>(integers_from<T>)), sign);
        return with_sign(magnitude((x + shifter) - shifter), sign);
    }
};
// The same without the flag of inexact results.
struct NearbyInt : Rint {
    static constexpr SseGuard sse_guard = SseGuard::quiet;
};

// Integral part and the rest, both with the argument's sign; the rest of an infinity is a zero. Exact, so no
// flag is raised.
struct Modf {
    static constexpr int pass = 8;
    static constexpr float padding = 1;
    static constexpr SseGuard sse_guard = SseGuard::silent;

    template <class V> static void value(V x, V &integral, V &fraction) {
        const V whole = Trunc::value(x);
        const V rest = x - whole; // a NaN, made quiet, where x is one
        integral = x == x ? whole : rest;
        fraction = with_sign(where(whole != x, rest), sign_of(x));
    }
};
struct Frac {
    static constexpr int pass = Modf::pass;
    static constexpr float padding = Modf::padding;
    static constexpr SseGuard sse_guard = Modf::sse_guard;

    template <class V> static V value(V x) {
        V integral, fraction;
        Modf::value(x, integral, fraction);
        return fraction;
    }
};

} // namespace qor::fyn
