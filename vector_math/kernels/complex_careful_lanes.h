// Products and quotients of double-precision complex numbers whose parts may lie far from each other, or
// cancel: for the elements that complex_lanes.h is not sure of.
//
// Sums of two products, a b + c d, with the rounding errors of the products and of their sum kept
// (T. J. Dekker, Numer. Math. 18, 1971; D. E. Knuth, The Art of Computer Programming 2, 4.2.2), as a leading
// part and the rest, so that cancellation loses nothing; quotients take one Newton step with the exact
// residue. Each component has half a unit of its last place of error and a little.
//
// A component that is zero leaves plain products, or quotients where it is the divisor's.
//
// Special: components neither in [2^-200, 2^200) nor zero, zero divisors.
#pragma once

#include "vector_math/frame/complex_shapes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/lane_bits.h"

#include <cstdint>
#include <limits>

namespace qor::fyn::complex_ops {

using DoubleLanes = Lanes<double>;
using DoublePair = ComplexLanes<DoubleLanes>;

// a + b, where b = 0 leaves the sign of a zero a.
inline DoubleLanes corrected(DoubleLanes a, DoubleLanes b) {
    return a + with_sign(b, sign_of(from_bits<DoubleLanes>(b == DoubleLanes{})));
}

struct ExactSum {
    DoubleLanes hi, lo;
};

// A number and its halves, of 26 bits each.
struct ExactFactor {
    DoubleLanes x, hi, lo;
    ExactFactor(DoubleLanes value) : x(value) {
        const DoubleLanes c = x * (0x1p27 + 1);
        hi = c - (c - x);
        lo = x - hi;
    }
    ExactFactor operator-() const { return {-x, -hi, -lo}; }

  private:
    ExactFactor(DoubleLanes a, DoubleLanes b, DoubleLanes c) : x(a), hi(b), lo(c) {}
};

inline ExactSum exact_product(const ExactFactor &a, const ExactFactor &b) {
    const DoubleLanes p = a.x * b.x;
    return {p, ((a.hi * b.hi - p) + a.hi * b.lo + a.lo * b.hi) + a.lo * b.lo};
}

inline ExactSum sum_of_products(const ExactFactor &a, const ExactFactor &b, const ExactFactor &c,
                                const ExactFactor &d) {
    const ExactSum p = exact_product(a, b), q = exact_product(c, d);
    const DoubleLanes sum = p.hi + q.hi, part = sum - p.hi;
    const DoubleLanes rest = ((p.hi - (sum - part)) + (q.hi - part)) + (p.lo + q.lo);
    const DoubleLanes hi = corrected(sum, rest);
    return {hi, rest - (hi - sum)};
}

inline DoubleLanes quotient(ExactSum a, ExactSum b) {
    const DoubleLanes first = a.hi / b.hi;
    const ExactSum back = exact_product(first, b.hi);
    return corrected(first, (((a.hi - back.hi) - back.lo) + (a.lo - first * b.lo)) / b.hi);
}

// Components neither in [2^-200, 2^200) nor zero.
inline IntegersOf<DoubleLanes> immoderate(DoublePair x) {
    const auto one = [](DoubleLanes v) {
        return outside_window(v, top_word(0x1p-200), top_word(0x1p200),
                              std::numeric_limits<std::int32_t>::max()) &
               (v != DoubleLanes{});
    };
    return one(x.re) | one(x.im);
}

inline IntegersOf<DoubleLanes> either_zero(DoublePair x) {
    return (x.re == DoubleLanes{}) | (x.im == DoubleLanes{});
}

template <bool conjugate> struct CarefulProduct {
    // A zero leaves one product to each part.
    static DoublePair value_with_zeros(DoublePair x, DoublePair y, IntegersOf<DoubleLanes> &good) {
        good = either_zero(x) | either_zero(y);
        const DoubleLanes d = conjugate ? -y.im : y.im;
        return {x.re * y.re - x.im * d, x.re * d + x.im * y.re};
    }
    static IntegersOf<DoubleLanes> special(DoublePair x, DoublePair y) {
        return immoderate(x) | immoderate(y);
    }
    static DoublePair value(DoublePair x, DoublePair y) {
        const ExactFactor a = x.re, b = x.im, c = y.re, d = conjugate ? -y.im : y.im;
        return {sum_of_products(a, c, -b, d).hi, sum_of_products(a, d, b, c).hi};
    }
};

struct CarefulQuotient {
    // Divisors on the axes. Signs, of zeros too, come from the products.
    static DoublePair value_with_zeros(DoublePair x, DoublePair y, IntegersOf<DoubleLanes> &good) {
        good = either_zero(y);
        const DoubleLanes d = magnitude(y.re) + magnitude(y.im);
        const IntegersOf<DoubleLanes> real = y.im == DoubleLanes{};
        const auto divided = [=](DoubleLanes over_re, DoubleLanes over_im, DoubleLanes signs) {
            return with_sign(magnitude(chosen(real, over_re, over_im)) / d, sign_of(signs));
        };
        return {divided(x.re, x.im, x.re * y.re + x.im * y.im),
                divided(x.im, x.re, x.im * y.re - x.re * y.im)};
    }
    static IntegersOf<DoubleLanes> special(DoublePair x, DoublePair y) {
        return immoderate(x) | immoderate(y) | ((y.re == DoubleLanes{}) & (y.im == DoubleLanes{}));
    }
    static DoublePair value(DoublePair x, DoublePair y) {
        const ExactFactor a = x.re, b = x.im, c = y.re, d = y.im;
        const ExactSum square = sum_of_products(c, c, d, d);
        return {quotient(sum_of_products(a, c, b, d), square),
                quotient(sum_of_products(b, c, -a, d), square)};
    }
};

} // namespace qor::fyn::complex_ops
