// Reports of exceptional elements: status, callback, errno, standard error, exception, write-back.
#pragma once

#include "qor_fyn.h"
#include "vector_math/frame/element.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qor::fyn {

// Serves one report by the calling thread's mode. The record comes with its values; code, index and
// name are filled in here. True when the record's results are to be written back.
bool serve_report(std::int32_t code, std::int32_t i, const void *a, std::size_t element_bytes,
                  const char *name, FynErrorContext &record);

constexpr bool has_values(std::int32_t code) {
    return code != status_bad_argument && code != status_bad_pointer;
}

template <class T> void put(double &re, double &, T x) { re = static_cast<double>(x); }
template <class T> void put(double &re, double &im, Complex<T> x) {
    re = static_cast<double>(x.re);
    im = static_cast<double>(x.im);
}
template <class T> void take(T &x, double re, double) { x = static_cast<T>(re); }
template <class T> void take(Complex<T> &x, double re, double im) {
    x.re = static_cast<T>(re);
    x.im = static_cast<T>(im);
}

// Reports element i of vector `a`, with its arguments as values: a kernel hands in what it read before
// it stored. Out of line: no kernel wants this in its loop.
template <class A, class B, class R1, class R2>
[[gnu::noinline, gnu::cold]] void report_values(std::int32_t code, std::int32_t i, const A *a, A a1, B a2,
                                                R1 *r1, R2 *r2, const char *name) {
    constexpr std::size_t element_bytes = sizeof(A) > sizeof(R1) ? sizeof(A) : sizeof(R1);
    FynErrorContext record{};
    if (has_values(code)) {
        put(record.a1, record.a1_im, a1);
        put(record.a2, record.a2_im, a2);
        put(record.r1, record.r1_im, *r1);
        put(record.r2, record.r2_im, *r2);
    }
    if (serve_report(code, i, a, element_bytes, name, record) && has_values(code)) {
        take(*r2, record.r2, record.r2_im);
        take(*r1, record.r1, record.r1_im);
    }
}

// The reporting routines in pointer form, which read the element from memory: one per element type,
// unstrided and strided. Code -1 and -2 touch no element.
template <class T>
void report_element(std::int32_t code, std::int32_t i, const T *a, std::int32_t inca, const T *b,
                    std::int32_t incb, T *r1, std::int32_t incr1, T *r2, std::int32_t incr2,
                    const char *name) {
    T none{};
    auto at = [i](auto *v, std::int32_t inc) { return v + std::ptrdiff_t{inc} * i; };
    if (has_values(code))
        report_values(code, i, a, *at(a, inca), *at(b, incb), at(r1, incr1), at(r2, incr2), name);
    else
        report_values(code, i, a, none, none, &none, &none, name);
}
template <class T>
void report_element(std::int32_t code, std::int32_t i, const T *a, const T *b, T *r1, T *r2,
                    const char *name) {
    report_element(code, i, a, 1, b, 1, r1, 1, r2, 1, name);
}

} // namespace qor::fyn
