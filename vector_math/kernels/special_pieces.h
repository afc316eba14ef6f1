// What the special functions share: polynomial pieces from special_tables.h, scaled results, sines of
// multiples of pi.
#pragma once

#include <cstddef>
#include <initializer_list>

#include "vector_math/frame/double_double.h"
#include "vector_math/kernels/exponential.h"
#include "vector_math/kernels/logarithm.h"
#include "vector_math/kernels/special_tables.h"

namespace qor::fyn::special {

inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr DoubleDouble two_over_pi{0x1.45f306dc9c883p-1, -0x1.6b01ec5417056p-55};
inline constexpr DoubleDouble sqrt_2{0x1.6a09e667f3bcdp+0, -0x1.bdd3413b26456p-54};
inline constexpr DoubleDouble inverse_sqrt_2{0x1.6a09e667f3bcdp-1, -0x1.bdd3413b26456p-55};
inline constexpr DoubleDouble inverse_sqrt_pi{0x1.20dd750429b6dp-1, 0x1.1ae3a914fed80p-57};
inline constexpr DoubleDouble euler_gamma{0x1.2788cfc6fb619p-1, -0x1.6cb90701fbfabp-58};

using Scaled = ScaledValue<72>;

// Rounds a finite nonzero result that may leave the range of T.
template <class T> inline Status checked_result(Scaled a, T &r) noexcept {
    return qor::fyn::checked_result(scaled(a.value, a.exponent), r);
}

// The polynomial of a row at t + t_lo, with an error of the last bits of c1 t.
template <std::size_t N>
inline DoubleDouble evaluate(const double (&row)[N], double t, double t_lo = 0) noexcept {
    double p = row[N - 1];
    for (std::size_t i = N - 2; i >= 2; --i)
        p = p * t + row[i];
    return fast_two_sum(row[0], row[1] + (t * p + t_lo * row[2]));
}

// The same to about a double's accuracy, cut after the term in t^Degree.
template <std::size_t Degree, std::size_t N>
inline double evaluate_short(const double (&row)[N], double t) noexcept {
    constexpr std::size_t last = Degree + 1 < N - 1 ? Degree + 1 : N - 1;
    double p = row[last];
    for (std::size_t i = last - 1; i >= 2; --i)
        p = p * t + row[i];
    return row[0] + t * p;
}

// Where x lies in a table: row, and distance from the middle of the piece.
struct Place {
    int row;
    double t;
};

// In a table of eight pieces to the octave of x + shift, the first octave [2^first, 2^(first+1)).
inline Place octave_place(double x, double shift, int first) noexcept {
    std::uint64_t bits = std::bit_cast<std::uint64_t>(x + shift);
    int row = static_cast<int>(bits >> 49) - (1023 + first) * 8;
    double middle = std::bit_cast<double>(bits >> 49 << 49 | std::uint64_t(1) << 48);
    return {row, x - (middle - shift)};
}

// In a table of equal pieces; x at the end of the table belongs to the last one.
inline Place uniform_place(double x, double start, double width, int count) noexcept {
    int row = static_cast<int>((x - start) / width);
    row = row < count ? row : count - 1;
    return {row, (x - start) - (row + 0.5) * width};
}

// sin(pi (f + f_lo)) for 0 <= f <= 1/2
inline DoubleDouble sine_of_half_turns(double f, double f_lo = 0) noexcept {
    Place at = uniform_place(f, 0, 0x1p-4, 8);
    return evaluate(tables::sine_ratio[at.row], at.t, f_lo) * fast_two_sum(f, f_lo);
}

} // namespace qor::fyn::special
