// Search of any partition for sites in any order: sixteen bisections side by side.
//
// A bisection waits for its own previous comparison at every step; sixteen of them hide each other's
// waits, and selecting an address instead of branching leaves nothing to predict. All take the same
// number of steps, which the length of the searched range alone decides.
#pragma once

#include "data_fitting/search.h"

namespace qor::df {

inline constexpr int side_by_side = 16;

// Moves the starts of `length` (at least 1) breakpoints to the first one above each site, where it is
// among them, else to their end.
template <class T> void bisect(const T *(&at)[side_by_side], std::int64_t length, const T *site) {
    while (length > 1) {
        const std::int64_t half = length / 2;
#pragma GCC unroll 16
        for (int k = 0; k < side_by_side; ++k) {
            const T *const middle = at[k] + half;
            at[k] = middle[-1] <= site[k] ? middle : at[k];
        }
        length -= half;
    }
#pragma GCC unroll 16
    for (int k = 0; k < side_by_side; ++k)
        at[k] += *at[k] <= site[k];
}

// Where each bisection starts: everywhere at the first breakpoint.
template <class T> struct WholePartition {
    const T *x;
    std::int64_t length; // without the last breakpoint
    const T *start(T) const { return x; }
};

template <class T, class Cell, class Range>
void search_group(const T *x, T last, const Range &range, const T *site, Cell *cell) {
    const T *at[side_by_side];
    for (int k = 0; k < side_by_side; ++k)
        at[k] = range.start(site[k]);
    bisect(at, range.length, site);
    // The last breakpoint counts only for sites above it: so the last cell is closed on the right.
    for (int k = 0; k < side_by_side; ++k)
        cell[k] = static_cast<Cell>(at[k] - x + (site[k] > last));
}

template <class T, class Cell, class Range>
void search_side_by_side(const Sites<T, Cell> &a, const Range &range) {
    const T last = a.last();
    std::int64_t i = 0;
    for (; a.nsite - i >= side_by_side; i += side_by_side)
        search_group(a.x, last, range, a.site + i, a.cell + i);
    if (i < a.nsite) {
        T padded[side_by_side];
        Cell found[side_by_side];
        std::fill(std::copy(a.site + i, a.site + a.nsite, padded), padded + side_by_side, a.site[i]);
        search_group(a.x, last, range, padded, found);
        std::copy_n(found, a.nsite - i, a.cell + i);
    }
}

struct AnyPartition {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        search_side_by_side(a, WholePartition<T>{a.x, a.nx - 1});
        return QOR_DF_OK;
    }
};

} // namespace qor::df
