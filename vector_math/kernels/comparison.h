// The larger and the smaller of two, by value and by magnitude.
//
// A NaN loses to a number; of two NaNs the second stays, quiet. The survivor passes through a multiplication
// by one, which quiets it and flushes a denormal where the mode flushes.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/kernels/lane_bits.h"

namespace qor::fyn {

struct ValueRule {
    template <class V> static V larger(V x, V y) { return fyn::larger(x, y); }
    template <class V> static V smaller(V x, V y) { return fyn::smaller(x, y); }
};
// Of equal magnitudes the values decide.
struct MagnitudeRule {
    template <class V> static V larger(V x, V y) {
        const V ax = magnitude(x), ay = magnitude(y);
        return (ax > ay) | ((ax == ay) & (x > y)) ? x : y;
    }
    template <class V> static V smaller(V x, V y) {
        const V ax = magnitude(x), ay = magnitude(y);
        return (ax < ay) | ((ax == ay) & (x < y)) ? x : y;
    }
};

template <class Rule, bool want_larger> struct Selection {
    static constexpr int pass = 8;
    static constexpr float padding = 1;

    template <class V> static V value(V x, V y) {
        const V nan = unordered(x, y);
        V one = broadcast<V>(1);
        asm("" : "+x"(one)); // a product with a known one would be left out
        const V survivor = where(nan, x != x ? y : x) * one;
        // The comparison sees numbers only: a quiet NaN raises no flag.
        const V a = where_not(nan, x), b = where_not(nan, y);
        const V chosen = want_larger ? Rule::larger(a, b) : Rule::smaller(a, b);
        return from_bits<V>(bits_of(chosen) | bits_of(survivor));
    }
};
using Fmax = Selection<ValueRule, true>;
using Fmin = Selection<ValueRule, false>;
using MaxMag = Selection<MagnitudeRule, true>;
using MinMag = Selection<MagnitudeRule, false>;

} // namespace qor::fyn
