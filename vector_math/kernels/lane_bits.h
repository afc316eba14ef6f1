// Lanes as bits: signs, choices by masks. No arithmetic, so that zeros, NaNs and the flags stay as they are.
//
// Masks are combined and applied by the processor's own instructions where an expression of vectors would
// become a choice of 64-bit integers, element by element: this processor level has none.
#pragma once

#include "vector_math/frame/lanes.h"

#include <bit>

namespace qor::fyn {

template <class V> IntegersOf<V> sign_of(V x) { return bits_of(x) & sign_bit<ElementOf<V>>; }
template <class V> V magnitude(V x) { return from_bits<V>(bits_of(x) & ~sign_bit<ElementOf<V>>); }
template <class V> V with_sign(V positive, IntegersOf<V> sign) {
    return from_bits<V>(bits_of(positive) | sign);
}

// x with its last `bits` bits zero: products of numbers so short are exact.
template <int bits, class V> V shortened(V x) {
    return from_bits<V>(bits_of(x) & ~((IntegerOf<ElementOf<V>>{1} << bits) - 1));
}

// One of two instructions, by the element type.
template <class V, class Double, class Single> V by_element(V x, V y, Double pd, Single ps) {
    if constexpr (sizeof(ElementOf<V>) == 8)
        return std::bit_cast<V>(pd(std::bit_cast<__m128d>(x), std::bit_cast<__m128d>(y)));
    else
        return std::bit_cast<V>(ps(std::bit_cast<__m128>(x), std::bit_cast<__m128>(y)));
}

// x where the mask is set, or where it is not; +0 elsewhere.
template <class V> V where(V mask, V x) {
    return by_element(
        mask, x, [](auto a, auto b) { return _mm_and_pd(a, b); },
        [](auto a, auto b) { return _mm_and_ps(a, b); });
}
template <class V> V where(IntegersOf<V> mask, V x) { return where(from_bits<V>(mask), x); }
template <class V> V where_not(V mask, V x) {
    return by_element(
        mask, x, [](auto a, auto b) { return _mm_andnot_pd(a, b); },
        [](auto a, auto b) { return _mm_andnot_ps(a, b); });
}

// A mask: x or y is a NaN. A quiet one raises no flag.
template <class V> V unordered(V x, V y) {
    return by_element(
        x, y, [](auto a, auto b) { return _mm_cmpunord_pd(a, b); },
        [](auto a, auto b) { return _mm_cmpunord_ps(a, b); });
}

// x > y ? x : y and x < y ? x : y by the processor's instructions.
template <class V> V larger(V x, V y) {
    return by_element(
        x, y, [](auto a, auto b) { return _mm_max_pd(a, b); },
        [](auto a, auto b) { return _mm_max_ps(a, b); });
}
template <class V> V smaller(V x, V y) {
    return by_element(
        x, y, [](auto a, auto b) { return _mm_min_pd(a, b); },
        [](auto a, auto b) { return _mm_min_ps(a, b); });
}

} // namespace qor::fyn
