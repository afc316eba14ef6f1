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

template <class T>
void pack_by_increment(std::int64_t n, const T *a, std::int64_t inca, T *y, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const Integer count = static_cast<Integer>(n);
        const std::ptrdiff_t increment = static_cast<Integer>(inca);
        for (Integer i = 0; i < count; ++i)
            copy_element(y + i, a + increment * i);
    });
}

template <class T>
void unpack_by_increment(std::int64_t n, const T *a, T *y, std::int64_t incy, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const Integer count = static_cast<Integer>(n);
        const std::ptrdiff_t increment = static_cast<Integer>(incy);
        for (Integer i = 0; i < count; ++i)
            copy_element(y + increment * i, a + i);
    });
}

template <class T>
void pack_by_index(std::int64_t n, const T *a, const void *index, T *y, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const Integer count = static_cast<Integer>(n);
        const auto *ia = static_cast<const Integer *>(index);
        for (Integer i = 0; i < count; ++i)
            copy_element(y + i, a + ia[i]);
    });
}

template <class T>
void unpack_by_index(std::int64_t n, const T *a, T *y, const void *index, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const Integer count = static_cast<Integer>(n);
        const auto *iy = static_cast<const Integer *>(index);
        for (Integer i = 0; i < count; ++i)
            copy_element(y + iy[i], a + i);
    });
}

template <class T> void pack_by_mask(std::int64_t n, const T *a, const void *mask, T *y, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const Integer count = static_cast<Integer>(n);
        const auto *ma = static_cast<const Integer *>(mask);
        for (Integer i = 0; i < count; ++i)
            if (ma[i] != 0)
                copy_element(y++, a + i);
    });
}

template <class T>
void unpack_by_mask(std::int64_t n, const T *a, T *y, const void *mask, std::int32_t flag) {
    by_width(flag, [&](auto width) {
        using Integer = decltype(width);
        const Integer count = static_cast<Integer>(n);
        const auto *my = static_cast<const Integer *>(mask);
        for (Integer i = 0; i < count; ++i)
            if (my[i] != 0)
                copy_element(y + i, a++);
    });
}

} // namespace qor::fyn
