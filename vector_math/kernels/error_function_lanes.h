// Error functions over lanes: erf x, erfc x, erfcx x, in piecewise polynomials of double lanes.
//
// erf x = x g(|x|), g smooth and even, pieces of width 1/16; beyond 6 (4 in single precision) the result is
// that of 6, which rounds to 1. For the others, and the normal distribution (normal_distribution_lanes.h),
// with z = |x|:
//   tail(z) = e^(c z^2) G(z),
// c z^2 in two parts without error, the exponential that of exponential_double.h or exponential_single.h; G
// has 32 pieces to the octave of 1 + z. On the other side of 0, the limit there less tail(z).
//
// Double: polynomials of degree 8, error 2^-61; the constant term has a leading part of 26 bits, whose
// product with the upper half of its factor is exact, so that only the last additions round at the result's
// last place. Single: degree 5, 2^-40.
//
// Special: NaN, infinity; erf in double: |x| < 2^-960, whose products would be subnormal; erfc: |x| >= 26 (9
// in single precision), towards subnormal results; erfcx: x >= 127, x <= -26.5 (-9.25), towards overflow.
//
// Largest errors measured by tools/measure_error_function.cpp, in ulp (docs/accuracy.md), double and single:
// erf 0.550012 at 0x1.d7f17c3dc3028p+0, 0.500011; erfc 0.561488 at 0x1.004b714708d91p+4, 0.500090; erfcx
// 0.539119 at 0x1.3f35076b3p-12, 0.500109.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/error_function.h"
#include "vector_math/kernels/error_function_tables.h"
#include "vector_math/kernels/exponential_double.h"
#include "vector_math/kernels/exponential_single.h"
#include "vector_math/kernels/inverse_error_function_lanes.h"
#include "vector_math/kernels/lane_bits.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn {

