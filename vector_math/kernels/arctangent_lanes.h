// Arctangent over lanes, of one argument and of two, in radians and in half turns.
//
// With c a number near y / x and its arctangent from a table,
//   arctan(y / x) = arctan c + arctan q,  q = (y - c x) / (x + c y).
// c = 0 below 1/32, then come 160 intervals up to 32, then one c far above: |q| <= 1/32, and in the intervals
// at most 1/32 of y / x. c has 22 bits, so that y - c x is rounded once, and its arctangent needs no tail
// (tools/arctangent_tables.py). arctan q - q: approximation error below 2^-62 of q.
//
// One argument: x = 1, q by one division; where c = 0 it is exact. Two: q in two parts, since where c = 0 it
// makes all of the result; to the left of the origin the angle is taken from the half turn. In half turns the
// product of the leading parts of q and of 1/pi is exact. Only the last addition rounds at the result's last
// place. Single: in double precision without the small parts; the row from the quotient of single-precision
// lanes. arctan q: approximation error below 2^-37 of q.
//
// Largest errors measured by tools/measure_inverse_trigonometric.cpp, in ulp (docs/accuracy.md): 0.556846 at
// 0x1.00076cbbd3b09p-3, in half turns 0.551795 at 0x1.6003eff98b486p-5; of two arguments (y, x) 0.553335 at
// (0x1.1fe9855b23cd2p+4, 0x1.1f4f741746cb4p+6), in half turns 0.544100 at (0x1.99f071da5a4edp-3,
// 0x1.1d542366588d5p+0). Single: 0.500079.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/arctangent_tables.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/inverse_trigonometric_lanes.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/tangent_lanes.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn {

namespace inverse_lanes {

// (arctan(q) / q - 1) / u in u = q^2 <= 2^-10, minimax: the errors are those of arctan(q), relative to it.
inline constexpr double arctangent_terms[] = {-0.3333333333333276, 0.19999999994269407, -0.14285696560981662,
                                              0.11089500509760103};                      // 2^-62.1
inline constexpr double arctangent_short[] = {-0.3333332747033345, 0.19980591228445135}; // 2^-37.5

struct ArctangentRow {
    V c, angle;
};

template <class Unit> ArctangentRow arctangent_row(std::uint64_t low, std::uint64_t high) {
    constexpr const auto &table = in_radians<Unit> ? arctangents_in_radians : arctangents_in_half_turns;
    ArctangentRow row;
    look_up_pairs(table[low], table[high], row.c, row.angle);
    return row;
}

// The number of a tangent's row: the leading bits of the tangent, moved into the table's range, less `first`.
template <class T> struct ArctangentRows {
    static constexpr int shift = std::numeric_limits<T>::digits - 1 - 4;
    static constexpr T from = T(1) / 32, to = 32;
    static constexpr T below = from - from * std::numeric_limits<T>::epsilon();
    static constexpr auto first = static_cast<std::uint64_t>(std::bit_cast<IntegerOf<T>>(below) >> shift);

    static auto bits(Lanes<T> tangent) {
        return bits_of(smaller(larger(tangent, Lanes<T>{} + below), Lanes<T>{} + to)) >> shift;
    }
};

template <class Unit> [[gnu::always_inline]] inline ArctangentRow row_of(V tangent) {
    using Rows = ArctangentRows<double>;
    const IntegerPair bits(Rows::bits(tangent));
    return arctangent_row<Unit>(bits.low - Rows::first, bits.high - Rows::first);
}

// f(row, half) over the halves of single-precision lanes.
template <class Unit, class F>
[[gnu::always_inline]] inline Lanes<float> with_rows(Lanes<float> tangent, const F &f) {
    using Rows = ArctangentRows<float>;
    const IntegerQuad bits(Rows::bits(tangent));
    const auto row = [&bits](int low) {
        return arctangent_row<Unit>(bits.lane[low] - Rows::first, bits.lane[low + 1] - Rows::first);
    };
    return narrowed({f(row(0), &Halves::low), f(row(2), &Halves::high)});
}

template <class Unit> V brief_arctangent(const ArctangentRow &row, V y, V x) {
    const V q = (y - row.c * x) / (x + row.c * y);
    const V u = q * q;
    return row.angle + q * (Unit::factor.hi + u * polynomial<Unit>(arctangent_short, u));
}

// arctan(q) - q
template <class Unit> [[gnu::always_inline]] inline V beyond(V q) {
    const V u = q * q;
    return q * u * polynomial<Unit>(arctangent_terms, u);
}

template <class Unit> [[gnu::always_inline]] inline V arctangent(const ArctangentRow &row, V x) {
    const V q = (x - row.c) / (1.0 + x * row.c); // the difference is exact
    if constexpr (in_radians<Unit>)
        return row.angle + (q + beyond<Unit>(q));
    const V head = shortened<27>(q);
    const Parts parts = in_unit<Unit>({head, q - head});
    return row.angle + (parts.leading + (parts.rest + beyond<Unit>(q)));
}

// The angle of the point (x, y), y > 0.
template <class Unit> [[gnu::always_inline]] inline V arctangent(const ArctangentRow &row, V y, V x) {
    const V size = magnitude(x);
    const V upper = from_bits<V>(bits_of(size) & ~((std::int64_t{1} << 22) - 1));
    const V numerator = (y - row.c * upper) - row.c * (size - upper); // rounded once
    const angle_lanes::PartialQuotient by(numerator, size + row.c * y);
    const Parts q = in_unit<Unit>({by.q, by.left * by.inverse});
    const V rest = q.leading + (q.rest + beyond<Unit>(numerator * by.inverse));
    // to the left, from the half turn
    const V base = where(x < V{}, V{} + Unit::half_turn), angle = negated_by(sign_of(x), row.angle);
    const V sum = base + angle;
    const V lost = with_lost<Unit>((base - sum) + angle, base);
    return sum + (negated_by(sign_of(x), rest) + lost);
}

} // namespace inverse_lanes

