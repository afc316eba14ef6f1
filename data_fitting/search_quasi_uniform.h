// Search of a nearly uniform partition: a guess by arithmetic, then a correction by comparisons.
//
// The step only says where to look first: whatever it is, the cell is the one of the convention. Where there
// are enough sites to pay for a look at all breakpoints, most sites of an even partition need no other.
#pragma once

#include "data_fitting/search.h"
#include "vector_math/frame/lanes.h"

#include <bit>
#include <limits>

namespace qor::df {

template <class T> class QuasiUniformPartition {
  public:
    static constexpr int group = 32;
    static constexpr T tolerable = T(1) / 16; // more unevenness leaves too many sites in doubt

    QuasiUniformPartition(const T *x, std::int64_t nx, T step)
        : x_(x), nx_(nx), reciprocal_(T(1) / step), latest_(not_above(nx - 2)) {}

    // How far at most, in steps, breakpoints are from where an even partition has them. Stops with some
    // number above `tolerable` where it finds one. The last breakpoint tells of a wrong step, of infinite
    // ends, of NaN.
    T unevenness() const {
        constexpr T too_much = 1;
        if (nx_ > exact_indices || !(distance(nx_ - 1) <= tolerable))
            return too_much;
        using V = fyn::Lanes<T>;
        constexpr int lanes = fyn::lane_count<V>, block = 4 * lanes;
        const auto larger = [](V a, V b) { return a > b ? a : b; };
        V index, greatest{};
        for (int k = 0; k < lanes; ++k)
            index[k] = T(k);
        std::int64_t i = 0;
        for (; nx_ - i >= block; i += block, index += T(block)) {
            V off[4];
#pragma GCC unroll 4
            for (int k = 0; k < 4; ++k) {
                const V at = (fyn::load<V>(x_ + i + k * lanes) - x_[0]) * reciprocal_;
                const auto bits = fyn::bits_of(at - (index + T(k * lanes)));
                off[k] = fyn::from_bits<V>(bits & ~fyn::sign_bit<T>);
            }
            const V here = larger(larger(off[0], off[1]), larger(off[2], off[3]));
            if (fyn::mask_of(here > tolerable) != 0)
                return too_much;
            greatest = larger(here, greatest);
        }
        T result = 0;
        for (int k = 0; k < lanes; ++k)
            result = std::max(result, greatest[k]);
        for (; i < nx_; ++i)
            result = std::max(result, distance(i));
        return result;
    }

    // Places the whole groups among n sites and returns how many sites that are. Each group is guessed one
    // group ahead: its breakpoints come from memory while the group before it is placed.
    template <class Cell> std::int64_t place(const T *site, Cell *cell, std::int64_t n) const {
        std::int32_t guess[2][group];
        guess_ahead(site, guess[0]);
        std::int64_t placed = 0;
        for (int turn = 0; n - placed >= group; turn ^= 1, placed += group) {
            if (n - placed >= 2 * group)
                guess_ahead(site + placed + group, guess[turn ^ 1]);
            compare(site + placed, guess[turn], cell + placed);
        }
        return placed;
    }

    // The same for one group and a partition of tolerable unevenness. A position, as rounded, never falls as
    // its number grows, and that of x[k] is within `unevenness` of k: a site whose position is farther than
    // that from the integers on both sides is between their breakpoints. Differences from integers are exact.
    template <class Cell> std::int64_t place_evenly(const T *site, Cell *cell, T unevenness) const {
        using V = fyn::Lanes<T>;
        constexpr int lanes = fyn::lane_count<V>;
        std::int32_t guess[group];
        T fraction[group];
        for (int k = 0; k < group; ++k) {
            const T at = within(latest_ + 1, position(site[k]));
            guess[k] = static_cast<std::int32_t>(at);
            fraction[k] = at - static_cast<T>(guess[k]);
            cell[k] = static_cast<Cell>(guess[k] + 1);
        }
        std::uint32_t certain = 0;
#pragma GCC unroll 16
        for (int k = 0; k < group; k += lanes) {
            const V f = fyn::load<V>(fraction + k);
            certain |= fyn::mask_of((f > unevenness) & (f < 1 - unevenness)) << k;
        }
        settle(site, guess, cell, ~certain);
        return group;
    }

  private:
    static constexpr auto exact_indices = static_cast<std::int64_t>(fyn::integers_from<T>);

    // A number near i, not above it; it and its successor begin cells with 32-bit numbers. Sites beyond are
    // walked to.
    static T not_above(std::int64_t i) {
        i = std::min<std::int64_t>(i, std::numeric_limits<std::int32_t>::max() - 2);
        const T rounded = static_cast<T>(i);
        return static_cast<std::int64_t>(rounded) <= i ? rounded
                                                       : rounded * (1 - std::numeric_limits<T>::epsilon());
    }

    T position(T s) const { return (s - x_[0]) * reciprocal_; }
    static T within(T limit, T position) {
        const T positive = position > T(0) ? position : T(0);
        return positive < limit ? positive : limit;
    }
    T distance(std::int64_t i) const {
        const T off = position(x_[i]) - static_cast<T>(i);
        return off < 0 ? -off : off;
    }

    void guess_ahead(const T *site, std::int32_t *guess) const {
        for (int k = 0; k < group; ++k) // 32-bit integers are converted several at once
            guess[k] = static_cast<std::int32_t>(within(latest_, position(site[k])));
        for (int k = 0; k < group; ++k)
            __builtin_prefetch(x_ + guess[k]);
    }

    template <class Cell> void compare(const T *site, const std::int32_t *guess, Cell *cell) const {
        std::uint32_t wrong = 0;
#pragma GCC unroll 32
        for (int k = 0; k < group; ++k) {
            const T *const left = x_ + guess[k];
            cell[k] = static_cast<Cell>(guess[k] + 1);
            wrong |= std::uint32_t((site[k] < left[0]) | (site[k] >= left[1])) << k;
        }
        settle(site, guess, cell, wrong);
    }

    // Places the sites of a group that have a bit in `which`, wherever they are.
    template <class Cell>
    void settle(const T *site, const std::int32_t *guess, Cell *cell, std::uint32_t which) const {
        for (; which != 0; which &= which - 1) {
            const int k = std::countr_zero(which);
            const T s = site[k];
            std::int64_t found = nx_ - 1;
            if (s != x_[nx_ - 1])
                found = s < x_[guess[k]] ? walk_left(x_, guess[k], s) : walk_right(x_, guess[k], nx_, s);
            cell[k] = static_cast<Cell>(found);
        }
    }

    const T *x_;
    std::int64_t nx_;
    T reciprocal_;
    T latest_; // guess
};

struct QuasiUniform {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        using Partition = QuasiUniformPartition<T>;
        const Partition partition(a.x, a.nx, a.step);
        if (a.nsite >= a.nx)
            if (const T unevenness = partition.unevenness(); unevenness <= Partition::tolerable) {
                place_in_groups<Partition::group>(a, [&](const T *site, Cell *cell, std::int64_t) {
                    return partition.place_evenly(site, cell, unevenness);
                });
                return QOR_DF_OK;
            }
        place_in_groups<Partition::group>(a, [&partition](const T *site, Cell *cell, std::int64_t n) {
            return partition.place(site, cell, n);
        });
        return QOR_DF_OK;
    }
};

} // namespace qor::df