namespace error_lanes {

using V = Lanes<double>;
inline constexpr std::int32_t but_sign = std::numeric_limits<std::int32_t>::max();

// Parts of a sum. Of a factor, the leading one has 26 bits: its products with others are exact.
struct Parts {
    V leading, rest;
};

inline Parts halved(V v) {
    const V upper = shortened<27>(v);
    return {upper, v - upper};
}

// a (leading + rest), for a leading part of 26 bits.
inline Parts product(const Parts &a, V leading, V rest) {
    return {a.leading * leading, a.leading * rest + a.rest * (leading + rest)};
}

// Where arguments stand among rows around the multiples of 1 / pieces: the numbers of their rows, `first`
// more, and their distances from the middles.
template <class Table> struct UniformPlace {
    static constexpr double shifter = 0x1.8p52 / Table::pieces; // rounds to a multiple by addition
    static constexpr auto first = std::bit_cast<std::uint64_t>(shifter);
    IntegerPair row;
    V distance;

    UniformPlace() = default;
    explicit UniformPlace(V z) : UniformPlace(z, z + shifter) {}

  private:
    UniformPlace(V z, V shifted) : row(bits_of(shifted)), distance(z - (shifted - shifter)) {}
};

// The same among rows that cut the octaves of 1 + z.
template <class Table> struct OctavePlace {
    static constexpr int shift = 52 - std::countr_zero(Table::pieces);
    static constexpr auto first = std::bit_cast<std::uint64_t>(1.0) >> shift;
    IntegerPair row;
    V distance;

    OctavePlace() = default;
    explicit OctavePlace(V z) {
        constexpr std::uint64_t half = std::uint64_t{1} << (shift - 1);
        const auto bits = std::bit_cast<Lanes<std::uint64_t>>(1.0 + z);
        row = IntegerPair(std::bit_cast<Lanes<std::int64_t>>(bits >> shift));
        distance = z - (std::bit_cast<V>((bits & ~(2 * half - 1)) | half) - 1.0);
    }
};

// c z^2 in two parts, the first exact.
struct Square {
    V head, tail;
    Square(V z, double c) {
        const Parts parts = halved(z);
        head = (c * parts.leading) * parts.leading;
        tail = (c * parts.rest) * (z + parts.leading);
    }
};

// e^(head + tail) of a square, as a factor and a power of two.
struct Exponential {
    Parts mantissa;
    V power;
    explicit Exponential(const ExpDouble::Reduced<V> &e) {
        V hi, lo;
        look_up_modulo(exponential_absolute, e.n, hi, lo);
        mantissa = halved(hi);
        mantissa.rest += hi * e.reduced + (hi * (e.curved - e.excess) + (lo + lo * e.reduced));
        power = e.scaled(V{} + 1.0);
    }
};

inline ExpDouble::Reduced<V> reduced(const Square &square) {
    return ExpDouble::Reduced<V>(square.head, square.tail);
}

// The first step to e^(c y^2) G(z).
template <class Table> struct Tail {
    ExpDouble::Reduced<V> exponent;
    OctavePlace<Table> place;

    Tail() = default;
    Tail(const Table &, V z, V y, double c) : exponent(reduced(Square(y, c))), place(z) {}
};

// e^(c z^2) G(z), G's constant term in two parts.
template <class Table> Parts tail_parts(const Table &table, const Tail<Table> &at) {
    const Exponential e(at.exponent);
    V leading;
    const V rest = row_polynomials<1>(table, at.place, &leading);
    const Parts tail = product(e.mantissa, leading, rest);
    return {tail.leading * e.power, tail.rest * e.power};
}

// The same with the shorter exponential: within 2^-37 in degree 3, 2^-27 in degree 2.
template <class Table> struct ShortTail {
    V exponent;
    OctavePlace<Table> place;

    ShortTail() = default;
    ShortTail(const Table &, V z, V y, double c) : exponent((y * (c * ExpDouble::inv_step)) * y), place(z) {}
};
template <int exponential_degree, class Table> V short_tail(const Table &table, const ShortTail<Table> &at) {
    return two_to_64ths<exponential_degree>(at.exponent) * row_polynomials(table, at.place);
}

template <class W> W opposite_where(IntegersOf<W> sign, W v) { return from_bits<W>(bits_of(v) ^ sign); }

// A function that rises from 0 to `limit`, by its tail at -|x|.
template <class W> W from_tail(W x, ElementOf<W> limit, W tail) {
    const auto sign = sign_of(x);
    return (limit / 2 + opposite_where(sign, W{} + limit / 2)) - opposite_where(sign, tail);
}
inline V from_tail(V x, double limit, const Parts &tail) {
    const auto sign = sign_of(x);
    const V base = limit / 2 + opposite_where(sign, V{} + limit / 2);
    const V leading = opposite_where(sign, tail.leading), sum = base - leading;
    return sum + (((base - sum) - leading) - opposite_where(sign, tail.rest));
}

} // namespace error_lanes

struct ErfLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;

    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        constexpr std::int32_t from = sizeof(T) == 8 ? top_word(0x1p-960) : 0;
        return outside_short_window<from, top_word(std::numeric_limits<T>::infinity()),
                                    error_lanes::but_sign>(x);
    }

    [[gnu::always_inline]] static auto start(Lanes<double> x) {
        return Sized<decltype(erf_double)>(smaller(magnitude(x), Lanes<double>{} + 6.0));
    }
    [[gnu::always_inline]] static auto start(Lanes<float> x) {
        const Halves sizes = widened(smaller(magnitude(x), Lanes<float>{} + 4.0f));
        return Both<Sized<decltype(erf_medium)>>(sizes);
    }
    [[gnu::always_inline]] static Lanes<double> finish(const auto &at, Lanes<double> x) {
        using namespace error_lanes;
        V leading;
        const V rest = row_polynomials<1>(erf_double, at.place, &leading);
        const Parts y = product(halved(at.size), leading, rest);
        return with_sign(y.leading + y.rest, sign_of(x));
    }
    [[gnu::always_inline]] static Lanes<float> finish(const auto &at, Lanes<float> x) {
        const auto of_size = [](const auto &half) {
            return half.size * row_polynomials(erf_medium, half.place);
        };
        return with_sign(narrowed({of_size(at.low), of_size(at.high)}), sign_of(x));
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Erf::eval(x, r);
    }

  private:
    template <class Table> struct Sized {
        Lanes<double> size;
        error_lanes::UniformPlace<Table> place;
        Sized() = default;
        explicit Sized(Lanes<double> z) : size(z), place(z) {}
    };
};

