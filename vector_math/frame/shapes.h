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
//   value sees padding in the place of special elements; a repeated second argument stays as it is.
//   vector and scalar: optionally a lane function Shorter, which takes over for the scalars that
//   shorter_serves(y) names
//   two in, one out: special(V x, V y), V value(V x, V y), eval(double x, double y, double &r)
//   one in, two out: void value(V x, V &u, V &v), eval(double x, double &u, double &v)
//   Without `special` no lane is, and eval is not needed.
//   A chain of operations too long for the processor's window comes in two steps, the first of them for all
//   registers of a pass before the second; with the same arguments instead of value:
//       template <class V> static Start start(V x);
//       template <class V> static V finish(const Start &, V x);
//   or in three:
//       template <class V> static Middle middle(const Start &, V x);
//       template <class V> static V finish(const Middle &, V x);
//   Where value keeps the lanes busy, the test may run beside it in the integer unit:
//       static std::int64_t special_bits(double x);                // for one element, instead of special
//       static constexpr bool test_beside = true;                  // floats: special is asked of FloatPair
//
// Tails and strided vectors run through the same lanes as full passes, so every element has the same
// bits wherever it stands.
#pragma once

#include "vector_math/frame/element.h"
#include "vector_math/frame/guard.h"
#include "vector_math/frame/lanes.h"
#include "vector_math/frame/report.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qor::fyn {

#define QOR_INLINED __attribute__((always_inline)) // behind a lambda's parameters

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

// The vectors of a call: with one argument b is a, with one result r2 is r1.
template <class T, bool strided> struct Vectors {
    Vector<const T, strided> a, b;
    Vector<T, strided> r1, r2;

    // The same as strided ones.
    Vectors<T, true> with_increments() const {
        return {{a.start, a.increment},
                {b.start, b.increment},
                {r1.start, r1.increment},
                {r2.start, r2.increment}};
    }
};

// Where the lanes of a pass read and write, whole registers of them. A repeated second argument is in
// `scalar`: stores might change what it is read from.
template <class T> struct Lines {
    const T *x, *y;
    T *u, *v;
    Lanes<T> scalar;
};

// One or two arguments of a function. repeated: the second is the same element in every lane.
template <Shape shape, bool repeated> struct Arguments {
    template <class T> [[gnu::always_inline]] static Lanes<T> second(const Lines<T> &lines, int k) {
        return repeated ? lines.scalar : load<Lanes<T>>(lines.y + k);
    }

    // Whether any of `count` elements is special; whole registers are read.
    template <class F, class T>
    [[gnu::always_inline]] static bool any_special(const Lines<T> &lines, int count) {
        using V = Lanes<T>;
        if constexpr (requires(T x) { F::special_bits(x); }) {
            IntegerOf<T> special = 0;
            for (int k = 0; k < count; ++k)
                special |= F::special_bits(lines.x[k]);
            return special < 0;
        } else if constexpr (sizeof(T) == 4 && requires { requires F::test_beside; }) {
            std::uint64_t special = 0;
            for (int k = 0; k < count; k += 2)
                special |= F::special(FloatPair(lines.x + k));
            return (special & FloatPair::top_bits) != 0;
        } else if constexpr (requires(V x) { F::special(x); }) {
            IntegersOf<V> special{};
            for (int k = 0; k < count; k += lane_count<V>)
                special |= F::special(load<V>(lines.x + k));
            return mask_of(special) != 0;
        } else if constexpr (requires(V x) { F::special(x, x); }) {
            IntegersOf<V> special{};
            for (int k = 0; k < count; k += lane_count<V>)
                special |= F::special(load<V>(lines.x + k), second(lines, k));
            return mask_of(special) != 0;
        }
        return false;
    }

    template <class F, class T> static bool is_special(T x, T y) {
        using V = Lanes<T>;
        if constexpr (requires { F::special_bits(x); })
            return F::special_bits(x) < 0;
        else if constexpr (shape == Shape::two_one)
            return mask_of(F::special(broadcast<V>(x), broadcast<V>(y))) != 0;
        else
            return mask_of(F::special(broadcast<V>(x))) != 0;
    }

    // The arguments of a pass with padding in the place of special elements, in whole registers.
    template <class F, class T> static void without_special(const Lines<T> &lines, int count, T *x, T *y) {
        for (int k = 0; k < F::pass; ++k) {
            const bool idle = k >= count;
            const T b = idle || shape != Shape::two_one ? T(F::padding)
                        : repeated                      ? lines.scalar[0]
                                                        : lines.y[k];
            const bool special = idle || is_special<F>(lines.x[k], b);
            x[k] = special ? T(F::padding) : lines.x[k];
            y[k] = special ? T(F::padding) : b;
        }
    }

    // One element and what eval makes of it, where it is special; y is not used with one argument.
    template <class F, class T> static bool settle(const F &function, T x, T y, T &u, T &v, Status &status) {
        if (!is_special<F>(x, y))
            return false;
        if constexpr (shape == Shape::two_one)
            status = function.eval(x, y, u);
        else if constexpr (shape == Shape::one_two)
            status = function.eval(x, u, v);
        else
            status = function.eval(x, u);
        return true;
    }
};

