// Cube root, its inverse and square; inverse square root and the power 3/2: double and single precision.
//
// Thirds: x = 2^(3k) m with m in [1/8, 1), 192 intervals of m, 64 to a binade. With the cube c of a short
// number C near the cube root of the interval's middle, so that c and m - c are exact,
//   x^(1/3) = 2^k C (1 + r)^(1/3),  x^(2/3) = 2^(2k) C^2 (1 + r)^(2/3),  r = (m - c) / c,  |r| < 1/127.
// The inverse cube root has a short D in the place of 1/C and r = m D^3 - 1, for which m is split. Nothing is
// left out of C and D, so that only the last addition rounds at the result's last place. Errors of the
// polynomials: 2^-60.4 (1/3), 2^-60.9 (2/3) and 2^-58.1 (-1/3) of the result; 2^-41.9 in single precision.
//
// Halves: the processor's square root s, and what its square leaves of x by a short leading part S of s:
//   x - s^2 = (x - S^2) - 2 S (s - S) - (s - S)^2,  x^(3/2) = S^3 + S^2 (s - S) + s ((x - S^2) + (x - s^2) /
//   2)
// A short Y of 1/s leaves r = 1 - x Y^2 < 2^-15, and x^(-1/2) = Y (1 - r)^(-1/2) by three terms of the
// binomial series (2^-61.8). In single precision root and quotient are single, one step of Newton's iteration
// in double lanes makes them 46 bits long.
//
// Special: zeros, subnormal numbers, infinities, NaNs; of the inverse square root and the power 3/2 negative
// numbers and those whose low parts or results leave the range of normal numbers.
//
// Largest errors measured by tools/measure_roots.cpp, in ulp (docs/accuracy.md): cube root 0.509312 at
// 0x1.9402f69844905p-109, its inverse 0.530355 at 0x1.04ae30ab3699p+87, x^(2/3) 0.512593 at
// 0x1.2c00262d5b51dp-2, inverse square root 0.500940 at 0x1.e43e9d666f9f8p+457, x^(3/2) 0.500028 at
// 0x1.0902847829912p-295; single 0.500003 at 0x1.d6cc5ep-6 (inverse cube root), the others below.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/power.h"
#include "vector_math/kernels/square_root.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace qor::fyn {

namespace root_lanes {

using V = Lanes<double>;

struct CubeRow {
    double root, inverse_cube;
};

// Row i: mantissas from 2^(i/64 - 3) (1 + i%64 / 64) on. Roots have 17 bits, inverse roots 15.
struct CubeRows {
    static constexpr std::size_t size = 192;
    CubeRow row[size];
    double inverse_root[size];

    consteval CubeRows() : row(), inverse_root() {
        for (std::size_t i = 0; i < size; ++i) {
            const double middle = (1 + (static_cast<double>(i % 64) + 0.5) / 64) /
                                  static_cast<double>(std::size_t{8} >> i / 64);
            double root = 1;
            for (int step = 0; step < 20; ++step)
                root -= (root - middle / (root * root)) / 3;
            const double nearest = (root + 0x1.8p35) - 0x1.8p35;
            row[i] = {nearest, 1 / (nearest * nearest * nearest)};
            inverse_root[i] = (1 / root + 0x1.8p38) - 0x1.8p38;
        }
    }
};
alignas(64) inline constexpr CubeRows cube_rows;

// x > 0 as 2^(3k) times a mantissa in [1/8, 1).
struct CubeReduction {
    Lanes<std::int64_t> third; // k at the exponent's place
    V mantissa;
    IntegerPair row; // in the low 8 bits

    CubeReduction() = default;
    explicit CubeReduction(V x) : third(third_of(x)), mantissa(unscaled(x)), row(bits_of(mantissa) >> 46) {}

    void look_up(V &root, V &inverse_cube) const {
        look_up_pairs(cube_rows.row[row.low % 256], cube_rows.row[row.high % 256], root, inverse_cube);
    }
    V inverse_root() const {
        return V{cube_rows.inverse_root[row.low % 256], cube_rows.inverse_root[row.high % 256]};
    }

