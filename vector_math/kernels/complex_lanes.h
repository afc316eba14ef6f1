// Products, quotients and moduli of complex numbers in lanes.
//
// Double precision: both components of a factor are split on one grid, 2^-25 of the power of two below the
// larger. Products of two leading parts are multiples of one unit and less than 2^52 of it, so that their
// sums are exact; the other terms are small, and plain arithmetic has them to 2^-75 of the product of the two
// powers of two. Parts that cancel to less than 2^-18 of that (quotients: 2^-16), zeros among them, are not
// sure: complex_careful_lanes.h. Of a quotient 26 bits come first; the residue is exact or nearly so.
// Moduli are those of hypotenuse_lanes.h.
// Single precision: the products are exact in double precision, which is all that is needed.
//
// Special: factors whose larger component is not in [2^-200, 2^200), zeros too; in single precision those of
// which a result may leave the range, zero divisors. Infinities and NaNs. They go to complex_arithmetic.h.
//
// Largest errors of a part measured by tools/measure_functions.cpp: products 0.507, quotients 0.501 ulp (the
// grid allows 0.545 where parts cancel most), moduli 0.500; in single precision 0.500.
#pragma once

#include "vector_math/frame/complex_shapes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/complex_arithmetic.h"
#include "vector_math/kernels/complex_careful_lanes.h"
#include "vector_math/kernels/hypotenuse_lanes.h"
#include "vector_math/kernels/lane_bits.h"

#include <bit>
#include <cstdint>
#include <limits>

namespace qor::fyn::complex_ops {

// The power of two of the larger component, as a number; below the normal range 0, of an infinity or NaN
// infinity.
template <class V> V power_below(ComplexLanes<V> x) {
    const IntegersOf<V> exponent = bits_of(broadcast<V>(std::numeric_limits<ElementOf<V>>::infinity()));
    // The exponent is in the top 16 bits.
    return std::bit_cast<V>(_mm_max_epi16(std::bit_cast<__m128i>(bits_of(x.re) & exponent),
                                          std::bit_cast<__m128i>(bits_of(x.im) & exponent)));
}

// A power of two times a constant from 2^-600 to 2^600, by its bits.
inline DoubleLanes times(DoubleLanes power, double factor) {
    const std::int64_t bits = std::bit_cast<std::int64_t>(factor) - std::bit_cast<std::int64_t>(1.0);
    return from_bits<DoubleLanes>(wrapping_sum(bits_of(power), IntegersOf<DoubleLanes>{} + bits));
}

// A number of two components, split on their common grid.
struct SplitPair {
    struct Part {
        DoubleLanes whole, hi, lo;
        Part(DoubleLanes x, DoubleLanes shifter) : whole(x), hi((x + shifter) - shifter), lo(x - hi) {}
    };
    DoubleLanes power;
    Part re, im;
    explicit SplitPair(DoublePair x) : SplitPair(x, power_below(x)) {}

