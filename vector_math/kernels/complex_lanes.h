// Products, quotients and moduli of complex numbers in lanes.
//
// Lanes: sums of two products, a b + c d, with the rounding errors of the products and of their sum kept
// (T. J. Dekker, Numer. Math. 18, 1971; D. E. Knuth, The Art of Computer Programming 2, 4.2.2), as a leading
// part and the rest, so that cancellation loses nothing; quotient and root take one Newton step with the
// exact residue. Each component has half a unit of its last place of error and a little. In single precision
// the products are exact in double, and double precision is all that is needed.
//
// Special: components not in [2^-200, 2^200) or zero; in single precision those of which a result may leave
// the range; zero divisors, infinities, NaNs. They go to complex_arithmetic.h.
#pragma once

#include "vector_math/frame/complex_shapes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/complex_arithmetic.h"
#include "vector_math/kernels/lane_bits.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn::complex_ops {

using DoubleLanes = Lanes<double>;
using DoublePair = ComplexLanes<DoubleLanes>;

// a + b, where b = 0 leaves the sign of a zero a.
inline DoubleLanes corrected(DoubleLanes a, DoubleLanes b) {
    return a + with_sign(b, sign_of(from_bits<DoubleLanes>(b == DoubleLanes{})));
}

// Working precision of the lanes: the exact one of double-precision functions...
struct ExactLanes {
    // A number and its halves, of 26 bits each.
    struct Factor {
        DoubleLanes x, hi, lo;
        Factor(DoubleLanes value) : x(value) {
            const DoubleLanes c = x * (0x1p27 + 1);
            hi = c - (c - x);
            lo = x - hi;
        }
        Factor operator-() const { return {-x, -hi, -lo}; }

      private:
        Factor(DoubleLanes a, DoubleLanes b, DoubleLanes c) : x(a), hi(b), lo(c) {}
    };
    struct Sum {
        DoubleLanes hi, lo;
    };
    static Sum product(const Factor &a, const Factor &b) {
        const DoubleLanes p = a.x * b.x;
        return {p, ((a.hi * b.hi - p) + a.hi * b.lo + a.lo * b.hi) + a.lo * b.lo};
    }
    static Sum sum_of_products(const Factor &a, const Factor &b, const Factor &c, const Factor &d) {
        const Sum p = product(a, b), q = product(c, d);
        const DoubleLanes sum = p.hi + q.hi, part = sum - p.hi;
        const DoubleLanes rest = ((p.hi - (sum - part)) + (q.hi - part)) + (p.lo + q.lo);
        const DoubleLanes hi = corrected(sum, rest);
        return {hi, rest - (hi - sum)};
    }
    static DoubleLanes rounded(Sum a) { return a.hi; }
    static DoubleLanes quotient(Sum a, Sum b) {
        const DoubleLanes first = a.hi / b.hi;
        const Sum back = product(first, b.hi);
        return corrected(first, (((a.hi - back.hi) - back.lo) + (a.lo - first * b.lo)) / b.hi);
    }
    static DoubleLanes root(Sum a) {
        const DoubleLanes first = std::bit_cast<DoubleLanes>(_mm_sqrt_pd(std::bit_cast<__m128d>(a.hi)));
        const Sum back = product(first, first);
        const DoubleLanes twice =
            larger(first + first, broadcast<DoubleLanes>(std::numeric_limits<double>::min()));
        return first + (((a.hi - back.hi) - back.lo) + a.lo) / twice;
    }
};

// ... and the plain one of single-precision functions.
struct PlainLanes {
    using Factor = DoubleLanes;
    using Sum = DoubleLanes;
    static Sum sum_of_products(Factor a, Factor b, Factor c, Factor d) { return a * b + c * d; }
    static DoubleLanes rounded(Sum a) { return a; }
    static DoubleLanes quotient(Sum a, Sum b) { return a / b; }
    static DoubleLanes root(Sum a) {
        return std::bit_cast<DoubleLanes>(_mm_sqrt_pd(std::bit_cast<__m128d>(a)));
    }
};

// Lower and upper lanes in double precision.
inline DoublePair lower_half(ComplexLanes<Lanes<float>> x) {
    return {fyn::widened(x.re).low, fyn::widened(x.im).low};
}
inline DoublePair upper_half(ComplexLanes<Lanes<float>> x) {
    return {fyn::widened(x.re).high, fyn::widened(x.im).high};
}
inline Lanes<float> joined(DoubleLanes low, DoubleLanes high) { return fyn::narrowed({low, high}); }
inline ComplexLanes<Lanes<float>> joined(DoublePair low, DoublePair high) {
    return {fyn::narrowed({low.re, high.re}), fyn::narrowed({low.im, high.im})};
}

