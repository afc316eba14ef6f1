// The inverse error function, double and single precision, in piecewise polynomials.
//
// y = |x| g(|x|), g(x) = erfinv(x) / x, the sign put back at the end. Each octave of t = 1 - |x| is cut into
// equal pieces, numbered by the leading bits of t; a piece is many times its own width away from the
// singularity at t = 0, so that short polynomials do. g is even and smooth at 0. The distance from the
// middle of a piece is exact for |x| >= 1/2.
//
// Double, high accuracy: degree 8, error 2^-58.4; the constant term has a leading part of 26 bits, whose
// product with the upper half of |x| is exact, so that only the last addition rounds at the result's last
// place. Enhanced performance: cubics, 2^-29.8.
// Single, high accuracy: degree 5 in double lanes, 2^-38.3. Low: cubics in single lanes, 2^-25.8. Enhanced
// performance: straight lines, 2^-14.9.
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

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

namespace qor::fyn {

// Where an argument stands: the number of its row, and its distance from the middle of the piece.
template <class V, class Table> struct ErfInversePlace {
    using T = ElementOf<V>;
    using Bits = std::make_unsigned_t<IntegerOf<T>>;
    using Unsigned = Lanes<Bits>;
    static constexpr int shift = std::numeric_limits<T>::digits - 1 - std::countr_zero(Table::pieces);
    static constexpr Bits below_piece = (Bits{1} << shift) - 1, half_piece = Bits{1} << (shift - 1);
    static constexpr Bits exponent_of_one = std::bit_cast<Bits>(T(1)) >> shift;
    static constexpr Bits first = exponent_of_one - Table::octaves * Table::pieces;

    IntegersOf<V> row;
    V distance;

    explicit ErfInversePlace(V size) {
        const V to_one = 1 - size;
        const auto t = std::bit_cast<Unsigned>(to_one);
        row = std::bit_cast<IntegersOf<V>>((t >> shift) - first);
        const V middle = std::bit_cast<V>((t & ~below_piece) | half_piece);
        if constexpr (sizeof(T) == 8)
            distance = size - (1 - middle);
        else
            distance = middle - to_one; // the last middles, less than 2^-24 from 1, need it so
    }
};

// The terms of the rows with these numbers, one vector a term.
template <class Table>
void look_up_rows(const Table &table, Lanes<std::int64_t> numbers, Lanes<double> (&terms)[Table::terms]) {
    static_assert(Table::terms % 2 == 0);
    const IntegerPair index(numbers);
    const double *low = table.row[index.low], *high = table.row[index.high];
    for (unsigned i = 0; i < Table::terms; i += 2) {
        const auto a = load<Lanes<double>>(low + i), b = load<Lanes<double>>(high + i);
        terms[i] = _mm_unpacklo_pd(a, b);
        terms[i + 1] = _mm_unpackhi_pd(a, b);
    }
}

template <class Table>
void look_up_rows(const Table &table, Lanes<std::int32_t> numbers, Lanes<float> (&terms)[Table::terms]) {
    const IntegerPair two_each(std::bit_cast<Lanes<std::int64_t>>(numbers));
    const auto row = [&table](std::uint64_t number) {
        if constexpr (Table::terms == 4)
            return _mm_loadu_ps(table.row[number]);
        else
            return _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double *>(table.row[number])));
    };
    __m128 a = row(static_cast<std::uint32_t>(two_each.low)), b = row(two_each.low >> 32),
           c = row(static_cast<std::uint32_t>(two_each.high)), d = row(two_each.high >> 32);
    if constexpr (Table::terms == 4) {
        _MM_TRANSPOSE4_PS(a, b, c, d);
        terms[2] = c;
        terms[3] = d;
    } else {
        const __m128 ab = _mm_movelh_ps(a, b), cd = _mm_movelh_ps(c, d);
        a = _mm_shuffle_ps(ab, cd, _MM_SHUFFLE(2, 0, 2, 0));
        b = _mm_shuffle_ps(ab, cd, _MM_SHUFFLE(3, 1, 3, 1));
    }
    terms[0] = a;
    terms[1] = b;
}

// g(size) without the first `apart` terms, which are given back.
template <unsigned apart = 0, class Table, class V>
V erf_inverse_ratio(const Table &table, V size, V *leading = nullptr) {
    const ErfInversePlace<V, Table> at(size);
    V terms[Table::terms];
    look_up_rows(table, at.row, terms);
    std::copy_n(terms, apart, leading);
    V sum = terms[Table::terms - 1];
    for (unsigned i = Table::terms - 1; i-- > apart;)
        sum = sum * at.distance + terms[i];
    return sum;
}

template <class T, Accuracy A> struct ErfInvLanes {
    static constexpr int pass = 16;
    static constexpr T padding = T(0.5);

    template <class V> static IntegersOf<V> special(V x) {
        return whole_lanes(outside_window(x, tiny, limit, std::numeric_limits<std::int32_t>::max()));
    }

    template <class V> static V value(V x) {
        const auto bits = bits_of(x);
        const V size = from_bits<V>(bits & ~sign_bit<T>);
        return from_bits<V>(bits_of(value_of_size(size)) | (bits & sign_bit<T>));
    }

    [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept { return ErfInv<A>::eval(x, r); }

  private:
    static constexpr bool in_double = sizeof(T) == 8 || A == Accuracy::high;
    static constexpr std::int32_t limit = top_word(in_double ? T(1 - 0x1p-12) : T(1));
    static constexpr std::int32_t tiny = sizeof(T) == 8 ? top_word(0x1p-960) : 0;

    static constexpr const auto &single_table() {
        if constexpr (A == Accuracy::low)
            return erf_inverse_single;
        else
            return erf_inverse_single_short;
    }

    template <class V> static V value_of_size(V size) {
        if constexpr (sizeof(T) == 8 && A == Accuracy::high) {
            const V upper = from_bits<V>(bits_of(size) & ~((std::int64_t{1} << 26) - 1));
            V leading;
            const V rest = erf_inverse_ratio<1>(erf_inverse_double, size, &leading);
            return upper * leading + ((size - upper) * leading + size * rest); // upper * leading is exact
        } else if constexpr (sizeof(T) == 8) {
            return size * erf_inverse_ratio(erf_inverse_double_short, size);
        } else if constexpr (A == Accuracy::high) {
            return through_double(
                [](Lanes<double> s) { return s * erf_inverse_ratio(erf_inverse_medium, s); }, size);
        } else {
            return size * erf_inverse_ratio(single_table(), size);
        }
    }
};

template <Accuracy A> using ErfInvDouble = ErfInvLanes<double, A>;
template <Accuracy A> using ErfInvSingle = ErfInvLanes<float, A>;

} // namespace qor::fyn
