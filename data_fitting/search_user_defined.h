// Search by the caller's callback, which places the sites it flags; the library places the others, from
// the callback's guesses or, on a uniform partition, from nothing.
#pragma once

#include "data_fitting/search_uniform.h"

namespace qor::df {

// Asks the callback, then gives every site without a flag the cell place(i).
template <class T, class Cell, class Place>
std::int32_t ask_then_place(const Sites<T, Cell> &a, const Place &place) {
    std::int64_t nsite = a.nsite; // the callback's copy
    const std::int32_t result = a.callback(&nsite, a.site, a.cell, a.flags, a.p1, a.p2);
    if (result == QOR_DF_ALL_PLACED)
        return QOR_DF_OK;
    if (result >= 0)
        for (std::int64_t i = 0; i < a.nsite; ++i)
            if (a.flags[i] == 0)
                a.cell[i] = static_cast<Cell>(place(i));
    return result;
}

struct UserDefined {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        return ask_then_place(a, [&a](std::int64_t i) {
            return completed(a, a.site[i], std::max(std::int64_t{a.cell[i]}, std::int64_t{0}));
        });
    }

  private:
    // A site at the guessed breakpoint x[guess] keeps the cell that ends there.
    template <class T, class Cell>
    static std::int64_t completed(const Sites<T, Cell> &a, T s, std::int64_t guess) {
        const bool at_end = s == a.last();
        if (guess >= a.nx)
            return at_end ? a.nx - 1 : walk_left(a.x, a.nx, s);
        if (s > a.x[guess])
            return at_end ? a.nx - 1 : walk_right(a.x, guess, a.nx, s);
        return walk_left(a.x, guess, s);
    }
};

struct UniformUserDefined {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        const UniformPartition<T> partition(a);
        const std::int64_t in_groups = partition.in_groups(a.nsite);
        return ask_then_place(a, [&a, &partition, in_groups](std::int64_t i) {
            return i < in_groups ? partition.multiplied(a.site[i]) : partition.divided(a.site[i]);
        });
    }
};

} // namespace qor::df
