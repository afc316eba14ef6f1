// Search for ascending sites: each starts where the one before ended, also from one call to the next.
#pragma once

#include "data_fitting/search.h"

namespace qor::df {

struct Sorted {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        const T first = a.x[0], last = a.last();
        std::int64_t at = std::clamp(std::int64_t{*a.state}, std::int64_t{0}, a.nx);
        std::int64_t i = 0;
        while (i < a.nsite) {
            if (at < a.nx)
                for (const T right = a.x[at]; i < a.nsite && a.site[i] >= first && a.site[i] < right; ++i)
                    a.cell[i] = static_cast<Cell>(at);
            if (i == a.nsite)
                break;
            const T s = a.site[i];
            if (s == last) { // the search stays where it is
                a.cell[i++] = static_cast<Cell>(a.nx - 1);
                continue;
            }
            if (s < first)
                at = 0;
            else if (s > last)
                at = a.nx;
            else
                at = walk_right(a.x, at, a.nx - 1, s);
            a.cell[i++] = static_cast<Cell>(at);
        }
        *a.state = static_cast<Cell>(at);
        return QOR_DF_OK;
    }
};

} // namespace qor::df
