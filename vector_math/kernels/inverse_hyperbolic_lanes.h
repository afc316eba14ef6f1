// Inverse hyperbolic functions over lanes, by the logarithm of a number in three parts
// (logarithm_bases_lanes.h), so that it is good beside what the number differs from 1:
//   asinh a = ln(a + sqrt(1 + a^2)),  acosh x = ln(x + sqrt(x^2 - 1)),  atanh a = ln(1 + 2a/(1 - a)) / 2
// with a = |x|.
//
// Double: the squares below the roots are exact to 2^-104, x^2 - 1 as (x - 1)^2 + 2 (x - 1); a root is
// corrected by what its square leaves, a quotient by what its leading 26 bits leave. Arguments from 2^500 on
// are special. Of arguments below 2^-480 small parts underflow, and the flag says so, without harm to the
// result.
// Single: in double lanes, ln(1 + u) with u = a + a^2 / (1 + sqrt(1 + a^2)), t + sqrt(t (t + 2)), t = x - 1,
// and 2a/(1 - a).
//
// Largest errors measured by tools/measure_logarithm_bases.cpp, in ulp (docs/accuracy.md): sine 0.514114 at
// -0x1.f6184592bf954p-3, cosine 0.513814 at 0x1.07841bebce54ap+0, tangent 0.514235 at 0x1.edf5f4ba30fbp-4.
// Single: 0.500004 at 0x1.40d9fp-9, 0.500000, 0.500005 at -0x1.8db9b8p-11.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/hyperbolic.h"
#include "vector_math/kernels/lane_bits.h"
#include "vector_math/kernels/logarithm_bases_lanes.h"
#include "vector_math/kernels/tangent_lanes.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn {

namespace inverse_hyperbolic {

using V = Lanes<double>;

// leading + rest = a^2: leading the square of the upper half, or the rounded square.
struct Square {
    V leading, rest;
    explicit Square(V a) {
        const V head = shortened<27>(a);
        leading = head * head; // exact
        rest = (a - head) * (a + head);
    }
};
struct RoundedSquare {
    V leading, rest;
    explicit RoundedSquare(V a) : leading(a * a) {
        const Square parts(a);
        rest = (parts.leading - leading) + parts.rest;
    }
};

inline V square_root(V v) { return std::bit_cast<V>(_mm_sqrt_pd(std::bit_cast<__m128d>(v))); }

// What is missing from root, the rounded root of v, to the root of v + rest.
inline V root_correction(V v, V rest, V root) {
    constexpr double least = 0x1p-600; // for a root that is 0
    const Square square(root);
    return (((v - square.leading) - square.rest) + rest) / larger(root + root, broadcast<V>(least));
}

// a and b summed, |a| >= |b|, and what that loses.
struct ExactSum {
    V sum, lost;
    ExactSum(V a, V b) : sum(a + b), lost((a - sum) + b) {}
};

// A number as a sum, the largest part first.
struct Parts {
    V x, tail_1, tail_2;
    [[gnu::always_inline]] V logarithm() const { return LogarithmOfParts<3>(x, tail_1, tail_2).sum(); }
};

} // namespace inverse_hyperbolic

// The logarithm, times `factor`, of a Method's number. Method: number(V), and short_number(V), it less 1, in
// double lanes; from and to, the arguments' limits; whether the function is odd: number sees |x| then.
template <class Element, class Method> struct InverseHyperbolicLanes {
    static constexpr int pass = 16;
    static constexpr double padding = Method::from;
    static constexpr bool test_beside = true;

    template <class W> static IntegersOf<W> special(W x) {
        using T = ElementOf<W>;
        constexpr std::int32_t masked = Method::odd ? 0x7FFFFFFF : -1;
        return outside_short_window<top_word(T(Method::from)), top_word(Method::template to<T>), masked>(x);
    }

    template <class W> [[gnu::always_inline]] static auto start(W x) {
        const W a = Method::odd ? magnitude(x) : x;
        if constexpr (sizeof(ElementOf<W>) == 8) {
            return Method::number(a);
        } else {
            const Halves halves = widened(a);
            return Halves{Method::short_number(halves.low), Method::short_number(halves.high)};
        }
    }
    template <class W> [[gnu::always_inline]] static W finish(const auto &started, W x) {
        W r;
        if constexpr (sizeof(ElementOf<W>) == 8)
            r = started.logarithm() * Method::factor;
        else
            r = narrowed({ShortLogarithm1p(started.low).sum() * Method::factor,
                          ShortLogarithm1p(started.high).sum() * Method::factor});
        return Method::odd ? with_sign(r, sign_of(x)) : r;
    }
    template <class W> static W value(W x) { return finish(start(x), x); }

    template <class T> [[gnu::noinline, gnu::cold]] static Status eval(T x, T &r) noexcept {
        return Element::eval(x, r);
    }
};

namespace inverse_hyperbolic {

// From here on squares would be too large, or there are no numbers.
template <class T> inline constexpr T largest = std::numeric_limits<T>::infinity();
template <> inline constexpr double largest<double> = 0x1p500;

struct OfSine {
    static constexpr double from = 0, factor = 1;
    static constexpr bool odd = true;
    template <class T> static constexpr T to = largest<T>;

    [[gnu::always_inline]] static Parts number(V a) {
        const RoundedSquare square(a);
        const V larger_part = larger(square.leading, broadcast<V>(1));
        const V smaller_part = smaller(square.leading, broadcast<V>(1));
        const ExactSum sum(larger_part, smaller_part);
        const V root = square_root(sum.sum);
        const ExactSum number(root, a);
        return {number.sum, number.lost, root_correction(sum.sum, sum.lost + square.rest, root)};
    }
    [[gnu::always_inline]] static V short_number(V a) {
        const V square = a * a;
        return a + square / (1 + square_root(1 + square));
    }
};

struct OfCosine {
    static constexpr double from = 1, factor = 1;
    static constexpr bool odd = false;
    template <class T> static constexpr T to = largest<T>;

    [[gnu::always_inline]] static Parts number(V x) {
        const V t = x - 1;
        const RoundedSquare square(t);
        const V twice = t + t;
        const ExactSum sum(larger(square.leading, twice), smaller(square.leading, twice));
        const V root = square_root(sum.sum);
        const ExactSum number(x, root);
        return {number.sum, number.lost, root_correction(sum.sum, sum.lost + square.rest, root)};
    }
    [[gnu::always_inline]] static V short_number(V x) {
        const V t = x - 1;
        return t + square_root(t * (t + 2));
    }
};

struct OfTangent {
    static constexpr double from = 0, factor = 0.5;
    static constexpr bool odd = true;
    template <class T> static constexpr T to = 1;

    [[gnu::always_inline]] static Parts number(V a) {
        const ExactSum distance(broadcast<V>(1), -a);
        const angle_lanes::PartialQuotient by(a + a, distance.sum);
        const V sum = 1 + by.q, part = sum - by.q;
        return {sum, (1 - part) + (by.q - (sum - part)), (by.left - by.q * distance.lost) * by.inverse};
    }
    [[gnu::always_inline]] static V short_number(V a) { return (a + a) / (1 - a); }
};

} // namespace inverse_hyperbolic

using AsinhLanes = InverseHyperbolicLanes<Asinh, inverse_hyperbolic::OfSine>;
using AcoshLanes = InverseHyperbolicLanes<Acosh, inverse_hyperbolic::OfCosine>;
using AtanhLanes = InverseHyperbolicLanes<Atanh, inverse_hyperbolic::OfTangent>;

} // namespace qor::fyn