template <class Element, class Unit> struct ArctangentLanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;
    static constexpr bool test_beside = true;

    // Below, squares or results might underflow; above, the denominator might overflow.
    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        constexpr T from = sizeof(T) == 8 ? T(0x1p-200) : T(0x1p-120);
        constexpr T to = sizeof(T) == 8 ? T(0x1p512) : std::numeric_limits<T>::infinity();
        return outside_short_window<top_word(from), top_word(to), angle_lanes::all_but_sign>(x);
    }

    [[gnu::always_inline]] static inverse_lanes::ArctangentRow start(Lanes<double> x) {
        return inverse_lanes::row_of<Unit>(magnitude(x));
    }
    [[gnu::always_inline]] static Lanes<double> finish(const inverse_lanes::ArctangentRow &row,
                                                       Lanes<double> x) {
        return with_sign(inverse_lanes::arctangent<Unit>(row, magnitude(x)), sign_of(x));
    }
    template <class W> [[gnu::always_inline]] static W value(W x) {
        const W size = magnitude(x);
        if constexpr (sizeof(ElementOf<W>) == 8) {
            return finish(start(x), x);
        } else {
            const Halves y = widened(size);
            const auto of_half = [&](const inverse_lanes::ArctangentRow &row, auto half) {
                return inverse_lanes::brief_arctangent<Unit>(row, y.*half, Lanes<double>{} + 1.0);
            };
            return with_sign(inverse_lanes::with_rows<Unit>(size, of_half), sign_of(x));
        }
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Element::eval(x, r);
    }
};

template <class Element, class Unit> struct Arctangent2Lanes {
    static constexpr int pass = 16;
    static constexpr double padding = 0.5;

    // Quotients, their squares and results stay away from the ends of the range.
    template <class W> static IntegersOf<W> special(W y, W x) { return outside(y) | outside(x); }

    [[gnu::always_inline]] static inverse_lanes::ArctangentRow start(Lanes<double> y, Lanes<double> x) {
        return inverse_lanes::row_of<Unit>(magnitude(y) / magnitude(x));
    }
    [[gnu::always_inline]] static Lanes<double> finish(const inverse_lanes::ArctangentRow &row,
                                                       Lanes<double> y, Lanes<double> x) {
        return with_sign(inverse_lanes::arctangent<Unit>(row, magnitude(y), x), sign_of(y));
    }

    template <class W> [[gnu::always_inline]] static W value(W y, W x) {
        const W height = magnitude(y);
        if constexpr (sizeof(ElementOf<W>) == 8) {
            return finish(start(y, x), y, x);
        } else {
            using inverse_lanes::V;
            const Halves wide_y = widened(height), wide_x = widened(x);
            const auto of_half = [&](const inverse_lanes::ArctangentRow &row, auto half) {
                const V side = wide_x.*half;
                const V acute = inverse_lanes::brief_arctangent<Unit>(row, wide_y.*half, magnitude(side));
                return where(side < V{}, V{} + Unit::half_turn) +
                       inverse_lanes::negated_by(sign_of(side), acute);
            };
            return with_sign(inverse_lanes::with_rows<Unit>(height / magnitude(x), of_half), sign_of(y));
        }
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T y, T x, T &r) noexcept {
        return Element::eval(y, x, r);
    }

  private:
    template <class W> static IntegersOf<W> outside(W v) {
        using T = ElementOf<W>;
        constexpr T limit = sizeof(T) == 8 ? T(0x1p120) : T(0x1p61);
        return outside_short_window<top_word(1 / limit), top_word(limit), angle_lanes::all_but_sign>(v);
    }
};

using AtanLanes = ArctangentLanes<Atan, Radians>;
using AtanpiLanes = ArctangentLanes<Atanpi, HalfTurns>;
using Atan2Lanes = Arctangent2Lanes<Atan2, Radians>;
using Atan2piLanes = Arctangent2Lanes<Atan2pi, HalfTurns>;

} // namespace qor::fyn
