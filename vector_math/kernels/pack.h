// Pack and unpack: elements gathered into a dense vector or scattered from one, by an increment (I), an
// index vector (V) or a mask (M). Bit patterns move unchanged; no floating-point state is touched.
//
// The last argument is the width flag: with 1, which the entries pass, lengths, increments, indexes and
// masks are 32-bit integers, with any other value 64-bit ones. Lengths and increments come in full
// registers of which the flag's width is read.
#pragma once

#include "vector_math/frame/element.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qor::fyn {

inline constexpr std::int32_t narrow_integers = 1;

// Calls move<Integer>() with the integer type of the flag.
template <class Move> void by_width(std::int32_t width_flag, Move move) {
    if (width_flag == narrow_integers)
        move(std::int32_t{});
    else
        move(std::int64_t{});
}

template <class T> void copy_element(T *to, const T *from) { std::memcpy(to, from, sizeof(T)); }

// move(i) for i = 0 .. n-1, eight a pass.
template <class Integer, class Move> [[gnu::always_inline]] inline void for_each(Integer n, Move move) {
    Integer i = 0;
    for (; n - i >= 8; i += 8) {
#pragma GCC unroll 8
        for (Integer k = 0; k < 8; ++k)
            move(i + k);
    }
    for (; i < n; ++i)
        move(i);
}

template <class T>
void pack_by_increment(std::int64_t n, const T *a, std::int64_t inca, T *y, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const std::ptrdiff_t increment = static_cast<Integer>(inca);
        for_each(static_cast<Integer>(n), [=](Integer i) { copy_element(y + i, a + increment * i); });
    });
}

template <class T>
void unpack_by_increment(std::int64_t n, const T *a, T *y, std::int64_t incy, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const std::ptrdiff_t increment = static_cast<Integer>(incy);
        for_each(static_cast<Integer>(n), [=](Integer i) { copy_element(y + increment * i, a + i); });
    });
}

template <class T>
void pack_by_index(std::int64_t n, const T *a, const void *index, T *y, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const auto *ia = static_cast<const Integer *>(index);
        for_each(static_cast<Integer>(n), [=](Integer i) { copy_element(y + i, a + ia[i]); });
    });
}

template <class T>
void unpack_by_index(std::int64_t n, const T *a, T *y, const void *index, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const auto *iy = static_cast<const Integer *>(index);
        for_each(static_cast<Integer>(n), [=](Integer i) { copy_element(y + iy[i], a + i); });
    });
}

// n without the elements after the last selected one. Up to there a dense vector has an element for every
// position reached, so the mask forms touch it at every step, without a branch, and nothing beyond its end.
template <class Integer> Integer up_to_last_selected(Integer n, const Integer *mask) {
    while (n > 0 && mask[n - 1] == 0)
        --n;
    return n;
}

template <class T> void pack_by_mask(std::int64_t n, const T *a, const void *mask, T *y, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const auto *ma = static_cast<const Integer *>(mask);
        for_each(up_to_last_selected(static_cast<Integer>(n), ma), [=, next = y](Integer i) mutable {
            copy_element(next, a + i); // overwritten by the next selected one if this is not
            next += ma[i] != 0;
        });
    });
}

template <class T>
void unpack_by_mask(std::int64_t n, const T *a, T *y, const void *mask, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const auto *my = static_cast<const Integer *>(mask);
        T unselected;
        const auto elsewhere = reinterpret_cast<std::uintptr_t>(&unselected);
        const std::uintptr_t distance = reinterpret_cast<std::uintptr_t>(y) - elsewhere;
        for_each(up_to_last_selected(static_cast<Integer>(n), my), [=, next = a](Integer i) mutable {
            // a choice of addresses in integers, which stays one
            const bool selected = my[i] != 0;
            const std::uintptr_t chosen = 0 - std::uintptr_t{selected};
            const auto offset = (distance + static_cast<std::uintptr_t>(i) * sizeof(T)) & chosen;
            copy_element(reinterpret_cast<T *>(elsewhere + offset), next);
            next += selected;
        });
    });
}

} // namespace qor::fyn
