// Search of a nearly uniform partition: a guess by arithmetic, then a correction by comparisons.
//
// The step only says where to look first: whatever it is, the cell is the one of the convention.
#pragma once

#include "data_fitting/search.h"

#include <limits>

namespace qor::df {

template <class T> class QuasiUniformPartition {
  public:
    static constexpr int group = 32;

    QuasiUniformPartition(const T *x, std::int64_t nx, T step)
        : x_(x), nx_(nx), reciprocal_(T(1) / step), latest_(not_above(nx - 2)) {}

    // All guesses first: their breakpoints come from memory while the next ones are computed.
    template <class Cell> void place(const T *site, Cell *cell) const {
        std::int32_t guess[group]; // 32-bit integers are converted several at once
        for (int k = 0; k < group; ++k) {
            const T quotient = (site[k] - x_[0]) * reciprocal_;
            const T positive = quotient > T(0) ? quotient : T(0);
            guess[k] = static_cast<std::int32_t>(positive < latest_ ? positive : latest_);
        }
        for (int k = 0; k < group; ++k)
            __builtin_prefetch(x_ + guess[k]);
        // One cell to either side without a branch; only a group in which that happened looks again.
        std::int64_t moved = 0;
#pragma GCC unroll 16
        for (int k = 0; k < group; ++k) {
            const T *const left = x_ + guess[k];
            const std::int64_t move = std::int64_t{site[k] >= left[1]} - std::int64_t{site[k] < left[0]};
            cell[k] = static_cast<Cell>(guess[k] + 1 + move);
            moved |= move;
        }
        if (moved != 0)
            for (int k = 0; k < group; ++k)
                cell[k] = static_cast<Cell>(settled(site[k], cell[k]));
    }

  private:
    // A number near i, not above it and a 32-bit integer: sites beyond are walked to.
    static T not_above(std::int64_t i) {
        i = std::min<std::int64_t>(i, std::numeric_limits<std::int32_t>::max());
        const T rounded = static_cast<T>(i);
        return static_cast<std::int64_t>(rounded) <= i ? rounded
                                                       : rounded * (1 - std::numeric_limits<T>::epsilon());
    }

    std::int64_t settled(T s, std::int64_t guess) const {
        if (s == x_[nx_ - 1])
            return nx_ - 1;
        if (guess < nx_ && s >= x_[guess])
            return walk_right(x_, guess, nx_, s);
        return walk_left(x_, guess, s);
    }

    const T *x_;
    std::int64_t nx_;
    T reciprocal_;
    T latest_; // guess
};

struct QuasiUniform {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        const QuasiUniformPartition<T> partition(a.x, a.nx, a.step);
        place_in_groups<partition.group>(a, [&partition](const T *site, Cell *cell, std::int64_t) {
            partition.place(site, cell);
            return std::int64_t{partition.group};
        });
        return QOR_DF_OK;
    }
};

} // namespace qor::df
