// Search of any partition for sites in any order: sixteen bisections side by side.
//
// A bisection waits for its own previous comparison at every step; sixteen of them hide each other's
// waits, and selecting an address instead of branching leaves nothing to predict. All take the same
// number of steps, which the length of the searched range alone decides.
#pragma once

#include "data_fitting/search.h"
#include "vector_math/frame/lanes.h"

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

// Do all sites of a group seem to lie in one cell? Some tell enough about the sites after them.
template <class Cell> bool seems_shared(const Cell *cell) {
    constexpr int last = side_by_side - 1;
    return ((cell[0] ^ cell[last / 3]) | (cell[0] ^ cell[last * 2 / 3]) | (cell[0] ^ cell[last])) == 0;
}

// Gives the sites the cell from `left` to `right` while whole groups lie in it; returns their number.
template <class T, class Cell>
[[gnu::noinline]] std::int64_t place_in_cell(T left, T right, const T *site, std::int64_t n, Cell *cell,
                                             Cell shared) {
    using V = fyn::Lanes<T>;
    constexpr int lanes = fyn::lane_count<V>;
    constexpr unsigned all = (1u << lanes) - 1;
    V lowest, above;
    for (int k = 0; k < lanes; ++k) {
        lowest[k] = left;
        above[k] = right;
    }
    std::int64_t i = 0;
    for (; n - i >= side_by_side; i += side_by_side) {
        auto inside = ~fyn::IntegersOf<V>{};
        for (int k = 0; k < side_by_side; k += lanes) {
            const V s = fyn::load<V>(site + i + k);
            inside &= (lowest <= s) & (s < above);
        }
        if (fyn::mask_of(inside) != all)
            break;
        std::fill_n(cell + i, side_by_side, shared);
    }
    return i;
}

template <class T, class Cell, class Range>
void search_side_by_side(const Sites<T, Cell> &a, const Range &range) {
    const T last = a.last();
    place_in_groups<side_by_side>(a, [&](const T *site, Cell *cell, std::int64_t n) {
        search_group(a.x, last, range, site, cell);
        const Cell shared = cell[0];
        if (!seems_shared(cell) || shared < 1 || shared >= a.nx)
            return std::int64_t{side_by_side};
        return side_by_side + place_in_cell(a.x[shared - 1], a.x[shared], site + side_by_side,
                                            n - side_by_side, cell + side_by_side, shared);
    });
}

struct AnyPartition {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        search_side_by_side(a, WholePartition<T>{a.x, a.nx - 1});
        return QOR_DF_OK;
    }
};

} // namespace qor::df
