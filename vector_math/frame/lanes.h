// Small vectors and what kernels do with them, generic over element and width: the compiler's vector
// types carry the arithmetic, this file names the rest.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace qor::fyn {

inline constexpr int lane_bytes = 16; // the processor level: 128-bit registers

template <class T> using IntegerOf = std::conditional_t<sizeof(T) == 8, std::int64_t, std::int32_t>;

template <class T, int bytes = lane_bytes> struct LanesOf {
    typedef T type __attribute__((vector_size(bytes)));
};
template <class T> using Lanes = typename LanesOf<T>::type;

template <class V> struct LaneTraits;
template <> struct LaneTraits<Lanes<double>> {
    using Element = double;
    using Integers = Lanes<std::int64_t>;
};
template <> struct LaneTraits<Lanes<float>> {
    using Element = float;
    using Integers = Lanes<std::int32_t>;
};
template <class V> using ElementOf = typename LaneTraits<V>::Element;
template <class V> using IntegersOf = typename LaneTraits<V>::Integers;
template <class V> inline constexpr int lane_count = sizeof(V) / sizeof(ElementOf<V>);

template <class V> V load(const ElementOf<V> *p) {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <class V> void store(ElementOf<V> *p, V v) { std::memcpy(p, &v, sizeof v); }

template <class V> V broadcast(ElementOf<V> x) { return V{} + x; }

template <class V> IntegersOf<V> bits_of(V v) { return std::bit_cast<IntegersOf<V>>(v); }
template <class V> V from_bits(IntegersOf<V> v) { return std::bit_cast<V>(v); }

template <class T> inline constexpr IntegerOf<T> sign_bit = std::numeric_limits<IntegerOf<T>>::min();

// 2^52 or 2^23: from here on every number is an integer.
template <class T> inline constexpr T integers_from = T(std::uint64_t{1} << (std::numeric_limits<T>::digits - 1));

} // namespace qor::fyn
