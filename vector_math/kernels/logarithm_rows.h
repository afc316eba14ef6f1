// Functions by tables of their logarithms, polynomials in pieces: the gamma function, the exponential
// integral.
//
// The pieces lie around middles that cut octaves of x into equal parts, from 2^-12 on: they are a fixed share
// of their distance from a singularity at 0, wherever they are.
//   log f(x) = c0 + d (c1 + d q(d)),  d = x - middle
// Tables of twelve terms have c0 and c1 in two parts; the product of the leading parts of c1 and d is exact,
// so that nothing is lost where it cancels c0, and what a large logarithm's last place cannot hold goes on
// into the exponential.
#pragma once

#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/exponential_double.h"
#include "vector_math/kernels/exponential_single.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/polynomial_rows.h"

#include <bit>
#include <cstdint>
#include <type_traits>

namespace qor::fyn {

inline constexpr double rows_from = 0x1p-12;

// Where arguments stand: the numbers of their rows, `first` more, and their distances from the middles.
template <class Table> struct MiddlePlace {
    using V = Lanes<double>;
    static constexpr int shift = 52 - std::countr_zero(Table::pieces);
    static constexpr auto first = std::bit_cast<std::uint64_t>(rows_from) >> shift;
    IntegerPair row;
    V distance;

    MiddlePlace() = default;
    explicit MiddlePlace(V x) {
        constexpr std::uint64_t half = std::uint64_t{1} << (shift - 1);
        const auto moved = (std::bit_cast<Lanes<std::uint64_t>>(x) + half) >> shift;
        row = IntegerPair(std::bit_cast<Lanes<std::int64_t>>(moved));
        distance = x - std::bit_cast<V>(moved << shift);
    }
};

// The logarithms at a place, in one double or in two.
template <const auto &table> struct TabulatedLogarithm {
    using V = Lanes<double>;
    using Place = MiddlePlace<std::remove_cvref_t<decltype(table)>>;

    static V sum(const Place &at) { return row_polynomials(table, at); }

    struct Parts {
        V head, tail;
    };
    static Parts parts(const Place &at) {
        V c[4];
        const V q = row_polynomials<4>(table, at, c);
        const V d = at.distance, upper = shortened<27>(d);
        const V product = c[2] * upper; // exact
        const V head = c[0] + product;
        return {head, ((c[0] - head) + product) + (c[1] + (c[2] * (d - upper) + d * (c[3] + d * q)))};
    }
};

// The first step of a lane function by rows: all that takes place before the polynomials.
template <const auto &double_table, const auto &single_table> struct ByRows {
    static constexpr int pass = 16;
    static constexpr double padding = 3;
    using OfDouble = TabulatedLogarithm<double_table>;
    using OfSingle = TabulatedLogarithm<single_table>;

    using Places = Both<typename OfSingle::Place>; // of four elements

    static auto start(Lanes<double> x) { return typename OfDouble::Place(x); }
    static auto start(Lanes<float> x) { return Places(widened(x)); }
};

// The function itself. Degrees are those of the shorter exponential; 0 stands for the long one, of two parts.
template <const auto &double_table, int double_degree, const auto &single_table, int single_degree>
struct ExponentialOfRows : ByRows<double_table, single_table> {
    using Rows = ByRows<double_table, single_table>;

    [[gnu::always_inline]] static Lanes<double> finish(const typename Rows::OfDouble::Place &at,
                                                       Lanes<double>) {
        if constexpr (double_degree == 0) {
            const auto logarithm = Rows::OfDouble::parts(at);
            return ExpDouble::Reduced<Lanes<double>>(logarithm.head, logarithm.tail).exponential();
        } else {
            return two_to_64ths<double_degree>(Rows::OfDouble::sum(at) * ExpDouble::inv_step);
        }
    }
    [[gnu::always_inline]] static Lanes<float> finish(const typename Rows::Places &at, Lanes<float>) {
        const auto of = [](const auto &place) {
            return two_to_64ths<single_degree>(Rows::OfSingle::sum(place) * ExpDouble::inv_step);
        };
        return narrowed({of(at.low), of(at.high)});
    }
    template <class W> static W value(W x) { return finish(Rows::start(x), x); }
};

} // namespace qor::fyn
