// The frames of complex lane functions, which stand in for those of shapes.h:
//
//   struct F {
//       static constexpr int pass;                                  // elements a pass, or one register
//       static constexpr double padding = 1;                        // both components of idle lanes
//       template <class V> static IntegersOf<V> special(ComplexLanes<V> x[, ComplexLanes<V> y]);
//       template <class V> static ComplexLanes<V> value(...);       // or V, where results are real
//       template <class T> static Status eval(Complex<T> x[, Complex<T> y], Complex<T> &r);
//   };
//
// Real and imaginary parts stand in lanes of their own; value sees padding in the place of special elements.
//
// A value(x, y, IntegersOf<V> &unsure) marks lanes, all of their bits, whose result is not good. Those and
// the special lanes go through F::Careful, and those special there to eval:
//       static ComplexLanes<V> value_with_zeros(ComplexLanes<V> x, ComplexLanes<V> y, IntegersOf<V> &good);
//       static IntegersOf<V> special(ComplexLanes<V> x, ComplexLanes<V> y);
//       static ComplexLanes<V> value(ComplexLanes<V> x, ComplexLanes<V> y);
#pragma once

#include "vector_math/frame/shapes.h"
#include "vector_math/kernels/argument_window.h"
#include "vector_math/kernels/lane_bits.h"

namespace qor::fyn {

template <class V> struct ComplexLanes { V re, im; };

// The elements from p on, `increment` apart.
template <class Increment>
ComplexLanes<Lanes<double>> load_complex(const Complex<double> *p, Increment increment) {
    const auto a = _mm_loadu_pd(&p->re), b = _mm_loadu_pd(&(p + increment)->re);
    return {_mm_unpacklo_pd(a, b), _mm_unpackhi_pd(a, b)};
}
template <class Increment>
ComplexLanes<Lanes<float>> load_complex(const Complex<float> *p, Increment increment) {
    const auto two_from = [=](std::ptrdiff_t k) {
        double both[2];
        std::memcpy(both, p + increment * k, sizeof both[0]);
        std::memcpy(both + 1, p + increment * (k + 1), sizeof both[1]);
        return std::bit_cast<__m128>(both);
    };
    const auto a = two_from(0), b = two_from(2);
    return {_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)), _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))};
}

template <class V, class T> void store_element(ComplexLanes<V> v, int k, Complex<T> &r) {
    r = {v.re[k], v.im[k]};
}
template <class V, class T> void store_element(V v, int k, T &r) { r = v[k]; }

// Lanes of a where the mask is set, of b elsewhere.
template <class V> V chosen(IntegersOf<V> mask, V a, V b) {
    return with_sign(where(mask, a), bits_of(where_not(from_bits<V>(mask), b)));
}
template <class V> ComplexLanes<V> chosen(IntegersOf<V> mask, ComplexLanes<V> a, ComplexLanes<V> b) {
    return {chosen(mask, a.re, b.re), chosen(mask, a.im, b.im)};
}

