// Search of a nearly uniform partition: a guess by arithmetic, then a correction by comparisons.
//
// The step only says where to look first: whatever it is, the cell is the one of the convention.
#pragma once

#include "data_fitting/search.h"

namespace qor::df {

struct QuasiUniform {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        constexpr std::int64_t block = 16;
        const T reciprocal = T(1) / a.step;
        for (std::int64_t from = 0; from < a.nsite; from += block) {
            const std::int64_t to = std::min(from + block, a.nsite);
            // One cell to either side without a branch; only a block in which that happened looks again.
            std::int64_t moved = 0;
            for (std::int64_t i = from; i < to; ++i) {
                const T s = a.site[i];
                const std::int64_t j = truncated((s - a.x[0]) * reciprocal, a.nx - 2) + 1;
                const std::int64_t move = std::int64_t{s >= a.x[j]} - std::int64_t{s < a.x[j - 1]};
                a.cell[i] = static_cast<Cell>(j + move);
                moved |= move;
            }
            if (moved != 0)
                for (std::int64_t i = from; i < to; ++i)
                    a.cell[i] = static_cast<Cell>(settled(a, a.site[i], a.cell[i]));
        }
        return QOR_DF_OK;
    }

  private:
    template <class T, class Cell>
    static std::int64_t settled(const Sites<T, Cell> &a, T s, std::int64_t guess) {
        if (s == a.last())
            return a.nx - 1;
        if (guess < a.nx && s >= a.x[guess])
            return walk_right(a.x, guess, a.nx, s);
        return walk_left(a.x, guess, s);
    }
};

} // namespace qor::df
