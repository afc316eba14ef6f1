// The frames of complex lane functions, which stand in for those of shapes.h:
//
//   struct F {
//       static constexpr int pass;                                  // that it is a lane function
//       static constexpr double padding = 1;                        // both components of idle lanes
//       template <class V> static IntegersOf<V> special(ComplexLanes<V> x[, ComplexLanes<V> y]);
//       template <class V> static ComplexLanes<V> value(...);       // or V, where results are real
//       template <class T> static Status eval(Complex<T> x[, Complex<T> y], Complex<T> &r);
//   };
//
// Real and imaginary parts stand in lanes of their own. Elements are loaded one by one, so contiguous and
// strided vectors, full passes and tails take the same way.
#pragma once

#include "vector_math/frame/shapes.h"

namespace qor::fyn {

template <class V> struct ComplexLanes { V re, im; };

// The elements at p, p + increment, ...
inline ComplexLanes<Lanes<double>> load_complex(const Complex<double> *p, std::ptrdiff_t increment) {
    const auto at = [=](std::ptrdiff_t k) { return _mm_loadu_pd(&(p + increment * k)->re); };
    const auto a = at(0), b = at(1);
    return {std::bit_cast<Lanes<double>>(_mm_unpacklo_pd(a, b)),
            std::bit_cast<Lanes<double>>(_mm_unpackhi_pd(a, b))};
}
inline ComplexLanes<Lanes<float>> load_complex(const Complex<float> *p, std::ptrdiff_t increment) {
    const auto at = [=](std::ptrdiff_t k) {
        double both;
        std::memcpy(&both, p + increment * k, sizeof both);
        return both;
    };
    const auto a = std::bit_cast<__m128>(_mm_set_pd(at(1), at(0)));
    const auto b = std::bit_cast<__m128>(_mm_set_pd(at(3), at(2)));
    return {std::bit_cast<Lanes<float>>(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
            std::bit_cast<Lanes<float>>(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)))};
}

template <class V, class T> void store_element(ComplexLanes<V> v, int k, Complex<T> &r) {
    r = {v.re[k], v.im[k]};
}
template <class V, class T> void store_element(V v, int k, T &r) { r = v[k]; }

template <class F, Name name, class T, class R> struct ComplexLoop {
    using V = Lanes<T>;
    using Pair = ComplexLanes<V>;
    static constexpr int lanes = lane_count<V>;
    static constexpr bool two = requires(Pair x) { F::special(x, x); };

    static auto special(Pair x, Pair y) {
        if constexpr (two)
            return F::special(x, y);
        else
            return F::special(x);
    }
    static auto value(Pair x, Pair y) {
        if constexpr (two)
            return F::value(x, y);
        else
            return F::value(x);
    }

    [[gnu::noinline, gnu::cold]] static void settle(unsigned which, std::int32_t i, const Complex<T> *a,
                                                    Pair x, Pair y, Vector<R, true> r) {
        for (int k = 0; k < lanes; ++k) {
            if ((which >> k & 1) == 0)
                continue;
            const Complex<T> u{x.re[k], x.im[k]}, v{y.re[k], y.im[k]};
            R &result = *r.at(i + k);
            Status status;
            if constexpr (two)
                status = F::eval(u, v, result);
            else
                status = F::eval(u, result);
            if (status != status_ok)
                report_values(status, i + k, a, u, v, &result, &result, name.text);
        }
    }

    // `count` elements from i on, which stand at x and y.
    [[gnu::always_inline]] static void one_pass(std::int32_t i, int count, const Complex<T> *a, Pair x,
                                                Pair y, Vector<R, true> r) {
        const unsigned which = mask_of(special(x, y)) & ((1u << count) - 1);
        const auto result = value(x, y);
        for (int k = 0; k < count; ++k)
            store_element(result, k, *r.at(i + k));
        if (which != 0) [[unlikely]]
            settle(which, i, a, x, y, r);
    }

    [[gnu::noinline]] static void loop(std::int32_t n, Vector<const Complex<T>, true> a,
                                       Vector<const Complex<T>, true> b, Vector<R, true> r) {
        std::int32_t i = 0;
        for (; n - i >= lanes; i += lanes) {
            const Pair x = load_complex(a.at(i), a.increment);
            one_pass(i, lanes, a.start, x, two ? load_complex(b.at(i), b.increment) : x, r);
        }
        if (i == n)
            return;
        constexpr auto room = static_cast<std::size_t>(lanes);
        Complex<T> x[room], y[room];
        std::fill_n(x, lanes, Complex<T>{T(F::padding), T(F::padding)});
        std::fill_n(y, lanes, Complex<T>{T(F::padding), T(F::padding)});
        for (int k = 0; k < n - i; ++k) {
            x[k] = *a.at(i + k);
            y[k] = two ? *b.at(i + k) : x[k];
        }
        one_pass(i, n - i, a.start, load_complex(x, 1), load_complex(y, 1), r);
    }

    static void run(std::int32_t n, Vector<const Complex<T>, true> a, Vector<const Complex<T>, true> b,
                    Vector<R, true> r) {
        if (n > 0)
            run_guarded<F, Complex<T>>(&loop, n, a, b, r);
    }
};

template <class F, Name name, class T, class R>
requires LaneFunction<F>
struct OneInOneOut<F, name, Complex<T>, R> {
    static void contiguous(std::int32_t n, const Complex<T> *a, R *r) { strided(n, a, 1, r, 1); }
    static void strided(std::int32_t n, const Complex<T> *a, std::int32_t inca, R *r, std::int32_t incr) {
        ComplexLoop<F, name, T, R>::run(n, {a, inca}, {a, inca}, {r, incr});
    }
};

template <class F, Name name, class T>
requires LaneFunction<F>
struct TwoInOneOut<F, name, Complex<T>> {
    using Element = Complex<T>;
    static void contiguous(std::int32_t n, const Element *a, const Element *b, Element *r) {
        strided(n, a, 1, b, 1, r, 1);
    }
    static void strided(std::int32_t n, const Element *a, std::int32_t inca, const Element *b,
                        std::int32_t incb, Element *r, std::int32_t incr) {
        ComplexLoop<F, name, T, Element>::run(n, {a, inca}, {b, incb}, {r, incr});
    }
};

} // namespace qor::fyn