template <class F, Name name, class T, class R> struct ComplexLoop {
    using V = Lanes<T>;
    using Mask = IntegersOf<V>;
    using Pair = ComplexLanes<V>;
    template <bool strided> using Arguments = Vector<const Complex<T>, strided>;
    template <bool strided> using Results = Vector<R, strided>;
    static constexpr int lanes = lane_count<V>, pass = std::max(F::pass, lanes);
    static constexpr bool two = requires(Pair x) { F::special(x, x); };

    template <class Rule> static Mask special(Pair x, Pair y) {
        if constexpr (two)
            return Rule::special(x, y);
        else
            return Rule::special(x);
    }
    static constexpr bool may_be_unsure = requires(Pair x, Mask &unsure) { F::value(x, x, unsure); };
    static auto value(Pair x, Pair y, Mask &unsure) {
        if constexpr (may_be_unsure)
            return F::value(x, y, unsure);
        else if constexpr (two)
            return F::value(x, y);
        else
            return F::value(x);
    }

    template <bool strided> static Pair load(Arguments<strided> v, std::int32_t i) {
        if constexpr (strided)
            return load_complex(v.at(i), std::ptrdiff_t{v.increment});
        else
            return load_complex(v.at(i), std::integral_constant<std::ptrdiff_t, 1>{});
    }
    template <bool strided> static Pair load_second(Arguments<strided> b, std::int32_t i, Pair x) {
        return two ? load(b, i) : x;
    }

    // Gives results to lanes in `left` that have zeros; returns the others.
    [[gnu::always_inline]] static Mask mended(Pair x, Pair y, Mask left, Pair &result) {
        Mask with_zeros;
        const Pair simple = F::Careful::value_with_zeros(x, y, with_zeros);
        result = chosen(left & with_zeros, simple, result);
        return left & ~with_zeros;
    }

    // The results of a pass, if none of its elements is special or not sure.
    template <bool strided>
    [[gnu::always_inline]] static bool ordinary_pass(std::int32_t i, Arguments<strided> a,
                                                     Arguments<strided> b, Results<strided> r) {
        constexpr std::size_t registers = pass / lanes;
        Pair x[registers], y[registers];
        Mask refused{};
        for (std::size_t k = 0; k < registers; ++k) {
            const std::int32_t at = i + static_cast<int>(k) * lanes;
            x[k] = load(a, at);
            y[k] = load_second(b, at, x[k]);
            refused |= special<F>(x[k], y[k]);
        }
        if (mask_of(refused) != 0) [[unlikely]]
            return false;
        decltype(value(x[0], y[0], refused)) result[registers];
        Mask unsure[registers]{};
        for (std::size_t k = 0; k < registers; ++k) {
            result[k] = value(x[k], y[k], unsure[k]);
            refused |= unsure[k];
        }
        if constexpr (may_be_unsure) {
            if (mask_of(refused) != 0) [[unlikely]] {
                refused = Mask{};
                for (std::size_t k = 0; k < registers; ++k)
                    refused |= mended(x[k], y[k], unsure[k], result[k]);
                if (mask_of(refused) != 0)
                    return false;
            }
        }
        for (int k = 0; k < pass; ++k)
            store_element(result[k / lanes], k % lanes, *r.at(i + k));
        return true;
    }

    static Pair padded(Mask mask, Pair x) {
        const V padding = broadcast<V>(T(F::padding));
        return chosen(mask, Pair{padding, padding}, x);
    }
    static Mask filled(Mask mask) {
        return whole_lanes(std::bit_cast<Mask>(std::bit_cast<Lanes<std::int32_t>>(mask) >> 31));
    }

    // `count` elements whatever they are, whole registers of arguments from a and b on, as elements i and
    // on of r.
    template <bool strided>
    [[gnu::noinline]] static void any_pass(std::int32_t i, int count, const Complex<T> *start,
                                           Arguments<strided> a, Arguments<strided> b, Vector<R, true> r) {
        for (int k = 0; k < count; k += lanes) {
            const Pair x = load(a, k), y = load_second(b, k, x);
            Mask left = filled(special<F>(x, y)), unsure{};
            auto result = value(padded(left, x), padded(left, y), unsure);
            if constexpr (may_be_unsure) {
                const Mask beyond = left & filled(F::Careful::special(x, y));
                left = mended(padded(beyond, x), padded(beyond, y), left | unsure, result);
                if (mask_of(left & ~beyond) != 0) {
                    const Mask careful = filled(F::Careful::special(x, y));
                    result = chosen(left, F::Careful::value(padded(careful, x), padded(careful, y)), result);
                    left &= careful;
                }
            }
            const int wanted = std::min(lanes, count - k);
            for (int lane = 0; lane < lanes && lane < wanted; ++lane)
                store_element(result, lane, *r.at(i + k + lane));
            const unsigned which = mask_of(left) & ((1u << wanted) - 1);
            for (int lane = 0; which >> lane != 0; ++lane)
                if (which >> lane & 1)
                    settle(i + k + lane, start, {x.re[lane], x.im[lane]}, {y.re[lane], y.im[lane]},
                           *r.at(i + k + lane));
        }
    }

    [[gnu::noinline, gnu::cold]] static void settle(std::int32_t i, const Complex<T> *start, Complex<T> x,
                                                    Complex<T> y, R &result) {
        Status status;
        if constexpr (two)
            status = F::eval(x, y, result);
        else
            status = F::eval(x, result);
        if (status != status_ok)
            report_values(status, i, start, x, y, &result, &result, name.text);
    }

    template <bool strided>
    [[gnu::noinline]] static void loop(std::int32_t n, Arguments<strided> a, Arguments<strided> b,
                                       Results<strided> r) {
        // Nothing is called in the inner loop, so that constants stay in registers.
        std::int32_t i = 0;
        for (;; i += pass) {
            while (n - i >= pass && ordinary_pass(i, a, b, r))
                i += pass;
            if (n - i < pass)
                break;
            any_pass<strided>(i, pass, a.start, {a.at(i), a.increment}, {b.at(i), b.increment},
                              {r.start, r.increment});
        }
        if (i == n)
            return;
        // Idle elements repeat the first one.
        constexpr auto room = static_cast<std::size_t>(pass);
        const int count = n - i;
        Complex<T> x[room], y[room];
        R result[room];
        for (int k = 0; k < pass; ++k) {
            const std::int32_t at = i + (k < count ? k : 0);
            x[k] = *a.at(at);
            y[k] = two ? *b.at(at) : x[k];
        }
        if (ordinary_pass<false>(0, {x, 1}, {y, 1}, {result, 1})) {
            for (int k = 0; k < count; ++k)
                *r.at(i + k) = result[k];
            return;
        }
        any_pass<false>(i, count, a.start, {x, 1}, {y, 1}, {r.start, r.increment});
    }

    template <bool strided>
    static void run(std::int32_t n, Arguments<strided> a, Arguments<strided> b, Results<strided> r) {
        if (n > 0)
            run_guarded<F, Complex<T>>(&loop<strided>, n, a, b, r);
    }
};

template <class F, Name name, class T, class R>
requires LaneFunction<F>
struct OneInOneOut<F, name, Complex<T>, R> {
    using Loop = ComplexLoop<F, name, T, R>;
    static void contiguous(std::int32_t n, const Complex<T> *a, R *r) {
        Loop::template run<false>(n, {a, 1}, {a, 1}, {r, 1});
    }
    static void strided(std::int32_t n, const Complex<T> *a, std::int32_t inca, R *r, std::int32_t incr) {
        Loop::template run<true>(n, {a, inca}, {a, inca}, {r, incr});
    }
};

template <class F, Name name, class T>
requires LaneFunction<F>
struct TwoInOneOut<F, name, Complex<T>> {
    using Element = Complex<T>;
    using Loop = ComplexLoop<F, name, T, Element>;
    static void contiguous(std::int32_t n, const Element *a, const Element *b, Element *r) {
        Loop::template run<false>(n, {a, 1}, {b, 1}, {r, 1});
    }
    static void strided(std::int32_t n, const Element *a, std::int32_t inca, const Element *b,
                        std::int32_t incb, Element *r, std::int32_t incr) {
        Loop::template run<true>(n, {a, inca}, {b, incb}, {r, incr});
    }
};

} // namespace qor::fyn