struct ErfcLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;

    template <class W> static IntegersOf<W> special(W x) {
        constexpr std::int32_t limit = sizeof(ElementOf<W>) == 8 ? top_word(26.0) : top_word(9.0f);
        return outside_short_window<0, limit, error_lanes::but_sign>(x);
    }

    template <class W> [[gnu::always_inline]] static auto start(W x) {
        using namespace error_lanes;
        if constexpr (sizeof(ElementOf<W>) == 8) {
            return Tail(erfcx_double, magnitude(x), magnitude(x), -1);
        } else {
            const auto of = [](V z) { return ShortTail(erfcx_medium, z, z, -1); };
            return each_half(of, magnitude(x));
        }
    }
    [[gnu::always_inline]] static Lanes<double> finish(const auto &at, Lanes<double> x) {
        using namespace error_lanes;
        return from_tail(-x, 2, tail_parts(erfcx_double, at));
    }
    [[gnu::always_inline]] static Lanes<float> finish(const auto &at, Lanes<float> x) {
        using namespace error_lanes;
        const auto of = [](V v, const auto &half) {
            return from_tail(-v, 2, short_tail<3>(erfcx_medium, half));
        };
        const Halves halves = widened(x);
        return narrowed({of(halves.low, at.low), of(halves.high, at.high)});
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Erfc::eval(x, r);
    }
};

// erfcx |x|, for x < 0 taken from 2 e^(x^2).
struct ErfcxLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;

    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        using error_lanes::but_sign;
        constexpr std::int32_t from = top_word(T(127)), to = top_word(T(sizeof(T) == 8 ? 26.5 : 9.25));
        // the sizes of positive numbers are moved down, so that one limit does for both signs
        const auto words = std::bit_cast<Lanes<std::int32_t>>(x);
        const auto moved = (words & but_sign) - (~(words >> 31) & (from - to));
        return whole_lanes(std::bit_cast<IntegersOf<W>>(moved > to - 1));
    }

    [[gnu::always_inline]] static auto start(Lanes<double> x) {
        using namespace error_lanes;
        const V z = magnitude(x);
        return Tail(erfcx_double, z, where(all_where_negative(x), z), 1);
    }
    [[gnu::always_inline]] static auto start(Lanes<float> x) {
        using namespace error_lanes;
        const auto of = [](V v) {
            const V z = magnitude(v);
            return ShortTail(erfcx_medium, z, where(all_where_negative(v), z), 1);
        };
        return each_half(of, x);
    }
    [[gnu::always_inline]] static Lanes<double> finish(const auto &at, Lanes<double> x) {
        using namespace error_lanes;
        const auto sign = sign_of(x), negative = all_where_negative(x);
        V leading;
        const V rest = row_polynomials<1>(erfcx_double, at.place, &leading);
        const Exponential e(at.exponent);
        const V twice = where(negative, e.power + e.power), large = e.mantissa.leading * twice;
        const V small = opposite_where(sign, leading), sum = large + small;
        return sum + (((large - sum) + small) + (e.mantissa.rest * twice + opposite_where(sign, rest)));
    }
    [[gnu::always_inline]] static Lanes<float> finish(const auto &at, Lanes<float> x) {
        using namespace error_lanes;
        const auto of = [](V v, const auto &half) {
            const V large = where(all_where_negative(v), 2.0 * two_to_64ths<3>(half.exponent));
            return large + opposite_where(sign_of(v), row_polynomials(erfcx_medium, half.place));
        };
        const Halves halves = widened(x);
        return narrowed({of(halves.low, at.low), of(halves.high, at.high)});
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Erfcx::eval(x, r);
    }

  private:
    static Lanes<std::int64_t> all_where_negative(Lanes<double> x) {
        const auto words = std::bit_cast<Lanes<std::int32_t>>(x) >> 31;
        return whole_lanes(std::bit_cast<Lanes<std::int64_t>>(words));
    }
};

} // namespace qor::fyn