template <class F, class T>
concept HasSpecialLanes = requires(T x) {
    F::special_bits(x);
}
|| requires(Lanes<T> x) { F::special(x); }
|| requires(Lanes<T> x) { F::special(x, x); };

template <class F, class V>
concept InTwoSteps = requires(V x) {
    F::start(x);
}
|| requires(V x) { F::start(x, x); };

template <class F, class V>
concept InThreeSteps = requires(V x) {
    F::middle(F::start(x), x);
}
|| requires(V x) { F::middle(F::start(x, x), x, x); };

// The results of a pass's registers.
template <class F, Shape shape, bool repeated, class T>
[[gnu::always_inline]] inline void compute(const F &function, int count, const Lines<T> &lines) {
    using V = Lanes<T>;
    constexpr int lanes = lane_count<V>;
    const auto with_arguments = [&](int k, auto f) QOR_INLINED {
        const V x = load<V>(lines.x + k);
        if constexpr (shape == Shape::two_one)
            return f(x, Arguments<shape, repeated>::second(lines, k));
        else
            return f(x);
    };
    const auto finish = [&](int k, auto f) QOR_INLINED {
        if constexpr (shape == Shape::one_two) {
            V u, v;
            with_arguments(k, [&](V x) { f(x, u, v); });
            store(lines.u + k, u);
            store(lines.v + k, v);
        } else {
            store(lines.u + k, with_arguments(k, f));
        }
    };
    if constexpr (InTwoSteps<F, V>) {
        const auto of_registers = [&](auto step) QOR_INLINED {
            std::array<decltype(step(0)), static_cast<unsigned>(F::pass / lanes)> results;
            for (int k = 0; k < count; k += lanes)
                results[static_cast<unsigned>(k / lanes)] = step(k);
            return results;
        };
        const auto finish_all = [&](const auto &steps) QOR_INLINED {
            for (int k = 0; k < count; k += lanes) {
                const auto &step = steps[static_cast<unsigned>(k / lanes)];
                finish(k, [&](auto &&...x) QOR_INLINED { return function.finish(step, x...); });
            }
        };
        const auto start = [&](auto... x) QOR_INLINED { return function.start(x...); };
        const auto started = of_registers([&](int k) QOR_INLINED { return with_arguments(k, start); });
        if constexpr (InThreeSteps<F, V>)
            finish_all(of_registers([&](int k) QOR_INLINED {
                const auto &step = started[static_cast<unsigned>(k / lanes)];
                return with_arguments(k, [&](auto... x) QOR_INLINED { return function.middle(step, x...); });
            }));
        else
            finish_all(started);
    } else {
        for (int k = 0; k < count; k += lanes)
            finish(k, [&](auto &&...x) { return function.value(x...); });
    }
}

// The same where full passes are not at work: tails, strided vectors and passes with special elements share
// this copy of the lanes' code.
template <class F, Shape shape, bool repeated, class T>
[[gnu::noinline]] void compute_apart(const F &function, int count, const Lines<T> &lines) {
    compute<F, shape, repeated>(function, count, lines);
}

// The results go to the vectors from `lines` where they are not there yet.
template <Shape shape, class T>
void deliver(std::int32_t i, int count, const Lines<T> &lines, const Vectors<T, true> &vectors) {
    if (lines.u == vectors.r1.at(i))
        return;
    for (int k = 0; k < count; ++k) {
        *vectors.r1.at(i + k) = lines.u[k];
        if constexpr (shape == Shape::one_two)
            *vectors.r2.at(i + k) = lines.v[k];
    }
}