  private:
    // The upper word, exponent and 20 bits more, over 3 by a product.
    static Lanes<std::int64_t> third_of(V x) {
        const auto upper = _mm_srli_epi64(std::bit_cast<__m128i>(x), 32);
        const auto product = _mm_mul_epu32(upper, _mm_set1_epi64x(0x55555556));
        constexpr std::int64_t unit = std::int64_t{1} << 52;
        return (std::bit_cast<Lanes<std::int64_t>>(product) & 0x7FF * unit) - 340 * unit;
    }
    V unscaled(V x) const { return from_bits<V>(bits_of(x) - (third + third + third)); }
};

// Terms of ((1 + r)^p - 1) / r for |r| < 1/127, by interpolation at Chebyshev nodes.
template <class T> struct Terms;
template <> struct Terms<double> {
    static constexpr double root[] = {0.3333333333333338,   -0.11111111111111152, 0.06172839499781314,
                                      -0.04115226332122273, 0.0301803882189582,   -0.023473749826544956},
                            inverse[] = {-0.3333333333333359, 0.22222222222222462,  -0.1728395058351435,
                                         0.1440329215011444,  -0.12483942541952527, 0.11096868075106493},
                            square[] = {0.666666666666667,     -0.11111111111111133, 0.049382716013836495,
                                        -0.028806584333999064, 0.019205536207560884, -0.013870744668460342};
};
template <> struct Terms<float> {
    static constexpr double root[] = {0.3333333332970797, -0.11111111108291374, 0.06173073397801258,
                                      -0.04115408253666813},
                            inverse[] = {-0.3333333331833731, 0.22222222208892398, -0.1728491808858417,
                                         0.14404152156899097},
                            square[] = {0.6666666666435963, -0.11111111109444913, 0.049384204443330366,
                                        -0.028807659316850726};
};

template <std::size_t terms> [[gnu::always_inline]] inline V polynomial(const double (&term)[terms], V r) {
    const V square = r * r;
    V sum = term[terms - 2] + r * term[terms - 1];
    for (std::size_t i = terms - 2; i > 0; i -= 2)
        sum = (term[i - 2] + r * term[i - 1]) + square * sum;
    return sum;
}

// Working precision for results of type T. The residue of the mantissa beside the cube of a row.
template <class T> V beside_cube(V mantissa, V root, V inverse_cube) {
    if constexpr (sizeof(T) == 8)
        return (mantissa - root * root * root) * inverse_cube;
    else
        return mantissa * inverse_cube - 1;
}

struct CubeRoot {
    using Element = Cbrt;
    static constexpr bool odd = true;
    template <class T> [[gnu::always_inline]] static V value(const CubeReduction &at) {
        V root, inverse_cube;
        at.look_up(root, inverse_cube);
        const V r = beside_cube<T>(at.mantissa, root, inverse_cube);
        return from_bits<V>(bits_of(root + root * r * polynomial(Terms<T>::root, r)) + at.third);
    }
};

struct SquareOfCubeRoot {
    using Element = Pow2o3;
    static constexpr bool odd = false;
    template <class T> [[gnu::always_inline]] static V value(const CubeReduction &at) {
        V root, inverse_cube;
        at.look_up(root, inverse_cube);
        const V r = beside_cube<T>(at.mantissa, root, inverse_cube), square = root * root;
        return from_bits<V>(bits_of(square + square * r * polynomial(Terms<T>::square, r)) +
                            (at.third + at.third));
    }
};

struct InverseCubeRoot {
    using Element = InvCbrt;
    static constexpr bool odd = true;
    template <class T> [[gnu::always_inline]] static V value(const CubeReduction &at) {
        const V inverse = at.inverse_root(), cube = inverse * inverse * inverse;
        V r;
        if constexpr (sizeof(T) == 8) {
            const V leading = shortened<45>(at.mantissa); // 8 bits, by the cube's 45
            r = (leading * cube - 1) + (at.mantissa - leading) * cube;
        } else {
            r = at.mantissa * cube - 1;
        }
        return from_bits<V>(bits_of(inverse + inverse * r * polynomial(Terms<T>::inverse, r)) - at.third);
    }
};

} // namespace root_lanes

