// What all methods of cell search share: their arguments, the cell convention, short walks.
//
// The cell of a site s is 0 below x[0], i for x[i-1] <= s < x[i], nx - 1 at x[nx-1] and nx above it.
// A NaN has some cell in 0 .. nx. No method reads outside x[0] .. x[nx-1], whatever the sites are.
#pragma once

#include "qor_df.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qor::df {

template <class T>
using CellCallback = std::conditional_t<std::is_same_v<T, float>, qor_df_sCellCallback, qor_df_dCellCallback>;

// The arguments of a search. Methods read the members they need.
template <class T, class Cell> struct Sites {
    std::int64_t nx; // at least 2
    const T *x;
    std::int64_t nsite; // at least 1
    const T *site;
    Cell *cell;
    Cell *state; // sorted sites: where the search stands
    T step;      // uniform and quasi-uniform partitions
    CellCallback<T> callback;
    void *p1, *p2;
    std::int32_t *flags;

    T last() const { return x[nx - 1]; }
};

template <class Method, class T, class Cell> std::int32_t search(const Sites<T, Cell> &a) {
    return a.nsite < 1 ? QOR_DF_OK : Method::search(a);
}

// Places all sites by place(site, cell, n), which places at least `size` of n sites and returns how many. The
// last group is filled up with one of its own sites.
template <int size, class T, class Cell, class Place>
void place_in_groups(const Sites<T, Cell> &a, const Place &place) {
    std::int64_t i = 0;
    while (a.nsite - i >= size)
        i += place(a.site + i, a.cell + i, a.nsite - i);
    if (i < a.nsite) {
        T padded[std::size_t{size}];
        Cell found[std::size_t{size}];
        std::fill(std::copy(a.site + i, a.site + a.nsite, padded), padded + size, a.site[i]);
        place(padded, found, std::int64_t{size});
        std::copy_n(found, a.nsite - i, a.cell + i);
    }
}

// A quotient truncated into 0 .. limit; NaN gives 0.
template <class T> std::int64_t truncated(T quotient, std::int64_t limit) {
    constexpr T convertible = T(std::int64_t{1} << 62);
    T within = quotient > T(0) ? quotient : T(0);
    within = within < convertible ? within : convertible;
    return std::min(static_cast<std::int64_t>(within), limit);
}

// The first j in from + 1 .. to with s < x[j], or `to` when there is none. Steps double, so that a near
// cell costs little and a far one no more than two bisections.
template <class T> std::int64_t walk_right(const T *x, std::int64_t from, std::int64_t to, T s) {
    std::int64_t stride = 1;
    for (; to - from > stride && !(s < x[from + stride]); stride *= 2)
        from += stride;
    if (to <= from)
        return to;
    return std::upper_bound(x + from + 1, x + from + std::min(stride, to - from), s) - x;
}

// The largest j <= from with x[j-1] <= s, or 0.
template <class T> std::int64_t walk_left(const T *x, std::int64_t from, T s) {
    std::int64_t stride = 1;
    for (; from > stride && x[from - stride] > s; stride *= 2)
        from -= stride;
    return std::upper_bound(x + from - std::min(stride, from), x + from, s) - x;
}

} // namespace qor::df