// A pass with special elements, which begins with element i: the others in lanes, then the special ones. Not
// cold: there are vectors of nothing else.
template <class F, Name name, Shape shape, bool repeated, class T>
[[gnu::noinline]] void special_pass(const F &function, std::int32_t i, int count, const Lines<T> &lines,
                                    const Vectors<T, true> &vectors) {
    using Arguments = Arguments<shape, repeated>;
    T x[F::pass], y[F::pass], ordinary_x[F::pass], ordinary_y[F::pass];
    for (int k = 0; k < count; ++k) {
        x[k] = lines.x[k];
        y[k] = shape != Shape::two_one ? x[k] : repeated ? lines.scalar[0] : lines.y[k];
    }
    Arguments::template without_special<F>(lines, count, ordinary_x, ordinary_y);
    compute_apart<F, shape, repeated, T>(function, count,
                                         {ordinary_x, ordinary_y, lines.u, lines.v, lines.scalar});
    deliver<shape>(i, count, lines, vectors);
    for (int k = 0; k < count; ++k) {
        T u, v;
        Status status;
        if (!Arguments::settle(function, x[k], y[k], u, v, status))
            continue;
        *vectors.r1.at(i + k) = u;
        if constexpr (shape == Shape::one_two)
            *vectors.r2.at(i + k) = v;
        if (status != status_ok)
            report_values(status, i + k, vectors.a.start, x[k], y[k], vectors.r1.at(i + k),
                          vectors.r2.at(i + k), name.text);
    }
}

// Full passes over contiguous vectors, and a shorter one if whole registers are left over. The inner loop
// calls nothing, so that constants stay in registers: a pass with special elements interrupts it. Returns how
// far the passes went.
template <class F, Name name, Shape shape, bool repeated, class T>
[[gnu::always_inline]] inline std::int32_t full_passes(const F &function, std::int32_t n,
                                                       const Vectors<T, false> &w) {
    const auto scalar = broadcast<Lanes<T>>(*w.b.start);
    const auto lines = [&](std::int32_t i) {
        return Lines<T>{w.a.at(i), w.b.at(i), w.r1.at(i), w.r2.at(i), scalar};
    };
    const auto any_special = [&](std::int32_t i, int count) {
        return Arguments<shape, repeated>::template any_special<F>(lines(i), count);
    };
    std::int32_t i = 0;
    for (;;) {
        bool interrupted = false;
        for (; n - i >= F::pass; i += F::pass) {
            interrupted = any_special(i, F::pass);
            if (interrupted) [[unlikely]]
                break;
            compute<F, shape, repeated>(function, F::pass, lines(i));
        }
        constexpr int lanes = lane_count<Lanes<T>>;
        const int count = interrupted ? F::pass : (n - i) % lanes == 0 ? n - i : 0;
        if (count == 0)
            return i;
        if constexpr (HasSpecialLanes<F, T>)
            interrupted = interrupted || any_special(i, count);
        if (!interrupted)
            compute_apart<F, shape, repeated>(function, count, lines(i));
        else if constexpr (HasSpecialLanes<F, T>)
            special_pass<F, name, shape, repeated>(function, i, count, lines(i), w.with_increments());
        i += count;
    }
}

// From element i on by way of buffers: strided vectors, and what full passes leave over.
template <class F, Name name, Shape shape, bool repeated, class T>
[[gnu::noinline]] void buffered_passes(const F &function, std::int32_t i, std::int32_t n,
                                       const Vectors<T, true> &w) {
    for (int count; i < n; i += count) {
        count = std::min<std::int32_t>(n - i, F::pass);
        constexpr int lanes = lane_count<Lanes<T>>;
        const int last = (count - 1) / lanes * lanes;
        alignas(lane_bytes) T x[F::pass], y[F::pass], u[F::pass], v[F::pass];
        store(x + last, broadcast<Lanes<T>>(T(F::padding)));
        store(y + last, broadcast<Lanes<T>>(T(F::padding)));
        for (int k = 0; k < count; ++k) {
            x[k] = *w.a.at(i + k);
            if constexpr (shape == Shape::two_one && !repeated)
                y[k] = *w.b.at(i + k);
        }
        const Lines<T> lines{x, y, u, v, broadcast<Lanes<T>>(*w.b.start)};
        if constexpr (HasSpecialLanes<F, T>)
            if (Arguments<shape, repeated>::template any_special<F>(lines, count)) [[unlikely]] {
                special_pass<F, name, shape, repeated>(function, i, count, lines, w);
                continue;
            }
        compute_apart<F, shape, repeated>(function, count, lines);
        deliver<shape>(i, count, lines, w);
    }
}

