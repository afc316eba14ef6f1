// Small vectors and what kernels do with them, generic over element and width: the compiler's vector
// types carry the arithmetic, this file names the rest.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
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

// f, which maps double lanes to double lanes, over single-precision lanes.
template <class F> Lanes<float> through_double(Lanes<float> x, const F &f) {
    const auto v = std::bit_cast<__m128>(x);
    const auto low = std::bit_cast<Lanes<double>>(_mm_cvtps_pd(v));
    const auto high = std::bit_cast<Lanes<double>>(_mm_cvtps_pd(_mm_movehl_ps(v, v)));
    return std::bit_cast<Lanes<float>>(_mm_movelh_ps(_mm_cvtpd_ps(std::bit_cast<__m128d>(f(low))),
                                                     _mm_cvtpd_ps(std::bit_cast<__m128d>(f(high)))));
}

// Integer lanes added modulo their width.
template <class I> I wrapping_sum(I a, I b) {
    using Element = std::make_unsigned_t<std::remove_cvref_t<decltype(a[0])>>;
    using Unsigned = typename LanesOf<Element, sizeof(I)>::type;
    return std::bit_cast<I>(std::bit_cast<Unsigned>(a) + std::bit_cast<Unsigned>(b));
}

// The top bits of the lanes, the first lane's lowest.
inline unsigned mask_of(Lanes<std::int64_t> v) {
    return static_cast<unsigned>(_mm_movemask_pd(std::bit_cast<__m128d>(v)));
}
inline unsigned mask_of(Lanes<std::int32_t> v) {
    return static_cast<unsigned>(_mm_movemask_ps(std::bit_cast<__m128>(v)));
}

// Both members of a pair of doubles for every lane, `offsets` being its distance in bytes, below 2^16.
template <class Pair>
void look_up(const Pair *table, Lanes<std::int64_t> offsets, Lanes<double> &first, Lanes<double> &second) {
    static_assert(sizeof(Pair) == lane_bytes && alignof(Pair) == alignof(double));
    const auto pair = [table](int offset) {
        Lanes<double> v;
        std::memcpy(&v, reinterpret_cast<const char *>(table) + offset, sizeof v);
        return v;
    };
    const auto words = std::bit_cast<__m128i>(offsets);
    const auto low = pair(_mm_cvtsi128_si32(words)), high = pair(_mm_extract_epi16(words, 4));
    first = _mm_unpacklo_pd(low, high);
    second = _mm_unpackhi_pd(low, high);
}

template <class T> inline constexpr IntegerOf<T> sign_bit = std::numeric_limits<IntegerOf<T>>::min();

// The same for pair n mod size, a power of two. The indices go through the integer unit, which straight-line
// lane code leaves idle.
template <std::size_t size, class Pair>
void look_up_modulo(const Pair (&table)[size], Lanes<std::int64_t> n, Lanes<double> &first,
                    Lanes<double> &second) {
    static_assert(sizeof(Pair) == lane_bytes && (size & (size - 1)) == 0);
    const auto pair = [&table](std::int64_t index) {
        Lanes<double> v;
        std::memcpy(&v, &table[static_cast<std::uint64_t>(index) % size], sizeof v);
        return v;
    };
    const auto words = std::bit_cast<__m128i>(n);
    // A shuffle with a target of its own: others wait for what their register held before.
    const auto swapped = _mm_shuffle_epi32(words, _MM_SHUFFLE(1, 0, 3, 2));
    const auto low = pair(_mm_cvtsi128_si64(words)), high = pair(_mm_cvtsi128_si64(swapped));
    first = _mm_unpacklo_pd(low, high);
    second = _mm_unpackhi_pd(low, high);
}

// 2^52 or 2^23: from here on every number is an integer.
template <class T>
inline constexpr T integers_from = T(std::uint64_t{1} << (std::numeric_limits<T>::digits - 1));

} // namespace qor::fyn