  private:
    SplitPair(DoublePair x, DoubleLanes power_of_x)
        : power(power_of_x), re(x.re, times(power, 0x1.8p27)), im(x.im, times(power, 0x1.8p27)) {}
};

// hi exact, lo the rest of it.
struct GridSum {
    DoubleLanes hi, lo;
    DoubleLanes rounded() const { return hi + lo; }
};
inline GridSum operator*(const SplitPair::Part &a, const SplitPair::Part &b) {
    return {a.hi * b.hi, a.hi * b.lo + a.lo * b.whole};
}
inline GridSum square(const SplitPair::Part &a) { return {a.hi * a.hi, a.lo * (a.hi + a.whole)}; }
inline GridSum operator+(GridSum a, GridSum b) { return {a.hi + b.hi, a.lo + b.lo}; }
inline GridSum operator-(GridSum a, GridSum b) { return {a.hi - b.hi, a.lo - b.lo}; }

// Either component less than 2^-bits of the two powers.
template <int bits> IntegersOf<DoubleLanes> too_small(DoublePair r, const SplitPair &x, const SplitPair &y) {
    const DoubleLanes least = smaller(magnitude(r.re), magnitude(r.im));
    return least < x.power * times(y.power, power_of_two(-bits));
}

// Products and quotients in double precision, from halves of single-precision numbers.
template <class F>
[[gnu::always_inline]] inline ComplexLanes<Lanes<float>>
pairs_through_double(const F &f, ComplexLanes<Lanes<float>> x, ComplexLanes<Lanes<float>> y) {
    const Halves a = fyn::widened(x.re), b = fyn::widened(x.im);
    const Halves c = fyn::widened(y.re), d = fyn::widened(y.im);
    const DoublePair low = f(DoublePair{a.low, b.low}, DoublePair{c.low, d.low});
    const DoublePair high = f(DoublePair{a.high, b.high}, DoublePair{c.high, d.high});
    return {fyn::narrowed({low.re, high.re}), fyn::narrowed({low.im, high.im})};
}

// Numbers whose larger component is not in [2^from, 2^to); from 0 stands for no lower end.
template <int from, int to, class V> IntegersOf<V> outside_powers(ComplexLanes<V> x) {
    using T = ElementOf<V>;
    constexpr auto word = [](int e) { return top_word(static_cast<T>(power_of_two(e))); };
    constexpr std::int32_t first = from == 0 ? 0 : word(from);
    return outside_short_window<first, word(to)>(power_below(x));
}

template <bool conjugate> struct ProductLanes {
    static constexpr int pass = 2;
    static constexpr float padding = 1;
    using Careful = CarefulProduct<conjugate>;

    template <class V> static IntegersOf<V> special(ComplexLanes<V> x, ComplexLanes<V> y) {
        if constexpr (sizeof(ElementOf<V>) == 8)
            return outside_powers<-200, 200>(x) | outside_powers<-200, 200>(y);
        else
            return outside_powers<0, 60>(x) | outside_powers<0, 60>(y);
    }
    [[gnu::always_inline]] static DoublePair value(DoublePair x, DoublePair y,
                                                   IntegersOf<DoubleLanes> &unsure) {
        const SplitPair u(x), v(y);
        const auto ac = u.re * v.re, bd = u.im * v.im, bc = u.im * v.re, ad = u.re * v.im;
        const GridSum re = conjugate ? ac + bd : ac - bd, im = conjugate ? bc - ad : bc + ad;
        const DoublePair r{re.rounded(), im.rounded()};
        unsure = too_small<18>(r, u, v);
        return r;
    }
    static ComplexLanes<Lanes<float>> value(ComplexLanes<Lanes<float>> x, ComplexLanes<Lanes<float>> y) {
        return pairs_through_double(
            [](DoublePair u, DoublePair v) {
                const DoubleLanes ac = u.re * v.re, bd = u.im * v.im, bc = u.im * v.re, ad = u.re * v.im;
                return conjugate ? DoublePair{ac + bd, bc - ad} : DoublePair{ac - bd, ad + bc};
            },
            x, y);
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

struct DivLanes {
    static constexpr int pass = 2;
    static constexpr float padding = 1;
    using Careful = CarefulQuotient;

    // In single precision a tiny divisor may make the quotient too large.
    template <class V> static IntegersOf<V> special(ComplexLanes<V> x, ComplexLanes<V> y) {
        if constexpr (sizeof(ElementOf<V>) == 8)
            return outside_powers<-200, 200>(x) | outside_powers<-200, 200>(y);
        else
            return outside_powers<0, 60>(x) | outside_powers<-60, 60>(y);
    }
    [[gnu::always_inline]] static DoublePair value(DoublePair x, DoublePair y,
                                                   IntegersOf<DoubleLanes> &unsure) {
        const SplitPair u(x), v(y);
        const GridSum re = u.re * v.re + u.im * v.im, im = u.im * v.re - u.re * v.im;
        const GridSum norm = square(v.re) + square(v.im);
        const DoubleLanes reciprocal = 1.0 / norm.rounded();
        const DoubleLanes norm_hi = shortened<27>(norm.hi), norm_lo = (norm.hi - norm_hi) + norm.lo;
        const DoublePair r{re.rounded(), im.rounded()};
        unsure = too_small<16>(r, u, v);
        const auto divided = [&](GridSum a, DoubleLanes all) {
            const DoubleLanes first = shortened<27>(all * reciprocal);
            return first + ((a.hi - first * norm_hi) + (a.lo - first * norm_lo)) * reciprocal;
        };
        return {divided(re, r.re), divided(im, r.im)};
    }
    static ComplexLanes<Lanes<float>> value(ComplexLanes<Lanes<float>> x, ComplexLanes<Lanes<float>> y) {
        return pairs_through_double(
            [](DoublePair u, DoublePair v) {
                const DoubleLanes reciprocal = 1.0 / (v.re * v.re + v.im * v.im);
                return DoublePair{(u.re * v.re + u.im * v.im) * reciprocal,
                                  (u.im * v.re - u.re * v.im) * reciprocal};
            },
            x, y);
    }
    template <class T> static Status eval(Complex<T> x, Complex<T> y, Complex<T> &r) noexcept {
        return Div::eval(x, y, r);
    }
};

struct AbsLanes {
    static constexpr int pass = 8;
    static constexpr float padding = 1;
    template <class V> static IntegersOf<V> special(ComplexLanes<V> x) {
        return HypotLanes::special(x.re, x.im);
    }
    template <class V> static V value(ComplexLanes<V> x) { return HypotLanes::value(x.re, x.im); }
    template <class T> static Status eval(Complex<T> x, T &r) noexcept { return Abs::eval(x, r); }
};

} // namespace qor::fyn::complex_ops