template <class F, Name name, Shape shape, bool repeated, class T, bool strided>
[[gnu::noinline]] void lane_loop(std::int32_t n, const F *function, const Vectors<T, strided> *vectors) {
    const Vectors<T, strided> w = *vectors;
    std::int32_t i = 0;
    if constexpr (!strided)
        i = full_passes<F, name, shape, repeated>(*function, n, w);
    if (i < n)
        buffered_passes<F, name, shape, repeated>(*function, i, n, w.with_increments());
}

// Lanes or elements, as the function comes; in the function's environment.
template <class F, Name name, Shape shape, bool repeated, class T, bool strided>
void run_over(std::int32_t n, const F &function, Vectors<T, strided> vectors) {
    if (n <= 0)
        return;
    if constexpr (LaneFunction<F>) {
        const Vectors<T, strided> *const address = &vectors;
        run_guarded<F, T>(&lane_loop<F, name, shape, repeated, T, strided>, n, &function, address);
    } else {
        run_guarded<F, T>(&element_loop<F, name, shape, T, T, T, T, strided>, n, &function, vectors.a,
                          vectors.b, vectors.r1, vectors.r2);
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
        constexpr F function{};
        if constexpr (std::is_same_v<A, R>)
            run_over<F, name, Shape::one_one, false, A, with_increments>(n, function, {a, a, r, r});
        else if (n > 0)
            run_guarded<F, A>(&element_loop<F, name, Shape::one_one, A, A, R, R, with_increments>, n,
                              &function, a, a, r, r);
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

    template <bool with_increments>
    static void run(const F &function, std::int32_t n, Vector<const T, with_increments> a,
                    Vector<const T, with_increments> b, Vector<T, with_increments> r) {
        run_over<F, name, Shape::two_one, false, T, with_increments>(n, function, {a, b, r, r});
    }
};

template <class F, Name name, class T> struct VectorAndScalar {
    static void contiguous(std::int32_t n, const T *a, T b, T *r) { run(n, a, 1, &b, r, 1); }
    static void strided(std::int32_t n, const T *a, std::int32_t inca, T b, T *r, std::int32_t incr) {
        run(n, a, inca, &b, r, incr);
    }

    // An element function takes the scalar as a vector of increment 0.
    static void run(std::int32_t n, const T *a, std::int32_t inca, const T *b, T *r, std::int32_t incr) {
        if constexpr (requires(T y) { F::shorter_serves(y); })
            if (F::shorter_serves(*b))
                return VectorAndScalar<typename F::Shorter, name, T>::run(n, a, inca, b, r, incr);
        constexpr F function{};
        if (LaneFunction<F> && inca == 1 && incr == 1)
            run_over<F, name, Shape::two_one, true, T, false>(n, function, {{a, 1}, {b, 1}, {r, 1}, {r, 1}});
        else
            run_over<F, name, Shape::two_one, LaneFunction<F>, T, true>(
                n, function, {{a, inca}, {b, 0}, {r, incr}, {r, incr}});
    }
};

// The double-complex scalar comes by address: the entry has made a copy of it.
template <class F, Name name, class T> struct VectorAndScalarPointer {
    static void contiguous(std::int32_t n, const T *a, const T *b, T *r) { strided(n, a, 1, b, r, 1); }
    static void strided(std::int32_t n, const T *a, std::int32_t inca, const T *b, T *r, std::int32_t incr) {
        VectorAndScalar<F, name, T>::run(n, a, inca, b, r, incr);
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
        constexpr F function{};
        run_over<F, name, Shape::one_two, false, T, with_increments>(n, function, {a, a, r1, r2});
    }
};

#undef QOR_INLINED

} // namespace qor::fyn