template <class Rule> struct ThirdsLanes {
    static constexpr int pass = 16;
    static constexpr float padding = 1;
    static constexpr bool test_beside = true;

    template <class V> static IntegersOf<V> special(V x) {
        using T = ElementOf<V>;
        return outside_short_window<top_word(std::numeric_limits<T>::min()),
                                    top_word(std::numeric_limits<T>::infinity()),
                                    std::numeric_limits<std::int32_t>::max()>(x);
    }

    template <class V> [[gnu::always_inline]] static auto start(V x) {
        using root_lanes::CubeReduction;
        if constexpr (sizeof(ElementOf<V>) == 8)
            return CubeReduction(magnitude(x));
        else
            return Both<CubeReduction>(widened(magnitude(x)));
    }
    template <class V> [[gnu::always_inline]] static V finish(const auto &at, V x) {
        V result;
        if constexpr (sizeof(ElementOf<V>) == 8)
            result = Rule::template value<double>(at);
        else
            result = narrowed({Rule::template value<float>(at.low), Rule::template value<float>(at.high)});
        return Rule::odd ? with_sign(result, sign_of(x)) : result;
    }
    template <class V> static V value(V x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Rule::Element::eval(x, r);
    }
};

using CbrtLanes = ThirdsLanes<root_lanes::CubeRoot>;
using InvCbrtLanes = ThirdsLanes<root_lanes::InverseCubeRoot>;
using Pow2o3Lanes = ThirdsLanes<root_lanes::SquareOfCubeRoot>;

struct InvSqrtLanes {
    static constexpr int pass = 16;
    static constexpr float padding = 1;
    static constexpr bool test_beside = true;

    template <class V> static IntegersOf<V> special(V x) {
        using T = ElementOf<V>;
        constexpr T from = sizeof(T) == 8 ? T(0x1p-960) : std::numeric_limits<T>::min();
        return outside_short_window<top_word(from), top_word(std::numeric_limits<T>::infinity())>(x);
    }

    template <class V> [[gnu::always_inline]] static V value(V x) {
        const V inverse = 1 / SqrtLanes::value(x);
        if constexpr (sizeof(ElementOf<V>) == 8) {
            const V y = shortened<36>(inverse), leading = shortened<34>(x); // 17 and 19 bits
            const V r = (1 - leading * y * y) - (x - leading) * y * y;
            return y + y * (r * (0.5 + r * (0.375 + r * 0.3125)));
        } else {
            return through_double(
                [](Lanes<double> v, Lanes<double> y) { return y + y * (0.5 - v * y * y * 0.5); }, x, inverse);
        }
    }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return InvSqrt::eval(x, r);
    }
};

struct Pow3o2Lanes {
    static constexpr int pass = 16;
    static constexpr float padding = 1;
    static constexpr bool test_beside = true;

    template <class V> static IntegersOf<V> special(V x) {
        if constexpr (sizeof(ElementOf<V>) == 8)
            return outside_short_window<top_word(0x1p-600), top_word(0x1p682)>(x);
        else
            return outside_short_window<top_word(0x1p-84f), top_word(0x1p85f)>(x);
    }

    template <class V> static V start(V x) { return SqrtLanes::value(x); }
    template <class V> [[gnu::always_inline]] static V finish(V s, V x) {
        if constexpr (sizeof(ElementOf<V>) == 8) {
            const V leading = shortened<36>(s), rest = s - leading, square = leading * leading; // exact
            const V beside = x - square;                                                        // exact
            const V left = (beside - (leading + leading) * rest) - rest * rest;
            return leading * square + (square * rest + s * (beside + 0.5 * left));
        } else {
            return through_double(
                [](Lanes<double> v, Lanes<double> root) { return root * (1.5 * v - 0.5 * (root * root)); }, x,
                s);
        }
    }
    template <class V> static V value(V x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Pow3o2::eval(x, r);
    }
};

} // namespace qor::fyn
