// The frames: how a function of one element becomes a kernel over vectors. One frame a shape of
// arguments, for every function, element type and for contiguous and strided vectors.
//
// A frame checks the length, guards the floating-point environment, walks the vectors, stores and
// reports. A report shows the arguments as they were before the element was stored, also in place.
//
// A function comes as an element function (element.h), or as a lane function:
//
//   struct F {
//       static constexpr int pass = 16;                            // elements a pass
//       static constexpr double padding = 0.5;                     // fills idle lanes, raises nothing
//       template <class V> static IntegersOf<V> special(V x);      // top bit of a lane set: for eval
//       template <class V> static V value(V x);                    // all other lanes
//       static Status eval(double x, double &r) noexcept;          // one special element
//   };
//   one in, two out: void value(V x, V &u, V &v), Status eval(double x, double &u, double &v)
//   Where value keeps the lanes busy, the test may run beside it in the integer unit:
//       static std::int64_t special_bits(double x);                // for one element, instead of special
//
// Tails and strided vectors run through the same lanes as full passes, so every element has the same
// bits wherever it stands.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/guard.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/frame/report.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qor::fyn {

// The public name of a function, "vdLn", as a template argument.
template <std::size_t size> struct Name {
    char text[size]{};
    constexpr Name(const char (&literal)[size]) { std::copy_n(literal, size, text); }
};

// A caller's vector and its increment; contiguous vectors have theirs at compile time.
template <class T, bool strided> struct Vector {
    T *start;
    std::int32_t increment;
    T *at(std::int32_t i) const {
        return start + (strided ? std::ptrdiff_t{increment} * i : std::ptrdiff_t{i});
    }
};

enum class Shape { one_one, two_one, one_two };

// One element at a time.
template <class F, Name name, Shape shape, class A, class B, class R1, class R2, bool strided>
[[gnu::noinline]] void element_loop(std::int32_t n, const F *function, Vector<const A, strided> a,
                                    Vector<const B, strided> b, Vector<R1, strided> r1,
                                    Vector<R2, strided> r2) {
    for (std::int32_t i = 0; i < n; ++i) {
        const A x = *a.at(i);
        const B y = *b.at(i);
        R1 u;
        Status status;
        if constexpr (shape == Shape::one_two) {
            R2 v;
            status = function->eval(x, u, v);
            *r1.at(i) = u;
            *r2.at(i) = v;
        } else {
            if constexpr (shape == Shape::two_one)
                status = function->eval(x, y, u);
            else
                status = function->eval(x, u);
            *r1.at(i) = u;
        }
        if (status != status_ok) [[unlikely]]
            report_values(status, i, a.start, x, y, r1.at(i), r2.at(i), name.text);
    }
}

template <class F>
concept LaneFunction = requires {
    F::pass;
};

template <class F, class T> [[gnu::always_inline]] inline bool is_special(T x) {
    if constexpr (requires { F::special_bits(x); })
        return F::special_bits(x) < 0;
    else
        return mask_of(F::special(broadcast<Lanes<T>>(x))) != 0;
}

// Whether any of `count` elements is special; whole registers are read.
template <class F, class T> [[gnu::always_inline]] inline bool any_special(const T *from, int count) {
    if constexpr (requires { F::special_bits(*from); }) {
        IntegerOf<T> special = 0;
        for (int k = 0; k < count; ++k)
            special |= F::special_bits(from[k]);
        return special < 0;
    } else {
        using V = Lanes<T>;
        IntegersOf<V> special{};
        for (int k = 0; k < count; k += lane_count<V>)
            special |= F::special(load<V>(from + k));
        return mask_of(special) != 0;
    }
}