// A rule in working lanes over lanes of either type.
template <class Rule, class... Pairs> auto in_lanes(ComplexLanes<DoubleLanes> x, Pairs... rest) {
    return Rule::template value<ExactLanes>(x, rest...);
}
template <class Rule, class... Pairs> auto in_lanes(ComplexLanes<Lanes<float>> x, Pairs... rest) {
    return joined(Rule::template value<PlainLanes>(lower_half(x), lower_half(rest)...),
                  Rule::template value<PlainLanes>(upper_half(x), upper_half(rest)...));
}

// Components neither in [from, to) nor zero.
template <class V> IntegersOf<V> beyond(ComplexLanes<V> x, ElementOf<V> from, ElementOf<V> to) {
    const auto one = [=](V v) {
        return outside_window(v, top_word(from), top_word(to), std::numeric_limits<std::int32_t>::max()) &
               (v != V{});
    };
    return one(x.re) | one(x.im);
}
template <class V> IntegersOf<V> immoderate(ComplexLanes<V> x) {
    using T = ElementOf<V>;
    if constexpr (sizeof(T) == 8)
        return beyond<V>(x, T(0x1p-200), T(0x1p200));
    else
        return outside_window(x.re, 0, top_word(T(0x1p60)), std::numeric_limits<std::int32_t>::max()) |
               outside_window(x.im, 0, top_word(T(0x1p60)), std::numeric_limits<std::int32_t>::max());
}

struct ComplexLaneFunction {
    static constexpr int pass = 4;
    static constexpr float padding = 1;
};

template <bool conjugate> struct ProductLanes : ComplexLaneFunction {
    template <class V> static IntegersOf<V> special(ComplexLanes<V> x, ComplexLanes<V> y) {
        return immoderate(x) | immoderate(y);
    }
    template <class Working> static DoublePair value(DoublePair x, DoublePair y) {
        using Factor = typename Working::Factor;
        const Factor a = x.re, b = x.im, c = y.re, d = conjugate ? -y.im : y.im;
        return {Working::rounded(Working::sum_of_products(a, c, -b, d)),
                Working::rounded(Working::sum_of_products(a, d, b, c))};
    }
    template <class V> static ComplexLanes<V> value(ComplexLanes<V> x, ComplexLanes<V> y) {
        return in_lanes<ProductLanes>(x, y);
    }
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        if constexpr (conjugate)
            return MulByConj::eval(x, y, r);
        else
            return Mul::eval(x, y, r);
    }
};
using MulLanes = ProductLanes<false>;
using MulByConjLanes = ProductLanes<true>;

struct DivLanes : ComplexLaneFunction {
    // Zero divisors beside the range. In single precision a tiny divisor may make the quotient too large.
    template <class V> static IntegersOf<V> special(ComplexLanes<V> x, ComplexLanes<V> y) {
        const auto zero = (y.re == V{}) & (y.im == V{});
        if constexpr (sizeof(ElementOf<V>) == 8)
            return immoderate(x) | immoderate(y) | zero;
        else
            return immoderate(x) | beyond<V>(y, 0x1p-60f, 0x1p60f) | zero;
    }
    template <class Working> static DoublePair value(DoublePair x, DoublePair y) {
        using Factor = typename Working::Factor;
        const Factor a = x.re, b = x.im, c = y.re, d = y.im;
        const auto square = Working::sum_of_products(c, c, d, d);
        return {Working::quotient(Working::sum_of_products(a, c, b, d), square),
                Working::quotient(Working::sum_of_products(b, c, -a, d), square)};
    }
    template <class V> static ComplexLanes<V> value(ComplexLanes<V> x, ComplexLanes<V> y) {
        return in_lanes<DivLanes>(x, y);
    }
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        return Div::eval(x, y, r);
    }
};

struct AbsLanes : ComplexLaneFunction {
    template <class V> static IntegersOf<V> special(ComplexLanes<V> x) { return immoderate(x); }
    template <class Working> static DoubleLanes value(DoublePair x) {
        const typename Working::Factor a = x.re, b = x.im;
        return Working::root(Working::sum_of_products(a, a, b, b));
    }
    template <class V> static V value(ComplexLanes<V> x) { return in_lanes<AbsLanes>(x); }
    template <class T> static Status eval(Complex<T> x, T &r) noexcept { return Abs::eval(x, r); }
};

} // namespace qor::fyn::complex_ops
