// The inverse error function, double and single precision, in piecewise polynomials.
//
// y = x g(|x|), g(x) = erfinv(x) / x. Each octave of t = 1 - |x| is cut into
// equal pieces, numbered by the leading bits of t; a piece is many times its own width away from the
// singularity at t = 0, so that short polynomials do. g is even and smooth at 0. The distance from the
// middle of a piece is exact for |x| >= 1/2.
//
// Double, high accuracy: degree 8, error 2^-58.4; the constant term has a leading part of 26 bits, whose
// product with the upper half of |x| is exact, so that only the last addition rounds at the result's last
// place. Enhanced performance: cubics, 2^-29.8.
// Single, high accuracy: degree 5 in double lanes, 2^-38.3. Low: quadratics in single lanes, 2^-26.5.
// Enhanced performance: straight lines, 2^-14.9.
//
// Special: |x| >= 1 - 2^-12 where double lanes compute (one argument in 4096 of uniform ones), |x| >= 1 in
// single lanes, NaN; in double also |x| < 2^-960, whose products would be subnormal.
//
// Largest errors measured by tools/measure_inverse_error_function.cpp, in ulp (docs/accuracy.md): double
// 0.529634 at 0x1.fcb16469534fap-2; single, all arguments: 0.500045568 at 0x1.1a3d7ep-125.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/inverse_error_function.h"
#include "vector_math/kernels/inverse_error_function_tables.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/polynomial_rows.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace qor::fyn {

// Where arguments stand: the numbers of their rows, `first` more, and their distances from the middles of the
// pieces.
template <class V, class Table> struct ErfInversePlace {
    using T = ElementOf<V>;
    using Bits = std::make_unsigned_t<IntegerOf<T>>;
    using Unsigned = Lanes<Bits>;
    static constexpr int shift = std::numeric_limits<T>::digits - 1 - std::countr_zero(Table::pieces);
    static constexpr Bits below_piece = (Bits{1} << shift) - 1, half_piece = Bits{1} << (shift - 1);
    static constexpr Bits exponent_of_one = std::bit_cast<Bits>(T(1)) >> shift;
    static constexpr Bits first = exponent_of_one - Table::octaves * Table::pieces;

    IntegerPair row;
    V distance;

    ErfInversePlace() = default;
    explicit ErfInversePlace(V x) {
        const V negative = from_bits<V>(bits_of(x) | sign_bit<T>), to_one = 1 + negative;
        const auto t = std::bit_cast<Unsigned>(to_one);
        row = IntegerPair(std::bit_cast<IntegersOf<V>>(t >> shift));
        const V middle = std::bit_cast<V>((t & ~below_piece) | half_piece);
        if constexpr (sizeof(T) == 8)
            distance = (middle - 1) - negative;
        else
            distance = middle - to_one; // the last middles, less than 2^-24 from 1, need it so
    }
};

template <class T, Accuracy A> struct ErfInvLanes {
    static constexpr int pass = 16;
    static constexpr T padding = T(0.5);
    static constexpr bool test_beside = A != Accuracy::high;

    template <class V> static IntegersOf<V> special(V x) {
        if constexpr (in_double)
            return whole_lanes(outside_window(x, tiny, limit, std::numeric_limits<std::int32_t>::max()));
        else
            return outside_short_window<tiny, limit, std::numeric_limits<std::int32_t>::max()>(x);
    }

    template <class V> [[gnu::always_inline]] static auto start(V x) {
        if constexpr (through_double)
            return Both<Place<Lanes<double>>>(widened(x));
        else
            return Place<V>(x);
    }

    template <class V> [[gnu::always_inline]] static V finish(const auto &at, V x) {
        if constexpr (through_double) {
            const Halves halves = widened(x);
            return narrowed(
                {halves.low * row_polynomials(table, at.low), halves.high * row_polynomials(table, at.high)});
        } else if constexpr (A == Accuracy::high) {
            const V upper = shortened<26>(x);
            V leading;
            const V rest = row_polynomials<1>(table, at, &leading);
            return upper * leading + ((x - upper) * leading + x * rest); // upper * leading is exact
        } else {
            return x * row_polynomials(table, at);
        }
    }

    template <class V> static V value(V x) { return finish(start(x), x); }

    [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept { return ErfInv<A>::eval(x, r); }

  private:
    static constexpr bool through_double = sizeof(T) == 4 && A == Accuracy::high;
    static constexpr bool in_double = sizeof(T) == 8 || through_double;
    static constexpr std::int32_t limit = top_word(in_double ? T(1 - 0x1p-12) : T(1));
    static constexpr std::int32_t tiny = sizeof(T) == 8 ? top_word(0x1p-960) : 0;

    static constexpr const auto &table_of_slot() {
        if constexpr (through_double)
            return erf_inverse_medium;
        else if constexpr (sizeof(T) == 8 && A == Accuracy::high)
            return erf_inverse_double;
        else if constexpr (sizeof(T) == 8)
            return erf_inverse_double_short;
        else if constexpr (A == Accuracy::low)
            return erf_inverse_single;
        else
            return erf_inverse_single_short;
    }
    static constexpr const auto &table = table_of_slot();

    template <class V> using Place = ErfInversePlace<V, std::remove_cvref_t<decltype(table)>>;
};

template <Accuracy A> using ErfInvDouble = ErfInvLanes<double, A>;
template <Accuracy A> using ErfInvSingle = ErfInvLanes<float, A>;

} // namespace qor::fyn
