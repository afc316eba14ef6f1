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

// Four single-precision or 32-bit integer lanes as twice two double-precision ones.
struct Halves {
    Lanes<double> low, high;
};

inline constexpr int upper_half_first = _MM_SHUFFLE(1, 0, 3, 2); // for shuffles of 32-bit words

inline Halves widened(Lanes<float> x) {
    const auto v = std::bit_cast<__m128>(x);
    return {std::bit_cast<Lanes<double>>(_mm_cvtps_pd(v)),
            std::bit_cast<Lanes<double>>(_mm_cvtps_pd(_mm_movehl_ps(v, v)))};
}
inline Halves widened(Lanes<std::int32_t> n) {
    const auto v = std::bit_cast<__m128i>(n);
    return {std::bit_cast<Lanes<double>>(_mm_cvtepi32_pd(v)),
            std::bit_cast<Lanes<double>>(_mm_cvtepi32_pd(_mm_shuffle_epi32(v, upper_half_first)))};
}
inline Lanes<float> narrowed(const Halves &x) {
    return std::bit_cast<Lanes<float>>(_mm_movelh_ps(_mm_cvtpd_ps(std::bit_cast<__m128d>(x.low)),
                                                     _mm_cvtpd_ps(std::bit_cast<__m128d>(x.high))));
}

// A step of double lanes, made from them, for both halves.
template <class Step> struct Both {
    Step low, high;
    Both() = default;
    Both(const Step &of_low, const Step &of_high) : low(of_low), high(of_high) {}
    explicit Both(const Halves &x) : low(x.low), high(x.high) {}
};
template <class F> auto each_half(const F &f, Lanes<float> x) {
    const Halves halves = widened(x);
    return Both(f(halves.low), f(halves.high));
}

// The low words of four 64-bit lanes.
inline Lanes<std::int32_t> low_words(Lanes<std::int64_t> low, Lanes<std::int64_t> high) {
    return std::bit_cast<Lanes<std::int32_t>>(
        _mm_shuffle_ps(std::bit_cast<__m128>(low), std::bit_cast<__m128>(high), _MM_SHUFFLE(2, 0, 2, 0)));
}

// f, which maps double lanes to double lanes, over single-precision lanes.
template <class F, class... X> Lanes<float> through_double(const F &f, X... x) {
    return narrowed({f(widened(x).low...), f(widened(x).high...)});
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

// The two lanes in the integer unit, which straight-line lane code leaves idle: table indices go through it.
struct IntegerPair {
    std::uint64_t low, high;
    IntegerPair() = default;
    explicit IntegerPair(Lanes<std::int64_t> n) {
        const auto words = std::bit_cast<__m128i>(n);
        // A shuffle with a target of its own: others wait for what their register held before.
        const auto swapped = _mm_shuffle_epi32(words, upper_half_first);
        low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(words));
        high = static_cast<std::uint64_t>(_mm_cvtsi128_si64(swapped));
    }
    // Two 32-bit lanes in each.
    explicit IntegerPair(Lanes<std::int32_t> n) : IntegerPair(std::bit_cast<Lanes<std::int64_t>>(n)) {}
};

// Both members of two pairs, the first pair in the first lanes.
template <class Pair>
void look_up_pairs(const Pair &low, const Pair &high, Lanes<double> &first, Lanes<double> &second) {
    static_assert(sizeof(Pair) == lane_bytes);
    const auto a = std::bit_cast<Lanes<double>>(low), b = std::bit_cast<Lanes<double>>(high);
    first = _mm_unpacklo_pd(a, b);
    second = _mm_unpackhi_pd(a, b);
}

// The four 32-bit lanes there.
struct IntegerQuad {
    std::uint64_t lane[4];
    explicit IntegerQuad(Lanes<std::int32_t> n) : IntegerQuad(IntegerPair(n)) {}
    explicit IntegerQuad(const IntegerPair &pairs) {
        lane[0] = static_cast<std::uint32_t>(pairs.low);
        lane[1] = pairs.low >> 32;
        lane[2] = static_cast<std::uint32_t>(pairs.high);
        lane[3] = pairs.high >> 32;
    }
};

// Both members of pair n mod size of a table, for every lane; size is a power of two.
template <std::size_t size, class Pair>
void look_up_modulo(const Pair (&table)[size], Lanes<std::int64_t> n, Lanes<double> &first,
                    Lanes<double> &second) {
    static_assert((size & (size - 1)) == 0);
    const IntegerPair index(n);
    look_up_pairs(table[index.low % size], table[index.high % size], first, second);
}

// The first double of row n mod size, for every lane.
template <std::size_t size, class Row>
Lanes<double> look_up_first(const Row (&table)[size], Lanes<std::int64_t> n) {
    static_assert((size & (size - 1)) == 0);
    const IntegerPair index(n);
    const auto first = [&table](std::uint64_t i) {
        double v;
        std::memcpy(&v, &table[i % size], sizeof v);
        return v;
    };
    return Lanes<double>{first(index.low), first(index.high)};
}

// Two floats in the integer unit, which lane code leaves idle: a test for special lanes may be asked of them,
// too.
struct FloatPair {
    std::uint64_t bits;
    explicit FloatPair(const float *p) { std::memcpy(&bits, p, sizeof bits); }

    static constexpr std::uint64_t both(std::uint32_t word) { return std::uint64_t{word} << 32 | word; }
    static constexpr std::uint64_t top_bits = 0x8000000080000000u;
};
template <> struct LaneTraits<FloatPair> {
    using Element = float;
    using Integers = std::uint64_t;
};

// The top bits of those whose bits, `masked` first, are not in [from, to). One that is outside may spoil the
// other's answer.
inline std::uint64_t outside_window(FloatPair x, std::int32_t from, std::int32_t to,
                                    std::int32_t masked = -1) {
    const std::uint64_t words = x.bits & FloatPair::both(static_cast<std::uint32_t>(masked));
    const std::uint64_t beyond = words + FloatPair::both(0x80000000u - static_cast<std::uint32_t>(to));
    return beyond | (from == 0 ? words : words - FloatPair::both(static_cast<std::uint32_t>(from)));
}

// The lanes whose top word, `masked` first, is not in [from, to), by their top bits alone. A comparison with
// a constant may become two instructions; a saturating addition stays one.
template <std::int32_t from, std::int32_t to, std::int32_t masked = -1, class V>
IntegersOf<V> outside_short_window(V x) {
    static_assert(from % 0x10000 == 0 && to % 0x10000 == 0 && from >= 0 && to > from);
    if constexpr (std::is_same_v<V, FloatPair>) {
        return outside_window(x, from, to, masked);
    } else {
        using Words = Lanes<std::int32_t>;
        const auto words = std::bit_cast<Words>(x) & masked;
        const auto moved = wrapping_sum(words, Words{} - from); // the ordinary ones: the lowest numbers
        constexpr auto to_top =
            static_cast<std::int32_t>(0x80000000u - static_cast<std::uint32_t>(to - from));
        return std::bit_cast<IntegersOf<V>>(
            _mm_adds_epu16(std::bit_cast<__m128i>(moved), _mm_set1_epi32(to_top)));
    }
}

template <class T> inline constexpr IntegerOf<T> sign_bit = std::numeric_limits<IntegerOf<T>>::min();

// 2^52 or 2^23: from here on every number is an integer.
template <class T>
inline constexpr T integers_from = T(std::uint64_t{1} << (std::numeric_limits<T>::digits - 1));

} // namespace qor::fyn
