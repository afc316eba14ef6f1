// Tables of polynomials in the distance from the middle of a piece, a row each, and their values in lanes.
#pragma once

#include "vector_math/frame/lanes.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace qor::fyn {

template <unsigned piece_count, unsigned row_count, unsigned term_count> struct PolynomialRows {
    static constexpr unsigned pieces = piece_count, rows = row_count, terms = term_count;
    double row[rows][terms];
};

// The terms of the rows with these numbers less `first`, one vector a term.
template <std::uint64_t first, class Table>
void look_up_rows(const Table &table, const IntegerPair &numbers, Lanes<double> (&terms)[Table::terms]) {
    for (unsigned i = 0; i < Table::terms; i += 2) {
        const auto a = load<Lanes<double>>(table.row[numbers.low - first] + i);
        const auto b = load<Lanes<double>>(table.row[numbers.high - first] + i);
        terms[i] = _mm_unpacklo_pd(a, b);
        terms[i + 1] = _mm_unpackhi_pd(a, b);
    }
}

template <std::uint64_t first, class Table>
void look_up_rows(const Table &table, const IntegerPair &numbers, Lanes<float> (&terms)[Table::terms]) {
    static_assert(Table::terms == 2 || Table::terms == 3);
    const IntegerQuad index(numbers);
    const auto row = [&](int lane) { return table.row[index.lane[lane] - first]; };
    if constexpr (Table::terms == 2) {
        const auto pair = [&](int lane) {
            double both;
            std::memcpy(&both, row(lane), sizeof both);
            return both;
        };
        const auto a = std::bit_cast<__m128>(Lanes<double>{pair(0), pair(1)});
        const auto b = std::bit_cast<__m128>(Lanes<double>{pair(2), pair(3)});
        terms[0] = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
        terms[1] = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    } else {
        const __m128 r[] = {load<Lanes<float>>(row(0)), load<Lanes<float>>(row(1)),
                            load<Lanes<float>>(row(2)), load<Lanes<float>>(row(3))};
        const __m128 a = _mm_unpacklo_ps(r[0], r[1]), b = _mm_unpacklo_ps(r[2], r[3]);
        terms[0] = _mm_movelh_ps(a, b);
        terms[1] = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 2, 3, 2));
        terms[2] = _mm_movelh_ps(_mm_unpackhi_ps(r[0], r[1]), _mm_unpackhi_ps(r[2], r[3]));
    }
}

// The polynomials of the rows at a place without their first `apart` terms, which are given back.
template <unsigned apart = 0, class Table, class Place, class V = decltype(Place::distance)>
V row_polynomials(const Table &table, const Place &at, V *leading = nullptr) {
    V terms[Table::terms];
    look_up_rows<Place::first>(table, at.row, terms);
    std::copy_n(terms, apart, leading);
    V sum = terms[Table::terms - 1];
    for (unsigned i = Table::terms - 1; i-- > apart;)
        sum = sum * at.distance + terms[i];
    return sum;
}

} // namespace qor::fyn