// One pass of lanes over `count` elements from i on; from, to and to2 are where its lanes read and write,
// whole registers of them. Inlined, so that a full pass has a constant number of registers. One result: to2
// and r2 are not used.
template <class F, Name name, Shape shape, class T, bool strided>
[[gnu::always_inline]] inline void lane_pass(std::int32_t i, int count, const T *from, T *to, T *to2,
                                             Vector<const T, strided> a, Vector<T, strided> r,
                                             Vector<T, strided> r2) {
    using V = Lanes<T>;
    const int registers = (count + lane_count<V> - 1) / lane_count<V>;
    const bool some_special = any_special<F>(from, count);
    T arguments[F::pass];
    if (some_special) [[unlikely]]
        std::copy_n(from, count, arguments);
    for (int k = 0; k < registers; ++k) {
        const V x = load<V>(from + k * lane_count<V>);
        if constexpr (shape == Shape::one_two) {
            V u, v;
            F::value(x, u, v);
            store(to + k * lane_count<V>, u);
            store(to2 + k * lane_count<V>, v);
        } else {
            store(to + k * lane_count<V>, F::value(x));
        }
    }
    if (to != r.at(i))
        for (int k = 0; k < count; ++k) {
            *r.at(i + k) = to[k];
            if constexpr (shape == Shape::one_two)
                *r2.at(i + k) = to2[k];
        }
    if (!some_special) [[likely]]
        return;
    for (int k = 0; k < count; ++k) {
        const T x = arguments[k];
        if (!is_special<F>(x))
            continue;
        T u;
        Status status;
        if constexpr (shape == Shape::one_two) {
            T v;
            status = F::eval(x, u, v);
            *r2.at(i + k) = v;
        } else {
            status = F::eval(x, u);
        }
        *r.at(i + k) = u;
        if (status != status_ok)
            report_values(status, i + k, a.start, x, x, r.at(i + k), r2.at(i + k), name.text);
    }
}

template <class F, Name name, Shape shape, class T, bool strided>
[[gnu::noinline]] void lane_loop(std::int32_t n, Vector<const T, strided> a, Vector<T, strided> r,
                                 Vector<T, strided> r2) {
    std::int32_t i = 0;
    if constexpr (!strided)
        for (; n - i >= F::pass; i += F::pass)
            lane_pass<F, name, shape>(i, F::pass, a.at(i), r.at(i), r2.at(i), a, r, r2);
    while (i < n) {
        const int count = std::min<std::int32_t>(n - i, F::pass);
        alignas(lane_bytes) T piece[F::pass], results[F::pass], results2[F::pass];
        store(piece + (count - 1) / lane_count<Lanes<T>> * lane_count<Lanes<T>>,
              broadcast<Lanes<T>>(T(F::padding)));
        for (int k = 0; k < count; ++k)
            piece[k] = *a.at(i + k);
        lane_pass<F, name, shape>(i, count, piece, results, results2, a, r, r2);
        i += count;
    }
}

// One in, one out ---------------------------------------------------------------------------------

template <class F, Name name, class A, class R> struct OneInOneOut {
    static void contiguous(std::int32_t n, const A *a, R *r) { run<false>(n, {a, 1}, {r, 1}); }
    static void strided(std::int32_t n, const A *a, std::int32_t inca, R *r, std::int32_t incr) {
        if (inca == 1 && incr == 1)
            run<false>(n, {a, 1}, {r, 1});
        else
            run<true>(n, {a, inca}, {r, incr});
    }

  private:
    template <bool with_increments>
    static void run(std::int32_t n, Vector<const A, with_increments> a, Vector<R, with_increments> r) {
        if (n <= 0)
            return;
        if constexpr (LaneFunction<F>) {
            run_guarded<F>(&lane_loop<F, name, Shape::one_one, A, with_increments>, n, a, r, r);
        } else {
            constexpr F function{};
            run_guarded<F>(&element_loop<F, name, Shape::one_one, A, A, R, R, with_increments>, n, &function,
                           a, a, r, r);
        }
    }
};

// Two in, one out, and its relatives -----------------------------------------------------------------

