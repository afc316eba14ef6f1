// Search of a uniform partition, given by its two ends x[0], x[1] and its step, by arithmetic alone.
//
// Groups of four sites multiply by the reciprocal of the step, up to three remaining ones divide: near a
// breakpoint the two may differ by a cell. Callers rely on which site gets which.
#pragma once

#include "data_fitting/search.h"

namespace qor::df {

template <class T> struct UniformPartition {
    T left, right, step, reciprocal;
    std::int64_t cells;

    template <class Cell>
    explicit UniformPartition(const Sites<T, Cell> &a)
        : left(a.x[0]), right(a.x[1]), step(a.step), reciprocal(T(1) / a.step), cells(a.nx - 1) {}

    static std::int64_t in_groups(std::int64_t nsite) { return nsite & ~std::int64_t{3}; }

    std::int64_t multiplied(T s) const { return cell(s, (s - left) * reciprocal); }
    std::int64_t divided(T s) const { return cell(s, (s - left) / step); }

  private:
    std::int64_t cell(T s, T quotient) const {
        const std::int64_t inside = truncated(quotient, cells) + 1;
        const std::int64_t closed = s == right ? cells : inside;
        return left > s ? 0 : closed;
    }
};

struct Uniform {
    template <class T, class Cell> static std::int32_t search(const Sites<T, Cell> &a) {
        const UniformPartition<T> partition(a);
        const std::int64_t in_groups = partition.in_groups(a.nsite);
        for (std::int64_t i = 0; i < in_groups; ++i)
            a.cell[i] = static_cast<Cell>(partition.multiplied(a.site[i]));
        for (std::int64_t i = in_groups; i < a.nsite; ++i)
            a.cell[i] = static_cast<Cell>(partition.divided(a.site[i]));
        return QOR_DF_OK;
    }
};

} // namespace qor::df