template <class F, Name name, class T> struct TwoInOneOut {
    static void contiguous(std::int32_t n, const T *a, const T *b, T *r) {
        run<false>(F{}, n, {a, 1}, {b, 1}, {r, 1});
    }
    static void strided(std::int32_t n, const T *a, std::int32_t inca, const T *b, std::int32_t incb, T *r,
                        std::int32_t incr) {
        if (inca == 1 && incb == 1 && incr == 1)
            run<false>(F{}, n, {a, 1}, {b, 1}, {r, 1});
        else
            run<true>(F{}, n, {a, inca}, {b, incb}, {r, incr});
    }

    // A vector b of one repeated element has increment 0.
    template <bool with_increments>
    static void run(const F &function, std::int32_t n, Vector<const T, with_increments> a,
                    Vector<const T, with_increments> b, Vector<T, with_increments> r) {
        if (n > 0)
            run_guarded<F>(&element_loop<F, name, Shape::two_one, T, T, T, T, with_increments>, n, &function,
                           a, b, r, r);
    }
};

template <class F, Name name, class T> struct VectorAndScalar {
    static void contiguous(std::int32_t n, const T *a, T b, T *r) { strided(n, a, 1, b, r, 1); }
    static void strided(std::int32_t n, const T *a, std::int32_t inca, T b, T *r, std::int32_t incr) {
        TwoInOneOut<F, name, T>::template run<true>(F{}, n, {a, inca}, {&b, 0}, {r, incr});
    }
};

// The double-complex scalar comes by address: the entry has made a copy of it.
template <class F, Name name, class T> struct VectorAndScalarPointer {
    static void contiguous(std::int32_t n, const T *a, const T *b, T *r) { strided(n, a, 1, b, r, 1); }
    static void strided(std::int32_t n, const T *a, std::int32_t inca, const T *b, T *r, std::int32_t incr) {
        TwoInOneOut<F, name, T>::template run<true>(F{}, n, {a, inca}, {b, 0}, {r, incr});
    }
};

template <template <class> class F, Name name, class T> struct LinearFraction {
    static void contiguous(std::int32_t n, const T *a, const T *b, T scale_a, T shift_a, T scale_b, T shift_b,
                           T *r) {
        TwoInOneOut<F<T>, name, T>::template run<false>({scale_a, shift_a, scale_b, shift_b}, n, {a, 1},
                                                        {b, 1}, {r, 1});
    }
    static void strided(std::int32_t n, const T *a, std::int32_t inca, const T *b, std::int32_t incb,
                        T scale_a, T shift_a, T scale_b, T shift_b, T *r, std::int32_t incr) {
        TwoInOneOut<F<T>, name, T>::template run<true>({scale_a, shift_a, scale_b, shift_b}, n, {a, inca},
                                                       {b, incb}, {r, incr});
    }
};

// One in, two out -----------------------------------------------------------------------------------

template <class F, Name name, class T> struct OneInTwoOut {
    static void contiguous(std::int32_t n, const T *a, T *r1, T *r2) {
        run<false>(n, {a, 1}, {r1, 1}, {r2, 1});
    }
    static void strided(std::int32_t n, const T *a, std::int32_t inca, T *r1, std::int32_t incr1, T *r2,
                        std::int32_t incr2) {
        run<true>(n, {a, inca}, {r1, incr1}, {r2, incr2});
    }

  private:
    template <bool with_increments>
    static void run(std::int32_t n, Vector<const T, with_increments> a, Vector<T, with_increments> r1,
                    Vector<T, with_increments> r2) {
        if (n <= 0)
            return;
        if constexpr (LaneFunction<F>) {
            run_guarded<F>(&lane_loop<F, name, Shape::one_two, T, with_increments>, n, a, r1, r2);
        } else {
            constexpr F function{};
            run_guarded<F>(&element_loop<F, name, Shape::one_two, T, T, T, T, with_increments>, n, &function,
                           a, a, r1, r2);
        }
    }
};

} // namespace qor::fyn
